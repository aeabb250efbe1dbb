// usage: muparser FILE
// Lines EXPRESSION UNIT, or EXPRESSION alone, as "jobs evaluate" reads them, evaluated by muParser
// with the units as postfix operators.

#include <muParser.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <string>

namespace
{

template <int Numerator, int Denominator = 1>
double times(double value)
{
    return value * Numerator / Denominator;
}

const std::map<std::string, double (*)(double)> units = {{"mm", times<1>}, {"cm", times<10>},
    {"m", times<1000>}, {"in", times<254, 10>}, {"MeV", times<1>}, {"keV", times<1, 1000>},
    {"GeV", times<1000>}, {"ns", times<1>}, {"us", times<1000>}, {"ms", times<1000000>},
    {"T", times<1>}, {"kG", times<1, 10>}};

} // namespace

int main(int argc, char *argv[])
{
    std::ifstream file(argc == 2 ? argv[1] : "");
    mu::Parser parser;
    for (const auto &[name, factor] : units)
        parser.DefinePostfixOprt(name, factor);
    try {
        for (std::string line; std::getline(file, line);) {
            const size_t blank = line.find(' ');
            parser.SetExpr(line.substr(0, blank));
            double value = parser.Eval();
            if (blank != std::string::npos)
                value /= units.at(line.substr(blank + 1))(1);
            std::printf("%.12g\n", value);
        }
    } catch (const mu::ParserError &error) {
        std::fprintf(stderr, "%s\n", error.GetMsg().c_str());
        return 1;
    }
    return file.eof() ? 0 : 1;
}
