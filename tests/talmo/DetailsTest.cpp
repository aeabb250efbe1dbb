#include "details.h"
#include "Printing.h"
#include "Run.h"
#include "commands.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// Runs scripts in a directory of its own.
class DetailsTest : public testing::Test
{
protected:
    DetailsTest() { EXPECT_TRUE(QDir::setCurrent(folder.path())); }
    ~DetailsTest() override { EXPECT_TRUE(QDir::setCurrent(outside)); }

    void write(const QString &name, const QByteArray &content)
    {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(content), content.size());
    }

    /// What the message leaves out when "test1", a heading and \a lines, fails.
    QStringList detailsOfRun(const QByteArray &lines)
    {
        write("test1", "=heading\n" + lines);
        Script script;
        EXPECT_TRUE(script.open(QFile::encodeName(folder.filePath("test1"))));
        Talmo::Run run(script, {});
        Result result = run.make();
        EXPECT_FALSE(result.passed());
        QStringList details = detailsOf(result, script);
        run.finish(result);
        return details;
    }

    /// The same without the first one, which names the line.
    QStringList furtherDetails(const QByteArray &lines)
    {
        const QStringList details = detailsOfRun(lines);
        EXPECT_FALSE(details.isEmpty());
        return details.mid(1);
    }

    /// What else is said about a program of the shell lines \a body, which fails and has the
    /// capture "sh.out".
    QStringList detailsOfProgram(const QByteArray &body)
    {
        return furtherDetails("=file sim\n" + body + "\nexit 1\n=run sh sim\n");
    }

    /// What else is said about the comparison of two files with these contents.
    QStringList ofComparison(
        const QByteArray &content1, const QByteArray &content2, const QByteArray &tolerances)
    {
        write("one", content1);
        write("two", content2);
        QStringList details = furtherDetails("=compare ../one ../two " + tolerances + "\n");
        EXPECT_LE(details.size(), 1);
        return details;
    }

    const QString outside = QDir::currentPath();
    QTemporaryDir folder;
};

} // namespace

TEST_F(DetailsTest, NameTheLine)
{
    const struct {
        QByteArray lines;
        QString detail;
    } rows[] = {
        {"=exists none\n", "test1:2: =exists none"},
        {"=exists none", "test1:2: =exists none"},
        {"=file a\n1\n# 2\n\n=exists none\n", "test1:6: =exists none"},
        {"\r\n=echo\r\n=exists none\r\n", "test1:4: =exists none"},
        {"# comment\n   =exists\tnone \n", "test1:3:    =exists none "},
        {"=file none/a\n1\n2\n=echo\n", "test1:2: =file none/a"},
        {"=nonsense \033[31m\001\n", "test1:2: =nonsense \\x1b[31m\\x01"},
        {QByteArray("=nonsense \0 x\n", 14), "test1:2: =nonsense \\x00 x"},
        {"=run exit 1 # $simProgram\n", "test1:2: =run exit 1 # $simProgram"},
        {"=ignore x\n=exists .\n", "test1:3: =exists ."},
        {"=echo\n=" + QByteArray(1000, 'x'), "test1:3: =" + QString(299, 'x') + "..."},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines.toStdString());
        EXPECT_EQ(detailsOfRun(row.lines).value(0), row.detail);
    }
    EXPECT_EQ(detailsOfRun("=exists none\n").size(), 1);
}

TEST_F(DetailsTest, AreNoneWhereNoLineWasReached)
{
    write("test1.dir", "");
    EXPECT_EQ(detailsOfRun("=echo\n"), QStringList());
}

TEST_F(DetailsTest, SayHowFarTwoNumbersAreApart)
{
    const struct {
        const char *one;
        const char *two;
        const char *tolerances;
        const char *detail;
    } rows[] = {
        {"1\n", "2.004\n", "1", "1 and 2.004 are 1.004 apart, 1.004 times the tolerance 1"},
        {"0\n", "1.4e6\n", "1", "0 and 1400000 are 1.4e+06 apart, 1.4e+06 times the tolerance 1"},
        {"1 5\n", "1 4\n", "0 .5", "5 and 4 are 1 apart, 2 times the tolerance 0.5"},
        {"-1\n", "+1\n", "1e-300", "-1 and 1 are 2 apart, 2e+300 times the tolerance 1e-300"},
        {"1\n", "1.0000000000000002\n", "0",
            "1 and 1.0000000000000002 are 2.22e-16 apart, and the tolerance is 0"},
        {"0.1\n", "0.30000000000000004\n", "0.1",
            "0.1 and 0.30000000000000004 are 0.2 apart, 2 times the tolerance 0.1"},
        {"1\n", "0\n", "-0", "1 and 0 are 1 apart, and the tolerance is 0"},
        {"1e308\n", "-1e308\n", "1", "1e+308 and -1e+308 are inf apart, inf times the tolerance 1"},
        {"1\n", "0\n", "1e-320", "1 and 0 are 1 apart, inf times the tolerance 1e-320"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.two);
        EXPECT_EQ(ofComparison(row.one, row.two, row.tolerances), QStringList(row.detail));
    }
}

TEST_F(DetailsTest, SayBothLengths)
{
    const struct {
        const char *one;
        const char *two;
        const char *tolerances;
        const char *detail;
    } rows[] = {
        {"1\n2\n", "1\n", "", "'../one' has 2 lines, '../two' has 1 line"},
        {"1\n", "1\n2\n3\n4\n5\n", "0", "'../one' has 1 line, '../two' has 5 lines"},
        {"", "1", "", "'../one' has 0 lines, '../two' has 1 line"},
        {"1\n\n\n", "1\r", "0", "'../one' has 3 lines, '../two' has 1 line"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.two);
        EXPECT_EQ(ofComparison(row.one, row.two, row.tolerances), QStringList(row.detail));
    }
    const QString path = folder.filePath("one");
    write("one", "1\n");
    EXPECT_EQ(furtherDetails("=file a\n=compare a " + path.toUtf8() + "\n"),
        QStringList("'a' has 0 lines, '" + path + "' has 1 line"));
    EXPECT_EQ(furtherDetails("=file \033\n=compare ../one \033\n"),
        QStringList("'../one' has 1 line, '\\x1b' has 0 lines"));
}

TEST_F(DetailsTest, AreNotReadFromWhatCannotBeReadTwice)
{
    // We keep the FIFO open for writing, so reading it once more would never end.
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    const int writer = open("fifo", O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::write(writer, "1\n2\n", 4), 4);
    write("one", "1\n");
    EXPECT_EQ(furtherDetails("=compare ../one ../fifo\n"), QStringList());
    close(writer);
}

TEST_F(DetailsTest, SayWhatElseDiffers)
{
    const struct {
        QByteArray one;
        QByteArray two;
        const char *tolerances;
        QStringList details;
    } rows[] = {
        {"1 x\n", "1 2\n", "0 0", {"'x' in '../one' is no number"}},
        {"1 2\n", "1 1,5\n", "0 0", {"'1,5' in '../two' is no number"}},
        {"1 x\n", "1 y\n", "0 0", {"'x' in '../one' is no number"}},
        {"nan\n", "nan\n", "0", {"'nan' in '../one' is no number"}},
        {"\033[2J\x7f\001\n", "1\n", "0", {"'\\x1b[2J\\x7f\\x01' in '../one' is no number"}},
        {"\xff\n", "1\n", "0", {"'" + QString(QChar(0xfffd)) + "' in '../one' is no number"}},
        {QByteArray("1\0\n", 3), "1\n", "0", {"'1\\x00' in '../one' is no number"}},
        {QByteArray(5000, 'x'), "1\n", "0",
            {"'" + QString(300, 'x') + "...' in '../one' is no number"}},
        {"1\n", "1 2\n", "0 0", {"'../one' has 1 column there"}},
        {"1 2\n", "\n", "0 0", {"'../two' has 1 column there"}}, // the empty one
        {"1 2\n", "1 2\n", "0 0 0", {"'../one' has 2 columns there"}},
        {"# 1\n", "1\n", "0", {"only '../one' has a comment there"}},
        {"1\n", "#1\n", "0", {"only '../two' has a comment there"}},
        {"one\n", "two\n", "", {}}, // the message says it all
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.two.toStdString());
        EXPECT_EQ(ofComparison(row.one, row.two, row.tolerances), row.details);
    }
}

TEST_F(DetailsTest, SayHowAProgramEnded)
{
    write("script", "");
    const QString silent = "it printed nothing";
    const struct {
        const char *line;
        QString detail;
    } rows[] = {
        {"=run false", "exit status 1"},
        {"=run exit 255", "exit status 255"},
        {"=run exit 128", "exit status 128"},
        {"=run sh -c 'kill -KILL $$'; exit $?", "ended by signal 9 (Killed)"},
        {"=run ulimit -c 0; kill -SEGV $$", "ended by signal 11 (Segmentation fault)"},
        {"=run kill -TERM $$", "ended by signal 15 (Terminated)"},
        {"=run no-such-program 1", "'no-such-program' was not found in the PATH"},
        {"=run ./none", "exit status 127: './none', or what it starts, was not found"},
        {"=run sh -c no-such-program", "exit status 127: 'sh', or what it starts, was not found"},
        // Words that the shell takes for itself are in no PATH, and say nothing about a program.
        {"=run cd .; no-such-program", "exit status 127: 'cd', or what it starts, was not found"},
        {"=run exec no-such-program", "exit status 127: 'exec', or what it starts, was not found"},
        {"=run { no-such-program; }", "exit status 127: '{', or what it starts, was not found"},
        {"=run A=1 no-such-program", "exit status 127: 'A=1', or what it starts, was not found"},
        {"=run $none no-such-program",
            "exit status 127: '$none', or what it starts, was not found"},
        {"=run ../script", "exit status 126: '../script', or what it starts, cannot be run"},
        {"=run cd .; ../script", "exit status 126: 'cd', or what it starts, cannot be run"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(furtherDetails(row.line + QByteArray(" >/dev/null 2>&1")).value(0), row.detail);
    }
    EXPECT_EQ(furtherDetails("=run exit 1").value(1), silent);
    EXPECT_EQ(furtherDetails("=ignore x\n=run true"), QStringList({"exit status 0", silent}));
    const QByteArray withNul("=run echo \0\n", 12); // the shell would see a shorter line
    EXPECT_EQ(furtherDetails(withNul).value(0), "the shell was not started");
}

TEST_F(DetailsTest, EndWithTheLastWordsOfAProgram)
{
    const QString e = QString::fromUtf8("\u00e9");
    const struct {
        QByteArray printed; // by printf
        QString words;
    } rows[] = {
        {"one\\ntwo\\n", "two"},
        {"one\\ntwo", "two"},
        {"one\\n  two  \\n\\n \\n", "  two"},
        {"one\\r\\ntwo\\r\\n", "two"},
        {"10 %%\\r20 %%\\r", "20 %"}, // as on a terminal
        {"a\\tb\\033[31m\\000c\\177", "a b\\x1b[31m\\x00c\\x7f"},
        {"\\303\\251\\377", e + QChar(0xfffd)},
        {"\\302\\233m", "\\x9bm"}, // the control sequence introducer of some terminals
        {"one\\n%%0300d", QString("%0300d")},
        {"%0300d", QString(300, '0')},
        {"%0301d", QString(300, '0') + "..."},
        {"%0299d\\360\\237\\230\\200", QString(299, '0') + "..."}, // not half of a character
        {"%09000d", "..." + QString(297, '0') + "..."},
        {"\\n \\n", {}},
        {"", {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.printed.toStdString());
        const QString last =
            row.words.isNull() ? "it printed nothing" : "last line of 'sh.out': " + row.words;
        EXPECT_EQ(detailsOfProgram("printf '" + row.printed + "'").value(1), last);
    }
}

TEST_F(DetailsTest, TakeNoLastWordsFromWhatIsNoCapture)
{
    EXPECT_EQ(furtherDetails("=run echo elsewhere >own; exit 1"), QStringList("exit status 1"));
    EXPECT_EQ(furtherDetails("=run exit 1 >&1"), QStringList("exit status 1"));
    for (const char *const command : {"mkfifo", "ln -s /dev/zero", "mkdir", ": "}) {
        SCOPED_TRACE(command);
        EXPECT_EQ(detailsOfProgram(QByteArray("rm sh.out; ") + command + " sh.out"),
            QStringList({"exit status 1", "it printed nothing"}));
    }
}

TEST(Shown, IsOneLineThatAnyTerminalShows)
{
    const struct {
        QByteArray bytes;
        QString text;
    } rows[] = {
        {"", ""},
        {"plain", "plain"},
        {"a\tb\nc\rd", "a b\\x0ac\\x0dd"},
        {QByteArray("\0\x1f ~\x7f", 5), "\\x00\\x1f ~\\x7f"},
        {"\xc2\x80\xc2\x9f\xc2\xa0", "\\x80\\x9f" + QString(QChar(0xa0))},
        {"\xed\xa0\x80", QString(3, QChar(0xfffd))}, // half of a character
        {"\xe2\x80\xa8", "\\u2028"},
        {QByteArray(300, 'a'), QString(300, 'a')},
        {QByteArray(301, 'a'), QString(300, 'a') + "..."},
        {QByteArray("\xf0\x9f\x98\x80").repeated(150),
            QString::fromUtf8("\xf0\x9f\x98\x80").repeated(150)},
        {QByteArray("\xf0\x9f\x98\x80").repeated(151),
            QString::fromUtf8("\xf0\x9f\x98\x80").repeated(150) + "..."},
        {QByteArray("\x01").repeated(200), QString("\\x01").repeated(75) + "..."},
    };
    for (const auto &row : rows)
        EXPECT_EQ(shown(row.bytes), row.text);
}
