#include "Difference.h"
#include "Printing.h"
#include "ReaderOf.h"
#include "firstDifference.h"
#include "judgeLines.h"
#include "toldDifference.h"

#include <iterator>
#include <ostream>

#include <gtest/gtest.h>

using namespace Talmo;

namespace Talmo
{

static bool operator==(const Difference &a, const Difference &b)
{
    return a.kind == b.kind && a.line == b.line && a.column == b.column;
}

static void PrintTo(const Difference &difference, std::ostream *out)
{
    *out << "kind " << difference.kind << " line " << difference.line << " column "
         << difference.column;
}

} // namespace Talmo

namespace
{

constexpr Difference same = {};

Difference exactly(std::string_view content1, std::string_view content2)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    return firstDifference(file1.reader, file2.reader, {});
}

Difference byColumns(
    std::string_view content1, std::string_view content2, const std::vector<double> &tolerances)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    return firstDifference(file1.reader, file2.reader, tolerances);
}

} // namespace

TEST(JudgeColumns, ColumnsMayDifferByTheirTolerance)
{
    const struct {
        const char *line1;
        const char *line2;
        std::vector<double> tolerances;
        Difference difference;
    } rows[] = {
        {"1", "1.00", {0}, same},
        {"1", "1.0000000000000002", {0}, {Difference::Value, 0, 1}},
        {"0", "-0", {0}, same},
        {"1", "1.5", {0.5}, same}, // the difference equals the tolerance
        {"1.5", "1", {0.5}, same},
        {"1", "1.5000000000000002", {0.5}, {Difference::Value, 0, 1}}, // just above
        {"1", "1.5", {0.49999999999999994}, {Difference::Value, 0, 1}},
        {"1.000", "1.001", {0.001}, same},                      // 1.001 - 1 is just below 0.001
        {"2.000", "2.001", {0.001}, same},                      // and so is this
        {"4.000", "4.001", {0.001}, {Difference::Value, 0, 1}}, // but this is just above
        {"1.0", "1.002", {0.001}, {Difference::Value, 0, 1}},
        {"-1", "1", {2}, same},
        {"-1", "1", {1.9999999999999998}, {Difference::Value, 0, 1}},
        {"1e308", "-1e308", {1e308}, {Difference::Value, 0, 1}}, // the difference overflows
        {"1e-400", "0", {0}, same},
        {"1 2 3", "1 2 4", {0, 0}, same}, // words beyond the tolerances do not count
        {"1 2 x", "1 2", {0, 0}, same},
        {"1 2", "1 3", {0, 0}, {Difference::Value, 0, 2}},
        {"1 2", "2 3", {0, 0}, {Difference::Value, 0, 1}}, // the first difference counts
        {"1 2", "2 x", {1, 0}, {Difference::InvalidData, 0, 2}},
        {"1 x", "3 x", {1, 0}, {Difference::Value, 0, 1}},
        {"1 2", "1 2", {}, same},
        {"1e308", "0", {1e308}, same},
        {"1", "1.0000000000000000001", {0}, same}, // both are the same double
        {"1", "1", {-0.0}, same},                  // -0 is not negative
        {"1", "2", {-0.0}, {Difference::Value, 0, 1}},
        {"1", "2", {-1e-300}, same},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.line1) + " | " + row.line2);
        EXPECT_EQ(judgeLines(row.line1, row.line2, row.tolerances), row.difference);
        EXPECT_EQ(judgeLines(row.line2, row.line1, row.tolerances), row.difference);
    }
}

TEST(JudgeColumns, ANegativeToleranceLeavesItsColumnAlone)
{
    EXPECT_EQ(judgeLines("a 1", "b 1", {-1, 0}), same);
    EXPECT_EQ(judgeLines("a 1", "b 2", {-1, 0}), (Difference{Difference::Value, 0, 2}));
    EXPECT_EQ(judgeLines("a 1", "b x", {-5e-324, 0}), (Difference{Difference::InvalidData, 0, 2}));
    EXPECT_EQ(judgeLines("", "x", {-1}), same);
    EXPECT_EQ(judgeLines("a", "b c", {-1, -1}), (Difference{Difference::TooFewColumns, 0, 0}));
    // -0 is not negative, so the column is compared.
    EXPECT_EQ(judgeLines("a", "a", {-0.0}), (Difference{Difference::InvalidData, 0, 1}));
}

TEST(JudgeColumns, OnlyNumbersCanBeCompared)
{
    const char *const words[] = {"nan", "-nan", "inf", "x", "0x1", "1,0", "1e999", "1#"};
    for (const char *word : words) {
        SCOPED_TRACE(word);
        const Difference invalid = {Difference::InvalidData, 0, 1};
        EXPECT_EQ(judgeLines(word, "1", {1e300}), invalid);
        EXPECT_EQ(judgeLines("1", word, {1e300}), invalid);
        EXPECT_EQ(judgeLines(word, word, {1e300}), invalid);
    }
}

TEST(JudgeColumns, CommentsAgreeWithComments)
{
    const Difference mismatch = {Difference::CommentMismatch, 0, 0};
    EXPECT_EQ(judgeLines("#a", "#b c d", {0, 0, 0}), same);
    EXPECT_EQ(judgeLines("#", "  # x", {0}), same);
    EXPECT_EQ(judgeLines("#1", "1", {0}), mismatch);
    EXPECT_EQ(judgeLines("1", "#1", {0}), mismatch);
    EXPECT_EQ(judgeLines("# 1", "1", {-1}), mismatch); // with any tolerances
    EXPECT_EQ(judgeLines("#", "", {0, 0}), mismatch);  // before the columns are counted
    EXPECT_EQ(judgeLines("1 # x", "1 # y", {0}), same);
    EXPECT_EQ(judgeLines("!", "1", {-1}), same); // these are no comments
    EXPECT_EQ(judgeLines("$", "1", {-1}), same);
    EXPECT_EQ(judgeLines("1 #", "1 # x", {0, 0}), (Difference{Difference::InvalidData, 0, 2}));
}

TEST(JudgeColumns, LinesNeedAsManyWordsAsThereAreTolerances)
{
    const Difference tooFew = {Difference::TooFewColumns, 0, 0};
    EXPECT_EQ(judgeLines("1", "1 2", {0, 0}), tooFew);
    EXPECT_EQ(judgeLines("1 2", "1", {0, 0}), tooFew);
    EXPECT_EQ(judgeLines("1", "2", {0, 0}), tooFew); // found before a value is looked at
    EXPECT_EQ(judgeLines("", "", {0, 0}), tooFew);
    EXPECT_EQ(
        judgeLines("", "", {0}), (Difference{Difference::InvalidData, 0, 1})); // has an empty word
    EXPECT_EQ(judgeLines("", "", {-1}), same);
    EXPECT_EQ(judgeLines(" \t", "", {0.5}), (Difference{Difference::InvalidData, 0, 1}));
}

TEST(CompareExactly, NamesTheFirstLineThatDiffers)
{
    // clang-format off
    const struct {
        std::string_view content1;
        std::string_view content2;
        Difference difference;
    } rows[] = {
        {"", "", same},
        {"a\nb\n", "a\nb", same},
        {"a\r\nb\n", "a\nb\r\n", same},
        {"\xEF\xBB\xBF" "a", "a", same},
        {"", "\xEF\xBB\xBF", same},
        {"a", "A", {Difference::Text, 1, 0}},
        {"a\nb\nc\n", "a\nx\ny\n", {Difference::Text, 2, 0}},
        {"1.0", "1.00", {Difference::Text, 1, 0}},
        {"#a", "#b", {Difference::Text, 1, 0}}, // comments are lines like any other
        {"#a", "1", {Difference::Text, 1, 0}},
        {"a ", "a", {Difference::Text, 1, 0}},
        {"a", " a", {Difference::Text, 1, 0}},
        {"a", "\ta", {Difference::Text, 1, 0}},
        {"a b", "a  b", {Difference::Text, 1, 0}},
        {"\xC3\xB6", "\xF6", {Difference::Text, 1, 0}},
        {"\xFF", "\xEF\xBF\xBD", {Difference::Text, 1, 0}},
        {"a\xEF\xBB\xBF", "a", {Difference::Text, 1, 0}},
        {"a\n\xEF\xBB\xBF\n", "a\n\n", {Difference::Text, 2, 0}},
        {"a\n ", "a\n", {Difference::Length, 0, 0}},
        {"\xFF", "\xFE", {Difference::Text, 1, 0}},          // both are invalid UTF-8
        {"\xC3\xA9", "e\xCC\x81", {Difference::Text, 1, 0}}, // both look the same
        {{"a\0b", 3}, {"a\0c", 3}, {Difference::Text, 1, 0}},
        {{"a\0", 2}, "a", {Difference::Text, 1, 0}},
        {"a\n", "", {Difference::Length, 0, 0}},
        {"\n", "", {Difference::Length, 0, 0}},
        {"a\n\n", "a\n", {Difference::Length, 0, 0}},
        {"a\nb\n", "x\n", {Difference::Text, 1, 0}}, // the first difference counts
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content1);
        EXPECT_EQ(exactly(row.content1, row.content2), row.difference);
        EXPECT_EQ(exactly(row.content2, row.content1), row.difference);
    }
}

TEST(CompareColumns, NamesTheFirstLineAndColumnThatDiffer)
{
    // clang-format off
    const struct {
        std::string_view content1;
        std::string_view content2;
        Difference difference;
    } rows[] = {
        {"", "", same},
        {"1 2\n3 4\n", " 1\t 2 \n3.0 4", same},
        {"#a\n1 2\n", "#b\n1 2\n", same},
        {"1 2\n3 4\n", "1 2\n3 5\n", {Difference::Value, 2, 2}},
        {"# c\n\n", "# c\n\n", {Difference::TooFewColumns, 2, 0}}, // comments count as lines
        {"1 2\n#\n", "1 2\n1 2\n", {Difference::CommentMismatch, 2, 0}},
        {"1 2\nx 2\n", "1 2\n1 2\n", {Difference::InvalidData, 2, 1}},
        {"1 2\n", "1 2\n#\n", {Difference::Length, 0, 0}},
        {"1 2\n", "9 2\n1 2\n", {Difference::Value, 1, 1}},
        {"\xEF\xBB\xBF", "", same},
        {"\xEF\xBB\xBF\x31 2", "1 2", same},
        {"1 2\n\xEF\xBB\xBF\x31 2", "1 2\n1 2", {Difference::InvalidData, 2, 1}},
        {"1\xC2\xA0\x32\r\n", "1 2\n", same},
        {"1 2\n\n", "1 2\n", {Difference::Length, 0, 0}}, // blank lines count
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content1);
        EXPECT_EQ(byColumns(row.content1, row.content2, {0, 0}), row.difference);
        EXPECT_EQ(byColumns(row.content2, row.content1, {0, 0}), row.difference);
    }
}

TEST(JudgeColumns, SaysWhatStandsThere)
{
    const struct {
        const char *line1;
        const char *line2;
        std::vector<double> tolerances;
        const char *told;
    } rows[] = {
        {"1 2", "1 2.5", {0, 0.25}, "value:2, 2 and 2.5 within 0.25"},
        {"1 2.5", "1 2", {0, 0.25}, "value:2, 2.5 and 2 within 0.25"},
        {"1e308", "-1e308", {0}, "value:1, 1e+308 and -1e+308 within 0"},
        {"1 x", "1 2", {0, 0}, "invalid:2 in file 1, 'x'"},
        {"1 2", "1 1e999", {0, 0}, "invalid:2 in file 2, '1e999'"},
        {"nan", "inf", {0}, "invalid:1 in file 1, 'nan'"}, // the first of two
        {"", "1", {0}, "invalid:1 in file 1, ''"},
        {"1\xC2\xA0\xC3\xA9", "1 2", {0, 0}, "invalid:2 in file 1, '\xC3\xA9'"},
        {"1 2", "1 2 3", {0, 0, 0}, "columns in file 1, 2"},
        {"1 2", "1", {0, 0, 0}, "columns in file 2, 1"},
        {"1", "2", {0, 0}, "columns in file 1, 1"},  // the first of two
        {"", "1 2", {0, 0}, "columns in file 1, 1"}, // an empty line is one empty word
        {"# a b", "1 2", {0}, "comment in file 1, 2"},
        {"1 2 3 4", "#", {0}, "comment in file 2, 4"},
        {"#", "", {0}, "comment in file 1, 1"},
        {"# a", "# b", {0}, "none"},
        {"1", "1", {0}, "none"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.line1) + " | " + row.line2);
        Words words1;
        Words words2;
        words1.split(row.line1);
        words2.split(row.line2);
        const Difference difference = judgeColumns(words1, words2, row.tolerances);
        EXPECT_EQ(told(difference), row.told);
    }
}

TEST(JudgeColumns, BeginsBehindTheColumnsThatWereJudged)
{
    Words words1;
    Words words2;
    words1.split("1 2 x 4 5");
    words2.split("2 2 3 4 6");
    const std::vector<double> tolerances = {0, 0, 0, 0, 0};
    const size_t next[] = {1, 3, 3, 5, 5, 0, 0}; // 0 if none differs
    for (size_t judged = 0; judged < std::size(next); ++judged) {
        SCOPED_TRACE(judged);
        EXPECT_EQ(judgeColumns(words1, words2, tolerances, judged).column, next[judged]);
    }
    words2.split("#");
    EXPECT_EQ(judgeColumns(words1, words2, tolerances, 1).kind, Difference::CommentMismatch);
    words2.split("1 2");
    EXPECT_EQ(judgeColumns(words1, words2, tolerances, 1).kind, Difference::TooFewColumns);
}

TEST(Describe, NamesTheFilesTheLineAndTheColumn)
{
    const struct {
        Difference difference;
        const char *sentence;
    } rows[] = {
        {{Difference::Length, 0, 0}, "Files 'a%2' and '%1' have different lengths"},
        {{Difference::Text, 7, 0}, "Files 'a%2' and '%1' differ at line 7"},
        {{Difference::CommentMismatch, 7, 0}, "File 'a%2' and '%1' comment mismatch, line 7"},
        {{Difference::TooFewColumns, 7, 0}, "File 'a%2' and/or '%1' has too few columns, line 7"},
        {{Difference::InvalidData, 7, 12},
            "File 'a%2' and/or '%1' has invalid data on line 7, column 12"},
        {{Difference::Value, 10000000000, 1},
            "Files 'a%2' and '%1' differ on line 10000000000, column 1"},
    };
    // Qt would warn if a sentence had no place for what it is given.
    const auto fail = [](QtMsgType, const QMessageLogContext &, const QString &warning) {
        ADD_FAILURE() << warning.toStdString();
    };
    const QtMessageHandler before = qInstallMessageHandler(fail);
    for (const auto &row : rows)
        EXPECT_EQ(describe(row.difference, "a%2", "%1"), row.sentence);
    qInstallMessageHandler(before);
}
