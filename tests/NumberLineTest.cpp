#include "NumberLine.h"

#include "LineReader.h"
#include "NastyLines.h"
#include "Words.h"
#include "talmo/Numbers.h"

#include <algorithm>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

bool isNumberLine(const std::string &line, size_t count)
{
    // What stands behind the line must not be taken for a part of a number, or for more words.
    const auto is = [&](const std::string &behind) {
        const std::string padded = line + '\n' + behind + std::string(LineReader::padding, '1');
        return Talmo::isNumberLine(padded.c_str(), padded.c_str() + line.size(), count);
    };
    const bool result = is("");
    EXPECT_EQ(is(" x 1 "), result) << line;
    EXPECT_EQ(is(" 1 1 "), result) << line;
    return result;
}

bool isNumber(std::string_view word)
{
    double value = 0;
    return toNumber(word, value);
}

/// Whether \a line holds nothing but numbers, at least \a count of them.
bool holdsNumbers(const std::string &line, size_t count)
{
    Words words;
    words.split(line);
    for (size_t index = 0; index < words.count(); ++index) {
        if (!isNumber(words[index]))
            return false;
    }
    return words.count() >= count;
}

/// Whether \a line has nothing in it that the proof leaves to the plain way.
bool isUsual(const std::string &line)
{
    Words words;
    words.split(line);
    for (size_t index = 0; index < words.count(); ++index) {
        const std::string_view word = words[index];
        const size_t letter = word.find_first_of("eE");
        const size_t power = letter == std::string_view::npos
                                 ? word.size()
                                 : word.find_first_not_of("+-", letter + 1);
        if (word.size() > 63 || (power < word.size() && word.size() - power > 2))
            return false;
    }
    return std::all_of(line.begin(), line.end(), [](char character) {
        return character == '\t' || (character >= ' ' && character < '\x7F');
    });
}

/// Expects that \a line is judged in the same way as by toNumber, or not proven. Returns true if it
/// was proven to hold \a count numbers.
bool expectAgreement(const std::string &line, size_t count)
{
    const bool is = isNumberLine(line, count);
    const bool should = holdsNumbers(line, count);
    EXPECT_TRUE(isUsual(line) ? is == should : !is || should) << line;
    return is;
}

} // namespace

TEST(NumberLine, AgreesWithToNumber)
{
    NastyLines random(3);
    int proven = 0;
    for (int count = 0; count < 200000; ++count) {
        const int words = 1 + random.below(14);
        const std::string line = random.line(words);
        const auto needed = static_cast<size_t>(std::max(words - random.below(2), 1));
        proven += expectAgreement(line, needed);
    }
    EXPECT_GT(proven, 50000);
}

TEST(NumberLine, AgreesWithToNumberWhateverTheByte)
{
    int proven = 0;
    for (const std::string &word : withAnyByte())
        proven += expectAgreement(word, 1);
    EXPECT_GT(proven, 200);
}

TEST(NumberLine, EveryShapeOfNumberAtEveryPlace)
{
    const struct {
        const char *word;
        bool isNumber;
    } rows[] = {
        {"1", true}, {"-1", true}, {"+1", true}, {"1.", true}, {".1", true}, {"-.1", true},
        {"1.2", true}, {"1e2", true}, {"1E+2", true}, {"1.e-2", true}, {".1e22", true},
        {"12345.678901234567890123", true}, {"", true}, // an empty word makes two blanks
        {".", false}, {"-", false}, {"+.", false}, {"e1", false}, {".e1", false}, {"1e", false},
        {"1e+", false}, {"1e+-1", false}, {"--1", false}, {"1-", false}, {"1-2", false},
        {"1.2.3", false}, {"1..2", false}, {"1e2.", false}, {"1e2e3", false}, {"1ee2", false},
        {"x", false}, {"1x", false}, {"#", false}, {"1:", false}, {"1/", false}, {"1,", false},
        {"\x80", false}, {"1\xFF", false}, {"1\v2", false}, {"nan", false}, {"inf", false},
        {"1e123", false}, // is left to the plain way
    };
    for (const auto &row : rows) {
        for (size_t before = 0; before < 140; ++before) { // moves across the ends of two blocks
            const std::string line = std::string(before, ' ') + row.word + " 2 3";
            EXPECT_EQ(isNumberLine(line, 2), row.isNumber) << row.word << " behind " << before;
            const std::string filled = "1 " + std::string(before, '\t') + row.word + " 2";
            EXPECT_EQ(isNumberLine(filled, 2), row.isNumber) << row.word << " behind " << before;
            EXPECT_EQ(isNumberLine(std::string(before, ' ') + "2 " + row.word, 1), row.isNumber);
        }
    }
}

TEST(NumberLine, CountsTheWords)
{
    std::string line;
    for (size_t words = 0; words < 100; ++words) {
        EXPECT_TRUE(isNumberLine(line, words));
        EXPECT_FALSE(isNumberLine(line, words + 1));
        line += words % 3 == 0 ? " 1" : "  12.5";
    }
}

TEST(NumberLine, WordsMayBeAsLongAsABlockLessItsBlank)
{
    for (size_t length = 1; length < 64; ++length) {
        const std::string word(length, '7');
        EXPECT_TRUE(isNumberLine(word, 1)) << length;
        EXPECT_TRUE(isNumberLine(word + ' ' + word + ' ' + word, 3)) << length;
    }
    EXPECT_FALSE(isNumberLine(std::string(64, '7'), 1));
    EXPECT_FALSE(isNumberLine("1 " + std::string(300, '7'), 1));
}
