#include "DriverTest.h"

// =echo, =platform, =debug, =ignore. A script that is to leave its directory behind
// ends with the unknown command "=end".

namespace
{

const QByteArray passed = "test1: heading\n";
const QByteArray ended = "test1: ***ERROR: Unknown test command '=end'\n";

} // namespace

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
        {"=platform WINDOWS\n=echo a\n", ""}, // to the end of the file
        {"=platform WINDOWS\n", ""},
        {"=platform WINDOWS", ""},
        {"=platform WINDOWS DARWIN\n=echo a\n=platform LINUX\n=echo b\n=platform DARWIN\n=echo c\n"
         "=platform\n=echo d\n",
            "b\nd\n"},
        {"=platform DARWIN\n=platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"},
        {"=platform LINUX\n=platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"}, // no nesting
        {" =platform WINDOWS\n=echo a\n=platform\n=echo b\n", "b\n"},
        {"=platform WINDOWS\n =platform\n=echo a\n", ""}, // only a first "=" ends a section
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
        {"=platform LINUX Foo Bar\n", "Invalid platform 'Foo'"}, // all are checked first
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

TEST_F(PlatformCommand, IsACommandThatCanBeExpectedToFail)
{
    EXPECT_EQ(errorOf("=ignore x\n=platform\n"), "Command should have failed");
    EXPECT_EQ(errorOf("=ignore x\n=platform WINDOWS\n=foo\n"), "Command should have failed");
}

TEST_F(PlatformCommand, SkippedLinesAreNotTraced)
{
    EXPECT_EQ(runScript("=heading\n=debug\n=platform DARWIN\n=echo a\n=platform\n=echo b\n"),
        "==== line='=platform DARWIN'\n==== line='=platform'\n==== line='=echo b'\nb\n"
        "==== end test test1\n" +
            passed);
}

class DebugCommand : public DriverTest
{
protected:
    /// Runs \a scripts one after the other, "test1" and so on; what they print, headings "x".
    QByteArray runAll(const QList<QByteArray> &scripts, int failures = 0)
    {
        QStringList names;
        for (const QByteArray &lines : scripts) {
            names += QStringLiteral("test%1").arg(names.size() + 1);
            write(names.last(), "=x\n" + lines);
        }
        const QByteArray output = run(names).output;
        const QByteArray before = preamble(names.join(' ').toUtf8());
        const QByteArray after = summary(failures, static_cast<int>(names.size()));
        EXPECT_TRUE(output.startsWith(before) && output.endsWith(after)) << output.toStdString();
        return output.mid(before.size()).chopped(after.size());
    }
};

TEST_F(DebugCommand, TracesFromTheNextLineOnAndKeepsTheDirectory)
{
    EXPECT_EQ(runAll({"=echo a\n =debug any words\n=echo  $simProgramb \n\n # c\n"}),
        "a\n==== line='=echo  b '\nb\n==== line=''\n==== line=' # c'\n"
        "==== end test test1\ntest1: x\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
}

TEST_F(DebugCommand, TracesTheFailureOfARun)
{
    EXPECT_EQ(runAll({"=debug\n=ignore '=end'\n=end\n=end\n"}, 1),
        "==== line='=ignore '=end''\n==== line='=end'\n==== line='=end'\n"
        "***errorMsg=Unknown test command '=end'\n==== end test test1\n" +
            ended);
}

TEST_F(DebugCommand, APassTakesOneLevelBack)
{
    const QByteArray trace2 =
        "==== start test test2\n==== line='=echo a'\na\n==== end test test2\n";
    EXPECT_EQ(runAll({"=debug\n", "=echo a\n"}), "==== end test test1\ntest1: x\na\ntest2: x\n");
    EXPECT_EQ(runAll({"=debug\n=debug\n", "=echo a\n", "=echo a\n"}),
        "==== line='=debug'\n==== end test test1\ntest1: x\n" + trace2 + "test2: x\na\ntest3: x\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test2", "test2.dir/", "test3"}));
    // Deliberate: whether or not it was raised, so that one "=debug" only brings it back to 0.
    EXPECT_EQ(runAll({"=echo a\n", "=debug\n=echo b\n", "=debug\n=debug\n=echo c\n"}),
        "a\ntest1: x\nb\ntest2: x\n==== line='=echo c'\nc\n==== end test test3\ntest3: x\n");
}

TEST_F(DebugCommand, AFailureTakesNoLevelBack)
{
    EXPECT_EQ(runAll({"=debug\n=end\n", "=echo a\n"}, 1),
        "==== line='=end'\n***errorMsg=Unknown test command '=end'\n==== end test test1\n" + ended +
            "==== start test test2\n==== line='=echo a'\na\n==== end test test2\ntest2: x\n");
}

using IgnoreCommand = DriverTest;

TEST_F(IgnoreCommand, TheNextCommandMustFailWithAMessageThatMatches)
{
    const char *const invalid = "Invalid =exists command"; // the message of "=exists a b"
    const char *const absent = "Command should have failed";
    const struct {
        const char *line;
        const char *command;
        const char *error;
    } rows[] = {
        {"=ignore Invalid", "=exists a b", ""},
        {"=ignore Invalid", "=echo", absent},
        {"=ignore Other", "=exists a b", invalid},
        {"=ignore invalid", "=exists a b", invalid}, // case counts
        // What the pattern is: all that follows the blanks after "=ignore".
        {"=ignore  Invalid", "=exists a b", ""},
        {"=ignore      ^Invalid", "=exists a b", ""},
        {"=ignore Invalid =exists", "=exists a b", ""},
        {"=ignore Invalid  =exists", "=exists a b", invalid}, // inner blanks count
        {"=ignore Invalid ", "=exists a b", ""},
        {"=ignore command ", "=exists a b", invalid}, // and so do trailing ones
        {"=ignore command\t", "=exists a b", invalid},
        {"=ignore command\r", "=exists a b", ""},
        {"=ignore Invalid # no comment", "=exists a b", invalid},
        {"=ignore # '#x'|#x", "=exists #x", ""},
        {"=ignore $simProgram^Invalid", "=exists a b", ""},
        {"=ignore \xC3\xB6.$", "=exists \xC3\xB6", "File '\xC3\xB6' does not exist"},
        {"=ignore '\xC3\xB6.? does", "=exists \xC3\xB6", ""}, // one character, not two bytes
        {"=ignore =ignore", "=exists =ignore", ""},
        // An empty pattern matches any message, and none.
        {"=ignore ", "=exists a b", ""},
        {"=ignore   ", "=echo", ""},
        // A line that does not begin with "=ignore" and a blank is the pattern itself.
        {" =ignore ^Invalid", "=exists a b", invalid},
        {" =ignore Invalid| =ignore", "=exists a b", invalid},
        {" =ignore Other|Invalid", "=exists a b", ""},
        {"=ignore\tInvalid", "=exists a b", invalid},
        {"=ignore\t\tOther|Invalid", "=exists a b", ""},
        {"=ignore", "=exists a b", invalid},
        {"=ignore", "=exists =ignore", ""},
        {"=ignore", "=echo", absent},
        // Regular expressions, searched anywhere in the message.
        {"=ignore ^Invalid .* command$", "=exists a b", ""},
        {"=ignore ^nvalid", "=exists a b", invalid},
        {"=ignore (Other|=exists) \\w+$", "=exists a b", ""},
        {"=ignore .*", "=echo", ""},
        {"=ignore ^$", "=echo", ""},
        {"=ignore ^$", "=exists a b", invalid},
        {"=ignore [", "=exists a b", invalid}, // an invalid one matches nothing
        {"=ignore [", "=exists [", "File '[' does not exist"},
        {"=ignore (", "=echo", absent},
        // Every command can be expected to fail.
        {"=ignore command '=end'", "=end", ""},
        {"=ignore running 'false' failed", "=run false", ""},
        {"=ignore Cannot write", "=file no/file", ""},
        {"=ignore x", "=debug", absent},
        {"=ignore x", "=ignore y", absent},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::string(row.line) + " | " + row.command);
        const QByteArray error = row.error;
        const QByteArray printed =
            runScript("=heading\n" + QByteArray(row.line) + "\n" + QByteArray(row.command) + "\n");
        EXPECT_TRUE(printed.endsWith(error.isEmpty() ? passed : "***ERROR: " + error + "\n"))
            << printed.toStdString();
    }
}

TEST_F(IgnoreCommand, GovernsExactlyTheNextCommand)
{
    const QByteArray failing = "=exists a b\n";
    const QByteArray invalid = "Invalid =exists command";
    EXPECT_EQ(errorOf("=ignore Invalid\n\n# comment\n \t\n" + failing), "");
    EXPECT_EQ(errorOf("=ignore Invalid\n" + failing + failing), invalid);
    EXPECT_EQ(errorOf("=ignore Invalid\n" + failing + "=ignore Invalid\n" + failing), "");
    EXPECT_EQ(errorOf(failing + "=ignore Invalid\n"), invalid);
    EXPECT_EQ(errorOf("=ignore Invalid\n"), ""); // no command follows
    EXPECT_EQ(errorOf("=ignore Invalid\n# comment\n"), "");
    EXPECT_EQ(errorOf("=ignore .*\n=ignore Invalid\n" + failing), ""); // the second one governs
    EXPECT_EQ(errorOf("=ignore .*\n=ignore Other\n" + failing), invalid);
}
