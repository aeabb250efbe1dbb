// A program of the product that does nothing itself: it has the preferences in it, an application
// object, and reads the keys given as arguments.

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
