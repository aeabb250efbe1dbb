#include "QuickNumber.h"

#include "NastyLines.h"
#include "talmo/Numbers.h"

#include <cmath>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

struct Reading {
    bool succeeds;
    double value;
};

/// What quickNumber makes of the whole of \a word.
Reading quickly(const std::string &word)
{
    const std::string padded = word + ' ' + std::string(8, '7');
    double value = 0;
    const char *const end = quickNumber(padded.c_str(), value);
    return {end == padded.c_str() + word.size(), value};
}

Reading plainly(const std::string &word)
{
    double value = 0;
    return {toNumber(word, value), value};
}

bool sameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Expects that \a word is read in the same way as by toNumber, or not read. Returns true if it was
/// read.
bool expectAgreement(const std::string &word)
{
    const Reading quick = quickly(word);
    if (!quick.succeeds || word.find_first_of(" \t") != std::string::npos)
        return false;
    const Reading plain = plainly(word);
    EXPECT_TRUE(plain.succeeds) << word;
    EXPECT_TRUE(sameBits(quick.value, plain.value)) << word;
    return true;
}

} // namespace

TEST(QuickNumber, ReadsWhatToNumberReads)
{
    NastyLines random(1);
    int read = 0;
    for (int count = 0; count < 400000; ++count)
        read += expectAgreement(random.word());
    EXPECT_GT(read, 200000);
}

TEST(QuickNumber, ReadsWhatToNumberReadsWhateverTheByte)
{
    int read = 0;
    for (const std::string &word : withAnyByte())
        read += expectAgreement(word);
    EXPECT_GT(read, 200);
}

TEST(QuickNumber, ReadsTheUsualNumbersItself)
{
    std::mt19937_64 random(2);
    const char *const formats[] = {"%.0f", "%.1f", "%.6f", "%.9f", "%g", "%.3g", "%.12g", "%.15g",
        "%e", "%.3E", "%.10e", "%.14e", "%+.5f", "%+.6e", "%#.0f"};
    for (int count = 0; count < 100000; ++count) {
        const double value = std::ldexp(static_cast<double>(static_cast<qint64>(random())), -60);
        for (const char *const format : formats) {
            char word[80];
            std::snprintf(word, sizeof word, format, value);
            const Reading quick = quickly(word);
            EXPECT_TRUE(quick.succeeds || std::fabs(value) < 1e-6) << word;
            EXPECT_TRUE(!quick.succeeds || sameBits(quick.value, plainly(word).value)) << word;
        }
    }
}

TEST(QuickNumber, ThePointMayStandAnywhere)
{
    const std::string digits = "12345678901234";
    for (size_t length = 0; length <= digits.size(); ++length) {
        for (size_t point = 0; point <= length; ++point) {
            std::string word = digits.substr(0, length);
            word.insert(point, ".");
            for (const char *const ending :
                {"", "e3", "E-07", "e", ".", "x", ":", "/", "\x80", "\xFF"}) {
                SCOPED_TRACE(word + ending);
                const Reading quick = quickly(word + ending);
                const Reading plain = plainly(word + ending);
                EXPECT_EQ(quick.succeeds, plain.succeeds);
                EXPECT_TRUE(!plain.succeeds || sameBits(quick.value, plain.value));
            }
        }
    }
}

TEST(QuickNumber, RoundsAsItMustAtTheLimits)
{
    const struct {
        const char *word;
        bool quick;
    } rows[] = {
        {"0", true},
        {"-0", true},
        {"0e5", true},
        {"9007199254740991", true},
        {"9007199254740992", false}, // from here on, whole numbers may be inexact
        {"9007199254740993", false},
        {"-9007199254740991e22", true},
        {"9007199254740991e-22", true},
        {"1e22", true},
        {"1e23", false}, // the power of ten is not exact
        {"1e-22", true},
        {"1e-23", false},
        {"10e22", true},
        {"1.5e23", true}, // 15 * 10^22
        {"1.5e24", false},
        {"0.0000000000000000000001", false}, // has too many digits
        {"0.000000000000000001", true},
        {"1234567890123456789", false},
        {"00000000000000000001", false},
        {"0000000000000000001", true},
        {"1e0022", false},
        {"1e022", true},
        {"4.35", true},
        {"0.1", true},
        {"123456.123456789", true},
        {".5", true},
        {"5.", true},
        {"+.5E+1", true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.word);
        const Reading quick = quickly(row.word);
        EXPECT_EQ(quick.succeeds, row.quick);
        ASSERT_TRUE(plainly(row.word).succeeds);
        EXPECT_TRUE(!row.quick || sameBits(quick.value, plainly(row.word).value));
    }
}

TEST(QuickNumber, RefusesWhatIsNoNumber)
{
    const char *const words[] = {
        "", ".", "+", "-", "-.", "e1", ".e1", "1e", "1e+", "1e-", "nan", "inf", "+-1", "x1"};
    for (const char *const word : words) {
        SCOPED_TRACE(word);
        EXPECT_FALSE(quickly(word).succeeds);
    }
}

TEST(QuickDigits, ReadsAnyNumberOfDigits)
{
    const std::string digits = "12345678901234567890";
    for (std::size_t length = 0; length < 20; ++length) {
        SCOPED_TRACE(length);
        for (const char behind : {' ', '\n', '.', '/', ':', 'e', '\0', '\x7F', '\xB0', '\xFF'}) {
            const std::string text = digits.substr(0, length) + behind + "99999999";
            std::uint64_t number = 0;
            EXPECT_EQ(quickDigits(text.c_str(), number), text.c_str() + length);
            EXPECT_EQ(number, length == 0 ? 0 : std::stoull(digits.substr(0, length)));
        }
    }
    std::uint64_t number = 12;
    quickDigits("345 789012", number); // appends to the digits that are already in the number
    EXPECT_EQ(number, 12345U);
}
