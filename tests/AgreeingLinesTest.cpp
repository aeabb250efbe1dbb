#include "AgreeingLines.h"

#include "NastyLines.h"
#include "ReaderOf.h"
#include "firstDifference.h"
#include "judgeLines.h"
#include "talmo/Numbers.h"

#include <cmath>
#include <random>
#include <string>
#include <vector>

using namespace Talmo;

// The quick way may pass over only lines that a comparison line by line finds to agree. The first
// tests see to it that such lines are passed over at all, and the others, on random files, that the
// outcome is the same as without the quick way.

namespace
{

using Tolerances = std::vector<double>;

std::string repeated(const std::string &text, int count)
{
    std::string all;
    for (; count > 0; --count)
        all += text;
    return all;
}

qint64 agreeing(std::string_view content1, std::string_view content2, const Tolerances &tolerances)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    return passAgreeingLines(file1.reader, file2.reader, tolerances);
}

qint64 equal(std::string_view content1, std::string_view content2)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    return passEqualLines(file1.reader, file2.reader);
}

/// The first difference, found line by line, without passing over anything.
template <typename Judge>
Difference plainly(std::string_view content1, std::string_view content2, Judge judge)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    std::string_view line1;
    std::string_view line2;
    for (qint64 line = 1;; ++line) {
        const bool more = file1.reader.readLine(line1);
        if (file2.reader.readLine(line2) != more)
            return {Difference::Length, 0, 0};
        if (!more)
            return {};
        Difference difference = judge(line1, line2);
        difference.line = line;
        if (difference.kind != Difference::None)
            return difference;
    }
}

Difference columnsPlainly(
    std::string_view content1, std::string_view content2, const Tolerances &tolerances)
{
    return plainly(content1, content2, [&](std::string_view line1, std::string_view line2) {
        return judgeLines(line1, line2, tolerances);
    });
}

Difference exactlyPlainly(std::string_view content1, std::string_view content2)
{
    return plainly(content1, content2, [](std::string_view line1, std::string_view line2) {
        return line1 == line2 ? Difference() : Difference{Difference::Text, 0, 0};
    });
}

void expectSame(const Difference &quick, const Difference &plain)
{
    EXPECT_EQ(quick.kind, plain.kind);
    EXPECT_EQ(quick.line, plain.line);
    EXPECT_EQ(quick.column, plain.column);
}

/// Compares in both ways, quickly and line by line, and expects the same outcome.
void expectSameOutcome(
    const std::string &content1, const std::string &content2, const Tolerances &tolerances)
{
    ReaderOf exact1(content1);
    ReaderOf exact2(content2);
    expectSame(
        firstDifference(exact1.reader, exact2.reader, {}), exactlyPlainly(content1, content2));
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    expectSame(firstDifference(file1.reader, file2.reader, tolerances),
        tolerances.empty() ? exactlyPlainly(content1, content2)
                           : columnsPlainly(content1, content2, tolerances));
}

/// \a word with many zeros in front, which make a number the same but longer.
std::string withZeros(const std::string &word)
{
    const size_t sign = word[0] == '-' || word[0] == '+' ? 1 : 0;
    return word.substr(0, sign) + std::string(20, '0') + word.substr(sign);
}

/// Expects that each of \a words is passed over if, and only if, it is a number. The other file has
/// what \a otherOf makes of the word, which is as near to it as \a tolerance.
template <typename Other>
void expectReadAsByToNumber(const std::vector<std::string> &words, Other otherOf, double tolerance)
{
    std::string content1;
    std::string content2;
    for (const std::string &word : words) {
        content1 += word + '\n';
        content2 += otherOf(word) + '\n';
    }
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    qint64 passed = passAgreeingLines(file1.reader, file2.reader, {tolerance});
    for (const std::string &word : words) {
        double value = 0;
        const bool agrees = passed-- > 0;
        ASSERT_EQ(agrees, toNumber(word, value)) << word;
        std::string_view line;
        if (!agrees && file1.reader.readLine(line) && file2.reader.readLine(line))
            passed = passAgreeingLines(file1.reader, file2.reader, {tolerance});
    }
}

/// A line that mostly, but not always, agrees with \a line.
std::string variation(const std::string &line, NastyLines &random, int words)
{
    if (!random.oneIn(3))
        return line;
    if (random.oneIn(200))
        return random.line(words);
    std::string other;
    for (const char character : line) {
        if (character == ' ' && random.oneIn(10))
            other += random.oneIn(2) ? "\t" : "  ";
        else if (character >= '0' && character <= '8' && random.oneIn(400))
            other += static_cast<char>(character + 1);
        else
            other += character;
    }
    return other;
}

} // namespace

TEST(PassAgreeingLines, PassesOverWhatSimulationsPrint)
{
    const struct {
        const char *line1;
        const char *line2;
        Tolerances tolerances;
    } rows[] = {
        {"1 2 3\n", "1 2 3\n", {0, 0, 0}},
        {"1 2 3\n", "1 2 3\n", {0}},
        {"1 2 3 name\n", "1 2 3 name\n", {0, 0, 0}}, // only its numbers count
        {"1.25 -2e-3 3\n", "1.2500001\t-2.0e-3   3.0\n", {1e-6, 0, 0}},
        {"  1.25 2\n", "1.25 2  \n", {0, 0}},
        {"e- 1 x\n", "mu+ 1 y\n", {-1, 0}}, // a column that may hold anything
        {"1e123 0.12345678901234567\n", "1e123 0.12345678901234567\n", {0, 0}},
        {"0.12345678901234567\n", "0.12345678901234566\n", {1e-15}},
        {"# comment\n", "#another \xC3\xA9\n", {0, -1}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line1);
        EXPECT_EQ(agreeing(row.line1, row.line2, row.tolerances), 1);
        for (const int count : {7, 100000}) { // as many lines as fit in one block, or in several
            EXPECT_EQ(
                agreeing(repeated(row.line1, count), repeated(row.line2, count), row.tolerances),
                count);
        }
    }
}

TEST(PassAgreeingLines, StopsWhereACloserLookIsNeeded)
{
    const struct {
        const char *line1;
        const char *line2;
    } rows[] = {
        {" # comment", " # comment"},
        {"# comment", "1 2"},
        {"", ""},
        {"x", "x"},
        {"1", "1"}, // too few columns
        {"1\v2", "1\v2"},
        {"1 \xC3\xA9", "1 \xC3\xA9"},
        {"\xEF\xBB\xBF"
         "1 2",
            "\xEF\xBB\xBF"
            "1 2"}, // the mark is not at the start of the file
        {"1e999 2", "1e999 2"},
        {"1 2#", "1 2#"},
        {"1 2", "1 3"},
        {"1 2", "1 #"},
        {"1 2", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line1);
        const std::string before = repeated("1 2\n", 5);
        const std::string behind = "\n1 2\n";
        EXPECT_EQ(agreeing(before + row.line1 + behind, before + row.line2 + behind, {0, 0}), 5);
        EXPECT_EQ(agreeing(before + row.line2 + behind, before + row.line1 + behind, {0, 0}), 5);
    }
    EXPECT_EQ(agreeing("# a\n", "a\n", {}), 0);
    EXPECT_EQ(agreeing("1 2\n1 2", "1 2\n1 2", {0, 0}), 1); // the last line has no newline
    EXPECT_EQ(agreeing("", "", {0}), 0);
    EXPECT_EQ(agreeing("1\n", "", {0}), 0);
}

TEST(PassAgreeingLines, ReadsShortNumbersAsToNumberDoes)
{
    std::vector<std::string> words = {"0", "-0", "0e5", "1", "+1", "-1", ".5", "5.", "+.5E+1",
        "-.5e-1", "0.1", "4.35", "123456.123456789", "1e22", "1e23", "1e-22", "1e-23", "10e22",
        "1.5e23", "1.5e24", "1e022", "1e100", "1e-300", "0.0000000000000000000001",
        "000000000000001", "999999999999999", "9999999999999999", "999999999999999e22",
        "999999999999999e-22", "9007199254740991", "9007199254740993", "9007199254740993e1",
        "900719925474099.3", "-9007199254740991e22", "1234567890123456789", "18446744073709551616",
        "18446744073709551617e2", "1e308", "1e309", "5e-324"};
    const char *const formats[] = {"%.0f", "%.1f", "%.6f", "%.9f", "%g", "%.3g", "%.12g", "%.15g",
        "%.16g", "%e", "%.3E", "%.10e", "%.14e", "%+.5f", "%+.6e", "%#.0f"};
    std::mt19937_64 random(2);
    for (int count = 0; count < 1500; ++count) {
        const double number = static_cast<double>(static_cast<qint64>(random()));
        const double value = std::ldexp(number, -60) * std::pow(10, count % 60 - 30);
        for (const char *const format : formats)
            words.push_back(formattedNumber(format, value));
    }
    expectReadAsByToNumber(words, withZeros, 0);
}

TEST(PassAgreeingLines, ReadsNoOtherWordAsANumber)
{
    std::vector<std::string> words = {".", "+", "-", "-.", "e1", ".e1", "1e", "1e+", "1e-", "nan",
        "inf", "+-1", "-+1", "+1e+-1", "1e1e1", "1.2.3", "1e2.5", "1e18446744073709551617"};
    for (const std::string &word :
        withAnyByte({"12", "-12.", "1.5", ".5E+12", "123456789012345"})) {
        if (word.find_first_of(" \t\r\n") == std::string::npos && !word.empty())
            words.push_back(word);
    }
    expectReadAsByToNumber(
        words, [](const std::string &) { return std::string("0"); }, 1e308);
}

TEST(PassEqualLines, PassesOverAllThatIsEqual)
{
    EXPECT_EQ(equal("", ""), 0);
    EXPECT_EQ(equal("a\n", ""), 0);
    EXPECT_EQ(equal("a\nb\n", "a\nb\n"), 2);
    EXPECT_EQ(equal("a\nb\nc\n", "a\nb\nx\n"), 2);
    EXPECT_EQ(equal("a\nb\n", "a\nb\nc\n"), 2);
    EXPECT_EQ(equal("a\nb", "a\nb"), 1); // the last one has no newline
    EXPECT_EQ(equal("a\r\n\r\nb\n", "a\n\nb\r\n"), 3);
    EXPECT_EQ(equal("\xEF\xBB\xBF"
                    "a\n",
                  "a\n"),
        1);
    for (const int count : {63, 64, 65, 128, 40000}) {
        const std::string lines = repeated("\n", count) + repeated("a line\n", count);
        EXPECT_EQ(equal(lines, lines), 2 * count);
        EXPECT_EQ(equal(lines + "a\n", lines + "b\n"), 2 * count);
    }
}

TEST(AgreeingLines, LeaveTheOutcomeAsItWas)
{
    NastyLines random(4);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const int words = 1 + random.below(6);
        Tolerances tolerances;
        for (int column = 0; column < words - random.below(2); ++column)
            tolerances.push_back(random.oneIn(12) ? -1 : random.oneIn(3) ? 0 : 0.1);
        std::string content1 = random.oneIn(20) ? "\xEF\xBB\xBF" : "";
        std::string content2 = random.oneIn(20) ? "\xEF\xBB\xBF" : "";
        for (int lines = random.below(40); lines > 0; --lines) {
            const std::string line = random.line(words);
            content1 += line + (random.oneIn(20) ? "\r\n" : "\n");
            content2 += variation(line, random, words) + (random.oneIn(20) ? "\r\n" : "\n");
        }
        if (random.oneIn(5) && !content1.empty())
            content1.pop_back();
        if (random.oneIn(5) && !content2.empty())
            content2.pop_back();
        expectSameOutcome(content1, content2, tolerances);
    }
}

TEST(AgreeingLines, LeaveTheOutcomeAsItWasInLargeFiles)
{
    NastyLines random(5);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        std::string content1;
        std::string content2;
        while (content1.size() < 700000) { // several blocks, which end at different lines
            const std::string line = random.number() + ' ' + random.number();
            double value = 0;
            const size_t blank = line.find(' ');
            if (!toNumber(line.substr(0, blank), value) || !toNumber(line.substr(blank + 1), value))
                continue;
            content1 += line + '\n';
            content2 += (random.oneIn(3) ? "  " : "") + line + (random.oneIn(9) ? "\r\n" : "\n");
        }
        expectSameOutcome(content1, content2, {0, 0});
        expectSameOutcome(content1 + "1 2", content2 + "1 3", {0, 0});
        const auto middle = static_cast<size_t>(random.below(700000));
        content2[middle] = content2[middle] == '1' ? '2' : '1';
        expectSameOutcome(content1, content2, {0, 0});
    }
}

TEST(AgreeingLines, LeaveTheOutcomeAsItWasAroundTheEndsOfBlocks)
{
    constexpr size_t block = 1 << 18;
    const std::string line = "1.25 -3.5e-7 12\n";
    for (size_t length = block - 5; length <= block + 5; ++length) {
        SCOPED_TRACE(length);
        std::string content = repeated(line, static_cast<int>(length / line.size()));
        content += std::string(length - content.size(), ' '); // ends in the middle of a line
        expectSameOutcome(content + "1 2 3\n", content + "1 2 3\n", {0, 0, 0});
        expectSameOutcome(content + "1 2 3\n4 5 6", content + "1 2 4\n4 5 6", {0, 0, 0});
        expectSameOutcome(content + "1 2 3\n4 5 6\n", content + " 1 2 3\n4 5 6", {0, 0, 0});
        expectSameOutcome(content + "1 2 3", content + "1 2", {0, 0, 0});
        expectSameOutcome(" " + content + "1 2 3\n", content + "1 2 3.5\n", {0, 0, 0});
    }
}
