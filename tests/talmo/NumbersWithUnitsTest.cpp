#include "numbers.h"

#include "lineText.h"
#include "talmo/Units.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <random>

using namespace Talmo;

namespace
{

/// The numbers with units in \a line, each as "COLUMN:NUMBER UNIT"; words are in parentheses.
std::string numbersIn(const std::string &line)
{
    NumbersWithUnits numbers(line);
    NumberWithUnit found;
    Columns columns(line);
    std::string all;
    while (numbers.next(found)) {
        const std::string each = std::to_string(columns.at(numbers.position())) + ':' +
                                 std::string(found.number) + ' ' + std::string(found.unit);
        const bool isKnown = Units::factorHash.value(textOf(found.unit)) > 0;
        all += all.empty() ? "" : ", ";
        all += !isKnown && isWord(found) ? '(' + each + ')' : each;
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
        {"5Mev", "1:5 Mev"},
        {"5Tpm2", "1:5 Tpm2"},
        {"${2*3cm;mm}", "5:3 cm"},
        {"5mm. 6mm.", "1:5 mm, 6:6 mm"},
        {"5mm.5", "1:5 mm"},
        {"5.", ""},
        {"5.mm", ""},
        {"...5mm", "3:.5 mm"},
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
        {"1e5e3", "(1:1e5 e3)"},
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
            "2:5 cm"},                // a picture
        {"5m\xC2\xB2 6cm", "5:6 cm"}, // a raised 2
        {"5m\xC3\xA9 6cm", "5:6 cm"},
        {"5m\xE9 6cm", "5:6 cm"},
        {"5m\xC3", ""},
        {"5m.\xC3\xA9 6cm", "6:6 cm"},
        {"5m\xE2\x80\x93", "1:5 m"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, SomeAreWords)
{
    const Row rows[] = {
        {"1st 2nd 3rd 4th", "(1:1 st), (5:2 nd), (9:3 rd), (13:4 th)"},
        {"1.5th", "1:1.5 th"},
        {"0x10 0xff 0XA", "(1:0 x10), (6:0 xff), (11:0 XA)"},
        {"1xff", "1:1 xff"},
        {"2D 3D 4x4 10x", "(1:2 D), (4:3 D), (7:4 x4), (11:10 x)"},
        {"2026-11-22T10:15", "(9:22 T10)"},
        {"5mm2", "(1:5 mm2)"},
        {"5abc", "1:5 abc"},
    };
    for (const Row &row : rows)
        check(row);
}

TEST(NumbersWithUnits, UnitsThatArePutTogetherAreNotKnown)
{
    const Row rows[] = {
        {"5m/s", "1:5 m/s"},
        {"5T/m,", "1:5 T/m"},
        {"5V*m", "1:5 V*m"},
        {"5m^2", "1:5 m^2"},
        {"5m^-1", "1:5 m^-1"},
        {"5m^", "1:5 m^"},
        {"5m/2s", "1:5 m, 4:2 s"},
        {"5m/step", "1:5 m"},
        {"5m/s.txt", "1:5 m"},
        {"5m/", "1:5 m"},
        {"2nd/e", "(1:2 nd)"},
        {"5m*(2)", "1:5 m"},
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
    const std::string characters = "05.eE+-$_mxX^/* \xC3\xA9\xE2\x80";
    for (int round = 0; round < 100000; ++round) {
        std::string line(random() % 9, '\0');
        for (char &character : line)
            character = characters[random() % characters.size()];
        NumbersWithUnits numbers(line);
        NumberWithUnit found;
        size_t end = 0;
        while (numbers.next(found)) {
            ASSERT_GE(numbers.position(), end) << line;
            ASSERT_EQ(line.compare(numbers.position(), found.text().size(), found.text()), 0);
            end = numbers.position() + found.text().size();
            ASSERT_LE(end, line.size()) << line;
        }
    }
}
