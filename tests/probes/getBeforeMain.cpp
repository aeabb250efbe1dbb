#include "talmo/Preferences.h"

#include <cstdio>

namespace
{

const QString icon = Talmo::Preferences::get("IconSize");

} // namespace

int main()
{
    std::printf("main: %s\n", qPrintable(icon));
}
