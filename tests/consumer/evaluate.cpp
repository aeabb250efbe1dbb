// usage: evaluate EXPRESSION UNIT
// A program that uses the library: prints the value of an expression, and all reports on standard
// error.

#include <talmo/Console.h>
#include <talmo/StartupGuard.h>
#include <talmo/Units.h>

#include <cstdio>

int main(int argc, char *argv[])
{
    Talmo::enterMain();
    Talmo::Console::stream = stderr;
    if (argc != 3)
        return 2;
    const QString value = Talmo::Units::evaluate("%.12g", argv[1], argv[2]);
    std::printf("%s\n", qPrintable(value));
}
