#include "Difference.h"
#include "ReaderOf.h"
#include "toldDifference.h"

#include <QTemporaryFile>

#include <algorithm>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

// What a walk over two files finds, one text for each difference: what it says, and the two lines.

namespace
{

std::string told(const Difference &difference, const LinePair &lines)
{
    std::string text = ::told(difference);
    return text.append(" | ").append(lines.line1).append(" | ").append(lines.line2);
}

struct Findings {
    std::vector<std::string> differences;
    Lengths lengths;
};

/// What a walk over two files finds that stops at the difference number \a last.
Findings findings(std::string_view content1, std::string_view content2,
    const std::vector<double> &tolerances, size_t last = 1000)
{
    ReaderOf file1(content1);
    ReaderOf file2(content2);
    Findings found;
    const auto tell = [&](const Difference &difference, const LinePair &lines) {
        found.differences.push_back(told(difference, lines));
        return found.differences.size() < last ? Walk::GoesOn : Walk::Stops;
    };
    found.lengths = forEachDifference(file1.reader, file2.reader, tolerances, tell);
    EXPECT_FALSE(file1.reader.failed() || file2.reader.failed());
    return found;
}

} // namespace

TEST(ForEachDifference, FindsAllIfItGoesOn)
{
    // clang-format off
    const struct {
        std::string_view content1;
        std::string_view content2;
        std::vector<double> tolerances;
        std::vector<std::string> differences;
        qint64 lines1;
        qint64 lines2;
    } rows[] = {
        {"", "", {}, {}, 0, 0},
        {"", "", {0}, {}, 0, 0},
        {"a\nb", "a\nb\n", {}, {}, 2, 2},
        {"a\nb\nc\nd\n", "A\nb\nC\r\nd", {}, {"text on 1 | a | A", "text on 3 | c | C"}, 4, 4},
        {"1 2\n3 4\n", "1 2\n3 4\n", {0, 0}, {}, 2, 2},
        {"1 2 3\n1 2 3\n4 5 6\n", "1 2 3\n9 2 8\n4 5 7\n", {0, 0, 0},
            {"value on 2:1, 1 and 9 within 0 | 1 2 3 | 9 2 8",
             "value on 2:3, 3 and 8 within 0 | 1 2 3 | 9 2 8",
             "value on 3:3, 6 and 7 within 0 | 4 5 6 | 4 5 7"}, 3, 3},
        {"1 2 3\n", "2 3 4\n", {0.5, -1, 0.25},
            {"value on 1:1, 1 and 2 within 0.5 | 1 2 3 | 2 3 4",
             "value on 1:3, 3 and 4 within 0.25 | 1 2 3 | 2 3 4"}, 1, 1},
        {"x 1\n1 2\n3 y z\n", "1 1\n1 2\n4 y z\n", {0, 0},
            {"invalid on 1:1 in file 1, 'x' | x 1 | 1 1",
             "value on 3:1, 3 and 4 within 0 | 3 y z | 4 y z",
             "invalid on 3:2 in file 1, 'y' | 3 y z | 4 y z"}, 3, 3},
        {"#a\n#b\n1 2\n\n1 2\n", "#c\n1 2 3\n #d\n1 2\n1\n", {0, 0},
            {"comment on 2 in file 1, 3 | #b | 1 2 3",
             "comment on 3 in file 2, 2 | 1 2 |  #d",
             "columns on 4 in file 1, 1 |  | 1 2",
             "columns on 5 in file 2, 1 | 1 2 | 1"}, 5, 5},
        {"a\nb\nc\n", "a\n", {}, {"length in file 2, 1 | b | "}, 3, 1},
        {"a\n", "a\nb\nc\nd", {}, {"length in file 1, 1 |  | b"}, 1, 4},
        {"a\n\n", "a\n", {}, {"length in file 2, 1 |  | "}, 2, 1},
        {"", "x", {}, {"length in file 1, 0 |  | x"}, 0, 1},
        {"x\ny\n", "", {0}, {"length in file 2, 0 | x | "}, 2, 0},
        {"1 2\n3 4\n5 6\n", "1 3\n", {0, 0}, // what both have is judged
            {"value on 1:2, 2 and 3 within 0 | 1 2 | 1 3",
             "length in file 2, 1 | 3 4 | "}, 3, 1},
        {"a\n2", "b\n2\nx\ny\n\xFF\n", {},
            {"text on 1 | a | b", "length in file 1, 2 |  | x"}, 2, 5},
    };
    // clang-format on
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.content1) + "----\n" + std::string(row.content2));
        const Findings found = findings(row.content1, row.content2, row.tolerances);
        EXPECT_EQ(found.differences, row.differences);
        EXPECT_EQ(found.lengths.lines1, row.lines1);
        EXPECT_EQ(found.lengths.lines2, row.lines2);
    }
}

TEST(ForEachDifference, StopsIfAsked)
{
    const struct {
        size_t last;
        const char *told;
        qint64 lines1;
        qint64 lines2;
    } rows[] = {
        {1, "value on 2:1, 1 and 2 within 0 | 1 1 | 2 2", 2, 2},
        {2, "value on 2:2, 1 and 2 within 0 | 1 1 | 2 2", 2, 2},
        {3, "comment on 4 in file 1, 1 | # | 1", 4, 4},
        {4, "columns on 5 in file 1, 1 | 1 | 1", 5, 5},
        {5, "length in file 2, 5 | 7 | ", 6, 5}, // what is missing is not counted
        {6, "length in file 2, 5 | 7 | ", 8, 5}, // but here it goes on
    };
    const std::string_view content1 = "1 1\n1 1\n1 1\n#\n1\n7\n8\n9\n";
    const std::string_view content2 = "1 1\n2 2\n1 1\n1\n1\n";
    for (const auto &row : rows) {
        SCOPED_TRACE(row.last);
        const Findings found = findings(content1, content2, {0, 0}, row.last);
        EXPECT_EQ(found.differences.size(), std::min<size_t>(row.last, 5));
        EXPECT_EQ(found.differences.back(), row.told);
        EXPECT_EQ(found.lengths.lines1, row.lines1);
        EXPECT_EQ(found.lengths.lines2, row.lines2);
    }
    const Findings exact = findings("a\nb\nc\n", "a\nB\nC\n", {}, 1);
    EXPECT_EQ(exact.differences, std::vector<std::string>{"text on 2 | b | B"});
    EXPECT_EQ(exact.lengths.lines2, 2);
}

TEST(ForEachDifference, CountsTheLinesOfLargeFiles)
{
    std::string lines;
    for (int line = 1; line <= 50000; ++line) // several blocks
        lines += std::to_string(line) + " 0.5\n";
    for (const std::vector<double> &tolerances : {std::vector<double>(), {0, 0}}) {
        const Findings found =
            findings(lines + "1 2\n" + lines, lines + "1 3\n" + lines + "x", tolerances);
        EXPECT_EQ(found.differences.size(), 2U);
        EXPECT_EQ(found.lengths.lines1, 100001);
        EXPECT_EQ(found.lengths.lines2, 100002);
        const Findings longer = findings("1 2\n" + lines, "1 2", tolerances);
        EXPECT_EQ(longer.differences, std::vector<std::string>{"length in file 2, 1 | 1 0.5 | "});
        EXPECT_EQ(longer.lengths.lines1, 50001);
        EXPECT_EQ(longer.lengths.lines2, 1);
    }
}

TEST(ForEachDifference, SaysNothingOfAFileThatCannotBeRead)
{
    for (const std::vector<double> &tolerances : {std::vector<double>(), {0}}) {
        for (const bool isFirst : {true, false}) {
            LineReader unreadable;
            ASSERT_TRUE(unreadable.open(QStringLiteral("/proc/self/mem")));
            ReaderOf longer("1\n2\n");
            LineReader &file1 = isFirst ? unreadable : longer.reader;
            LineReader &file2 = isFirst ? longer.reader : unreadable;
            const auto fail = [](const Difference &difference, const LinePair &) {
                ADD_FAILURE() << told(difference);
                return Walk::GoesOn;
            };
            forEachDifference(file1, file2, tolerances, fail);
            EXPECT_TRUE(unreadable.failed());
        }
    }
}

TEST(ForEachDifference, EndsWhereReadingFails)
{
    QTemporaryFile content;
    ASSERT_TRUE(content.open() && content.write("1\n2") == 3 && content.flush());
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(descriptor); // it is the lowest one that is free, so the next file gets it
    LineReader reader;
    ASSERT_TRUE(reader.open(content.fileName()));
    ReaderOf other("2\n2\n2\n");
    std::vector<std::string> differences;
    const auto breakFile = [&](const Difference &difference, const LinePair &lines) {
        differences.push_back(told(difference, lines));
        const int unreadable = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(dup2(unreadable, descriptor), descriptor);
        close(unreadable);
        return Walk::GoesOn;
    };
    forEachDifference(reader, other.reader, {0}, breakFile);
    // The "2" may be half a line, so nothing is said about it, nor about the lengths.
    EXPECT_EQ(differences, std::vector<std::string>{"value on 1:1, 1 and 2 within 0 | 1 | 2"});
    EXPECT_TRUE(reader.failed());
}
