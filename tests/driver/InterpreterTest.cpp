#include "DriverTest.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

// How a script is read, and how a run walks over its lines. Expected failures, runs for several
// programs and tracing have files of their own.

class Interpreter : public DriverTest
{
protected:
    QByteArray invalid() const { return work.toUtf8() + "/test1: ***ERROR: Invalid test file\n"; }
    QByteArray unreadable(const QByteArray &test) const
    {
        return work.toUtf8() + '/' + test + ": ***ERROR: Cannot read file\n";
    }
};

TEST_F(Interpreter, TheHeadingIsAnEqualsSignAndTheDescription)
{
    const struct {
        QByteArray script;
        const char *printed; // null if the script is no test
    } rows[] = {
        {"=Units of the beam line\n", "test1: Units of the beam line\n"},
        {"=no newline", "test1: no newline\n"},
        {"=", "test1: \n"},
        {"=\n", "test1: \n"},
        {"==\n", "test1: =\n"},
        {"=  a \t b  \n", "test1:   a \t b  \n"}, // blanks are kept
        {"=# a %s %1\n", "test1: # a %s %1\n"},
        {"=foo\n", "test1: foo\n"}, // the heading is no command
        {"=carriage return\r\n", "test1: carriage return\n"},
        {"\r=anywhere\r\n", "test1: anywhere\n"},
        {"\xEF\xBB\xBF=byte order mark\n", "test1: byte order mark\n"},
        {"=Gr\xC3\xB6\xC3\x9F\x65\n", "test1: Gr\xC3\xB6\xC3\x9F\x65\n"},
        {"", nullptr},
        {"\n", nullptr},
        {"\n=second line\n", nullptr},
        {"\r\n", nullptr},
        {"no equals sign\n", nullptr},
        {"#=\n", nullptr},
        {" =blank\n", nullptr},
        {"\t=tab\n", nullptr},
        {"\xEF\xBB\xBF", nullptr},
        {"\xEF\xBB\xBF\n", nullptr},
        {"\xEF\xBB\xBF\xEF\xBB\xBF=two byte order marks\n", nullptr},
        {"\xEF\xBB=half a byte order mark\n", nullptr},
        {QByteArray("\0=nul\n", 6), nullptr},
        {"\xFF\xFE=\n", nullptr},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script.toStdString());
        EXPECT_EQ(
            runScript(row.script), row.printed == nullptr ? invalid() : QByteArray(row.printed));
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }
}

TEST_F(Interpreter, AnInvalidFileLeavesAnEarlierDirectoryAlone)
{
    write("test1.dir/leftover", "");
    EXPECT_EQ(runScript("no heading\n=echo\n"), invalid());
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/leftover"}));
}

TEST_F(Interpreter, AFileThatCannotBeReadFailsWithoutADirectory)
{
    // The scripts could be read when the tests were selected.
    write("test1", "=one\n=run rm ../test2 ../test3\n=run mkdir ../test3\n");
    write("test2", "=two\n");
    write("test3", "=three\n");
    expectRun({"test?"}, "test1 test2 test3",
        "test1: one\n" + unreadable("test2") + unreadable("test3"), 2, 3);
    EXPECT_EQ(entries(), QStringList({"test1", "test3/"}));
}

TEST_F(Interpreter, AFileThatOpensButCannotBeReadFailsToo)
{
    ASSERT_TRUE(QFile::link("/proc/self/mem", QDir(work).filePath("test1")));
    expectRun({"test1"}, "test1", unreadable("test1"), 1, 1);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(Interpreter, LinesAreCommandsAndWords)
{
    const struct {
        QByteArray lines;
        const char *printed;
    } rows[] = {
        {"=echo a b\n", "a b\n"},
        {"  =echo a b\n", "a b\n"}, // blanks before and between words do not matter
        {"\t=echo\ta \t b\t\n", "a b\n"},
        {"=echo a\n\n \n\t\n=echo b\n", "a\nb\n"},
        {"# =foo\n#\n#=foo\n  # =foo\n\t#=foo\n##\n", ""}, // comments
        {"=echo a # b\n", "a # b\n"},
        {"=echo first line", "first line\n"}, // no newline at the end
        {"=echo a\r\n# b\r\n\r\n=echo c\r\n", "a\nc\n"},
        {"=ec\rho a\n=echo b\r", "a\nb\n"},
        {"=echo \xEF\xBB\xBF\n", "\xEF\xBB\xBF\n"}, // only a script can begin with a mark
        {"=echo \xC3\xB6\n", "\xC3\xB6\n"},
        {"=echo %1 %s %n \\n\n", "%1 %s %n \\n\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines.toStdString());
        EXPECT_EQ(
            runScript("=heading\n" + row.lines), row.printed + QByteArray("test1: heading\n"));
        EXPECT_EQ(runScript("\xEF\xBB\xBF=heading\r\n" + row.lines),
            row.printed + QByteArray("test1: heading\n"));
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }
}

TEST_F(Interpreter, AnUnknownCommandFails)
{
    const struct {
        const char *line;
        const char *word;
    } rows[] = {
        {"=foo a b", "=foo"},
        {"  =foo", "=foo"},
        {"foo", "foo"},
        {"echo a", "echo"},
        {"=Echo a", "=Echo"}, // case counts
        {"=ECHO", "=ECHO"},
        {"=echoes", "=echoes"},
        {"=ech", "=ech"},
        {"==echo", "==echo"},
        {"= echo", "="},
        {"=", "="},
        {"=#", "=#"},
        {"=platforms", "=platforms"},
        {"=debug1", "=debug1"},
        {"=ignored x", "=ignored"},
        {"=%1%s", "=%1%s"},
        {"=\xC3\xB6", "=\xC3\xB6"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(errorOf(row.line + QByteArray("\n=echo not reached\n")),
            "Unknown test command '" + QByteArray(row.word) + "'");
    }
}

TEST_F(Interpreter, TheFirstFailureEndsTheRunAndKeepsTheDirectory)
{
    EXPECT_EQ(runScript("=heading\n=echo before\n=file before\nbody\n=exists none\n=echo after\n"
                        "=file after\n=foo\n"),
        "before\ntest1: ***ERROR: File 'none' does not exist\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/before"}));
    EXPECT_EQ(read("test1.dir/before"), "body\n");
}

TEST_F(Interpreter, APassRemovesTheDirectory)
{
    EXPECT_EQ(runScript("=heading\n=file a\n=run mkdir -p b/c\n=file b/c/d\n=exists mkdir.out\n"),
        "test1: heading\n");
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(Interpreter, ARunStartsInAnEmptyDirectory)
{
    write("test1.dir/old", "");
    write("test1.dir/deep/.hidden/old", "");
    write("test1", "=heading\n=run ls -A > ../listed\n=foo\n");
    expectRun({"test1"}, "test1", "test1: ***ERROR: Unknown test command '=foo'\n", 1, 1);
    EXPECT_EQ(read("listed"), "");
    EXPECT_EQ(entries(), QStringList({"listed", "test1", "test1.dir/"}));
    expectRun({"test1", "test1"}, "test1 test1",
        "test1: ***ERROR: Unknown test command '=foo'\n"
        "test1: ***ERROR: Unknown test command '=foo'\n",
        2, 2);
    EXPECT_EQ(read("listed"), "");
}

TEST_F(Interpreter, ARunNeedsADirectoryOfItsOwn)
{
    write("test1", "=one\n=run touch ../made\n");
    write("test2", "=two\n=run pwd > ../where\n");
    write("test1.dir", "a file in the way");
    expectRun({"test1", "test2"}, "test1 test2",
        "test1: ***ERROR: cannot cd to 'test1.dir'\ntest2: two\n", 1, 2);
    EXPECT_EQ(read("test1.dir"), "a file in the way");
    EXPECT_EQ(read("where"), work.toUtf8() + "/test2.dir\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir", "test2", "where"}));
}

TEST_F(Interpreter, ARunNeedsToBeAllowedADirectory)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write anywhere, and cannot be kept from it here";
    write("test1", "=one\n");
    ASSERT_EQ(run({"none"}).status, 0); // makes the settings file
    ASSERT_EQ(chmod(qPrintable(work), 0500), 0);
    expectRun({"test1"}, "test1", "test1: ***ERROR: cannot cd to 'test1.dir'\n", 1, 1);
    ASSERT_EQ(chmod(qPrintable(work), 0700), 0);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(Interpreter, EachTestStartsInTheSameDirectory)
{
    write("test1", "=one\n=run pwd > ../where1\n");
    write("test2", "=two\n=run cd / && pwd >/dev/null\n=run pwd > ../where2\n=foo\n");
    write("test3", "=three\n=run pwd > ../where3\n");
    expectRun({"test?"}, "test1 test2 test3",
        "test1: one\ntest2: ***ERROR: Unknown test command '=foo'\ntest3: three\n", 1, 3);
    for (const char *n : {"1", "2", "3"})
        EXPECT_EQ(read(QString("where") + n), work.toUtf8() + "/test" + n + ".dir\n");
}

TEST_F(Interpreter, ARunMayRemoveItsOwnDirectory)
{
    write("test1", "=one\n=run rmdir ../test1.dir > ../rmdir.out\n=echo still here\n");
    write("test2", "=two\n=run rmdir ../test2.dir > ../rmdir.out\n=file f\n");
    write("test3", "=three\n=run pwd > ../where\n");
    expectRun({"test?"}, "test1 test2 test3",
        "still here\ntest1: one\ntest2: ***ERROR: Cannot write file 'f'\ntest3: three\n", 1, 3);
    EXPECT_EQ(read("where"), work.toUtf8() + "/test3.dir\n");
    EXPECT_EQ(entries(), QStringList({"rmdir.out", "test1", "test2", "test3", "where"}));
}

TEST_F(Interpreter, ARunMayRenameItsOwnDirectory)
{
    write("test1", "=one\n=file f\n=run mv ../test1.dir ../kept\n=exists f\n");
    expectRun({"test1"}, "test1", "test1: one\n", 0, 1);
    EXPECT_EQ(entries(), QStringList({"kept/", "kept/f", "kept/mv.out", "test1"}));
}

TEST_F(Interpreter, AScriptIsReadOnceAndMayChangeWhileItRuns)
{
    configure({"sim1", "sim2"});
    write("test1", "=heading\n=simprogram *\n=run rm -f ../test1\n=echo $simProgram\n");
    expectRun({"test1"}, "test1", "sim1\ntest1(sim1): heading\nsim2\ntest1(sim2): heading\n", 0, 1);
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(Interpreter, ATestMayBringForthNoOthers)
{
    write("test1", "=one\n=run cp ../test1 ../test2\n"); // by then the tests are selected
    expectRun({"test*"}, "test1", "test1: one\n", 0, 1);
    EXPECT_EQ(entries(), QStringList({"test1", "test2"}));
}

TEST_F(Interpreter, LinesMayBeOfAnyLength)
{
    const QByteArray word(5000000, 'x');
    EXPECT_EQ(runScript('=' + word + "\n#" + word + "\n=echo " + word + '\n'),
        word + "\ntest1: " + word + '\n');
    EXPECT_EQ(errorOf('=' + word), "Unknown test command '=" + word + "'");
    QByteArray words = "=echo";
    for (int n = 0; n < 200000; ++n)
        words += "  w" + QByteArray::number(n);
    EXPECT_EQ(runScript("=heading\n" + words + '\n'),
        words.mid(7).replace("  ", " ") + "\ntest1: heading\n");
}

TEST_F(Interpreter, InvalidUtf8BecomesTheReplacementCharacter)
{
    const QByteArray replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(runScript("=a\xFF\n=echo b\xC3\n=echo \x80\x63\n"),
        'b' + replacement + '\n' + replacement + "c\ntest1: a" + replacement + '\n');
    EXPECT_EQ(errorOf("=\xFE\n"), "Unknown test command '=" + replacement + "'");
}

TEST_F(Interpreter, NulBytesEndNothingButWhatIsPrinted)
{
    // For printf a text ends at a NUL; a line and the script do not end there.
    const struct {
        QByteArray script; // with '@' for NUL
        const char *printed;
    } rows[] = {
        {"=a@b\n=echo c@d\n# @\n=echo e\n", "c\ne\ntest1: a\n"},
        {"=\n=f@g\n=echo\n", "test1: ***ERROR: Unknown test command '=f\n"},
        {"=\n=echo@\n", "test1: ***ERROR: Unknown test command '=echo\n"},
        {"=\n@\n", "test1: ***ERROR: Unknown test command '\n"},
        {"=\n=ignore f@g\n=f@g\n=echo reached\n", "reached\ntest1: \n"},
        {"=\n=ignore h\n=f@g\n", "test1: ***ERROR: Unknown test command '=f\n"},
        {"=\n=ignore g\n=f@g\n@", "test1: ***ERROR: Unknown test command '\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script.toStdString());
        QByteArray script = row.script;
        EXPECT_EQ(runScript(script.replace('@', '\0')), row.printed);
    }
}
