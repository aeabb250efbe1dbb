#include "numbers.h"

#include "lineText.h"

#include <gtest/gtest.h>

#include <random>

using namespace Talmo;

namespace
{

/// The numbers with units in \a line, each as "COLUMN:NUMBER UNIT". Of one with which something is
/// wrong, the column of the mistake and the message are told.
std::string numbersIn(const std::string &line)
{
    NumbersWithUnits numbers(line);
    NumberWithUnit found;
    Columns columns(line);
    std::string all;
    while (numbers.next(found)) {
        const bool isRight = found.problem.empty();
        const qint64 column =
            columns.at(numbers.positionOf(isRight ? found.number : found.problem));
        all += (all.empty() ? "" : ", ") + std::to_string(column) + ':';
        all += isRight ? std::string(found.number) + ' ' + std::string(found.unit)
                       : problemOf(found).toStdString();
    }
    return all;
}

struct Row {
    const char *line;
    const char *numbers;
};

void check(const Row &row)
{
    SCOPED_TRACE(row.line);
    EXPECT_EQ(numbersIn(row.line), row.numbers);
}

} // namespace

TEST(NumbersWithUnits, AreNumbersWithLettersDirectlyBehindThem)
{
    const Row rows[] = {
        {"", ""},
        {"5", ""},
        {"mm", ""},
        {"5 mm", ""},
        {"5mm", "1:5 mm"},
        {"  2.50cm,.5in", "3:2.50 cm, 10:.5 in"},
        {"-5mm+3mm", "2:5 mm, 6:3 mm"},
        {"(5mm)=5mm;", "2:5 mm, 7:5 mm"},
        {"5Tpm2", "1:5 Tpm2"},
        {"5mm. 6mm.", "1:5 mm, 6:6 mm"},
        {"5mm.5", "1:5 mm"},
        {"5.", ""},
        {"...5mm", "3:.5 mm"},
        {"**5mm**", "3:5 mm"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, MayEndWithAPoint)
{
    const Row rows[] = {
        {"5.mm", "1:5. mm"},
        {"-5.mm, 6.T", "2:5. mm, 8:6. T"},
        {"1.e5m 1.E-3m 1.e 1.e5", "1:1.e5 m, 7:1.E-3 m, 14:1. e"},
        {"1.eV", "1:1. eV"},
        {"1.5.mm", ""},
        {"1e5.mm", ""},
        {"5.mm.dat", ""},
        {"5.dat 5.txt 5.Then", ""},
        {"5.mm2 5.Mev", ""},
        {"5.m/s", "3:unknown unit 'm/s' (did you mean mps?)"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, AnExponentBelongsToItsNumber)
{
    const Row rows[] = {
        {"1e5", ""},
        {"1e5m", "1:1e5 m"},
        {"1.5E-3m", "1:1.5E-3 m"},
        {"1e+3m", "1:1e+3 m"},
        {"2e", "1:2 e"},
        {"2e-", "1:2 e"},
        {"2e-m", "1:2 e"},
        {"1e5e", "1:1e5 e"},
        {"1e5e3", ""},
        {"1eV", "1:1 eV"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, StandAlone)
{
    const Row rows[] = {
        {"BPM12a", ""},
        {"file1in.txt", ""},
        {"1in.txt", ""},
        {"1in._", ""},
        {"a_5cm", ""},
        {"5cm_", ""},
        {"x.5cm", ""},
        {"1.2.5cm", ""},
        {"1..5cm", ""},
        {"$5cm", ""},
        {"$.5cm", ""},
        {"${x}5cm", ""},
        {"5m$x", ""},
        {"%8.3f %.3e %-8.3g %+5g", ""},
        {"5%-x 5mm", "6:5 mm"},
        {"192.168.1.5m", ""},
        {"v1.5m 2m", "7:2 m"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, LettersOfAnyAlphabetMakeWords)
{
    const Row rows[] = {
        {"\xC2\xB5"
         "5cm 6cm",
            "6:6 cm"}, // micro sign
        {"\xF0\x90\x90\x80"
         "5cm 6cm",
            "6:6 cm"}, // a letter outside of the first 65,536 characters
        {"e\xCC\x81"
         "5cm 6cm",
            "7:6 cm"}, // an accent as a character of its own
        {"\xE9"
         "5cm 6cm",
            "6:6 cm"}, // no UTF-8
        {"\xE2\x80\x93"
         "5cm",
            "2:5 cm"}, // a dash
        {"\xF0\x9F\x94\xAC"
         "5cm",
            "2:5 cm"}, // a picture
        {"5m\xE2\x80\x93", "1:5 m"},
        {"5m\xE2\x80\x93"
         "6m",
            "1:5 m, 4:6 m"},
        {"5m.\xC3\xA9 6cm", "6:6 cm"}, {"5\xC2\xB0 6cm", "4:6 cm"}, // a degree sign
        {"5\xE9\x95\xBF 5m\xE9\x95\xBF 2\xC2\xBA", ""},             // alphabets without capitals
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, SomeAreWords)
{
    const char *const lines[] = {"1st 2nd 3rd 4th 1,000th", "0x10 0xff 0XA 0x 0x10mm",
        "2D 3D 4x4 10x 4x4x4 1920x1080 4x4.5", "3d_view 5mm_long", "5mm.dat 10x20mm.dat",
        "2026-11-22T10:15 2026-11-22T10:15:30Z 10:15:30.5Z 20261122T101530Z",
        "7f3a9c 41d4 446655440000", "3d10 2p6 2H2O 12C6 3CO2", "3Dec2024 3stage2 1h30n",
        "5$x 5x$x"};
    for (const char *const line : lines)
        check({line, ""});
}

TEST(NumbersWithUnits, HaveKnownUnits)
{
    const Row rows[] = {
        {"5Mev", "2:unknown unit 'Mev' (did you mean MeV?)"}, {"5abc", "2:unknown unit 'abc'"},
        {"1.5th", "4:unknown unit 'th'"}, {"1xff", "2:unknown unit 'xff'"},
        {"00Z", "3:unknown unit 'Z'"}, {"5mm2", "2:unknown unit 'mm2' (did you mean mm?)"},
        {"5m2", "2:unknown unit 'm2'"}, {"5T10", "2:unknown unit 'T10'"},
        {"3Mev5", "2:unknown unit 'Mev5'"}, {"5MM2", "2:unknown unit 'MM2'"},
        {"10mmx20mm", "3:unknown unit 'mmx20mm'"}, {"10mmx20", "3:unknown unit 'mmx20'"},
        {"10x20mm", "3:unknown unit 'x20mm'"}, {"4x4X.5in 1m", "2:unknown unit 'x4X.5in', 10:1 m"},
        {"20.5x10.2mm", "5:unknown unit 'x10.2mm'"},
        {"5mmx", "2:unknown unit 'mmx' (did you mean mm?)"}, {"1min30s", "2:unknown unit 'min30s'"},
        {"5\xC2\xB5m", "2:unknown unit '\xC2\xB5m' (did you mean um?)"},
        {"5\xCE\xBCs", "2:unknown unit '\xCE\xBCs' (did you mean us?)"},
        {"5\xC2\xB5m2", "2:unknown unit '\xC2\xB5m2' (did you mean um?)"},
        {"5m\xC2\xB2 6cm", "2:unknown unit 'm\xC2\xB2', 5:6 cm"},             // a raised 2
        {"5s\xE2\x81\xBB\xC2\xB9", "2:unknown unit 's\xE2\x81\xBB\xC2\xB9'"}, // a raised -1
        {"5m\xC3\xA9 6cm", "2:unknown unit 'm\xC3\xA9', 5:6 cm"},
        {"5\xE2\x84\xAB", "2:unknown unit '\xE2\x84\xAB'"}, // Angstroem
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, BytesBehindThemThatAreNoUtf8AreLatin1)
{
    const Row rows[] = {
        {"5\xB5m 1m", "5:1 m"},
        {"5m\xB0 1m", "1:5 m, 5:1 m"}, // a degree sign
        {"5m\xA0long", "1:5 m"},       // a blank
        {"5\xB0 1m", "4:1 m"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        std::string found = numbersIn(row.line);
        // A byte that is no UTF-8 is in the message as it stands in the line.
        const size_t message = found.find("2:unknown unit '");
        if (message != std::string::npos)
            found.erase(message, found.find("', ") + 3 - message);
        EXPECT_EQ(found, row.numbers);
    }
    EXPECT_EQ(numbersIn("5\xB5m").substr(0, 16), "2:unknown unit '");
    EXPECT_EQ(numbersIn("5m\xE9").substr(0, 17), "2:unknown unit 'm");
}

TEST(NumbersWithUnits, UnitsThatArePutTogetherAreNotKnown)
{
    const char *const compounds[] = {"m/s", "T/m", "V*m", "m^2", "m^-1", "m^", "m**2", "m**-1",
        "m/s2", "m/s\xC2\xB2", "m/\xC2\xB5s", "m/mev", "m\xC2\xB7s", "m\xE2\x8B\x85s"};
    for (const std::string unit : compounds) {
        SCOPED_TRACE(unit);
        EXPECT_EQ(numbersIn("5" + unit).find("2:unknown unit '" + unit + '\''), 0U);
        EXPECT_EQ(numbersIn("x 5" + unit + ", 1in").find("4:unknown unit '" + unit + '\''), 0U);
    }
    const Row rows[] = {
        {"5m/2s", "1:5 m, 4:2 s"},
        {"5m/step", "1:5 m"},
        {"5m/s.txt", "1:5 m"},
        {"5m/", "1:5 m"},
        {"2nd/e", ""},
        {"5m*(2)", "1:5 m"},
        {"*5m*", "2:5 m"},
        {"5m\xC2\xB7", "1:5 m"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, AreUnclearAsPartsOfFractionsPowersAndExponents)
{
    const std::string lines[] = {"1/2in", "10/3mm", ".5/2in", "1e3/2in", "1\u20442in", "1\u22152in",
        "10^3mm", "10^-3mm", "10**3mm", "10**-3mm", "10^\u22123mm", "x^2mm", "1.5x10^3mm",
        "1e\u22125m", "2.5E\u20135m"};
    for (const std::string &line : lines) {
        const std::string message = ":'" + line + "' may be one number or several";
        check({line.c_str(), ("1" + message).c_str()});
        check({(" -" + line).c_str(), ("3" + message).c_str()});
    }
    check({"1e\u22125", "1:'1e\u22125' may be one number or several"});
    check({"3mm2^5mm",
        "2:unknown unit 'mm2' (did you mean mm?), 5:'^5mm' may be one number or several"});
    check({"1 1/2in", "3:'1/2in' may be one number or several"});
    check({"${x}**2mm", "5:'**2mm' may be one number or several"});
    check({"(1+2)^2mm", "6:'^2mm' may be one number or several"});
    check({"1e-3/2in", "4:'3/2in' may be one number or several"});
}

TEST(NumbersWithUnits, AreClearAsOperands)
{
    const Row rows[] = {
        {"5mm/2in", "1:5 mm, 5:2 in"},
        {"x/2in", "3:2 in"},
        {"BPM1/2in", "6:2 in"},
        {"1 / 2in", "5:2 in"},
        {"/2in", "2:2 in"},
        {"a**5mm**", "4:5 mm"},
        {"^2mm", "2:2 mm"},
        {"3-5mm", "3:5 mm"},
        {"e-5mm", "3:5 mm"},
        {"3\u22125mm", "3:5 mm"},
        {"\u22125mm", "2:5 mm"},
        {"2e\u2212x", "1:2 e"},
        {"2e \u22125mm", "1:2 e, 5:5 mm"},
        {"2m\u22125mm", "1:2 m, 4:5 mm"},
        {"xe\u22125mm", "4:5 mm"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, AreUnclearWithDigitsInGroups)
{
    const char *const lines[] = {"1,024m", "1,200mm", "12,345mm", "1,000,000mm", "1,024.5mm",
        "1'000mm", "5'6in", "1'234'567mm", "1\u2019000mm", "1 000mm", "12 050mm", "1 000 200mm",
        "1 200 050mm", "1\u00A0200mm", "1\u202F200mm", "1\u2009200mm", "0,05m", "1,05m", "0,024m",
        "1,02.5m"};
    for (const std::string line : lines) {
        SCOPED_TRACE(line);
        const std::string message = ":'" + line + "' may be one number or several";
        EXPECT_EQ(numbersIn(line), '1' + message);
        EXPECT_EQ(numbersIn("x = (-" + line + ", 2m)").find('7' + message), 0U);
        EXPECT_EQ(numbersIn("length " + line + ".").find('8' + message), 0U);
        EXPECT_EQ(numbersIn("length " + line + ", and").find('8' + message), 0U);
    }
    check({"BPM,1,024mm", "5:'1,024mm' may be one number or several"});
    check({"1,024Mev", "6:unknown unit 'Mev' (did you mean MeV?)"});
    check({"1,024mm/s", "6:unknown unit 'mm/s'"});
}

TEST(NumbersWithUnits, MayBeItemsOfLists)
{
    const Row rows[] = {
        {"10mm,20mm", "1:10 mm, 6:20 mm"},
        {"(1,2mm)", "4:2 mm"},
        {"(1,20mm)", "4:20 mm"},
        {"1,0m", "3:0 m"},
        {"1, 024m", "4:024 m"},
        {"1, 200m", "4:200 m"},
        {"1,.5m", "3:.5 m"},
        {"1.5,024m", "5:024 m"},
        {"1e3,024m", "5:024 m"},
        {"1,2000mm", "3:2000 mm"},
        {"1234,200mm", "6:200 mm"},
        {"BPM1,024mm", "6:024 mm"},
        {"BPM,1,200mm", "7:200 mm"},
        {"1,200mm,x", "3:200 mm"},
        {"2mm,1,200mm", "1:2 mm, 7:200 mm"},
        {"001,024mm", "5:024 mm"},
        {"01,02mm", "4:02 mm"},
        {"x 1 200mm", "5:200 mm"},
        {"100 200 300mm", "9:300 mm"},
        {"1 20mm", "3:20 mm"},
        {"1  000mm", "4:000 mm"},
        {"001 050mm", "5:050 mm"},
        {"1234 050mm", "6:050 mm"},
        {"2.500 050mm", "7:050 mm"},
        {"'1','20mm'", "6:20 mm"},
        {"1mm 050mm", "1:1 mm, 5:050 mm"},
        {"2026-01-01 050mm", "12:050 mm"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, AreNotLookedForInReferences)
{
    const Row rows[] = {
        {"${2*3cm;mm}", ""},
        {"1m ${2*3cm;mm} 2m${x}3m 4m", "1:1 m, 25:4 m"},
        {"${a${5Mev}3Mev} 4m", "17:4 m"},
        {"${3cm 4m", "3:3 cm, 7:4 m"}, // never closed
        {"${ ${3cm} 4m", "11:4 m"},
        {"} 3m {4m} $x 5m", "3:3 m, 7:4 m, 14:5 m"},
        {"$5m ${5m}.5m", ""},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, SayWhichUnitMayHaveBeenMeant)
{
    EXPECT_EQ(unknownUnit("Mev"), "unknown unit 'Mev' (did you mean MeV?)");
    EXPECT_EQ(unknownUnit("m/s"), "unknown unit 'm/s' (did you mean mps?)");
    EXPECT_EQ(unknownUnit("parsec"), "unknown unit 'parsec'");
}

TEST(NumbersWithUnits, NothingIsReadBehindTheEndOfALine)
{
    std::mt19937 random(1);
    const std::string characters = "05.,' {}eE+-$_mxX^/* \xC3\xA9\xE2\x80\xC2\xB5";
    for (int round = 0; round < 100000; ++round) {
        std::string line(random() % 9, '\0');
        for (char &character : line)
            character = characters[random() % characters.size()];
        NumbersWithUnits numbers(line);
        NumberWithUnit found;
        size_t end = 0;
        while (numbers.next(found)) {
            const size_t begin = numbers.positionOf(found.number);
            ASSERT_GE(begin, end) << line;
            ASSERT_EQ(line.compare(begin, found.text().size(), found.text()), 0);
            ASSERT_TRUE(found.problem.empty() || numbers.positionOf(found.problem) >= end) << line;
            end = begin + found.text().size();
            ASSERT_LE(end, line.size()) << line;
        }
    }
}
