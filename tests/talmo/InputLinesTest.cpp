#include "InputLines.h"

#include "Printing.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using Talmo::InputLine;
using Talmo::InputLines;

namespace
{

class InputLinesTest : public testing::Test
{
protected:
    QString fileOf(const QByteArray &content)
    {
        QFile file(folder.filePath("file"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    /// The lines of \a name, each as "[MARK|TEXT|END]".
    QByteArray linesOf(const QString &name, size_t longest = InputLines::longestText)
    {
        InputLines lines(longest);
        lines.open(name);
        InputLine line;
        QByteArray all;
        qint64 count = 0;
        while (lines.next(line)) {
            EXPECT_EQ(lines.number(), ++count);
            for (const std::string_view part : {line.mark, line.text, line.end})
                all += (all.endsWith(']') || all.isEmpty() ? "[" : "|") +
                       QByteArray(part.data(), static_cast<int>(part.size()));
            all += ']';
        }
        failure = lines.failure();
        return all;
    }

    QTemporaryDir folder;
    QString failure;
};

} // namespace

TEST_F(InputLinesTest, ComeByteForByte)
{
    const struct {
        QByteArray content;
        QByteArray lines;
    } rows[] = {
        {"", ""},
        {"a", "[|a|]"},
        {"a\n", "[|a|\n]"},
        {"a\r\nb\n\n\r\nc\r", "[|a|\r\n][|b|\n][||\n][||\r\n][|c\r|]"},
        {"\r\r\na\rb\n", "[|\r|\r\n][|a\rb|\n]"},
        {"\xEF\xBB\xBF"
         "a\n\xEF\xBB\xBF"
         "b",
            "[\xEF\xBB\xBF|a|\n][|\xEF\xBB\xBF"
            "b|]"},
        {"\xEF\xBB\xBF\n", "[\xEF\xBB\xBF||\n]"},
        {"\xEF\xBB\xBF", "[\xEF\xBB\xBF||]"},
        {QByteArray("a\0b\n\0", 5), QByteArray("[|a\0b|\n][|\0|]", 13)},
        {"\xFF\xFE\n", "[|\xFF\xFE|\n]"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(linesOf(fileOf(row.content)), row.lines);
        EXPECT_TRUE(failure.isNull());
    }
}

TEST_F(InputLinesTest, MayBeLongerThanABlock)
{
    const QByteArray one(300000, 'a');
    const QByteArray two(700001, 'b');
    EXPECT_EQ(linesOf(fileOf(one + "\n" + two + "\nc")), "[|" + one + "|\n][|" + two + "|\n][|c|]");
}

TEST_F(InputLinesTest, AreRefusedIfTheyAreTooLong)
{
    const QByteArray longest(999999, 'a');
    const QString good = fileOf("1\n" + longest + "\n3\n");
    EXPECT_EQ(linesOf(good, 1000000), "[|1|\n][|" + longest + "|\n][|3|\n]");
    EXPECT_TRUE(failure.isNull());
    for (const QByteArray &rest : {QByteArray("\n3\n"), QByteArray("\n"), QByteArray()}) {
        const QString wrong = fileOf("1\na" + longest + (rest.isEmpty() ? "b" : rest));
        EXPECT_EQ(linesOf(wrong, 1000000), "[|1|\n]");
        EXPECT_EQ(failure, "line 2 of '" + wrong + "' is longer than 1000000 bytes");
    }
}

TEST_F(InputLinesTest, DoNotFillTheMemoryIfOneNeverEnds)
{
    EXPECT_EQ(linesOf("/dev/zero", 3000000), "");
    EXPECT_EQ(failure, "line 1 of '/dev/zero' is longer than 3000000 bytes");
}

TEST_F(InputLinesTest, SayWhyTheyCannotBeRead)
{
    EXPECT_EQ(linesOf(folder.filePath("none")), "");
    EXPECT_EQ(failure, "cannot read '" + folder.filePath("none") + "'");
    EXPECT_EQ(linesOf(folder.path()), "");
    EXPECT_EQ(failure, "cannot read '" + folder.path() + "'");
    EXPECT_EQ(linesOf(folder.filePath("file") + QChar(0) + "b"), "");
    EXPECT_FALSE(failure.isNull());
    EXPECT_EQ(linesOf("/proc/self/mem"), ""); // its first page cannot be read
    EXPECT_EQ(failure, "cannot read '/proc/self/mem'");
}

namespace
{

/// Has \a descriptor be standard input as long as it lives.
class StandardInput
{
public:
    explicit StandardInput(int descriptor) { dup2(descriptor, STDIN_FILENO); }
    StandardInput(const StandardInput &) = delete;
    StandardInput &operator=(const StandardInput &) = delete;
    ~StandardInput()
    {
        dup2(before, STDIN_FILENO);
        close(before);
    }

private:
    int before = dup(STDIN_FILENO);
};

} // namespace

TEST_F(InputLinesTest, WaitForStandardInputThatMayNotWait)
{
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const StandardInput input(ends[0]);
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    close(ends[0]);
    InputLines lines;
    ASSERT_TRUE(lines.open("-"));
    for (const char *const text : {"a\n", "b\n"}) {
        const pid_t writer = fork();
        if (writer == 0) {
            usleep(20000); // so that the reader usually has to wait
            _exit(write(ends[1], text, 2) == 2 ? 0 : 1);
        }
        InputLine line;
        EXPECT_TRUE(lines.next(line));
        EXPECT_EQ(line.text, std::string_view(text, 1));
    }
    close(ends[1]);
    InputLine line;
    EXPECT_FALSE(lines.next(line));
    EXPECT_TRUE(lines.failure().isNull());
}

TEST_F(InputLinesTest, SayIfStandardInputCannotBeRead)
{
    const int directory = open("/", O_RDONLY | O_DIRECTORY);
    const StandardInput input(directory);
    close(directory);
    EXPECT_EQ(linesOf("-"), "");
    EXPECT_EQ(failure, "cannot read 'standard input'");
}
