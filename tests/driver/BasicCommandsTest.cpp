#include "DriverTest.h"

// =echo, =platform, =exists, =meanandsigma.

using EchoCommand = DriverTest;

TEST_F(EchoCommand, PrintsItsWordsJoinedBySingleBlanks)
{
    EXPECT_EQ(runScript("=heading\n=echo  a   b\n =echo\tc\td \n"), "a b\nc d\n" + passed);
    EXPECT_EQ(runScript("=heading\n=echo # $x %s %d %1 \\n 'a  b'\n"),
        "# $x %s %d %1 \\n 'a b'\n" + passed);
    EXPECT_EQ(
        runScript("=heading\n=echo Gr\xC3\xB6\xC3\x9F\x65\n"), "Gr\xC3\xB6\xC3\x9F\x65\n" + passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(EchoCommand, AlonePrintsAnEmptyLine)
{
    EXPECT_EQ(runScript("=heading\n=echo\n"), "\n" + passed);
}

TEST_F(EchoCommand, PrintsLongLines)
{
    const QByteArray line(3000000, 'x');
    EXPECT_TRUE(runScript("=heading\n=echo " + line + "\n") == line + "\n" + passed);
}

using PlatformCommand = DriverTest; // the tests know one platform, "LINUX"

TEST_F(PlatformCommand, ASectionIsSkippedUnlessItNamesTheDriversPlatform)
{
    const struct {
        const char *lines;
        const char *printed;
    } rows[] = {
        {"=platform\n=echo a\n", "a\n"},
        {"=platform LINUX\n=echo a\n", "a\n"},
        {"=platform WINDOWS  DARWIN\tLINUX \n=echo a\n", "a\n"},
        {"=platform LINUX LINUX\n=echo a\n=platform\n=echo b\n", "a\nb\n"},
        {"=platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"},
        {"=platform WINDOWS\n=echo a\n", ""}, // skips to the end of the file
        {"=platform WINDOWS\n", ""},
        {"=platform WINDOWS", ""},
        {"=platform WINDOWS DARWIN\n=echo a\n=platform LINUX\n=echo b\n=platform DARWIN\n=echo c\n"
         "=platform\n=echo d\n",
            "b\nd\n"},
        {"=platform DARWIN\n=platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"},
        {"=platform LINUX\n=platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"}, // not nested
        {" =platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"},
        {"=platform WINDOWS\n =platform\n=echo a\n", ""}, // the line must begin with the "="
        {"=platform WINDOWS\n#=platform\nx=platform\n=Platform\n=echo a\n", ""},
        {"=platform WINDOWS\r\n=echo a\r\n=platform\r\n=echo b\r\n", "b\n"},
        {"=platform WINDOWS\nnonsense\n=foo\n=ignore x\n=platform\n=echo a\n", "a\n"},
        {"=platform WINDOWS\n=file a\n=platform\n=ignore exist\n=exists a\n=echo b\n", "b\n"},
        {"=file a\nx\n=platform WINDOWS\n=file a\ny\n=platform\n=run cat a >&1\n", "x\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines);
        EXPECT_EQ(runScript("=heading\n" + QByteArray(row.lines)), row.printed + passed);
    }
}

TEST_F(PlatformCommand, FailsAtTheFirstWordThatIsNoPlatform)
{
    const struct {
        const char *lines;
        const char *error;
    } rows[] = {
        {"=platform Linux\n", "Invalid platform 'Linux'"},
        {"=platform linux\n", "Invalid platform 'linux'"},
        {"=platform LINUX Foo Bar\n", "Invalid platform 'Foo'"}, // all words are checked first
        {"=platform WINDOWS Foo\n=platform\n", "Invalid platform 'Foo'"},
        {"=platform LINUX, DARWIN\n", "Invalid platform 'LINUX,'"},
        {"=platform %1\n", "Invalid platform '%1'"},
        {"=platform #\n", "Invalid platform '#'"},
        {"=platform LINUX=\n", "Invalid platform 'LINUX='"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines);
        EXPECT_EQ(errorOf(row.lines), row.error);
    }
}

TEST_F(PlatformCommand, AFailingLineSkipsNothing)
{
    EXPECT_EQ(runScript("=heading\n=ignore platform 'Foo'\n=platform WINDOWS Foo\n=echo a\n"),
        "a\n" + passed);
}

TEST_F(PlatformCommand, ALongerWordEndsASkippedSectionToo)
{
    EXPECT_EQ(
        errorOf("=platform WINDOWS\n=foo\n=platformX\n"), "Unknown test command '=platformX'");
}

TEST_F(PlatformCommand, SkippedLinesAreNotTraced)
{
    EXPECT_EQ(runScript("=heading\n=debug\n=platform DARWIN\n=echo a\n=platform\n=echo b\n"),
        "==== line='=platform DARWIN'\n==== line='=platform'\n==== line='=echo b'\nb\n"
        "==== end test test1\n" +
            passed);
}

using ExistsCommand = DriverTest;

TEST_F(ExistsCommand, FindsFilesAndDirectories)
{
    const QByteArray script = "=file a\n=file %1\n=file Gr\xC3\xB6\xC3\x9F\x65\n=run mkdir -p d/e\n"
                              "=run ln -s a link\n=run ln -s d dirlink\n=run ln -s no dangling\n"
                              "=run mkfifo fifo\n=file :a\n";
    for (const QByteArray name :
        {"a", "%1", "Gr\xC3\xB6\xC3\x9F\x65", "d", "d/", "d/e", "./a", "link", ":a", "dirlink",
            "dirlink/e", "fifo", ".", "..", "/", "../test1", "/dev/null"}) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(errorOf(script + "=exists " + name + "\n"), "");
    }
    for (const QByteArray name : {"b", ":b", "A", "%2", "%1%2", "%s", "a/", "a/b", "d/a",
             "dangling", "no/", "*", "gr\xC3\xB6\xC3\x9F\x65", "'a'", "test1"}) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(errorOf(script + "=exists " + name + "\n"), "File '" + name + "' does not exist");
    }
}

TEST_F(ExistsCommand, TakesOneName)
{
    EXPECT_EQ(errorOf("=exists\n"), "Invalid =exists command");
    EXPECT_EQ(errorOf("=exists . ..\n"), "Invalid =exists command");
    EXPECT_EQ(errorOf("=exists  .  \n"), "");
}

TEST_F(ExistsCommand, FindsNothingUnderANameThatTheSystemWouldCut)
{
    const QByteArray name(".\0", 2);
    EXPECT_EQ(errorOf("=ignore ^File '..' does not exist$\n=exists " + name + "\n"), "");
}

using MeanAndSigmaCommand = DriverTest;

TEST_F(MeanAndSigmaCommand, AlwaysFails)
{
    EXPECT_EQ(errorOf("=meanandsigma\n"), "=meanandsigma UNIMPLEMENTED");
    EXPECT_EQ(errorOf("=meanandsigma ../test1 0 1\n"), "=meanandsigma UNIMPLEMENTED");
    EXPECT_EQ(errorOf("=ignore ^=meanandsigma UNIMPLEMENTED$\n=meanandsigma x\n"), "");
}
