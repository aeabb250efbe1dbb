// Signals that ask talmo to stop, sent to it alone, as a CI server does, or to its group, as a
// terminal does. And what becomes of its runs when it is killed.

#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

const struct {
    int number;
    QByteArray name;
} signalsToStop[] = {
    {SIGINT, "SIGINT"},
    {SIGTERM, "SIGTERM"},
    {SIGHUP, "SIGHUP"},
};

class RunInterruptionTest : public RunFixture
{
protected:
    RunInterruptionTest() { addProgramsThatStay(); }

    /// Waits, but not for ever, until the process in the file \a name is gone. The machine may be
    /// busy.
    bool goes(const QString &name) const
    {
        constexpr int most = 6000; // of ten milliseconds
        for (int wait = 0; wait < most && isThere(name); ++wait)
            QThread::msleep(10);
        return !isThere(name);
    }

    /// True if a signal was sent to \a process that it has not got yet.
    static bool hasPendingSignal(pid_t process)
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(process));
        const QByteArray text = status.open(QIODevice::ReadOnly) ? status.readAll() : "";
        const QByteArray key = "\nShdPnd:";
        const QByteArray set = text.mid(text.indexOf(key) + key.size()).trimmed().left(16);
        return text.contains(key) && set.count('0') != 16;
    }

    /// Ends what is still there of the processes in \a files, which is a failure.
    void expectGone(const QStringList &files)
    {
        for (const QString &file : files) {
            SCOPED_TRACE(file.toStdString());
            EXPECT_FALSE(isThere(file));
            if (isThere(file))
                endProcessIn(file);
        }
    }
};

} // namespace

TEST_F(RunInterruptionTest, StopsAllTellsWhatWasNotRunAndEndsByTheSignal)
{
    write("test1", "=one\n");
    write("test2", "=two\n# talmo: known .*\n# talmo: retry 2\n=run echo x >>../lines; stay two\n");
    write(
        "test3", "=three\n=ignore .*\n=run setsid -f stay session; stay three\n=run touch ../no\n");
    write("test4", "=four\n=run touch ../no\n");
    write("test5", "=five\n=file ../no\n");
    const QStringList files = {"two", "three", "session"};
    for (const auto &[number, name] : signalsToStop) {
        for (const bool isToGroup : {false, true}) {
            SCOPED_TRACE(name.toStdString() + (isToGroup ? " to the group" : " to talmo"));
            for (const QString &file : files + QStringList("lines"))
                QFile::remove(QDir(work).filePath(file));
            start({"-j2", "--no-record", "--junit", "results.xml"});
            waitFor(files);
            isToGroup ? sendToGroup(number) : sendToTalmo(number);
            const Outcome outcome = end();
            EXPECT_TRUE(outcome.output.startsWith("test1: one\n")) << outcome.output.toStdString();
            for (const QByteArray run : {"test2", "test3"})
                EXPECT_EQ(
                    outcome.output.count("\n" + run + ": ***ERROR: interrupted by " + name + "\n"),
                    1);
            const auto end = outcome.output.indexOf("\nFailed:\n");
            EXPECT_EQ(outcome.output.mid(end), "\nFailed:\n  test2: interrupted by " + name +
                                                   " [test2.dir]\n  test3: interrupted by " + name +
                                                   " [test3.dir]\n\nNot run:\n"
                                                   "  test4: interrupted by " +
                                                   name + "\n  test5: interrupted by " + name +
                                                   "\n\n***talmo: interrupted by " + name + "\n" +
                                                   counts(1, 2, 0, 0, 0, 2));
            EXPECT_EQ(outcome.errors, "");
            EXPECT_EQ(outcome.signal, number);
            expectGone(files);
            EXPECT_EQ(read("lines"), "x\n");
            EXPECT_FALSE(exists("no"));
            const QByteArray results = read("results.xml");
            for (const QByteArray run : {"test1", "test2", "test3", "test4", "test5"})
                EXPECT_TRUE(results.contains("name=\"" + run + "\"")) << results.toStdString();
            QFile::remove(work + "/results.xml");
        }
    }
}

TEST_F(RunInterruptionTest, RecordsTheResultsUpToThen)
{
    write("test1", "=one\n");
    write("test2", "=two\n=run stay two\n");
    write("test3", "=three\n");
    start({"-j1"});
    waitFor({"two"});
    sendToTalmo(SIGTERM);
    EXPECT_EQ(end().signal, SIGTERM);
    write("test2", "=two\n");
    const Outcome outcome = make({"-j1", "--rerun-failed"});
    EXPECT_EQ(outcome.output, "test2: two\ntest3: three\n" + counts(2));
}

TEST_F(RunInterruptionTest, AProgramThatEndsWellWhenItIsInterruptedHasFailed)
{
    addProgram("careful", "trap 'exit 0' INT\n>../there\nwhile :; do sleep 0.01; done\n");
    write("test1", "=one\n=run exec careful\n");
    start({"--no-record"});
    waitFor({"there"});
    sendToGroup(SIGINT);
    const Outcome outcome = end();
    EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: interrupted by SIGINT\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(0, 1)));
    EXPECT_EQ(outcome.signal, SIGINT);
}

TEST_F(RunInterruptionTest, EndsWhatDoesNotEndWhenItIsAsked)
{
    const QByteArray fifo = QFile::encodeName(work) + "/fifo";
    ASSERT_EQ(mkfifo(fifo, 0600), 0);
    const int writer = open(fifo, O_RDWR | O_CLOEXEC); // it never writes
    write("test1", "=waits without a program\n=file ../one\n=compare ../fifo ../fifo\n");
    write("test2", "=two\n=run setsid -f insist session; exec insist two\n");
    write("test3", "=three\n=run kill -STOP $PPID; insist three\n");
    const QStringList files = {"session", "two", "three"};
    start({"-j3", "--no-record"});
    waitFor(files + QStringList("one"));
    sendToTalmo(SIGINT);
    const Outcome outcome = end();
    close(writer);
    expectGone(files);
    const auto end = outcome.output.indexOf("\nFailed:\n");
    EXPECT_EQ(outcome.output.mid(end), "\nFailed:\n"
                                       "  test1: interrupted by SIGINT [test1.dir]\n"
                                       "  test2: interrupted by SIGINT [test2.dir]\n"
                                       "  test3: interrupted by SIGINT [test3.dir]\n"
                                       "\n***talmo: interrupted by SIGINT\n" +
                                           counts(0, 3));
    EXPECT_EQ(outcome.signal, SIGINT);
}

TEST_F(RunInterruptionTest, OfAJobWhatHasNotBegunIsNotRun)
{
    const QByteArray fifo = QFile::encodeName(work) + "/fifo";
    ASSERT_EQ(mkfifo(fifo, 0600), 0);
    const int writer = open(fifo, O_RDWR | O_CLOEXEC);
    write("test10", "=waits\n=file ../there\n=compare ../fifo ../there\n");
    for (int n = 11; n < 20; ++n)
        write(QStringLiteral("test%1").arg(n), "=heading\n=file ../no\n");
    start({"-j1", "--no-record"});
    waitFor({"there"});
    const pid_t run = onlyChildOfTalmo();
    sendToGroup(SIGINT);
    while (hasPendingSignal(run))
        QThread::msleep(1);
    close(writer); // the run comes to its end
    const Outcome outcome = end();
    EXPECT_TRUE(outcome.output.startsWith("test10: ***ERROR: interrupted by SIGINT\n"));
    EXPECT_TRUE(
        outcome.output.endsWith("\n***talmo: interrupted by SIGINT\n" + counts(0, 1, 0, 0, 0, 9)))
        << outcome.output.toStdString();
    EXPECT_EQ(outcome.signal, SIGINT);
    EXPECT_FALSE(exists("no"));
}

TEST_F(RunInterruptionTest, AnotherSignalLaterLeavesNothingEither)
{
    write("test1", "=one\n=run setsid -f insist session; exec insist one\n");
    write("test2", "=two\n");
    const QStringList files = {"session", "one"};
    for (const bool isToGroup : {false, true}) {
        SCOPED_TRACE(isToGroup);
        for (const QString &file : files)
            QFile::remove(QDir(work).filePath(file));
        start({"-j1", "--no-record"});
        waitFor(files);
        isToGroup ? sendToGroup(SIGINT) : sendToTalmo(SIGINT);
        QThread::msleep(2100); // an earlier one would be taken for the same signal
        isToGroup ? sendToGroup(SIGINT) : sendToTalmo(SIGINT);
        const Outcome outcome = end();
        expectGone(files);
        EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: interrupted by SIGINT\n"))
            << outcome.output.toStdString();
        EXPECT_TRUE(outcome.output.endsWith(
            "\n***talmo: interrupted by SIGINT\n" + counts(0, 1, 0, 0, 0, 1)));
        EXPECT_EQ(outcome.signal, SIGINT);
    }
}

TEST_F(RunInterruptionTest, IgnoredSignalsStayIgnored)
{
    addProgram("ignoring", "trap '' INT HUP; exec '" + driver.toUtf8() + "' \"$@\"\n");
    driver = QDir(programs).filePath("ignoring");
    write("test1", "=one\n=run touch ../there; until [ -e ../go ]; do sleep 0.01; done\n");
    start({"--no-record"});
    waitFor({"there"});
    sendToGroup(SIGINT);
    sendToGroup(SIGHUP);
    write("go", "");
    const Outcome outcome = end();
    EXPECT_EQ(outcome.output, "test1: one\n" + counts(1));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(RunInterruptionTest, RunsOfATalmoThatIsKilledEndWithAllThatTheyStarted)
{
    write("test1", "=one\n=run setsid -f stay session; stay one\n=run touch ../no\n");
    write("test2", "=two\n=run setsid -f insist insisting; exec insist two\n=run touch ../no\n");
    const QStringList files = {"session", "one", "insisting", "two"};
    start({"-j2", "--no-record"});
    waitFor(files);
    const QList<pid_t> runs = childrenOfTalmo();
    EXPECT_EQ(runs.size(), 2);
    sendToTalmo(SIGKILL);
    EXPECT_EQ(end().signal, SIGKILL);
    for (const QString &file : files)
        EXPECT_TRUE(goes(file)) << file.toStdString();
    expectGone(files);
    for (const pid_t run : runs) {
        write("run", QByteArray::number(run));
        EXPECT_TRUE(goes("run"));
    }
    EXPECT_FALSE(exists("no"));
    write("test1", "=one\n");
    write("test2", "=two\n");
    EXPECT_EQ(make().status, 0); // nothing is locked
}

TEST_F(RunInterruptionTest, WhatAKilledTalmoLeavesIsRemovedByTheNext)
{
    const auto folders = [this] {
        return QDir(temporary).entryList({"talmo-programs-*"}, QDir::Dirs).size();
    };
    const QStringList given = {"--no-record", "--program", "other=" + programs + "/stay"};
    QDir().mkpath(temporary + "/talmo-mine"); // something else
    write("test1", "=one\n=simprogram other\n=run $simProgram one\n");
    start(given);
    waitFor({"one"});
    EXPECT_EQ(folders(), 1);
    write("suite/test1", "=one\n=simprogram other\n=run true\n");
    const QStringList inSuite = QStringList{"-C", "suite"} + given;
    EXPECT_EQ(make(inSuite).status, 0);
    EXPECT_EQ(folders(), 1); // the one in use
    EXPECT_TRUE(isThere("one"));
    const QList<pid_t> runs = childrenOfTalmo();
    sendToTalmo(SIGKILL);
    EXPECT_EQ(end().signal, SIGKILL);
    for (const pid_t run : runs) { // they have the lock, too
        write("run", QByteArray::number(run));
        EXPECT_TRUE(goes("run"));
    }
    EXPECT_EQ(folders(), 1);
    EXPECT_EQ(make(inSuite).status, 0);
    EXPECT_EQ(
        QDir(temporary).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList("talmo-mine"));
}

TEST_F(RunInterruptionTest, ATalmoWhoseReaderHasGoneLeavesNothing)
{
    addProgram("headless", "'" + driver.toUtf8() + "' \"$@\" | head -n 1\n");
    driver = QDir(programs).filePath("headless");
    write("test1", "=one\n=run until [ -e ../two ]; do sleep 0.01; done\n=echo first\n");
    write("test2", "=two\n=run exec stay two\n");
    write("test3", "=three\n=run until [ -e ../two ]; do sleep 0.01; done; sleep 0.2\n");
    start({"-j3", "-v", "--no-record"});
    EXPECT_EQ(end().output, "first\n");
    EXPECT_TRUE(goes("two"));
}
