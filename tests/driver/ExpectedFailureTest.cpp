#include "DriverTest.h"

// "=ignore PATTERN": the next command must fail, with a message that the pattern matches.

class ExpectedFailure : public DriverTest
{
};

TEST_F(ExpectedFailure, MustHappenAndMatch)
{
    const QByteArray shouldHaveFailed = "Command should have failed";
    const QByteArray noFile = "File 'f' does not exist";
    const struct {
        QByteArray lines;
        QByteArray error; // empty if the run passes
    } rows[] = {
        // the command fails, and the pattern matches anywhere in its message
        {"=ignore File 'f' does not exist\n=exists f\n", ""},
        {"=ignore does\n=exists f\n", ""},
        {"=ignore ^File .*exist$\n=exists f\n", ""},
        {"=ignore 'f|g'\n=exists f\n", ""},
        {"=ignore File 'g'\n=exists f\n", noFile},
        {"=ignore ^does\n=exists f\n", noFile},
        {"=ignore FILE\n=exists f\n", noFile}, // case counts
        {"=ignore does  not\n=exists f\n", noFile},
        {"=ignore (\n=exists f\n", noFile}, // an invalid pattern matches nothing
        {"=ignore Unknown test command '=foo'\n=foo a b\n", ""},
        {"=ignore running 'false' failed\n=run false\n", ""},
        {"=ignore Cannot write\n=file no/such/f\n", ""},
        // the command does not fail, although it should
        {"=ignore X\n=file f\n", shouldHaveFailed},
        {"=ignore Command should have failed\n=file f\n", shouldHaveFailed},
        {"=ignore (\n=file f\n", shouldHaveFailed},
        // a pattern that matches the empty text allows success and failure
        {"=ignore .*\n=file f\n", ""},
        {"=ignore .*\n=exists f\n", ""},
        {"=ignore X*\n=file f\n", ""},
        {"=ignore ^$\n=file f\n", ""},
        {"=ignore ^$\n=exists f\n", noFile},
        {"=ignore \n=file f\n", ""}, // the blank makes the pattern empty
        {"=ignore \n=exists f\n", ""},
        // =ignore concerns only the next command
        {"=ignore File\n=exists f\n=exists f\n", noFile},
        {"=ignore .*\n=file f\n=foo\n", "Unknown test command '=foo'"},
        {"=ignore File\n=exists f\n=file f\n=exists f\n", ""},
        {"=ignore File\n=exists f\n=ignore File\n=exists f\n", ""},
        {"=ignore File\n=exists f\n=ignore File\n=exists g\n=exists f\n", noFile},
        // blank lines and comments are no commands
        {"=ignore File\n\n  \n# comment\n  # =foo\n=exists f\n", ""},
        {"=ignore X\n# comment\n=file f\n", shouldHaveFailed},
        {"=exists f\n=ignore File\n", noFile},
        // all other lines are commands, also those that do nothing here
        {"=ignore X\n=platform\n", shouldHaveFailed},
        {"=ignore X\n=platform WINDOWS\n=foo\n", shouldHaveFailed},
        {"=ignore platform\n=platform Linux\n=file f\n=exists f\n", ""},
        // two in a row: the first one concerns the second one, which does not fail
        {"=ignore X\n=ignore File\n=exists f\n", shouldHaveFailed},
        {"=ignore X\n# comment\n=ignore File\n=exists f\n", shouldHaveFailed},
        {"=ignore .*\n=ignore File\n=exists f\n", ""},
        {"=ignore .*\n=ignore File\n=file f\n", shouldHaveFailed},
        {"=ignore .*\n=ignore X\n=exists f\n", noFile},
        {"=ignore .*\n=ignore .*\n=ignore File\n=exists f\n", ""},
        // no command follows
        {"=ignore X\n", ""},
        {"=ignore X", ""},
        {"=ignore X\n\n# comment\n", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines.toStdString());
        EXPECT_EQ(errorOf(row.lines), row.error);
    }
}

TEST_F(ExpectedFailure, ThePatternIsWhatFollowsTheBlanks)
{
    const QByteArray shouldHaveFailed = "Command should have failed";
    const QByteArray invalid = "Invalid =exists command"; // the message of "=exists a b"
    const struct {
        QByteArray line;
        QByteArray command;
        QByteArray error; // empty if the run passes
    } rows[] = {
        {"=ignore  Invalid", "=exists a b", ""},
        {"=ignore      ^Invalid", "=exists a b", ""},
        {"=ignore   ", "=echo", ""}, // only blanks make an empty pattern
        {"=ignore Invalid ", "=exists a b", ""},
        {"=ignore command ", "=exists a b", invalid}, // blanks at the end belong to the pattern
        {"=ignore command\t", "=exists a b", invalid},
        {"=ignore command\r", "=exists a b", ""},
        {"=ignore Invalid # no comment", "=exists a b", invalid},
        {"=ignore # '#x'|#x", "=exists #x", ""},
        {"=ignore $simProgram^Invalid", "=exists a b", ""},
        {"=ignore (Other|=exists) \\w+$", "=exists a b", ""},
        {"=ignore [", "=exists [", "File '[' does not exist"}, // an invalid pattern is no text
        {"=ignore \xC3\xB6.$", "=exists \xC3\xB6", "File '\xC3\xB6' does not exist"},
        {"=ignore '\xC3\xB6.? does", "=exists \xC3\xB6", ""}, // one character, not two bytes
        {"=ignore =ignore", "=exists =ignore", ""},
        // A line that does not begin with "=ignore" and a blank is the pattern itself.
        {" =ignore ^Invalid", "=exists a b", invalid},
        {" =ignore Invalid| =ignore", "=exists a b", invalid},
        {" =ignore Other|Invalid", "=exists a b", ""},
        {"=ignore\tInvalid", "=exists a b", invalid},
        {"=ignore\t\tOther|Invalid", "=exists a b", ""},
        {"=ignore", "=exists a b", invalid},
        {"=ignore", "=exists =ignore", ""},
        {"=ignore", "=echo", shouldHaveFailed},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE((row.line + " | " + row.command).toStdString());
        const QByteArray printed = row.command == "=echo" ? "\n" : "";
        EXPECT_EQ(runScript("=heading\n" + row.line + '\n' + row.command + '\n'),
            printed + (row.error.isEmpty() ? passed : "test1: ***ERROR: " + row.error + '\n'));
    }
}

TEST_F(ExpectedFailure, TheLineMayBeLong)
{
    const QByteArray text(20000, 'x'); // QRegExp's time grows with the square of the length
    EXPECT_EQ(errorOf("=ignore " + text + "\n=exists f\n"), "File 'f' does not exist");
    EXPECT_EQ(errorOf("=ignore " + text + "|exist$\n=exists f\n"), "");
    const QByteArray blanks(1000000, ' ');
    EXPECT_EQ(errorOf("=ignore" + blanks + "exist$\n=exists f\n"), "");
    EXPECT_EQ(errorOf("=ignore" + blanks + "other\n=exists f\n"), "File 'f' does not exist");
}

TEST_F(ExpectedFailure, IsNotMadeUpForByWhatTheCommandDoes)
{
    EXPECT_EQ(runScript("=heading\n=ignore X\n=echo done\n=echo not reached\n"),
        "done\ntest1: ***ERROR: Command should have failed\n");
    EXPECT_EQ(runScript("=heading\n=ignore X\n=debug\n"),
        "***errorMsg=Command should have failed\n"
        "==== end test test1\n"
        "test1: ***ERROR: Command should have failed\n");
    EXPECT_EQ(runScript("=heading\n=ignore X\n=file f\nbody\n=foo\n"),
        "test1: ***ERROR: Command should have failed\n");
    EXPECT_EQ(read("test1.dir/f"), "body\n");
}

TEST_F(ExpectedFailure, LetsTheRunGoOn)
{
    EXPECT_EQ(runScript("=heading\n=ignore foo\n=foo\n=echo reached\n=ignore bar\n=bar\n"),
        "reached\ntest1: heading\n");
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(ExpectedFailure, DoesNotOutlastItsRun)
{
    configure({"sim1", "sim2"});
    write("test1", "=one\n=simprogram *\n=file f\n=ignore X\n");
    write("test2", "=two\n=file f\n");
    write("test3", "=three\n=exists f\n=ignore X\n");
    write("test4", "=four\n=exists f\n");
    write("test5", "=five\n=foo\n");
    expectRun({"test?"}, "test1 test2 test3 test4 test5",
        "test1(sim1): one\n"
        "test1(sim2): one\n"
        "test2: two\n"
        "test3: ***ERROR: File 'f' does not exist\n"
        "test4: ***ERROR: File 'f' does not exist\n"
        "test5: ***ERROR: Unknown test command '=foo'\n",
        3, 5);
}

TEST_F(ExpectedFailure, ConcernsTheRunOnly)
{
    write("test1", "=ignore Cannot read\n=ignore cannot cd\n"); // the first line is the heading
    write("test1.dir", "a file in the way");
    expectRun({"test1"}, "test1", "test1: ***ERROR: cannot cd to 'test1.dir'\n", 1, 1);
}
