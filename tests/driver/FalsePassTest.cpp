#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <vector>

// A script in which something is wrong must not pass. Where the language lets it pass nevertheless,
// the manual warns and shows the safe way to write it. The rows here make sure that this stays
// true.

class FalsePass : public DriverTest
{
protected:
    FalsePass()
    {
        addProgram("careless", "echo 'ERROR: no input'\n"); // it ends with the status 0
        addProgram("refuse", "echo 'refused: no input'\nexit 1\n");
        addProgram("crash", "kill -9 $$\n");
        addProgram("test", "exit 1\n"); // the shell has a command of its own with this name
    }
};

TEST_F(FalsePass, WhatIsWrongFails)
{
    const QByteArray lengths = "Files 'a' and 'b' have different lengths";
    const QByteArray invalidData = "File 'a' and/or 'b' has invalid data on line 1, column 1";
    const QByteArray badTolerance = "Invalid =compare column tolerance";
    const struct {
        const char *what;
        QByteArray lines;
        QByteArray error;
    } rows[] = {
        {"the output is empty", "=run true >a\n=file b\n1\n=compare a b\n", lengths},
        {"the output is empty", "=run true >a\n=file b\n1\n=compare a b 0\n", lengths},
        {"all of the output is missing", "=run true >out\n=file b\n1\n=compare a b\n",
            "Cannot read file 'a'"},
        {"the reference is missing", "=run true >a\n=compare a b -1\n", "Cannot read file 'b'"},
        {"the last line is missing", "=file a\n1\n=file b\n1\n2\n=compare a b 0\n", lengths},
        {"the last lines are comments", "=file a\n1\n=file b\n1\n# 2\n=compare a b 0\n", lengths},
        {"the last lines are blank", "=file a\n1\n=file b\n1\n\n=compare a b -1\n", lengths},
        {"the first line is missing", "=file a\n2\n=file b\n1\n2\n=compare a b 0\n",
            "Files 'a' and 'b' differ on line 1, column 1"},
        {"the last line is cut", "=file b\n1 2.5\n=run printf '1 2.' >a\n=compare a b\n",
            "Files 'a' and 'b' differ at line 1"},
        {"the last column is missing", "=file a\n1\n=file b\n1 2\n=compare a b 0 0\n",
            "File 'a' and/or 'b' has too few columns, line 1"},
        {"only one file has its comment", "=file a\n#1\n=file b\n1\n=compare a b -1\n",
            "File 'a' and 'b' comment mismatch, line 1"},

        {"an infinity", "=file a\ninf\n=file b\ninf\n=compare a b 1e308\n", invalidData},
        {"a C program's NaN", "=file a\n-nan\n=file b\n-nan\n=compare a b 1e308\n", invalidData},
        {"an overflow", "=file a\n1e400\n=file b\n1e400\n=compare a b 1e308\n", invalidData},
        {"Fortran's stars", "=file a\n*****\n=file b\n*****\n=compare a b 0\n", invalidData},
        {"Fortran's exponent", "=file a\n1D3\n=file b\n1D3\n=compare a b 0\n", invalidData},
        {"a decimal comma", "=file a\n1,5\n=file b\n1,5\n=compare a b 0\n", invalidData},
        {"a comma for a sign", "=file a\n,5\n=file b\n,5\n=compare a b 0\n", invalidData},
        {"a unit", "=file a\n1mm\n=file b\n1mm\n=compare a b 0\n", invalidData},
        {"a glued comment", "=file a\n1#x\n=file b\n1#y\n=compare a b 0\n", invalidData},
        {"the largest difference", "=file a\n1e308\n=file b\n-1e308\n=compare a b 1.7e308\n",
            "Files 'a' and 'b' differ on line 1, column 1"},
        {"a beam that overflows", "=testbeam a -1e308 1e308 3 0 1 2 0 13 1\n=compare a a 0\n",
            "File 'a' and/or 'a' has invalid data on line 3, column 1"},

        {"an infinite tolerance", "=file a\n=compare a a inf\n", badTolerance},
        {"a decimal comma", "=file a\n=compare a a 0,1\n", badTolerance},
        {"two signs", "=file a\n=compare a a --1\n", badTolerance},
        {"a typographer's minus", "=file a\n=compare a a \xE2\x88\x92\x31\n", badTolerance},
        {"half an exponent", "=file a\n=compare a a 1e -3\n", badTolerance},
        {"a percentage", "=file a\n=compare a a 1%\n", badTolerance},
        {"a comment", "=file a\n=compare a a # exactly\n", badTolerance},
        {"a third file", "=file a\n=compare a a a\n", badTolerance},
        {"a tolerance too small for a double is 0, not negative",
            "=file a\n1\n=file b\n2\n=compare a b -1e-400\n",
            "Files 'a' and 'b' differ on line 1, column 1"},

        {"names are not for the shell", "=file a\n=compare * a\n", "Cannot read file '*'"},
        {"names are not for the shell", "=exists $PWD\n", "File '$PWD' does not exist"},
        {"no program selected", "=run $simProgram\n", "Invalid =run command"},
        {"no program selected", "=run $simProgram deck\n", "running 'deck' failed"},
        {"no program selected", "=exists $simProgram\n", "Invalid =exists command"},
        {"no program selected", "=compare $simProgram a\n", "Invalid =compare command"},
        {"no program selected", "=file $simProgram\n", "Invalid =file command"},
        {"a line of a file that begins with =", "=file a\n1\n=====\n2\n",
            "Unknown test command '====='"},
        {"a misspelt command is not the failure expected", "=ignore differ\n=comprae a b\n",
            "Unknown test command '=comprae'"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what + (": " + row.lines.toStdString()));
        EXPECT_EQ(errorOf(row.lines), row.error);
    }
}

/// Lines that pass although something is wrong.
struct Trap {
    const char *what;
    QByteArray lines; ///< lines that pass
    QByteArray safe;  ///< lines that mean the same, and fail
    QByteArray error; ///< the error with which these fail
};

class Traps : public FalsePass
{
protected:
    void expectTraps(const std::vector<Trap> &traps)
    {
        for (const Trap &trap : traps) {
            SCOPED_TRACE(trap.what + (": " + trap.lines.toStdString()));
            EXPECT_EQ(errorOf(trap.lines), "");
            SCOPED_TRACE(trap.safe.toStdString());
            EXPECT_EQ(errorOf(trap.safe), trap.error);
        }
    }
};

TEST_F(Traps, RunAsksForTheExitStatusAlone)
{
    expectTraps({
        {"a list", "=run false x; true\n",
            "=file steps.sh\nset -e\nfalse x\ntrue\n=run sh steps.sh\n", "running 'sh' failed"},
        {"a list that ends with nothing", "=run false x;\n", "=run false x\n",
            "running 'false' failed"},
        {"a pipe", "=run false x | cat\n", "=run false x > out\n=run cat out\n",
            "running 'false' failed"},
        {"the background", "=run false x &\n", "=run false x\n", "running 'false' failed"},
        {"an alternative", "=run false x || true\n", "=run false x\n", "running 'false' failed"},
        {"a condition", "=run if false x; then true; fi\n", "=run false x\n",
            "running 'false' failed"},
        {"a substitution", "=run echo $(false x)\n", "=run false x\n", "running 'false' failed"},
        {"a comment of the shell", "=run # false x\n", "=run false x\n", "running 'false' failed"},
        {"a negation", "=run ! no-such-program\n",
            "=ignore running\n=run no-such-program\n=run grep -q refused no-such-program.out\n",
            "running 'grep' failed"},
        {"a shell script that goes on", "=file s\nfalse x\ntrue\n=run sh s\n",
            "=file s\nset -e\nfalse x\ntrue\n=run sh s\n", "running 'sh' failed"},
        {"a setting of a shell that has ended", "=run set -e\n=file s\nfalse\ntrue\n=run sh s\n",
            "=file s\nfalse\ntrue\n=run sh -e s\n", "running 'sh' failed"},
        {"a word that the shell has for itself", "=run test deck\n",
            "=run ../../programs/test deck\n", "running '../../programs/test' failed"},
        {"a program that ends with 0 whatever happens", "=run careless\n",
            "=run careless\n=file reference\n1 2\n=compare careless.out reference\n",
            "Files 'careless.out' and 'reference' differ at line 1"},
        {"a variable that is not set", "=run $simprogram >log\n=exists log\n",
            "=run $simprogram >log\n=run test -s log\n", "running 'test' failed"},
        {"no program selected", "=run $simProgram >log\n=exists log\n",
            "=run $simProgram >log\n=run test -s log\n", "running 'test' failed"},
    });
}

TEST_F(Traps, ExistsAsksForANameAlone)
{
    expectTraps({
        {"the capture, which the shell makes", "=run true\n=exists true.out\n",
            "=run true\n=run test -s true.out\n", "running 'test' failed"},
        {"a misspelt name", "=file output\n=ignore not exist\n=exists ouptut\n",
            "=file output\n=run ls\n=file reference\nls.out\n=compare ls.out reference\n",
            "Files 'ls.out' and 'reference' have different lengths"},
        {"a wildcard", "=file core.1\n=ignore not exist\n=exists core.*\n",
            "=file core.1\n=ignore running 'ls' failed\n=run ls core.*\n",
            "Command should have failed"},
        {"what an earlier run left", "=run touch ../old\n=exists ../old\n",
            "=run touch ../old\n=exists old\n", "File 'old' does not exist"},
    });
}

TEST_F(Traps, CompareLooksAtWhatItIsTold)
{
    const QByteArray differAt1 = "Files 'a' and 'b' differ at line 1";
    const QByteArray differOn1 = "Files 'a' and 'b' differ on line 1, column ";
    expectTraps({
        {"two empty files", "=run true >a\n=file b\n=compare a b\n=compare a b 0\n",
            "=run true >a\n=run test -s a\n", "running 'test' failed"},
        {"one file", "=file a\n1\n=file b\n2\n=compare a a\n",
            "=file a\n1\n=file b\n2\n=compare a b\n", differAt1},
        {"one file under two names", "=file a\n1\n=run ln -s a b\n=compare a b 0\n",
            "=file a\n1\n=file b\n2\n=compare a b 0\n", differOn1 + "1"},
        {"nothing but comments", "=file a\n#1 2\n=file b\n#3 4\n=compare a b 0 0\n",
            "=file a\n#1 2\n=file b\n#3 4\n=compare a b\n", differAt1},
        {"a column without a tolerance", "=file a\n1 2\n=file b\n1 nan\n=compare a b 0\n",
            "=file a\n1 2\n=file b\n1 3\n=compare a b 0 0\n", differOn1 + "2"},
        {"a tolerance negative by a slip", "=file a\n1 2\n=file b\n1 3\n=compare a b 0 -1e-3\n",
            "=file a\n1 2\n=file b\n1 3\n=compare a b 0 1e-3\n", differOn1 + "2"},
        {"only negative tolerances", "=file a\n1 2\nx\n=file b\nnan 3\ny\n=compare a b -1\n",
            "=file a\n1 2\nx\n=file b\nnan 3\ny\n=compare a b\n", differAt1},
        {"an exponent without its minus", "=file a\n1\n=file b\n2\n=compare a b 1e3\n",
            "=file a\n1\n=file b\n2\n=compare a b 1e-3\n", differOn1 + "1"},
        {"a tolerance above the values", "=file a\n1e-9\n=file b\n0\n=compare a b 1e-6\n",
            "=file a\n1e-9\n=file b\n0\n=compare a b 1e-12\n", differOn1 + "1"},
        {"NaN as text", "=file a\n1 nan\n=file b\n1 nan\n=compare a b\n",
            "=file a\n1 nan\n=file b\n1 nan\n=compare a b 0 0\n",
            "File 'a' and/or 'b' has invalid data on line 1, column 2"},
        {"a number that was cut", "=run printf 1.00 >a\n=file b\n1.0004\n=compare a b 1e-3\n",
            "=run printf 1.00 >a\n=file b\n1.0004\n=compare a b\n", differAt1},
        {"digits beyond those of a double",
            "=file a\n9007199254740993\n=file b\n9007199254740992\n=compare a b 0\n",
            "=file a\n9007199254740993\n=file b\n9007199254740992\n=compare a b\n", differAt1},
        {"carriage returns", "=run printf '1\\r2\\n' >a\n=file b\n12\n=compare a b\n",
            "=run printf '1\\r2\\n' >a\n=file b\n12\n=run cmp a b\n", "running 'cmp' failed"},
        {"carriage returns for newlines",
            "=run printf '1 2\\r3 4\\r' >a\n=run printf '1 2\\r5 6\\r' >b\n=compare a b 0\n",
            "=run printf '1 2\\r3 4\\r' >a\n=run printf '1 2\\r5 6\\r' >b\n=compare a b\n",
            differAt1},
        {"names in Latin-1", "=file \xF6\n1\n=file \xFC\n2\n=compare \xF6 \xFC\n",
            "=file \xC3\xB6\n1\n=file \xC3\xBC\n2\n=compare \xC3\xB6 \xC3\xBC\n",
            "Files '\xC3\xB6' and '\xC3\xBC' differ at line 1"},
        {"a beam that could not be written",
            "=run ln -s /dev/null beam\n=testbeam beam 0 1 2 0 1 2 0 13 1\n=exists beam\n",
            "=run ln -s /dev/null beam\n=testbeam beam 0 1 2 0 1 2 0 13 1\n"
            "=run wc -l beam\n=file reference\n6 beam\n=compare wc.out reference\n",
            "Files 'wc.out' and 'reference' differ at line 1"},
    });
}

TEST_F(Traps, IgnoreTakesAnyMatch)
{
    const QByteArray shouldHaveFailed = "Command should have failed";
    const QByteArray tenLines = "=file a\n1\n1\n1\n1\n1\n1\n1\n1\n1\n1\n"
                                "=file b\n1\n1\n1\n1\n1\n1\n1\n1\n1\n2\n";
    const QByteArray tenColumns = "=file a\n1 1 1 1 1 1 1 1 1 1\n=file b\n1 1 1 1 1 1 1 1 1 2\n";
    const QByteArray tenZeros = "0 0 0 0 0 0 0 0 0 0\n";
    expectTraps({
        {"a pattern with an empty alternative", "=ignore differ|\n=compare ../test1 ../test1\n",
            "=ignore differ\n=compare ../test1 ../test1\n", shouldHaveFailed},
        {"a pattern for anything but", "=ignore ^(?!running)\n=compare ../test1 ../test1\n",
            "=ignore ^Files .* differ\n=compare ../test1 ../test1\n", shouldHaveFailed},
        {"a pattern that was only the program", "=ignore $simProgram\n=run true\n",
            "=ignore running '$simProgram' failed\n=run true\n", shouldHaveFailed},
        {"line 1 is the beginning of line 10", tenLines + "=ignore at line 1\n=compare a b\n",
            tenLines + "=ignore at line 1$\n=compare a b\n", "Files 'a' and 'b' differ at line 10"},
        {"column 1 is the beginning of column 10",
            tenColumns + "=ignore column 1\n=compare a b " + tenZeros,
            tenColumns + "=ignore column 1$\n=compare a b " + tenZeros,
            "Files 'a' and 'b' differ on line 1, column 10"},
        {"a dot", "=ignore .\n=comprae a b\n", "=ignore ^Files\n=comprae a b\n",
            "Unknown test command '=comprae'"},
        {"a word of a name", "=ignore invalid\n=compare invalid.dat b\n",
            "=ignore has invalid data on line 1, column 1$\n=compare invalid.dat b\n",
            "Cannot read file 'invalid.dat'"},
        {"a crash for a refusal", "=ignore ^running 'crash' failed$\n=run crash\n",
            "=ignore ^running 'crash' failed$\n=run crash\n=run grep -q refused crash.out\n",
            "running 'grep' failed"},
        {"no program for a refusal", "=ignore ^running 'refsue' failed$\n=run refsue\n",
            "=ignore ^running 'refsue' failed$\n=run refsue\n=run grep -q refused refsue.out\n",
            "running 'grep' failed"},
    });
}

TEST_F(Traps, ALineMayBeNoCommand)
{
    expectTraps({
        {"a command after a blank, in a file", "=file a\n1\n =run false\n",
            "=file a\n1\n=run false\n", "running 'false' failed"},
        {"a command without its =, in a file", "=file a\n1\nrun false\n",
            "=file a\n1\n=run false\n", "running 'false' failed"},
        {"a command after a byte order mark, in a file", "=file a\n1\n\xEF\xBB\xBF=run false\n",
            "=file a\n1\n=run false\n", "running 'false' failed"},
        {"a section that ends after a blank", "=platform WINDOWS\n =platform\n=run false\n",
            "=platform WINDOWS\n=platform\n=run false\n", "running 'false' failed"},
        {"a check for other platforms", "=platform DARWIN WINDOWS\n=run false\n=platform\n",
            "=platform DARWIN WINDOWS\n=platform\n=run false\n", "running 'false' failed"},
    });
}

TEST_F(FalsePass, ARefusalIsTheProgramsOwn)
{
    EXPECT_EQ(errorOf("=ignore ^running 'refuse' failed$\n=run refuse\n"
                      "=run grep -q refused refuse.out\n"),
        "");
}

TEST_F(FalsePass, AScriptPassesForTheLinesThatItHas)
{
    const struct {
        const char *what;
        QByteArray script;
        QByteArray printed;
    } rows[] = {
        {"whole", "=heading\n=run true\n=run false\n", "test1: ***ERROR: running 'false' failed\n"},
        {"cut off", "=heading\n=run true\n", passed},
        {"the heading is missing", "=run false\n", "test1: run false\n"},
        {"carriage returns for newlines", "=heading\r=run false\r", "test1: heading=run false\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(runScript(row.script), row.printed);
    }
}

TEST_F(FalsePass, TheCheckInTheManualSeesWhatDidNotRun)
{
    QFile manual(MANUAL_OF_SCRIPTS);
    ASSERT_TRUE(manual.open(QIODevice::ReadOnly));
    const QByteArray text = manual.readAll();
    const auto begin = text.indexOf("    talmo_test 'test*' >log");
    const auto end = text.indexOf("\n\n", begin);
    ASSERT_TRUE(begin > 0 && end > begin);
    QByteArray check = text.mid(begin, end - begin) + '\n';
    addProgram("check", check.replace("(12 total)", "(2 total)"));
    environment["PATH"] += ':' + QFileInfo(driver).path();

    const QByteArray passing = "=heading\n";
    const struct {
        const char *what;
        QByteArrayList scripts;
        int status;
        QByteArray printed; // the end of the output
    } rows[] = {
        {"all is well", {passing, passing}, 0, "All tests passed (2 total)\n"},
        {"one fails", {passing, "=heading\n=run false\n"}, 1, summary(1, 2)},
        {"one is missing", {passing}, 1, ""},
        {"one is too many", {passing, passing, passing}, 1, ""},
        {"one does not apply", {passing, "=heading\n=simprogram sim\n"}, 1,
            "/test2: No applicable SimPrograms\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        QDir(work).removeRecursively();
        for (int n = 0; n < row.scripts.size(); ++n)
            write("test" + QString::number(n + 1), row.scripts[n]);
        const Outcome outcome = runProcess(QDir(programs).filePath("check"), {}, environment, work);
        EXPECT_EQ(outcome.status, row.status);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_TRUE(outcome.output.endsWith(row.printed)) << outcome.output.toStdString();
        EXPECT_EQ(outcome.output.isEmpty(), row.printed.isEmpty());
    }
}

TEST_F(FalsePass, ACommaHidesAProgram)
{
    configure({"true", "false"});
    EXPECT_EQ(runScript("=heading\n=simprogram false, true\n=run $simProgram\n"),
        "test1(true): heading\n");
    EXPECT_EQ(runScript("=heading\n=simprogram false true\n=run $simProgram\n"),
        "test1(false): ***ERROR: running 'false' failed\ntest1(true): heading\n");
}

// The shell says on standard error what it could not do. The driver only says that it failed.
TEST_F(FalsePass, WhatTheShellCannotDoFails)
{
    const struct {
        const char *lines;
        const char *error;
    } rows[] = {
        {"=run echo 'a\n", "running 'echo' failed"}, {"=run echo (\n", "running 'echo' failed"},
        {"=run cat <no-such-file\n", "running 'cat' failed"},
        {"=run true >no-such-folder/file\n", "running 'true' failed"},
        {"=run mkdir true.out\n=run true\n", "running 'true' failed"}, // a folder is in the way
        {"=run refuse; true\n", "running 'refuse;' failed"},           // runs "true >>refuse; .out"
        {"=run cat <<END\n1\nEND\n", "Unknown test command '1'"},      // each line is a command
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines);
        write("test1", "=heading\n" + QByteArray(row.lines));
        const Outcome outcome = run({"test1"});
        EXPECT_EQ(outcome.status, 2);
        EXPECT_TRUE(outcome.output.endsWith(
            "test1: ***ERROR: " + QByteArray(row.error) + '\n' + summary(1, 1)))
            << outcome.output.toStdString();
    }
}
