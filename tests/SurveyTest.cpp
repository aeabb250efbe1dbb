#include "Survey.h"

#include "NastyLines.h"
#include "PlainSurvey.h"
#include "ReaderOf.h"
#include "talmo/Numbers.h"
#include "toldDifference.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

Survey surveyOfTexts(std::string_view content1, std::string_view content2,
    const std::vector<double> &tolerances, size_t keptLines = 10)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    return surveyOf(file1.reader, file2.reader, tolerances, keptLines);
}

Survey surveyByRules(std::string_view content1, std::string_view content2, const Rules &rules)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    const Head head = readHead(file1.reader, file2.reader);
    return surveyOf(file1.reader, file2.reader, rules, 10, head);
}

QByteArray bytesOf(const std::string &text)
{
    return QByteArray(text.data(), static_cast<int>(text.size()));
}

/// A text that comes in pieces of a few bytes, as from a pipe, and of which every line but the
/// first was left out.
class Pieces : public TextSource
{
public:
    explicit Pieces(std::string content)
        : text(std::move(content))
    {
    }

    qint64 readText(char *target, qint64 size) override
    {
        const size_t count = std::min({static_cast<size_t>(size), size_t(3), text.size() - used});
        std::memcpy(target, text.data() + used, count);
        used += count;
        return static_cast<qint64>(count);
    }
    bool failed() const override { return false; }
    qint64 numberInFile(qint64 number) const override { return 10 * number; }

private:
    std::string text;
    size_t used = 0;
};

/// Lines in which now and then a number is another one, or something else altogether.
struct RandomFiles {
    std::string content1;
    std::string content2;

    RandomFiles(NastyLines &random, int columns)
    {
        static const char *const words[] = {"nan", "1.7e308", "-1.7e308", "5e-324", "1e-323", "x",
            "0", "-0", "1e999", "#", "3.0000000000000004", "9e307", ""};
        for (int count = random.below(12); count > 0; --count) {
            std::string line1 = random.oneIn(4) ? random.line(columns) : std::string();
            std::string line2 = line1;
            for (int column = 0; column < columns && line1.empty(); ++column) {
                const std::string word = random.number();
                line1 += word + ' ';
                line2 += (random.oneIn(3)      ? random.pick(words)
                             : random.oneIn(3) ? random.number()
                                               : word) +
                         ' ';
            }
            content1 += line1 + '\n';
            content2 += line2 + '\n';
        }
        std::string &longer = random.oneIn(2) ? content1 : content2;
        if (random.oneIn(4))
            longer += "1 2 3 4\n5";
    }
};

} // namespace

TEST(Survey, CountsWhatAPlainModelCounts)
{
    constexpr double tolerances[] = {
        -1, 0, 0.5, 1e-300, 1e300, DBL_MAX, DBL_TRUE_MIN, 3, -0.0, 100};
    for (unsigned seed = 0; seed < 1500; ++seed) {
        NastyLines random(seed);
        const int columns = random.below(4);
        const RandomFiles files(random, std::max(columns, 1));
        Rules rules;
        for (int column = 0; column < columns; ++column)
            rules.tolerances.push_back(tolerances[random.below(10)]);
        rules.relative = random.oneIn(3) ? 0.25 * random.below(9) : 0;
        SCOPED_TRACE(
            "seed " + std::to_string(seed) + "\n" + files.content1 + "----\n" + files.content2);
        ReaderOf file1(files.content1);
        ReaderOf file2(files.content2);
        const Head head = columns > 0 ? readHead(file1.reader, file2.reader) : Head();
        const Survey survey = surveyOf(file1.reader, file2.reader, rules, 3, head);
        const PlainSurvey::Counts counts = PlainSurvey::countsOf(
            bytesOf(files.content1), bytesOf(files.content2), rules.tolerances, rules.relative);
        EXPECT_EQ(PlainSurvey::told(survey), PlainSurvey::told(counts, rules.tolerances));
        EXPECT_EQ(survey.agree(), counts.differing + counts.lines[Difference::Length] == 0);
        EXPECT_EQ(survey.firstLines.size(), std::min<qint64>(counts.differing, 3));
    }
}

TEST(Survey, FindsTheFirstDifferenceOfCompare)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        NastyLines random(seed);
        const RandomFiles files(random, 3);
        const QStringList all = PlainCompare::differences(
            bytesOf(files.content1), bytesOf(files.content2), {0, -1, 0.5});
        const Survey survey = surveyOfTexts(files.content1, files.content2, {0, -1, 0.5});
        ASSERT_EQ(survey.first.has_value(), !all.isEmpty());
        EXPECT_TRUE(!survey.first || survey.first->word.empty());
    }
    const Survey survey = surveyOfTexts("# a\n1 2\n1 2\n", "# b\n1 2\n1 3\n4", {0, 0.5});
    ASSERT_TRUE(survey.first);
    EXPECT_EQ(told(*survey.first), "value on 3:2, 2 and 3 within 0.5");
    EXPECT_EQ(told(*surveyOfTexts("1\n", "", {}).first), "length in file 2, 0");
}

TEST(Survey, AToleranceThatItSuggestsLetsTheColumnPass)
{
    for (unsigned seed = 0; seed < 300; ++seed) {
        NastyLines random(seed);
        const RandomFiles files(random, 2);
        const Survey survey = surveyOfTexts(files.content1, files.content2, {0, 1e-3});
        if (!survey.toleranceHelps())
            continue;
        std::vector<double> enough;
        for (const ColumnSurvey &column : survey.columns)
            enough.push_back(*column.sufficient);
        EXPECT_TRUE(surveyOfTexts(files.content1, files.content2, enough).agree()) << seed;
    }
}

TEST(Survey, KnowsWhereNoToleranceHelps)
{
    const struct {
        const char *content1;
        const char *content2;
        bool helps;
    } rows[] = {
        {"1 2\n", "1 2\n", true},
        {"1 2\n", "3 4\n", true},
        {"1 x\n", "1 x\n", false},
        {"nan 1\n", "nan 1\n", false},
        {"1\n", "1\n", false},
        {"#\n", "1 2\n", false},
        {"1 2\n", "1 2\n1 2\n", false},
        {"1.7e308 1\n", "-1.7e308 1\n", false},
        {"1.79e308 1\n", "0 1\n", false}, // 1.8e308 is no number any more
        {"1.7e308 1\n", "0 1\n", true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content2);
        EXPECT_EQ(surveyOfTexts(row.content1, row.content2, {0, 0}).toleranceHelps(), row.helps);
    }
    EXPECT_FALSE(surveyOfTexts("a\n", "b\n", {}).toleranceHelps());
    EXPECT_TRUE(surveyOfTexts("1 x\n", "2 y\n", {0, -1}).toleranceHelps());
}

TEST(Survey, KeepsTheFirstLines)
{
    const Survey survey = surveyOfTexts(
        "1 2 3\n4 5 6\nx 8 9\n1\n0 0 0\n", "2 2 4\n4 5 6\n7 8 x\n1\n0 0 1", {0, 0, 0}, 3);
    ASSERT_EQ(survey.firstLines.size(), 3U);
    const struct {
        qint64 line;
        Difference::Kind kind;
        const char *text1;
        const char *text2;
        std::vector<size_t> columns;
    } rows[] = {
        {1, Difference::Value, "1 2 3", "2 2 4", {1, 3}},
        {3, Difference::InvalidData, "x 8 9", "7 8 x", {1, 3}},
        {4, Difference::TooFewColumns, "1", "1", {}},
    };
    for (size_t index = 0; index < 3; ++index) {
        const DifferingLine &line = survey.firstLines[index];
        EXPECT_EQ(line.line, rows[index].line);
        EXPECT_EQ(line.kind, rows[index].kind);
        EXPECT_EQ(line.text1, rows[index].text1);
        EXPECT_EQ(line.text2, rows[index].text2);
        EXPECT_EQ(line.columns, rows[index].columns);
    }
    EXPECT_EQ(survey.differingLines, 4);
    EXPECT_EQ(survey.kinds[Difference::InvalidData].lines, 1); // lines, not words
    EXPECT_TRUE(surveyOfTexts("1\n", "2\n", {0}, 0).firstLines.empty());
    const std::string longLine(1 << 20, '7');
    const Survey cut = surveyOfTexts(longLine + "1", longLine + "2", {});
    ASSERT_EQ(cut.firstLines.size(), 1U);
    EXPECT_EQ(cut.firstLines[0].text1.size(), 4000);
}

TEST(Survey, JudgesByTheRelativeRulesToo)
{
    Rules relative;
    relative.tolerances = {0.5, 0.5};
    relative.relative = 0.25;
    // Both sides of both limits: 4 and 3 are a quarter apart, of the larger one.
    EXPECT_TRUE(surveyByRules("1 4\n", "1.5 3\n", relative).agree());
    EXPECT_TRUE(surveyByRules("-4 4e300\n", "-3 3e300\n", relative).agree());
    const Survey above = surveyByRules("4 4\n4 1\n", "3 2.9999999999999996\n2 1\n", relative);
    EXPECT_EQ(above.columns[1].lines, 1);
    EXPECT_EQ(above.columns[0].firstLine, 2);
    EXPECT_EQ(above.columns[0].largestRelative, 0.5);
    // What would be suggested for "=compare" must cover what the relative rule lets pass.
    const Survey mixed = surveyByRules("400 1\n1 0\n", "300 1\n2 0\n", relative);
    EXPECT_EQ(mixed.columns[0].lines, 1);
    EXPECT_EQ(mixed.columns[0].largest, 1);
    EXPECT_EQ(mixed.columns[0].sufficient, 100);
    EXPECT_EQ(mixed.columns[1].sufficient, 0.5);
    // A difference may be infinite though its numbers are not.
    relative.relative = 1.5;
    EXPECT_FALSE(surveyByRules("1.7e308 1\n", "-1.7e308 1\n", relative).agree());
    relative.relative = 2;
    EXPECT_TRUE(surveyByRules("1.7e308 1\n", "-1.7e308 1\n", relative).agree());
    EXPECT_FALSE(surveyByRules("nan 1\n", "nan 1\n", relative).agree());

    Rules ofColumn;
    ofColumn.tolerances = {0, 0};
    ofColumn.relativeToColumn = 0.01;
    ofColumn.magnitudes = {100, 10};
    EXPECT_TRUE(surveyByRules("0 0\n", "1 0\n", ofColumn).agree());
    EXPECT_FALSE(surveyByRules("0 0\n", "1.0000001 0\n", ofColumn).agree());
    EXPECT_FALSE(surveyByRules("0 0\n", "0 1\n", ofColumn).agree());
}

TEST(Survey, CanIgnoreExtraLines)
{
    Rules rules;
    rules.tolerances = {0};
    rules.ignoresExtraLines = true;
    const Survey survey = surveyByRules("1\n2\n3\n", "1\n", rules);
    EXPECT_TRUE(survey.agree());
    EXPECT_EQ(survey.kinds[Difference::Length].lines, 0);
    EXPECT_EQ(survey.lengths.lines1, 3);
    EXPECT_FALSE(surveyByRules("1\n2\n3\n", "2\n", rules).agree());
}

TEST(Survey, FindsTheLargestMagnitudes)
{
    ReaderOf file1("# 99 99 99\n1 -7 x\n2 2 2\n#\n80 80 80\n");
    ReaderOf file2("#\n-3 1 1e3 5\n2\n50 50 50\n");
    EXPECT_EQ(magnitudesOf(file1.reader, file2.reader, 3), (std::vector<double>{3, 7, 1000}));
}

TEST(Survey, ReadsNamesAtTheFront)
{
    const struct {
        const char *content1;
        const char *content2;
        const char *names;
        size_t columns;
        qint64 passed;
    } rows[] = {
        {"# x y\n1 2\n", "# x y\n1 2\n", "x,y", 2, 1}, {"#x y\n1 2\n", "# a b\n1 2\n", "x,y", 2, 1},
        {"## x y\n1 2\n", "#\n1 2\n", "x,y", 2, 1},
        {"# x y\n# of today\n1 2\n", "#\n#\n1 2\n", "of,today", 2, 2}, // the last one counts
        {"# x y\n# z\n1 2\n", "#\n#\n1 2\n", "", 2, 2},
        {"# x y z\n1 2\n", "# a b\n1 2\n", "a,b", 2, 1}, // the other file's fit
        {"# x y\n1 2\n", "# a b c\n1 2 3\n", "a,b,c", 3, 1},
        {" # x y\n 1 2", "#\n1 2", "x,y", 2, 1}, {"1 2\n# x y\n", "1 2\n# x y\n", "", 2, 0},
        {"# x y\n# z\n1 2\n", "# x y\n1 2\n1 2\n", "x,y", 2, 1}, {"# x\n", "# x\n", "", 0, 1},
        {"# x", "# x", "", 0, 1}, {"# x y\n", "# x y\n1 2\n", "x,y", 2, 1}, {"", "", "", 0, 0},
        {"", "1 2\n", "", 2, 0},
        {"#\n\n", "#\n\n", "", 1, 1}, // an empty line has one word, which is empty
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.content1) + "----\n" + row.content2);
        ReaderOf file1(row.content1);
        ReaderOf file2(row.content2);
        const Head head = readHead(file1.reader, file2.reader);
        EXPECT_EQ(head.names.join(',').toStdString(), row.names);
        EXPECT_EQ(head.columns, row.columns);
        EXPECT_EQ(head.passed.lines1, row.passed);
        EXPECT_EQ(head.passed.lines2, row.passed);
        LineReader pieces1;
        LineReader pieces2;
        pieces1.readFrom(std::make_unique<Pieces>(row.content1));
        pieces2.readFrom(std::make_unique<Pieces>(row.content2));
        const Head again = readHead(pieces1, pieces2);
        EXPECT_EQ(again.names, head.names);
        EXPECT_EQ(again.columns, head.columns);
        EXPECT_EQ(again.passed.lines1, row.passed);
    }
}

TEST(Survey, CountsOnBehindTheHead)
{
    const Survey survey = surveyOfTexts("# x y\n#\n1 2\n1 2\n", "# x y\n# x y\n1 2\n1 3\n", {0, 0});
    EXPECT_EQ(survey.columns[1].firstLine, 4);
    EXPECT_EQ(survey.lengths.lines1, 4);
    EXPECT_EQ(survey.names, (QStringList{"x", "y"}));
    EXPECT_TRUE(surveyOfTexts("# x y\n", "# a b\n", {0, 0}).agree());
    EXPECT_EQ(surveyOfTexts("# x y\n", "# a b\n", {}).differingLines, 1); // bytes, no comments
}

TEST(Survey, TellsTheNumbersThatLinesHaveInTheFiles)
{
    LineReader file1;
    file1.readFrom(std::make_unique<Pieces>("# x\n1\n2\n5\n"));
    ReaderOf file2("# x\n1\n3\n9\n9\n#\n");
    const Survey survey = surveyOf(file1, file2.reader, {0}, 10);
    const auto isAt = [](const LinePlaces &places, qint64 line1, qint64 line2) {
        return places.line1 == line1 && places.line2 == line2;
    };
    EXPECT_TRUE(isAt(survey.firstPlaces, 30, 3));
    EXPECT_TRUE(isAt(survey.columns[0].firstPlaces, 30, 3));
    EXPECT_TRUE(isAt(survey.columns[0].largestPlaces, 40, 4));
    EXPECT_TRUE(isAt(survey.columns[0].largestRelativePlaces, 40, 4));
    EXPECT_TRUE(isAt(survey.firstLines[1].places, 40, 4));
    EXPECT_TRUE(isAt(survey.kinds[Difference::Length].firstPlaces, 0, 5));
    EXPECT_EQ(survey.columns[0].largestLine, 4);
    EXPECT_EQ(survey.kinds[Difference::Length].lines, 2);
}

TEST(Survey, SaysWhichFileCannotBeRead)
{
    LineReader unreadable;
    ASSERT_TRUE(unreadable.open("/proc/self/mem"));
    ReaderOf file("1\n");
    EXPECT_EQ(surveyOf(unreadable, file.reader, {0}, 1).unreadable, 1);
    ReaderOf again("1\n");
    const Survey survey = surveyOf(again.reader, unreadable, {}, 1);
    EXPECT_EQ(survey.unreadable, 2);
    EXPECT_FALSE(survey.agree());
    EXPECT_FALSE(survey.toleranceHelps());
}

TEST(ToleranceFor, RoundsUpToTwoDigits)
{
    const double infinite = std::numeric_limits<double>::infinity();
    const struct {
        double difference;
        const char *tolerance;
    } rows[] = {
        {0, "0"},
        {1, "1"},
        {0.5, "0.5"},
        {0.51, "0.51"},
        {0.511, "0.52"},
        {0.1 + 0.2, "0.31"},
        {0.99, "0.99"},
        {0.991, "1"},
        {99.01, "100"},
        {130000, "130000"},
        {1.21e7, "1.3e+07"},
        {1.25e-9, "1.3e-09"},
        {1.7e308, "1.7e+308"},
        {1.71e308, ""},
        {DBL_MAX, ""},
        {infinite, ""},
        {std::nan(""), ""},
        {DBL_TRUE_MIN, "5e-324"},
        {2 * DBL_TRUE_MIN, "1e-323"},
        {DBL_MIN, "2.3e-308"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(toleranceFor(row.difference), row.tolerance) << row.difference;
}

TEST(ToleranceFor, IsSufficientAndTheSmallest)
{
    std::mt19937_64 random(1);
    for (int count = 0; count < 100000; ++count) {
        const std::uint64_t bits = random() >> 1; // without a sign
        double difference = 0;
        std::memcpy(&difference, &bits, sizeof difference);
        double tolerance = 0;
        if (!(difference < 1.7e308) || difference == 0)
            continue;
        ASSERT_TRUE(toNumber(toleranceFor(difference), tolerance)) << difference;
        ASSERT_GE(tolerance, difference);
        // One less in the second digit is too small, if doubles lie that densely.
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.1e", tolerance);
        const int mantissa = (digits[0] - '0') * 10 + (digits[2] - '0') - 1;
        // Below 1.0 the second digit is of the next power of ten.
        const std::string less =
            mantissa < 10 ? std::string("99e") : std::to_string(mantissa) + "e";
        const int exponent = std::atoi(digits + 4) - (mantissa < 10 ? 2 : 1);
        double smaller = 0;
        ASSERT_TRUE(toNumber(less + std::to_string(exponent), smaller));
        ASSERT_TRUE(smaller < difference || difference < DBL_MIN) << toleranceFor(difference);
    }
}
