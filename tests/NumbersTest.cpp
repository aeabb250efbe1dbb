#include "talmo/Numbers.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

using Talmo::appendNumber;
using Talmo::toInteger;
using Talmo::toNumber;

namespace
{

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double smallest = std::numeric_limits<double>::denorm_min();
constexpr double largest = std::numeric_limits<double>::max();

/// What printf writes for "%.*g"; test programs never leave the C locale.
std::string printed(double value, int digits)
{
    char text[1200];
    const int length = std::snprintf(text, sizeof text, "%.*g", digits, value);
    EXPECT_TRUE(length > 0 && static_cast<size_t>(length) < sizeof text);
    return text;
}

std::string appended(double value, int digits)
{
    std::string text;
    appendNumber(text, value, digits);
    return text;
}

std::string formatted(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text = Talmo::formatted(format, arguments);
    va_end(arguments);
    return text;
}

/// A random number as text: sign, digits, point and exponent, each sometimes absent.
std::string randomNumber(std::mt19937_64 &random)
{
    const auto below = [&](unsigned limit) { return static_cast<int>(random() % limit); };
    const auto digits = [&](int count) {
        std::string text;
        for (; count > 0; --count)
            text += static_cast<char>('0' + below(10));
        return text;
    };
    const char *const signs[] = {"", "+", "-"};
    std::string text = signs[below(3)];
    const int whole = below(25);
    text += digits(whole);
    if (whole == 0)
        text += '.' + digits(1 + below(25));
    else if (below(2) == 0)
        text += '.' + digits(below(25));
    if (below(2) == 0)
        text += (below(2) == 0 ? "e" : "E") + std::string(signs[below(3)]) + digits(1 + below(3));
    return text;
}

} // namespace

TEST(ToNumber, ReadsASignDigitsAPointAndAnExponent)
{
    const struct {
        const char *word;
        double value;
    } rows[] = {
        {"1", 1},
        {"+1", 1},
        {"-1", -1},
        {"1.", 1},
        {".5", 0.5},
        {"-.5", -0.5},
        {"+.5e1", 5},
        {"5.e-1", 0.5},
        {"1e3", 1000},
        {"1E+03", 1000},
        {"2.5E-3", 0.0025},
        {"007", 7},
        {"0", 0},
        {"0.1", 0.1},
        {"4.35", 4.35},
        {"123456.123456789", 123456.123456789},
        {"0e5", 0},
        {"1e22", 1e22}, // a double
        {"1e23", 1e23}, // none, as the rest of these
        {"1.5e24", 1.5e24},
        {"1e-23", 1e-23},
        {"1e0022", 1e22},
        {"9007199254740991e22", 9007199254740991e22},
        {"9007199254740991e-22", 9007199254740991e-22},
        {"00000000000000000000001", 1},
        {"1e308", 1e308},
        {"1.7976931348623157e308", largest},
        {"1.7976931348623158079e308", largest}, // just below the tie with the overflow
        {"-1.7976931348623157e+0308", -largest},
        {"2.2250738585072014e-308", std::numeric_limits<double>::min()},
        {"5e-324", smallest},
        {"3e-324", smallest},
        {"2e-324", 0}, // nearer to 0
        {"1e-400", 0},
        {"1e-99999999999999999999", 0},
        {"0e99999999999999999999", 0},
        {"9007199254740993", 9007199254740992}, // 2^53 + 1 is a tie and rounds to even
        {"9007199254740993.0000000000000000000000000000001", 9007199254740994.0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.word);
        double value = 12345;
        EXPECT_TRUE(toNumber(row.word, value));
        EXPECT_EQ(value, row.value);
    }
}

TEST(ToNumber, KeepsTheSignOfZero)
{
    for (const char *word : {"-0", "-0.0", "-.0e5", "-1e-400"}) {
        SCOPED_TRACE(word);
        double value = 1;
        EXPECT_TRUE(toNumber(word, value));
        EXPECT_TRUE(value == 0 && std::signbit(value));
    }
}

TEST(ToNumber, RefusesEverythingElseAndLeavesTheValueAlone)
{
    using std::string_view_literals::operator""sv;
    const std::string_view rows[] = {"nan", "NaN", "-nan", "+nan", "nan(1)", "inf", "+inf", "-inf",
        "INF", "infinity", "-Infinity", "", "+", "-", ".", "-.", "+.", "e5", ".e5", "-e5", "1e",
        "1e+", "1E-", "1e1.5", "1e 3", "0x10", "0x1p3", "1p3", "1,5", "1.000,5", "1d3", "1D3",
        "1_0", "1'000", "1f", "1L", "1:", "1/", "1\x80", "1\xFF", "e1", "x1", "1e-", "1.2.3", "1..",
        "--1", "++1", "+-1", "-+1", " 1", "1 ", "1\t", "1\n", "- 1", "one",
        "\u0661",  // Arabic-Indic digit one
        "\uFEFF1", // behind a byte order mark
        "\u22121", // behind the minus sign of typographers
        "1\0"sv, "\0"sv, "1\0002"sv};
    for (const std::string_view word : rows) {
        SCOPED_TRACE(word);
        double value = 12345;
        EXPECT_FALSE(toNumber(word, value));
        EXPECT_EQ(value, 12345);
    }
}

TEST(ToNumber, RefusesMagnitudesThatOverflow)
{
    const std::string rows[] = {
        "1e309",
        "-1e309",
        "1e999",
        "-1e999",
        "+1e999",
        "1.8e308",
        "1e99999999999999999999",
        "1.7976931348623159e308", // just above the tie
        "1" + std::string(309, '0'),
    };
    for (const std::string &word : rows) {
        SCOPED_TRACE(word);
        double value = 12345;
        EXPECT_FALSE(toNumber(word, value));
        EXPECT_EQ(value, 12345);
    }
    double value = 0;
    EXPECT_TRUE(toNumber("1" + std::string(308, '0'), value));
    EXPECT_EQ(value, 1e308);
}

TEST(ToNumber, ReadsNoFartherThanTheWord)
{
    double value = 0;
    EXPECT_TRUE(toNumber(std::string_view("12345").substr(1, 2), value));
    EXPECT_EQ(value, 23);
    const std::string tiny = "0." + std::string(400, '0') + '1';
    const std::string longer = tiny + "e401"; // its value is 1
    EXPECT_TRUE(toNumber(std::string_view(longer).substr(0, tiny.size()), value));
    EXPECT_EQ(value, 0);
    EXPECT_FALSE(toNumber(std::string_view(), value));
}

TEST(ToNumber, TakesWordsOfAnyLength)
{
    double value = 0;
    EXPECT_TRUE(toNumber(std::string(100000, '0') + "25", value));
    EXPECT_EQ(value, 25);
    EXPECT_TRUE(toNumber("0." + std::string(100000, '3'), value));
    EXPECT_EQ(value, 1.0 / 3);
    EXPECT_FALSE(toNumber(std::string(100000, '3'), value));
}

TEST(ToNumber, AgreesWithTheCLibraryOnRandomNumbers)
{
    std::mt19937_64 random(1);
    int overflows = 0;
    for (int n = 0; n < 200000; ++n) {
        const std::string word = randomNumber(random);
        SCOPED_TRACE(word);
        const double expected = std::strtod(word.c_str(), nullptr);
        double value = 12345;
        ASSERT_EQ(toNumber(word, value), !std::isinf(expected));
        ASSERT_EQ(value, std::isinf(expected) ? 12345 : expected);
        overflows += std::isinf(expected);
    }
    EXPECT_GT(overflows, 1000);
}

TEST(ToInteger, ReadsADecimalIntegerWithASign)
{
    const struct {
        const char *word;
        int value;
    } rows[] = {
        {"0", 0},
        {"-0", 0},
        {"+13", 13},
        {"-13", -13},
        {"010", 10}, // not octal
        {"00000000000000000000001", 1},
        {"2147483647", 2147483647},
        {"+2147483647", 2147483647},
        {"-2147483648", std::numeric_limits<int>::min()},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.word);
        int value = 12345;
        EXPECT_TRUE(toInteger(row.word, value));
        EXPECT_EQ(value, row.value);
    }
}

TEST(ToInteger, RefusesEverythingElseAndLeavesTheValueAlone)
{
    using std::string_view_literals::operator""sv;
    const std::string_view rows[] = {"", "+", "-", "1.5", "1.0", "3.", ".3", "1e2", "0x3", "3x",
        "x3", "--1", "++1", "+-1", "-+1", " 3", "3 ", "1,000", "1_0", "nan", "2147483648",
        "-2147483649", "99999999999999999999", "\xD9\xA1", "3\0"sv};
    for (const std::string_view word : rows) {
        SCOPED_TRACE(word);
        int value = 12345;
        EXPECT_FALSE(toInteger(word, value));
        EXPECT_EQ(value, 12345);
    }
}

TEST(AppendNumber, WritesSixDigitsAsPrintfDoes)
{
    const struct {
        double value;
        const char *text;
    } rows[] = {
        {0, "0"},
        {-0.0, "-0"},
        {1, "1"},
        {-2.50, "-2.5"},
        {0.1 + 0.2, "0.3"},
        {1.0 / 3, "0.333333"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},
        {0.000099999951, "0.0001"}, // rounding moves it across the limit
        {100000, "100000"},
        {999999, "999999"},
        {999999.5, "1e+06"},
        {1000000, "1e+06"},
        {1234567, "1.23457e+06"},
        {123456.5, "123456"}, // exact ties round to even
        {123457.5, "123458"},
        {1e100, "1e+100"},
        {-1e-100, "-1e-100"},
        {largest, "1.79769e+308"},
        {smallest, "4.94066e-324"},
        {infinity, "inf"},
        {-infinity, "-inf"},
        {std::numeric_limits<double>::quiet_NaN(), "nan"},
    };
    for (const auto &row : rows) {
        std::string text = "x=";
        appendNumber(text, row.value);
        EXPECT_EQ(text, std::string("x=") + row.text);
    }
}

TEST(AppendNumber, WritesAnyNumberOfDigits)
{
    const double values[] = {0, -0.0, 0.5, 2.5, 3.5, 9.5, 0.1, 1e22, 1e23, 123456789, largest,
        smallest, 0.00012207031249999999};
    for (const double value : values) {
        for (const int digits : {0, 1, 2, 6, 15, 16, 17, 40, 767, 2000}) {
            SCOPED_TRACE(digits);
            EXPECT_EQ(appended(value, digits), printed(value, digits));
        }
    }
}

TEST(AppendNumber, AgreesWithPrintfOnRandomNumbers)
{
    std::mt19937_64 random(2);
    for (int n = 0; n < 200000; ++n) {
        const std::uint64_t bits = random();
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        if (n % 2 == 0) // half of the numbers have any bits, the others are of everyday size
            value = static_cast<double>(static_cast<std::int64_t>(bits) >> (bits % 64)) / 1024;
        const int digits = 1 + n % 18;
        ASSERT_EQ(appended(value, digits), printed(value, digits));
        ASSERT_EQ(appended(value, 6), printed(value, 6));
    }
}

TEST(Formatted, WritesWhatPrintfWould)
{
    const struct {
        std::string text;
        const char *expected;
    } rows[] = {
        {formatted("%s", ""), ""}, // the compiler would warn of an empty format
        {formatted("plain\n"), "plain\n"}, {formatted("%%"), "%"},
        {formatted("100%% %d", 5), "100% 5"},
        {formatted("%s|%5s|%-5s|", "a", "b", "c"), "a|    b|c    |"},
        {formatted("%d %u %x %c", -1, 7U, 255U, 'z'), "-1 7 ff z"},
        {formatted("%lld", 9223372036854775807LL), "9223372036854775807"},
        {formatted("%g %g %g", 0.0, -0.0, 0.1), "0 -0 0.1"}, {formatted("%g", 123456.5), "123456"},
        {formatted("%.3f %.3f", 1.0, -1234567.5), "1.000 -1234567.500"},
        {formatted("%e", 12345.0), "1.234500e+04"}, {formatted("%.*g", 3, 2.0 / 3), "0.667"},
        {formatted("%s", "Gr\xC3\xB6\xFF"), "Gr\xC3\xB6\xFF"}, // bytes pass as they are
    };
    for (const auto &row : rows)
        EXPECT_EQ(row.text, row.expected);
}

TEST(Formatted, HasNoLimitOfLength)
{
    const std::string longText(1000000, 'x');
    EXPECT_EQ(formatted("<%s>", longText.c_str()), '<' + longText + '>');
    EXPECT_EQ(formatted("%5000d", 7), std::string(4999, ' ') + '7');
}

TEST(Formatted, HoldsTheNulThatAFormatPrints)
{
    EXPECT_EQ(formatted("a%cb", '\0'), std::string("a\0b", 3));
}

TEST(Formatted, IsEmptyIfTheLibraryReportsAnError)
{
    EXPECT_EQ(formatted("a%lsb", L"\u00E9"), ""); // the C locale has no such character
}

TEST(FormattedNumber, WritesWhatPrintfWould)
{
    for (const char *format :
        {"%g", "%.12g", "%8.3f|", "%-+12.4E|", "% 05.1f", "%#g", "%la", "%G"}) {
        for (const double value : {0.0, -0.0, 0.25, -123456.5, largest, smallest, -infinity}) {
            char text[1000];
            const int length = std::snprintf(text, sizeof text, format, value);
            EXPECT_TRUE(length > 0 && static_cast<size_t>(length) < sizeof text);
            EXPECT_EQ(Talmo::formattedNumber(format, value), text);
        }
    }
}
