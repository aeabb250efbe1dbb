// Uses the locale of the environment. First the C library prints a number, then we do. At the end
// one sees whether we still read a decimal point, in numbers and in expressions.

#include "talmo/Console.h"
#include "talmo/Numbers.h"
#include "talmo/StartupGuard.h"
#include "talmo/Units.h"

#include <clocale>
#include <cstdio>

int main()
{
    mainHasBeenEntered = true; // as enterMain does
    std::setlocale(LC_ALL, "");
    std::printf("%g\n", 0.5);
    std::string text;
    Talmo::appendNumber(text, 0.5);
    double value = 0;
    const bool point = Talmo::toNumber("0.5", value) && value == 0.5;
    const bool tiny = Talmo::toNumber("1.5e-400", value) && value == 0;
    const bool comma = Talmo::toNumber("0,5", value);
    std::printf("%s %d %d %d\n", text.c_str(), point, tiny, comma);
    std::fflush(stdout);
    Talmo::Console::printf("%g %d %s\n", 1234567.5, 1234567, "text");
    Talmo::Console::printf("%s\n", qPrintable(Talmo::Units::evaluate("%.2f", "0.5cm", "mm")));
    std::printf("%g\n", 0.5); // the locale of the process has not changed
}
