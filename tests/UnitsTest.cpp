#include "talmo/Units.h"
#include "LibraryTest.h"

#include <cmath>
#include <limits>

using Talmo::Units;
using Value = Talmo::Units::Value;

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();

class UnitsTable : public LibraryTest
{
};

} // namespace

TEST_F(UnitsTable, KnowsTheseUnitsByTheirFactors)
{
    struct Unit {
        const char *name;
        double factor;
    };
    const struct {
        const char *kind;
        std::vector<Unit> units;
    } rows[] = {
        {"unitless", {{"", 1.0}}},
        {"length",
            {{"in", 1.0}, {"ft", 12.0}, {"yd", 36.0}, {"mile", 63360.0},
                {"mm", 0.03937007874015748}, {"cm", 0.3937007874015748}, {"m", 39.37007874015748},
                {"micron", 3.9370078740157485e-05}, {"um", 3.9370078740157485e-05},
                {"km", 39370.078740157485}, {"meter", 39.37007874015748}}},
        {"speed", {{"mps", 1.0}, {"fps", 0.3048}, {"kmph", 0.277778}, {"MPH", 0.44704},
                      {"mph", 0.44704}}},
        {"angle", {{"rad", 1.0}, {"deg", 0.017453292519943295}, {"mr", 0.001}}},
        {"time", {{"sec", 1.0}, {"s", 1.0}, {"ms", 0.001}, {"us", 1e-06}, {"shakes", 1e-08},
                     {"ns", 1e-09}, {"ps", 1e-12}, {"min", 60.0}, {"hr", 3600.0}}},
        {"mass", {{"g", 1.0}, {"gm", 1.0}, {"kg", 1000.0}, {"mg", 0.001}, {"ug", 1e-06}}},
        {"magneticField", {{"tesla", 1.0}, {"T", 1.0}, {"gauss", 0.0001}, {"G", 0.0001},
                              {"kilogauss", 0.1}, {"kG", 0.1}}},
        {"voltage", {{"volt", 1.0}, {"V", 1.0}, {"kV", 1000.0}, {"MV", 1000000.0}}},
        {"electricField", {{"Vpm", 1.0}, {"MVpm", 1000000.0}, {"kVpm", 1000.0}, {"Vpmm", 1000.0}}},
        {"density", {{"gpcc", 1.0}}},
        {"magneticGradient", {{"Tpm", 1.0}, {"Gpm", 0.0001}}},
        {"energy",
            {{"MeV", 1.0}, {"eV", 1e-06}, {"keV", 0.001}, {"GeV", 1000.0}, {"TeV", 1000000.0},
                {"joule", 6241509340000.0}, {"J", 6241509340000.0}, {"amu", 931.494061}}},
        {"charge", {{"e", 1.0}, {"coulomb", 6.241509745e+18}, {"uC", 6241509745000.0},
                       {"nC", 6241509745.0}}},
        {"current", {{"A", 1.0}, {"ma", 0.001}, {"ka", 1000.0}}},
        {"magneticSextupole", {{"Tpm2", 1.0}}},
        {"magneticOctopole", {{"Tpm3", 1.0}}},
        {"magneticDecapole", {{"Tpm4", 1.0}}},
        {"magneticDodecapole", {{"Tpm5", 1.0}}},
    };
    int kind = 0;
    int count = 0;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.kind);
        QStringList names;
        for (const Unit &unit : row.units) {
            SCOPED_TRACE(unit.name);
            EXPECT_TRUE(Units::typeHash.contains(unit.name));
            EXPECT_EQ(Units::typeHash.value(unit.name), kind);
            EXPECT_EQ(Units::factorHash.value(unit.name), unit.factor);
            names.append(unit.name);
        }
        EXPECT_EQ(Units::types.value(row.kind), names);
        ++kind;
        count += static_cast<int>(row.units.size());
    }
    EXPECT_EQ(kind, 18);
    EXPECT_EQ(count, 70);
    EXPECT_EQ(Units::types.size(), 18);
    EXPECT_EQ(Units::typeHash.size(), 70);
    EXPECT_EQ(Units::factorHash.size(), 70);
}

TEST_F(UnitsTable, TheReferenceOfLengthIsTheInch)
{
    EXPECT_EQ(Units::types.value("length").first(), "in");
    EXPECT_EQ(Units::factorHash.value("in"), 1);
    EXPECT_EQ(Units::factorHash.value("m"), 1000 / 25.4);
}

TEST_F(UnitsTable, AKmphHasTheSixDigitsOfTheTable)
{
    EXPECT_EQ(Units::factorHash.value("kmph"), 0.277778);
    EXPECT_NE(Units::factorHash.value("kmph"), 1 / 3.6);
}

TEST_F(UnitsTable, AJouleAndACoulombHaveDifferentDigits)
{
    const double megaelectronvolts = Units::factorHash.value("joule");
    EXPECT_EQ(megaelectronvolts, 6.24150934e12);
    EXPECT_EQ(Units::factorHash.value("J"), megaelectronvolts);
    EXPECT_EQ(Units::factorHash.value("coulomb"), 6.241509745e18);
    EXPECT_NE(Units::factorHash.value("coulomb"), megaelectronvolts * 1e6);
}

TEST_F(UnitsTable, FillingItOnceMoreChangesNothing)
{
    const QHash<QString, QStringList> types = Units::types;
    const QStringList standardUnits = Units::standardUnits;
    const Units again;
    EXPECT_EQ(Units::types, types);
    EXPECT_EQ(Units::standardUnits, standardUnits);
    EXPECT_EQ(Units::typeHash.size(), 70);
}

TEST_F(UnitsTable, TheStandardUnits)
{
    EXPECT_EQ(Units::standardUnits,
        (QStringList{"", "mm", "MeV", "T", "ns", "MVpm", "Tpm", "rad", "mps"}));
    const struct {
        const char *unit;
        const char *standard;
    } rows[] = {
        {"", ""},
        {"km", "mm"},
        {"in", "mm"},
        {"us", "ns"},
        {"sec", "ns"},
        {"tesla", "T"},
        {"J", "MeV"},
        {"Vpm", "MVpm"},
        {"Gpm", "Tpm"},
        {"deg", "rad"},
        {"MPH", "mps"},
        // kinds without a standard unit
        {"MV", "MV"},
        {"kg", "kg"},
        {"gpcc", "gpcc"},
        {"e", "e"},
        {"ka", "ka"},
        {"Tpm2", "Tpm2"},
        {"Tpm3", "Tpm3"},
        {"Tpm4", "Tpm4"},
        {"Tpm5", "Tpm5"},
        // unknown ones are unitless
        {"xyz", ""},
        {"*", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.unit);
        EXPECT_EQ(Units::standardUnit(row.unit), row.standard);
    }
}

TEST_F(UnitsTable, UnknownUnitsAreRememberedWhereTheyWereLookedUp)
{
    // The kind is looked up first; the factor is looked up only if both units are of one kind.
    value(3, "furlong").convert("mm", nullptr);
    printed();
    EXPECT_EQ(Units::typeHash.value("furlong", -1), 0);
    EXPECT_FALSE(Units::factorHash.contains("furlong"));
    EXPECT_EQ(value(3, "furlong").convert(""), 0);
    EXPECT_EQ(Units::factorHash.value("furlong", -1), 0.0);

    Units::standardUnit("xyz");
    EXPECT_TRUE(Units::typeHash.contains("xyz"));
    EXPECT_FALSE(Units::factorHash.contains("xyz"));

    EXPECT_EQ(Units::compatibleUnits(""), (QStringList{"", "furlong", "xyz"}));
    value(3).convert("league"); // the target's factor is looked up, too
    EXPECT_EQ(Units::typeHash.value("league", -1), 0);
    EXPECT_EQ(Units::factorHash.value("league", -1), 0.0);
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsTable, NamesAreExact)
{
    for (const char *name : {"mV", "Mev", "MM", "Mm", "t", "GEV", "m/s", "mm2", "kT", " mm"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(Units::typeHash.contains(name));
        EXPECT_EQ(Units::standardUnit(name), "");
    }
}

TEST_F(UnitsTable, CompatibleUnitsAreSortedBehindTheGivenOne)
{
    EXPECT_EQ(Units::compatibleUnits("mm"),
        (QStringList{"mm", "cm", "ft", "in", "km", "m", "meter", "micron", "mile", "um", "yd"}));
    EXPECT_EQ(
        Units::compatibleUnits("T"), (QStringList{"T", "G", "gauss", "kG", "kilogauss", "tesla"}));
    EXPECT_EQ(Units::compatibleUnits("mph"), (QStringList{"mph", "MPH", "fps", "kmph", "mps"}));
    EXPECT_EQ(Units::compatibleUnits("gpcc"), QStringList{"gpcc"});
    EXPECT_EQ(Units::compatibleUnits(""), QStringList{""});
    EXPECT_EQ(Units::compatibleUnits("furlong"), QStringList{"furlong"});
    EXPECT_EQ(Units::typeHash.size(), 70); // asking inserts nothing
}

TEST_F(UnitsTable, InspectListsKindsInOrderAndUnitsAsInTheTable)
{
    EXPECT_EQ(Units::inspect(), "Known Units (p usually means 'per', u usually means 'micro'):\n"
                                "angle: rad, deg, mr\n"
                                "charge: e, coulomb, uC, nC\n"
                                "current: A, ma, ka\n"
                                "density: gpcc\n"
                                "electricField: Vpm, MVpm, kVpm, Vpmm\n"
                                "energy: MeV, eV, keV, GeV, TeV, joule, J, amu\n"
                                "length: in, ft, yd, mile, mm, cm, m, micron, um, km, meter\n"
                                "magneticDecapole: Tpm4\n"
                                "magneticDodecapole: Tpm5\n"
                                "magneticField: tesla, T, gauss, G, kilogauss, kG\n"
                                "magneticGradient: Tpm, Gpm\n"
                                "magneticOctopole: Tpm3\n"
                                "magneticSextupole: Tpm2\n"
                                "mass: g, gm, kg, mg, ug\n"
                                "speed: mps, fps, kmph, MPH, mph\n"
                                "time: sec, s, ms, us, shakes, ns, ps, min, hr\n"
                                "unitless: \n"
                                "voltage: volt, V, kV, MV\n");
    Units::standardUnit("furlong"); // a remembered name is no row of the table
    EXPECT_FALSE(Units::inspect().contains("furlong"));
}

namespace
{

class UnitsValue : public LibraryTest
{
protected:
    static QString text(const Value &value) { return value.to_s("%.12g", /*withUnits=*/true); }
};

} // namespace

TEST_F(UnitsValue, IsZeroWithoutUnitsByDefault)
{
    const Value none;
    EXPECT_EQ(none.value, 0);
    EXPECT_FALSE(std::signbit(none.value));
    EXPECT_EQ(none.units, "");
}

TEST_F(UnitsValue, IsReadFromANumberWithAnOptionalUnit)
{
    const struct {
        const char *text;
        double value;
        const char *units;
    } rows[] = {
        {"12.5mm", 12.5, "mm"},
        {"-3", -3, ""},
        {"+3", 3, ""},
        {".5ns", 0.5, "ns"},
        {"-.5", -0.5, ""},
        {"2eV", 2, "eV"},           // not an exponent
        {"3furlong", 3, "furlong"}, // unknown, without complaint
        {"1e3", 1000, ""},
        {"1E+3", 1000, ""},
        {"2e3m", 2000, "m"},
        {"3e", 3, "e"},
        {"3e2e", 300, "e"},
        {"1.5e-3T", 1.5e-3, "T"},
        {"7Tpm2", 7, "Tpm2"},
        {"0x10", 0, "x10"},
        {"007", 7, ""},
        {"1e999", infinity, ""},
        {"-1e999mm", -infinity, "mm"},
        {"1e-999", 0, ""},
        {"4.9e-324", 4.9e-324, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        const Value read{QString(row.text)};
        EXPECT_EQ(read.value, row.value);
        EXPECT_EQ(read.units, row.units);
        EXPECT_EQ(printed(), "");
    }
    EXPECT_TRUE(std::signbit(Value(QString("-0")).value));
    EXPECT_EQ(Units::typeHash.size(), 70); // reading a value looks no unit up
}

TEST_F(UnitsValue, OtherTextsAreReportedAndZero)
{
    for (const char *text : {"", "5.", "mm", "5 mm", " 5", "5 ", "1.2.3", "--1", "1e3.5", "5mm2_",
             "5µm", "1,5", "nan", "inf", "$5", "5\n", "%1 %2"}) {
        SCOPED_TRACE(text);
        const Value read{QString(text)};
        EXPECT_EQ(read.value, 0);
        EXPECT_EQ(read.units, "");
        EXPECT_EQ(printed(), reported(QString("A:Invalid string with units '") + text + "'"));
    }
}

TEST_F(UnitsValue, ConvertsWithinAKind)
{
    const struct {
        Value from;
        const char *target;
        double value;
    } rows[] = {
        {value(25.4, "mm"), "in", 25.4 * 0.03937007874015748}, // 1, except for its last digit
        {value(1, "deg"), "rad", 0.017453292519943295},
        {value(1, "kmph"), "mps", 0.277778},
        {value(1, "m"), "meter", 1},
        {value(1, "meter"), "m", 1},
        {value(1, "MPH"), "mph", 1},
        {value(1, "ft"), "in", 12},
        {value(1, "mile"), "ft", 5280},
        {value(5, ""), "", 5},
        {value(1, "J"), "joule", 1},
        {value(3, "ft"), "mm", 3 * 12.0 / 0.03937007874015748}, // the product is computed first
        {value(0.1, "m"), "mm", 0.1 * 39.37007874015748 / 0.03937007874015748},
        {value(-infinity, "m"), "mm", -infinity},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.target);
        Value from = row.from;
        EXPECT_EQ(from.convert(row.target), row.value);
        EXPECT_EQ(from.value, row.from.value); // the value itself does not change
        EXPECT_EQ(from.units, row.from.units);
        bool ok = false;
        EXPECT_EQ(from.convert(row.target, &ok), row.value);
        EXPECT_TRUE(ok);
        EXPECT_EQ(printed(), "");
    }
}

TEST_F(UnitsValue, AcrossKindsTheNumberStaysAndThatIsTold)
{
    const struct {
        const char *from;
        const char *target;
        const char *message;
    } rows[] = {
        {"kg", "mm", "Units Conversion Error from kg to mm"},
        {"", "mm", "Units Conversion Error from (none) to mm"},
        {"mm", "", "Units Conversion Error from mm to "}, // has no "(none)" on purpose
        {"mm", "furlong", "Units Conversion Error from mm to furlong"},
        {"furlong", "mm", "Units Conversion Error from furlong to mm"},
        {"%2", "mm", "Units Conversion Error from %2 to mm"},
        {"mm", "%1", "Units Conversion Error from mm to %1"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.from);
        Value from = value(7, row.from);
        bool ok = true;
        EXPECT_EQ(from.convert(row.target, &ok), 7);
        EXPECT_FALSE(ok);
        EXPECT_EQ(printed(), ""); // with a flag, nothing is reported
        EXPECT_EQ(from.convert(row.target), 7);
        EXPECT_EQ(printed(), reported(row.message));
    }
}

TEST_F(UnitsValue, OnlyTheFirstUnitOfAReportIsCalledNone)
{
    value(7).convert("mm");
    EXPECT_EQ(printed(), reported("Units Conversion Error from (none) to mm"));
    value(7, "mm").convert("");
    EXPECT_EQ(printed(), reported("Units Conversion Error from mm to "));
}

TEST_F(UnitsValue, UnknownUnitsHaveTheFactorZero)
{
    bool ok = false;
    EXPECT_EQ(value(3, "furlong").convert("", &ok), 0);
    EXPECT_TRUE(ok);
    EXPECT_TRUE(std::isnan(value(3, "furlong").convert("league")));
    EXPECT_TRUE(std::isnan(value(3, "furlong").convert("furlong")));
    EXPECT_EQ(value(3, "").convert("furlong"), infinity);
    EXPECT_EQ(value(-3, "").convert("furlong"), -infinity);
    EXPECT_TRUE(std::isnan(value(0, "").convert("furlong")));
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsValue, PrintsAsPrintfWouldAndAppendsItsUnits)
{
    EXPECT_EQ(value(1.5, "MeV").to_s("%.12g", /*withUnits=*/true), "1.5MeV");
    EXPECT_EQ(value(1.5, "MeV").to_s("%.12g", /*withUnits=*/false), "1.5");
    EXPECT_EQ(value(5, "mm").to_s("%.12g", /*withUnits=*/true), "5mm");
    EXPECT_EQ(value(-0.0, "mm").to_s("%.12g", /*withUnits=*/true), "-0mm");
    EXPECT_EQ(value(-0.0).to_s("%.3f", /*withUnits=*/true), "-0.000");
    const struct {
        const char *format;
        double value;
        const char *printed;
    } rows[] = {
        {"%g", 0.1, "0.1"},
        {"%g", 123456.5, "123456"}, // ties to even
        {"%.1f", 0.25, "0.2"},
        {"%.0f", 2.5, "2"},
        {"%e", 12345.678, "1.234568e+04"},
        {"%E", 1e-7, "1.000000E-07"},
        {"%G", 1e-7, "1E-07"},
        {"%F", -infinity, "-INF"},
        {"%g", infinity, "inf"},
        {"%a", 1, "0x1p+0"},
        {"%A", 0.5, "0X1P-1"},
        {"%8.3f|", 3.14159, "   3.142|"},
        {"%-8.3f|", 3.14159, "3.142   |"},
        {"%+g", 1, "+1"},
        {"% g", 1, " 1"},
        {"%05g", 2, "00002"},
        {"%#g", 2, "2.00000"},
        {"%-+ #08.2f|", 2, "+2.00   |"},
        {"%.f", 2.5, "2"}, // a missing precision behind the point is 0
        {"%lg", 2.5, "2.5"},
        {"x=%g mm%%", 2.5, "x=2.5 mm%"},
        {"%%%%%g%%%%", 1, "%%1%%"},
        {"µ%gµ", 1, "µ1µ"},
        {"\n%g\n", 1, "\n1\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.format);
        EXPECT_EQ(value(row.value).to_s(QString::fromUtf8(row.format), /*withUnits=*/true),
            QString::fromUtf8(row.printed));
    }
    EXPECT_EQ(value(2).to_s("%4095g", /*withUnits=*/true), QString(4094, ' ') + "2");
    EXPECT_EQ(value(2).to_s("%.4095f", /*withUnits=*/true), "2." + QString(4095, '0'));
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsValue, NoOtherFormatReachesPrintf)
{
    for (const QString format : {"", "text", "%", "%%", "%s", "%n", "%d", "%i", "%u", "%x", "%c",
             "%p", "%*g", "%.*g", "%5$g", "%1$g", "%g %g", "%g%n", "%n%g", "%s%g", "%gl%", "%Lg",
             "%llg", "%hg", "%lld", "%4096g", "%.4096g", "%999999999g", "%.999999999f",
             "%99999999999999999999g", "%-", "%5", "%.5", "%l", "%5.5.5g", "%g %1", "%'g", "%Ig"}) {
        SCOPED_TRACE(format.toStdString());
        EXPECT_EQ(value(1, "mm").to_s(format, /*withUnits=*/true), "");
        EXPECT_EQ(printed(), reported("Invalid format '" + format + "'"));
    }
}

TEST_F(UnitsValue, SumsKeepTheLeftUnit)
{
    EXPECT_EQ(text(value(1, "m").add(value(1, "ft"))), "1.3048m");
    EXPECT_EQ(text(value(1, "ft").sub(value(1, "in"))), "0.916666666667ft");
    EXPECT_EQ(text(value(1).add(value(2))), "3");
    EXPECT_EQ(text(value(1).sub(value(2))), "-1");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(text(value(1, "mm").add(value(2))), "3mm");
    EXPECT_EQ(printed(), reported("Units Conversion Error from (none) to mm"));
    EXPECT_EQ(text(value(1).sub(value(2, "mm"))), "-1");
    EXPECT_EQ(printed(), reported("Units Conversion Error from mm to "));
}

TEST_F(UnitsValue, ProductsHaveTheOneUnitThereIs)
{
    EXPECT_EQ(text(value(2).mul(value(3))), "6");
    EXPECT_EQ(text(value(2, "mm").mul(value(3))), "6mm");
    EXPECT_EQ(text(value(2).mul(value(3, "mm"))), "6mm");
    EXPECT_EQ(printed(), "");
    // No operation builds a compound unit.
    Units::currentExpression = "2Tpm*%1m";
    EXPECT_EQ(text(value(2, "Tpm").mul(value(3, "m"))), "6Tpm");
    EXPECT_EQ(printed(), reported("U:Invalid units in '2Tpm*%1m'"));
    EXPECT_EQ(text(value(2, "mm").mul(value(3, "mm"))), "6mm");
    EXPECT_EQ(printed(), reported("U:Invalid units in '2Tpm*%1m'"));
}

TEST_F(UnitsValue, NumbersAreMultipliedAlsoIfBothHaveUnits)
{
    EXPECT_EQ(value(2, "mm").mul(value(3, "mm")).value, 6);
    EXPECT_EQ(value(2, "Tpm").mul(value(3, "m")).value, 6);
    EXPECT_EQ(value(2, "m").mul(value(3, "mm")).value, 6); // without a conversion
}

TEST_F(UnitsValue, RatiosHaveNoUnit)
{
    EXPECT_EQ(text(value(6).div(value(3))), "2");
    EXPECT_EQ(text(value(6, "mm").div(value(3))), "2mm");
    EXPECT_EQ(text(value(6, "m").div(value(2, "mm"))), "3000");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(text(value(6, "mm").div(value(2, "ns"))), "3");
    EXPECT_EQ(printed(), reported("Units Conversion Error from ns to mm"));
    EXPECT_EQ(text(value(6).div(value(2, "mm"))), "3");
    EXPECT_EQ(printed(), reported("Units Conversion Error from mm to "));
    EXPECT_EQ(text(value(1).div(value(0))), "inf");
    EXPECT_EQ(text(value(-1, "mm").div(value(0))), "-infmm");
    EXPECT_TRUE(std::isnan(value(0).div(value(0)).value));
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsValue, NegationFlipsTheSignOfZeroToo)
{
    EXPECT_EQ(text(value(0, "mm").neg()), "-0mm");
    EXPECT_EQ(text(value(0, "mm").neg().neg()), "0mm");
    EXPECT_EQ(text(value(1.5, "T").neg()), "-1.5T");
    EXPECT_EQ(text(value(-infinity).neg()), "inf");
}

TEST_F(UnitsValue, ArithmeticChangesTheValueAndReturnsIt)
{
    Value length = value(1, "m");
    EXPECT_EQ(&length.add(value(1, "m")), &length);
    EXPECT_EQ(&length.sub(value(50, "cm")), &length);
    EXPECT_EQ(&length.mul(value(4)), &length);
    EXPECT_EQ(&length.div(value(3)), &length);
    EXPECT_EQ(&length.neg(), &length);
    EXPECT_EQ(text(length), "-2m");
    EXPECT_EQ(text(length.add(length)), "-4m");
    EXPECT_EQ(text(length.div(length)), "1");
}

namespace
{

class UnitsEntryPoints : public LibraryTest
{
};

} // namespace

TEST_F(UnitsEntryPoints, EvaluateFormatsTheResultInTheUnitsAskedFor)
{
    const struct {
        const char *format;
        const char *expression;
        const char *units;
        const char *result;
    } rows[] = {
        {"%.12g", "2*3mm+5mm", "-", "11mm"},
        {"%.12g", "12.5mm", "-", "12.5mm"},
        {"%.12g", "25.4mm", "in", "1"},
        {"%.12g", "1+2", "", "3"},
        {"%.3f", "1/3", "-", "0.333"},
        {"<%g>", "1mm", "-", "<1>mm"}, // the units follow the whole format
        {"%g%%", "50", "", "50%"},
        {"%g", "1km", "*", "1e+06"}, // converted once, to the standard unit
        {"%g", "2kg", "*", "2"},     // mass has no standard unit
        {"%g", "3furlong", "*", "0"},
        {"%g", "1/2", "*", "0.5"},
        {"%.12g", "-0mm", "-", "-0mm"},
        {"%.12g", "3furlong", "-", "3furlong"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expression);
        EXPECT_EQ(Units::evaluate(row.format, row.expression, row.units), row.result);
        EXPECT_EQ(printed(), "");
    }
    EXPECT_FALSE(Units::typeHash.contains("*")); // "*" is never looked up as a unit
}

TEST_F(UnitsEntryPoints, EvaluatePrintsWhatAFailureLeft)
{
    const struct {
        const char *expression;
        const char *units;
        const char *result;
        const char *problem;
    } rows[] = {
        {"1 + 2", "-", "1", "D:Syntax Error in '1 + 2'"},
        {"1mm+2mm)", "-", "3mm", "D:Syntax Error in '1mm+2mm)'"},
        {"7kg!", "-", "7kg", "D:Syntax Error in '7kg!'"},
        {"%1", "-", "0-", "D:Syntax Error in '%1'"}, // no value was left
        {"=", "mm", "0", "D:Syntax Error in '='"},
        {"=", "*", "0", "D:Syntax Error in '='"},
        {"2m!", "*", "2000", "D:Syntax Error in '2m!'"},
        {"2m!", "cm", "200", "D:Syntax Error in '2m!'"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expression);
        EXPECT_EQ(Units::evaluate("%.12g", row.expression, row.units), row.result);
        EXPECT_EQ(printed(), reported(row.problem));
    }
    EXPECT_EQ(Units::evaluate("%.12g", "2m!", "kg"), "2");
    EXPECT_EQ(printed(),
        reported("D:Syntax Error in '2m!'") + reported("Units Conversion Error from m to kg"));
    EXPECT_EQ(Units::evaluate("%.12g", "2m!", ""), "2");
    EXPECT_EQ(printed(),
        reported("D:Syntax Error in '2m!'") + reported("Units Conversion Error from m to "));
}

TEST_F(UnitsEntryPoints, EvaluateReportsAConversionThatCannotBeOnce)
{
    EXPECT_EQ(Units::evaluate("%g", "3kg", "mm"), "3");
    EXPECT_EQ(printed(), reported("Units Conversion Error from kg to mm"));
    EXPECT_EQ(valuesLeft(), QStringList{"3mm"});
    EXPECT_EQ(Units::evaluate("%g", "3", "mm"), "3");
    EXPECT_EQ(printed(), reported("Units Conversion Error from (none) to mm"));
    EXPECT_EQ(Units::evaluate("%g", "3mm", ""), "3");
    EXPECT_EQ(printed(), reported("Units Conversion Error from mm to "));
}

TEST_F(UnitsEntryPoints, EvaluateConvertsToUnitsOnceMore)
{
    EXPECT_EQ(Units::value("1", "furlong", nullptr), infinity);
    EXPECT_TRUE(Units::evaluate("%g", "1", "furlong").endsWith("nan")); // it may have a sign
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsEntryPoints, EvaluateOfNothingPrintsTheResultBefore)
{
    EXPECT_EQ(Units::evaluate("%g", "", "mm"), "0"); // without a value, 0 in the wanted units
    EXPECT_EQ(valuesLeft(), QStringList{"0mm"});
    EXPECT_EQ(Units::evaluate("%g", "", "-"), "0mm");
    Units::val.clear();
    EXPECT_EQ(Units::evaluate("%g", "", "-"), "0-");
    Units::val.clear();
    EXPECT_EQ(Units::evaluate("%g", "", "*"), "0");
    EXPECT_EQ(Units::evaluate("%g", "5cm", "-"), "5cm");
    EXPECT_EQ(Units::evaluate("%g", "", "-"), "5cm");
    EXPECT_EQ(Units::evaluate("%g", "$$", "mm"), "50");
    EXPECT_EQ(Units::evaluate("%g", "", "*"), "50");
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(valuesLeft(), QStringList{"50mm"}); // only "*" left it in its standard unit
}

TEST_F(UnitsEntryPoints, EvaluateReportsAnInvalidFormatAfterAllElse)
{
    EXPECT_EQ(Units::evaluate("%5$g %1", "1+", "mm"), "");
    EXPECT_EQ(printed(), reported("X:Syntax error in '1+'") +
                             reported("Units Conversion Error from (none) to mm") +
                             reported("Invalid format '%5$g %1'"));
    EXPECT_EQ(Units::evaluate("%g%", "1mm", "-"), "");
    EXPECT_EQ(printed(), reported("Invalid format '%g%'"));
}

TEST_F(UnitsEntryPoints, UnitGivesTheUnitsOfAnExpression)
{
    const struct {
        const char *expression;
        const char *units;
    } rows[] = {
        {"", ""}, {"3mm*2", "mm"}, {"2*3GeV", "GeV"}, {"6mm/2mm", ""}, {"7", ""},
        {"1 mm", ""},                          // is no expression
        {"3furlong", "furlong"}, {"2mm)", ""}, // is no expression either, although 2mm is left
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.expression);
        EXPECT_EQ(Units::unit(row.expression), row.units);
        EXPECT_EQ(printed(), "");
    }
    EXPECT_EQ(Units::unit("1+"), "");
    EXPECT_EQ(printed(), reported("X:Syntax error in '1+'"));
    Units::value("4cm", "-", nullptr);
    EXPECT_EQ(Units::unit("$"), "cm"); // nothing is evaluated, so the result before counts
    EXPECT_EQ(Units::unit(""), "");    // but an empty text has no unit
    Units::val.clear();
    EXPECT_EQ(Units::unit("$"), ""); // there is no result before
    EXPECT_EQ(Units::unit(""), "");
}

TEST_F(UnitsEntryPoints, ATextOfNothingIsEmptyButNotNull)
{
    EXPECT_FALSE(value(1, "mm").to_s("%d", /*withUnits=*/true).isNull());
    EXPECT_FALSE(Units::evaluate("%d", "1mm", "-").isNull());
    EXPECT_FALSE(Units::unit("").isNull());
    EXPECT_FALSE(Units::unit("1 mm").isNull()); // is no expression
}

TEST_F(UnitsEntryPoints, SimpleNumbersHaveNoOperatorButTheMinusSign)
{
    for (const char *text : {"1.5e3", "abc", "-5", "1-2", "", "1,5", " ", "2mm", "a_b", "[1]",
             "{1}", "1.5e-3", "$x", "#", "é", "\"", "'"}) {
        SCOPED_TRACE(text);
        EXPECT_TRUE(Units::isSimpleNumber(text));
    }
    for (const QChar character : QString("+*/><=!~%^()?:|&")) {
        SCOPED_TRACE(character.toLatin1());
        EXPECT_FALSE(Units::isSimpleNumber(character));
        EXPECT_FALSE(Units::isSimpleNumber("1" + QString(character) + "2"));
    }
}

TEST_F(UnitsEntryPoints, FloatsAreExpressions)
{
    const struct {
        const char *text;
        bool isFloat;
    } rows[] = {
        {"2mm", true},
        {"1+2*sin(3)", true},
        {"3furlong", true},
        {"-5", true},
        {"2 mm", false},
        {"", false},
        {"$", false},
        {"abc", false}, // an undefined name leaves no value
        {"+5", true},   // is reported, but leaves one value
        {"1+2)", false},
        {"5.", false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Units::isFloat(row.text), row.isFloat);
    }
    EXPECT_EQ(printed(), reported("X:Syntax error in '+5'"));
    EXPECT_TRUE(Units::isFloat("2cm"));
    EXPECT_EQ(valuesLeft(), QStringList{"20mm"}); // evaluated in its standard unit
}

TEST_F(UnitsEntryPoints, FactorIsWhatOneUnitIsWorth)
{
    EXPECT_EQ(Units::factor("mm", "m"), 39.37007874015748 / 0.03937007874015748);
    EXPECT_NEAR(Units::factor("mm", "m"), 1000, 1e-9);
    EXPECT_EQ(Units::factor("in", "ft"), 12);
    EXPECT_EQ(Units::factor("", ""), 1);
    EXPECT_EQ(Units::factor("*", "cm"), 1 * 0.3937007874015748 / 0.03937007874015748);
    EXPECT_EQ(Units::factor("-", "cm"), 1);
    EXPECT_EQ(printed(), "");
    EXPECT_EQ(Units::factor("mm", "m)"), 0);
    EXPECT_EQ(printed(), reported("D:Syntax Error in '1.0m)'"));
    // Deliberate: for another kind, the result is the unconverted number, not 0.
    EXPECT_EQ(Units::factor("mm", "kg"), 1);
    EXPECT_EQ(printed(), reported("Units Conversion Error from kg to mm"));
}

namespace
{

class UnitsServices : public LibraryTest
{
};

} // namespace

TEST_F(UnitsServices, ConvertAllRewritesNumbersWithUnits)
{
    const struct {
        const char *text;
        const char *units;
        const char *result;
    } rows[] = {
        {"", "mm", ""},
        {"abc", "mm", "abc"},
        {"d=25.4mm", "in", "d=1"},
        {"x 2m, 3s", "mm", "x 2000, 3s"}, // another kind stays
        {"E=2GeV B=5kG", "*", "E=2000 B=0.5"},
        {"3kg", "*", "3kg"}, // mass has no standard unit
        {"3kg", "g", "3000"},
        {"-5mm", "in", "-0.196850393701"}, // the sign is text
        {"+5mm--5mm", "cm", "+0.5--0.5"},
        {"1.5.2", "*", "1.5.2"},
        {"5.", "*", "5."},
        {".", "mm", "."},
        {"...", "mm", "..."},
        {"..5cm", "mm", ".5"},
        {".5cm", "mm", "5"},
        {"5.mm", "*", "5.mm"},
        {"Tpm2=3T", "G", "Tpm2=30000"},
        {"1e3mm", "m", "1"},
        {"1e-3m", "mm", "1"},
        {"1.5e", "uC", "2.40326469281e-13"},
        {"1e+5", "coulomb", "1.60217646187e-19+5"}, // "1e" is a number with a unit
        {"1e5", "mm", "1e5"},                       // 1 with the unknown unit e5
        {"1e5", "*", "100000"},                     // as an unknown unit, e5 is unitless
        {"5mmx", "mm", "5mmx"},                     // the longest run of letters and digits
        {"5mmx", "*", "0"},
        {"5mmx", "", "0"},
        {"5mm_x", "cm", "0.5_x"},
        {"5mm6mm", "*", "0"}, // the unit is mm6mm, which is unknown
        {"5 mm", "cm", "5 mm"},
        {"7", "", "7"},
        {"007 1.50", "", "007 1.50"}, // numbers without a unit are not even written anew
        {"007 1.50", "*", "007 1.50"},
        {"5mm", "", "5mm"}, // "" is of another kind than mm
        {"2m, 3s", "s", "2m, 3"},
        {"7foo", "-", "7foo"},
        {"line 1mm\nline 2mm\n", "um", "line 1000\nline 2000\n"},
        {"µ5mmµ", "um", "µ5000µ"},
        {"%1 5mm %2", "um", "%1 5000 %2"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(Units::convertAll(QString::fromUtf8(row.text), row.units),
            QString::fromUtf8(row.result));
        EXPECT_EQ(printed(), "");
    }
}

TEST_F(UnitsServices, ConvertAllRemembersTheNamesItMeets)
{
    Units::convertAll("1kg", "*");
    EXPECT_EQ(Units::compatibleUnits(""), (QStringList{"", "*"}));
    Units::convertAll("1abc 1mm", "zzz");
    EXPECT_EQ(Units::compatibleUnits(""), (QStringList{"", "*", "abc", "zzz"}));
    Units::convertAll("1def", "mm");
    EXPECT_TRUE(Units::typeHash.contains("def"));
    Units::convertAll("no numbers", "yyy");
    EXPECT_FALSE(Units::typeHash.contains("yyy"));
}

TEST_F(UnitsServices, ConvertAllLeavesTheLastValueOnTheStack)
{
    Units::convertAll("1cm 2cm 3kg 4", "mm");
    EXPECT_EQ(valuesLeft(), QStringList{"20mm"});
}

TEST_F(UnitsServices, CheckComparesExponentsAndSoReportsNothing)
{
    const char *const numbers[] = {"1", "1mm", "1kg", "1e3mm", "1e5kg", "-1e-3", "mm", "", "1 mm"};
    for (const char *a : numbers) {
        for (const char *b : numbers)
            Units::check(a, b);
    }
    EXPECT_EQ(printed(), "");
    // Units that convertAll looked up are remembered, but only their kinds.
    EXPECT_EQ(Units::compatibleUnits(""), (QStringList{"", "-", "e-3", "e3", "e5"}));
    EXPECT_EQ(Units::factorHash.size(), 70);
}

TEST_F(UnitsServices, CheckLooksNothingUpUnlessTheFirstIsANumber)
{
    Units::check("mm", "1e3");
    EXPECT_EQ(Units::typeHash.size(), 70);
    Units::check("1", "none");
    EXPECT_EQ(Units::compatibleUnits(""), (QStringList{"", "-"}));
}

TEST_F(UnitsServices, CheckNamesTheSecondBeforeTheFirst)
{
    Units::typeHash["e3"] = Units::typeHash["mm"]; // makes "e3" a unit of length
    Units::check("1e3", "1");
    EXPECT_EQ(printed(), reported("Units Conversion Error from (none) to e3"));
    Units::check("1", "2e3mm");
    EXPECT_EQ(printed(), reported("Units Conversion Error from e3 to "));
    Units::check("1e3", "none");
    EXPECT_EQ(printed(), reported("Units Conversion Error from - to e3"));
    Units::check("1e3kg", "1e3mm");
    EXPECT_EQ(printed(), "");
}
