#include "PlainCompare.h"

#include "NastyLines.h"
#include "Printing.h"
#include "compareOutcome.h"

#include <QTemporaryDir>

#include <algorithm>
#include <fstream>

#include <gtest/gtest.h>

// Compares whole files in two ways and expects the same outcome: as the driver does, quickly and on
// bytes, and by the plain definition.

namespace
{

class Files
{
public:
    /// What the driver says of files with these contents.
    QString outcome(
        const std::string &content1, const std::string &content2, const QStringList &tolerances)
    {
        return compareOutcome(write("1", content1), write("2", content2), tolerances);
    }

    /// All differences that the walk over files with these contents finds.
    QStringList differences(const std::string &content1, const std::string &content2,
        const std::vector<double> &tolerances)
    {
        return allDifferences(write("1", content1), write("2", content2), tolerances);
    }

private:
    QString write(const char *name, const std::string &content)
    {
        QString path = directory.filePath(name);
        std::ofstream(path.toStdString(), std::ios::binary) << content;
        return path;
    }

    QTemporaryDir directory;
};

QString plainOutcome(
    const std::string &content1, const std::string &content2, const QStringList &tolerances)
{
    return PlainCompare::outcome(
        QByteArray::fromStdString(content1), QByteArray::fromStdString(content2), tolerances);
}

} // namespace

TEST(PlainCompare, DecidesAsTheManualTells)
{
    const struct {
        const char *content1;
        const char *content2;
        QStringList tolerances;
        const char *outcome;
    } rows[] = {
        {"", "", {}, ""},
        {"", "\n", {}, "have different lengths"},
        {"a\r\nb", "a\nb\n", {}, ""},
        {"\xEF\xBB\xBF"
         "a",
            "a", {}, ""},
        {"1.0", "1.00", {}, "differ at line 1"},
        {"1.0", "1.00", {"0"}, ""},
        {"1", "1", {"x"}, "Invalid =compare column tolerance"},
        {"# a\n", " #b\n", {"0"}, ""},
        {"1\n#a\n", "1\n1\n", {"0"}, "comment mismatch, line 2"},
        {"\n", "\n", {"0", "0"}, "too few columns, line 1"},
        {"\n", "\n", {"0"}, "invalid data on line 1, column 1"},
        {"\n", "\n", {"-1"}, ""},
        {"x\xC2\xA0"
         "1",
            "y\t2 3", {"-1", "1"}, ""},
        {"x 1", "y 2", {"-1", "0.5"}, "differ on line 1, column 2"},
        {"1e-400", "0", {"0"}, ""},
        {"1e999", "1e999", {"0"}, "invalid data on line 1, column 1"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content1);
        EXPECT_EQ(plainOutcome(row.content1, row.content2, row.tolerances), row.outcome);
        EXPECT_EQ(Files().outcome(row.content1, row.content2, row.tolerances), row.outcome);
    }
}

TEST(PlainCompare, AgreesOnNumbersOfAllShapes)
{
    Files files;
    NastyLines random(6);
    int agreeing = 0;
    for (int round = 0; round < 500; ++round) {
        std::string content1;
        std::string content2;
        for (int line = 0; line < 3; ++line) {
            const std::string word = random.word();
            content1 += word + '\n';
            content2 += (random.oneIn(9) ? random.word() : word) + '\n';
        }
        SCOPED_TRACE(content1);
        // With a huge tolerance it matters only which words are numbers.
        const QStringList tolerances = {random.oneIn(2) ? "0" : "1e308"};
        const QString outcome = plainOutcome(content1, content2, tolerances);
        ASSERT_EQ(files.outcome(content1, content2, tolerances), outcome) << content2;
        agreeing += outcome.isEmpty();
    }
    EXPECT_GT(agreeing, 100);
}

TEST(PlainCompare, AgreesOnNastyFiles)
{
    static const char *const ends[] = {"\n", "\n", "\n", "\n", "\r\n", "\r\r\n", "\n\r"};
    static const char *const insertions[] = {
        "\r", "\xFF", "\xC3", "\xE2\x82", "\xEF\xBB\xBF", "#", " ", "\t", "\v", "\xC2\xA0", "1"};
    Files files;
    NastyLines random(7);
    int agreeing = 0;
    for (int round = 0; round < 700; ++round) {
        std::string contents[2] = {
            random.oneIn(9) ? "\xEF\xBB\xBF" : "", random.oneIn(9) ? "\xEF\xBB\xBF" : ""};
        const int words = random.below(4);
        for (int count = random.below(9); count > 0; --count) {
            const std::string line = random.line(words);
            contents[0] += line + random.pick(ends);
            contents[1] += line + random.pick(ends);
        }
        std::string &changed = contents[random.below(2)];
        if (random.oneIn(3))
            changed.insert(
                static_cast<std::size_t>(random.below(static_cast<int>(changed.size()) + 1)),
                random.oneIn(9) ? std::string(1, '\0') : random.pick(insertions));
        if (random.oneIn(5) && !changed.empty())
            changed.pop_back();
        static const char *const toleranceWords[] = {"0", "-1", "1e-3", "+.5", "1e999"};
        QStringList tolerances;
        for (int count = random.below(words + 1); count > 0; --count)
            tolerances.append(toleranceWords[random.below(random.oneIn(50) ? 5 : 4)]);
        SCOPED_TRACE(contents[0] + "----\n" + contents[1]);
        const QString outcome = plainOutcome(contents[0], contents[1], tolerances);
        ASSERT_EQ(files.outcome(contents[0], contents[1], tolerances), outcome)
            << tolerances.join(' ').toStdString();
        agreeing += outcome.isEmpty();
    }
    EXPECT_GT(agreeing, 200);
    EXPECT_LT(agreeing, 600);
}

TEST(PlainCompare, AgreesOnEveryDifference)
{
    static const char *const otherWords[] = {"1", "-2.5", "x", "#", "1e999", "\n", ""};
    Files files;
    NastyLines random(9);
    int longest = 0;
    for (int round = 0; round < 700; ++round) {
        const int words = 1 + random.below(5);
        std::vector<double> tolerances;
        for (int column = random.below(words + 1); column > 0; --column)
            tolerances.push_back(random.oneIn(6) ? -1 : random.oneIn(3) ? 0 : 0.5);
        std::string contents[2];
        for (int line = random.below(12); line > 0; --line) {
            const bool differs = random.oneIn(2);
            for (int column = 0; column < words; ++column) {
                const std::string word = random.oneIn(50) ? random.word() : random.digits(3) + '1';
                contents[0] += word + random.blanks();
                contents[1] += differs && random.oneIn(3) ? random.pick(otherWords) : word;
                contents[1] += ' ';
            }
            contents[0] += '\n';
            contents[1] += '\n';
        }
        if (random.oneIn(3))
            contents[random.below(2)] += random.line(words) + "\n1\n";
        SCOPED_TRACE(contents[0] + "----\n" + contents[1]);
        const QStringList all = PlainCompare::differences(QByteArray::fromStdString(contents[0]),
            QByteArray::fromStdString(contents[1]), tolerances);
        ASSERT_EQ(files.differences(contents[0], contents[1], tolerances), all);
        longest = std::max(longest, static_cast<int>(all.size()));
    }
    EXPECT_GT(longest, 15);
}

TEST(PlainCompare, AgreesOnLongLines)
{
    const std::string megabyte(1 << 20, '7');
    const std::string digits(1 << 17, '7');
    const std::string words = [] {
        std::string line;
        while (line.size() < 300000) // more than a block
            line += "1.25 ";
        return line;
    }();
    const struct {
        std::string content1;
        std::string content2;
        QStringList tolerances;
        const char *outcome;
    } rows[] = {
        {megabyte, megabyte + '\n', {}, ""},
        {megabyte, megabyte + '7', {}, "differ at line 1"},
        {"1\n" + megabyte + "\r\n2", "1\n" + megabyte + "\n3", {}, "differ at line 3"},
        {digits, digits, {"0"}, "invalid data on line 1, column 1"}, // too large for a double
        {"." + digits, "." + digits + "\n", {"0"}, ""},
        {"." + digits, "." + digits.substr(1), {"0"}, ""}, // both are the same double
        {"." + digits, "." + digits.substr(0, 16), {"0"}, "differ on line 1, column 1"},
        {"0." + digits + " x", "0." + digits + " 1", {"0", "0"},
            "invalid data on line 1, column 2"},
        {"#" + megabyte, "#", {"0"}, ""},
        {words + "1", words + "2\n", {"0", "0"}, ""},
        {words + "\n1 2\n", words + "\xC2\xA0\n1 3\n", {"0", "0"}, "differ on line 2, column 2"},
        {std::string(1 << 20, ' ') + "1", "1", {"0"}, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(plainOutcome(row.content1, row.content2, row.tolerances), row.outcome);
        EXPECT_EQ(Files().outcome(row.content1, row.content2, row.tolerances), row.outcome);
    }
}

TEST(PlainCompare, AgreesAroundTheEndsOfBlocks)
{
    // Files are read in blocks of at most 256 KiB, and the rest of a line is put before the next
    // block.
    Files files;
    NastyLines random(8);
    for (int size = (1 << 18) - 12; size <= (1 << 18) + 3; size += 3) {
        const std::string comment = '#' + std::string(static_cast<std::size_t>(size), '-') + '\n';
        std::string content1 = comment;
        std::string content2 = comment;
        for (int line = 0; line < 4; ++line) {
            const std::string text = random.number() + random.blanks() + random.number();
            content1 += text + '\n';
            content2 += text + (random.oneIn(3) ? "\r\n" : "\n");
        }
        for (const QStringList &tolerances : {QStringList(), QStringList{"0"}}) {
            EXPECT_EQ(files.outcome(content1, content2, tolerances),
                plainOutcome(content1, content2, tolerances));
            EXPECT_EQ(files.outcome(content1 + "1", content2, tolerances),
                plainOutcome(content1 + "1", content2, tolerances));
        }
    }
}
