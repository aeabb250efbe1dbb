// A program of the product that does nothing itself: it is linked with the preferences, has an
// application object, and prints the values of the keys that are its arguments.

#include "talmo/Preferences.h"
#include "talmo/StartupGuard.h"

#include <QCoreApplication>

#include <cstdio>

int main(int argc, char *argv[])
{
    Talmo::enterMain();
    const QCoreApplication application(argc, argv);
    Talmo::Preferences::init();
    for (int index = 1; index < argc; ++index)
        std::printf("%s\n", qPrintable(Talmo::Preferences::get(argv[index])));
}
