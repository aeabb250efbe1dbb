// What happens when the time of a run is up, and what becomes of programs that runs leave behind.

#include "RunFixture.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

class RunTimeoutTest : public RunFixture
{
protected:
    /// Runs `talmo run` with \a arguments and a time-out that is so long that all \a files, which
    /// programs make, are there when it is over.
    Outcome makeUntilThere(const QStringList &arguments, const QStringList &files)
    {
        Outcome outcome;
        for (int seconds = 1; seconds < 300; seconds *= 3) {
            message = "timed out after " + QByteArray::number(seconds) + " s";
            outcome = make(arguments + QStringList({"--timeout", QString::number(seconds)}));
            bool areThere = true;
            for (const QString &file : files)
                areThere = areThere && exists(file);
            if (areThere)
                return outcome;
        }
        ADD_FAILURE() << "the programs were never started: " << outcome.output.toStdString();
        return outcome;
    }

    QByteArray message; ///< of the run whose time was up
};

} // namespace

TEST_F(RunTimeoutTest, NothingThatTheRunStartedIsLeftAndItsDirectoryIs)
{
    addProgramsThatStay();
    // One in a session of its own, one whose parents have ended, and one after the other. The
    // shell of test1 ends when it is asked; that of test2 is the program itself.
    addProgram("sim", "setsid insist session &\n(insist orphan & setsid insist both &) &\n"
                      "(setsid -f insist fork)\necho began\ninsist last\n");
    const QStringList files = {"session", "orphan", "both", "fork", "last", "shell"};
    write("test1", "=one\n=ignore .*\n=run sim\n=run touch ../after\n");
    write("test2", "=two\n=ignore .*\n=run exec insist shell\n=run touch ../after\n");
    write("test3", "=three\n");
    const Outcome outcome = makeUntilThere({"--no-record", "-j3"}, files);
    for (const QString &file : files)
        EXPECT_FALSE(isThere(file)) << file.toStdString();
    EXPECT_TRUE(outcome.output.contains("test1: ***ERROR: " + message +
                                        "\n    test1:3: =run sim\n"
                                        "    ended by signal 15 (Terminated)\n"
                                        "    last line of 'sim.out': began\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains("test2: ***ERROR: " + message +
                                        "\n    test2:3: =run exec insist shell\n"
                                        "    ended by signal 9 (Killed)\n"
                                        "    it printed nothing\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains("test3: three\n"));
    EXPECT_TRUE(outcome.output.endsWith("\nFailed:\n  test1: " + message +
                                        " [test1.dir]\n  test2: " + message + " [test2.dir]\n" +
                                        counts(1, 2)));
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(read("test1.dir/sim.out"), "began\n");
    EXPECT_FALSE(exists("after"));
}

TEST_F(RunTimeoutTest, AProgramThatEndsWellWhenItIsAskedHasFailedAllTheSame)
{
    addProgram("polite", "trap 'echo bye; : >../asked; exit 0' TERM\n: >../there\n"
                         "while :; do sleep 0.01; done\n");
    write("test1", "=one\n=ignore Command should have failed|\n=run exec polite\n"
                   "=run touch ../after\n");
    const Outcome outcome = makeUntilThere({"--no-record"}, {"there"});
    EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: " + message + "\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(0, 1)));
    EXPECT_TRUE(read("test1.dir/exec.out").endsWith("bye\n"));
    EXPECT_FALSE(exists("after"));
}

TEST_F(RunTimeoutTest, IsNoPassEitherWhereTheRequestToEndIsIgnoredOrBlocked)
{
    addProgram("polite", "echo $$ >../pid; mv ../pid ../there; exec sleep 300\n");
    write("test1", "=one\n=ignore .*\n=run polite\n=run touch ../after\n");
    const QString talmo = driver;
    const struct {
        const char *name;
        QByteArray line;
    } rows[] = {
        {"ignoring", "trap '' TERM; exec '" + talmo.toUtf8() + "' \"$@\"\n"},
        {"blocking", "exec env --block-signal=TERM '" + talmo.toUtf8() + "' \"$@\"\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        addProgram(row.name, row.line);
        driver = QDir(programs).filePath(row.name);
        const Outcome outcome = makeUntilThere({"--no-record"}, {"there"});
        EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: " + message + "\n"))
            << outcome.output.toStdString();
        EXPECT_TRUE(outcome.output.endsWith(counts(0, 1)));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_FALSE(isThere("there"));
        EXPECT_FALSE(exists("after"));
        QFile::remove(work + "/there");
    }
}

TEST_F(RunTimeoutTest, TheScriptKnowsBetterThanTheOption)
{
    addProgramsThatStay();
    write("test1", "=one\n# talmo: timeout 0.25\n=run stay pid\n");
    write("test2", "=two\n# talmo: timeout 300\n=run sleep 0.6\n");
    Outcome outcome = make({"-j1", "--no-record", "--timeout", "200"});
    EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: timed out after 0.25 s\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 1)));
    outcome = make({"-j1", "--no-record", "--timeout", "0.5"});
    EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: timed out after 0.25 s\n"));
    EXPECT_TRUE(outcome.output.contains("\ntest2: two\n"));
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 1)));
    EXPECT_EQ(make({"--no-record", "test2"}).status, 0); // without a time-out
}

TEST_F(RunTimeoutTest, MayBeKnownAndTriedAgain)
{
    // The first attempt stays for ever.
    write("test1", "=one\n# talmo: timeout 3\n# talmo: retry 1\n"
                   "=run [ -e ../second ] || { touch ../second; exec sleep 300; }\n");
    write("test2", "=two\n# talmo: timeout 0.25\n# talmo: known ^timed out after 0.25 s$\n"
                   "=run exec sleep 300\n");
    const Outcome outcome = make({"-j1", "--no-record"});
    EXPECT_TRUE(outcome.output.startsWith("test1: one\n"
                                          "    attempt 1: timed out after 3 s\n"
                                          "    flaky: it passed at attempt 2\n"
                                          "test2: ***ERROR: timed out after 0.25 s\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(0, 0, 1, 1)));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RunTimeoutTest, OfAJobOnlyTheRunThatHangsFailsAndTheOthersAreMadeOnce)
{
    const QByteArray fifo = QFile::encodeName(work) + "/fifo";
    ASSERT_EQ(mkfifo(fifo, 0600), 0);
    const int writer = open(fifo, O_RDWR | O_CLOEXEC); // it never writes
    QByteArray lines;
    for (int n = 10; n < 50; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        write(name, "=heading\n=ignore does not exist\n=exists ../made" + name + "\n=file ../made" +
                        name + "\n");
        lines += n == 20 ? "test20: ***ERROR: timed out after 3 s\n" : name + ": heading\n";
    }
    write("test20", "=hangs\n=compare ../fifo ../fifo\n");
    const Outcome outcome = make({"-j1", "--no-record", "--timeout", "3"});
    close(writer);
    EXPECT_EQ(outcome.output,
        lines + "\nFailed:\n  test20: timed out after 3 s [test20.dir]\n" + counts(39, 1));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunTimeoutTest, WhatARunThatHasEndedLeftBehindIsNamedAndStays)
{
    addProgramsThatStay();
    addProgram("sim", "stay one &\nsetsid stay two &\n(stay three &)\n"
                      "until [ -e '" +
                          work.toUtf8() + "/one' ] && [ -e '" + work.toUtf8() +
                          "/two' ] && [ -e '" + work.toUtf8() +
                          "/three' ]; do sleep 0.01; done\nexit 1\n");
    write("test1", "=one\n=ignore running\n=run sim >&1\n"); // it keeps the output open
    write("test2", "=two\n=run stay four & until [ -e ../four ]; do sleep 0.01; done\n"
                   "=exists none\n");
    write("test3", "=three\n=run sleep 0.1 &\n=run until [ -e ../one ]; do sleep 0.01; done\n");
    const Outcome outcome = make({"-j1", "--no-record"});
    EXPECT_TRUE(outcome.output.startsWith("test1: one\ntest2: ***ERROR: File 'none' does not"))
        << outcome.output.toStdString();
    const auto begin = outcome.output.indexOf("\nStill running:\n");
    QByteArrayList named = outcome.output.mid(begin).split('\n').mid(2, 4);
    QByteArrayList expected;
    for (const char *const file : {"one", "two", "three", "four"}) {
        EXPECT_TRUE(isThere(file));
        expected += "  'sleep' (process " + read(file).trimmed() + "), left behind by test" +
                    (QByteArray(file) == "four" ? "2" : "1");
        endProcessIn(file);
    }
    std::sort(named.begin(), named.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(named, expected);
    EXPECT_TRUE(outcome.output.endsWith(counts(2, 1)));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunTimeoutTest, WhatALostRunHadStartedIsNamedAndStays)
{
    addProgramsThatStay();
    write("test1", "=one\n=run stay pid & until [ -e ../pid ]; do sleep 0.01; done; "
                   "kill -KILL $PPID\n");
    const Outcome outcome = make({"--no-record"});
    EXPECT_TRUE(outcome.output.contains("\nStill running:\n"));
    EXPECT_TRUE(outcome.output.contains(
        "'sleep' (process " + read("pid").trimmed() + "), left behind by test1\n"))
        << outcome.output.toStdString();
    endProcessIn("pid");
}

TEST_F(RunTimeoutTest, WhatAnotherRunLeftBehindSurvivesATimeOut)
{
    addProgramsThatStay();
    write("test1", "=one\n=run stay pid & until [ -e ../pid ]; do sleep 0.01; done\n");
    write("test2", "=two\n# talmo: timeout 0.25\n=run kill -STOP $PPID\n");
    write("test3", "=three\n# talmo: timeout 0.25\n=run exec sleep 300\n");
    const Outcome outcome = make({"-j1", "--no-record"});
    EXPECT_TRUE(outcome.output.contains("\nStill running:\n  'sleep' (process " +
                                        read("pid").trimmed() + "), left behind by test1\n\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 2)));
    endProcessIn("pid");
}
