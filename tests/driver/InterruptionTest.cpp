// Signals that ask the driver to stop. In most scripts the program itself sends them to its parent,
// the driver. Where the program and the driver must get them at once, as from a terminal, the test
// sends them to both.

#include "DriverTest.h"

#include <QFile>
#include <QProcess>
#include <QThread>

#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

class InterruptionTest : public DriverTest
{
protected:
    /// Starts the driver with all scripts in a session of its own. When a program has made the file
    /// "started", sends \a signal to all processes of that session, and waits for the end.
    Outcome interruptAll(int signal)
    {
        QProcess process;
        startProcess(process, QStringLiteral("/usr/bin/setsid"), {driver, QStringLiteral("test*")},
            environment, work);
        EXPECT_TRUE(process.waitForStarted(waitingTime)); // it may run before Qt notices
        while (!exists(QStringLiteral("started")) && process.state() == QProcess::Running)
            process.waitForFinished(10);
        if (process.state() == QProcess::Running) // else its id is 0, which means our own group
            kill(static_cast<pid_t>(-process.processId()), signal);
        return outcomeOf(process);
    }

    /// False if \a process has ended, even if nobody has asked for its status yet.
    static bool isAtWork(const QByteArray &process)
    {
        const char state = stateOf(process);
        return state != '?' && state != 'Z' && state != 'X';
    }

    /// Starts the driver with all scripts, and sends \a signal to it alone as soon as \a isReady,
    /// given its process, is true. Nobody reads what it prints before it has got the signal.
    template <typename Condition>
    Outcome interruptOnce(Condition isReady, int signal)
    {
        QProcess process;
        startProcess(process, driver, {QStringLiteral("test*")}, environment, work);
        const QByteArray id = QByteArray::number(process.processId());
        while (isAtWork(id) && !isReady(id))
            QThread::msleep(1);
        EXPECT_GT(process.processId(), 0);
        if (process.processId() > 0)
            kill(static_cast<pid_t>(process.processId()), signal);
        while (hasPendingSignal(id))
            QThread::msleep(1);
        return outcomeOf(process);
    }

    /// True if a signal was sent to \a process that it has not got yet.
    static bool hasPendingSignal(const QByteArray &process)
    {
        QFile status(QStringLiteral("/proc/%1/status").arg(QString::fromLatin1(process)));
        const QByteArray text = status.open(QIODevice::ReadOnly) ? status.readAll() : "";
        const QByteArray key = "\nShdPnd:";
        const auto begin = text.indexOf(key) + key.size();
        return text.contains(key) &&
               text.mid(begin, text.indexOf('\n', begin) - begin).trimmed().count('0') != 16;
    }

    /// Sends SIGINT to the driver alone as soon as the file \a begun exists and the driver sleeps,
    /// waiting for somebody to read its output.
    Outcome interruptAsleep(const QString &begun = QStringLiteral("test1.dir"))
    {
        const auto isAsleep = [this, &begun](const QByteArray &process) {
            return exists(begun) && stateOf(process) == 'S';
        };
        return interruptOnce(isAsleep, SIGINT);
    }

    /// Makes the driver the first process of a container. Returns false if that is not allowed.
    bool becomeFirstProcess()
    {
        const QByteArray unshare = QByteArray("unshare --pid --fork --kill-child ") +
                                   (geteuid() == 0 ? "" : "--map-root-user ");
        addProgram(QStringLiteral("first"), "exec " + unshare + driver.toUtf8() + " \"$@\"\n");
        driver = QDir(programs).filePath(QStringLiteral("first"));
        return std::system((unshare + "true 2>/dev/null").constData()) == 0;
    }

    /// What is printed if only test1 ran, and failed with \a error when \a signal came.
    QByteArray stopped(const QByteArray &error, const QByteArray &signal, int notRun) const
    {
        return "test1: ***ERROR: " + error + "\n" + summary(1, 1) +
               "***talmo_test: interrupted by " + signal + ", " + QByteArray::number(notRun) +
               " tests not run\n";
    }
};

const struct {
    int number;
    const char *name;
} interruptions[] = {
    {SIGINT, "SIGINT"},
    {SIGTERM, "SIGTERM"},
    {SIGHUP, "SIGHUP"},
};

} // namespace

TEST_F(InterruptionTest, StopsAllAndEndsByTheSignal)
{
    addProgram(QStringLiteral("slow"), "echo begun\n>../started\nexec sleep 300\n");
    for (const auto &[number, name] : interruptions) {
        SCOPED_TRACE(name);
        QFile::remove(QDir(work).filePath(QStringLiteral("started")));
        write(QStringLiteral("test1"), "=one\n=run slow\n=echo not reached\n");
        write(QStringLiteral("test2"), "=two\n");
        write(QStringLiteral("test3"), "=three\n");
        const Outcome outcome = interruptAll(number);
        const QByteArray error = "running 'slow' failed, interrupted by " + QByteArray(name);
        EXPECT_EQ(outcome.output, preamble("test1 test2 test3") + stopped(error, name, 2));
        EXPECT_EQ(outcome.errors, QByteArray());
        EXPECT_EQ(outcome.signal, number);
        EXPECT_EQ(entries().join(QLatin1Char(' ')),
            QStringLiteral("started test1 test1.dir/ test1.dir/slow.out test2 test3"));
        EXPECT_EQ(read(QStringLiteral("test1.dir/slow.out")), "begun\n");
    }
}

TEST_F(InterruptionTest, ProgramThatCatchesTheSignalAndEndsWellHasFailed)
{
    addProgram(QStringLiteral("careful"),
        "trap 'exit 0' INT\n>../started\nwhile :; do sleep 0.01; done\n");
    write(QStringLiteral("test1"), "=one\n=run exec careful\n");
    write(QStringLiteral("test2"), "=two\n");
    const Outcome outcome = interruptAll(SIGINT);
    EXPECT_EQ(
        outcome.output, preamble("test1 test2") + stopped("interrupted by SIGINT", "SIGINT", 1));
    EXPECT_EQ(outcome.signal, SIGINT);
}

TEST_F(InterruptionTest, SignalToTheDriverAloneEndsWhatItRuns)
{
    addProgram(QStringLiteral("child"),
        "echo $$ >../pids\nsh -c 'echo $$ >>../pids; kill -$1 $2; exec sleep 300' x $1 $2\n:\n");
    for (const char *const name : {"TERM", "HUP"}) {
        SCOPED_TRACE(name);
        write(QStringLiteral("test1"),
            "=one\n=run child " + QByteArray(name) + " $PPID; touch next\n");
        const Outcome outcome = run({QStringLiteral("test1")});
        const QByteArray signal = "SIG" + QByteArray(name);
        EXPECT_EQ(outcome.output,
            preamble("test1") +
                stopped("running 'child' failed, interrupted by " + signal, signal, 0));
        const QList<QByteArray> pids = read(QStringLiteral("pids")).simplified().split(' ');
        EXPECT_EQ(pids.size(), 2);
        for (const QByteArray &pid : pids) {
            while (isAtWork(pid))
                QThread::msleep(1);
        }
        EXPECT_FALSE(exists(QStringLiteral("test1.dir/next")));
    }
}

TEST_F(InterruptionTest, SignalToTheDriverAloneEndsAProgramThatIsStopped)
{
    QByteArray program;
    const auto isStopped = [&](const QByteArray & /*driver*/) {
        program = exists(QStringLiteral("pid")) ? read(QStringLiteral("pid")).trimmed() : "";
        return !program.isEmpty() && stateOf(program) == 'T';
    };
    write(QStringLiteral("test1"), "=one\n=run echo $$ >../pid; kill -STOP $$; exec sleep 300\n");
    const Outcome outcome = interruptOnce(isStopped, SIGTERM);
    EXPECT_EQ(outcome.output,
        preamble("test1") + stopped("running 'echo' failed, interrupted by SIGTERM", "SIGTERM", 0));
    EXPECT_EQ(outcome.signal, SIGTERM);
    if (outcome.signal != SIGTERM && !program.isEmpty()) // nobody else would end the program
        kill(program.toInt(), SIGKILL);
}

TEST_F(InterruptionTest, SigintToTheDriverAloneLeavesTheProgramAlone)
{
    write(QStringLiteral("test1"), "=one\n=run kill -INT $PPID; touch done\n=echo not reached\n");
    const Outcome outcome = run({QStringLiteral("test1")});
    EXPECT_EQ(outcome.output, preamble("test1") + stopped("interrupted by SIGINT", "SIGINT", 0));
    EXPECT_TRUE(exists(QStringLiteral("test1.dir/done")));
}

TEST_F(InterruptionTest, IsNoExpectedFailure)
{
    write(QStringLiteral("test1"), "=one\n=ignore .*\n=run kill -INT $PPID; false\n");
    write(QStringLiteral("test2"), "=two\n");
    const Outcome outcome = run({QStringLiteral("test?")});
    EXPECT_EQ(
        outcome.output, preamble("test1 test2") + stopped("interrupted by SIGINT", "SIGINT", 1));
    EXPECT_EQ(outcome.signal, SIGINT);
}

TEST_F(InterruptionTest, FirstSignalIsTheOneReported)
{
    // The second signal is sent when the first one is no longer pending.
    write(QStringLiteral("test1"),
        "=one\n=run kill -INT $PPID; "
        "while ! grep -q 'ShdPnd:[[:space:]]0*$' /proc/$PPID/status; do :; done; "
        "kill -TERM $PPID; sleep 300; true\n");
    const Outcome outcome = run({QStringLiteral("test1")});
    EXPECT_EQ(outcome.output,
        preamble("test1") + stopped("running 'kill' failed, interrupted by SIGINT", "SIGINT", 0));
    EXPECT_EQ(outcome.signal, SIGINT);
}

TEST_F(InterruptionTest, ProgramsThatDidNotRunFailTheirScript)
{
    configure({QStringLiteral("sim1"), QStringLiteral("sim2"), QStringLiteral("sim3")});
    addProgram(QStringLiteral("sim1"), "exit 0\n");
    addProgram(QStringLiteral("sim2"), "exit 0\n");
    addProgram(QStringLiteral("sim3"), "exit 0\n");
    write(QStringLiteral("test1"), "=one\n=simprogram *\n=run $simProgram\n"
                                   "=run [ $simProgram = sim1 ] || kill -INT $PPID\n");
    const Outcome outcome = run({QStringLiteral("test1")});
    EXPECT_EQ(outcome.output, preamble("test1") +
                                  "test1(sim1): one\n"
                                  "test1(sim2): ***ERROR: interrupted by SIGINT\n"
                                  "test1(sim3): ***ERROR: not run, interrupted by SIGINT\n" +
                                  summary(1, 1) +
                                  "***talmo_test: interrupted by SIGINT, 0 tests not run\n");
    EXPECT_FALSE(exists(QStringLiteral("test1(sim3).dir")));
}

TEST_F(InterruptionTest, WhatDidNotRunIsNoPass)
{
    // The heading is too long for a pipe. So after the last command of a passing run the driver
    // sleeps until somebody reads it, and nothing else in this script makes the driver sleep.
    const QByteArray heading(1000000, 'h');
    write(QStringLiteral("test1"), "=" + heading + "\n");
    write(QStringLiteral("test2"), "=two\n");
    const Outcome outcome = interruptAsleep();
    EXPECT_EQ(outcome.output, preamble("test1 test2") + "test1: " + heading +
                                  "\n***talmo_test: 0 tests failed out of 1 tests\n" +
                                  summary(1, 1).mid(summary(1, 1).indexOf('\n') + 1) +
                                  "***talmo_test: interrupted by SIGINT, 1 tests not run\n");
    EXPECT_EQ(outcome.signal, SIGINT);
}

TEST_F(InterruptionTest, NoProgramIsStartedAfterASignal)
{
    // The trace of this comment is too long for a pipe. So the driver sleeps behind the comment
    // until somebody reads the trace.
    write(QStringLiteral("test1"),
        "=one\n=debug\n#" + QByteArray(1000000, 'c') + "\n=run touch ../begun\n");
    const Outcome outcome = interruptAsleep();
    EXPECT_TRUE(outcome.output.endsWith(
        stopped("running 'touch' failed, interrupted by SIGINT", "SIGINT", 0)));
    EXPECT_EQ(outcome.signal, SIGINT);
    EXPECT_FALSE(exists(QStringLiteral("begun")));
}

TEST_F(InterruptionTest, LosesNothingOfTheReport)
{
    // A result is written as a whole or not at all, so the driver waits with a whole one.
    constexpr int count = 300;
    write(QStringLiteral("test0"), "=zero\n=file ../started\n");
    for (int n = 1; n < count; ++n)
        write(QStringLiteral("test%1").arg(n, 4, 10, QLatin1Char('0')),
            "=" + QByteArray(1000, 'h') + "\n");
    const Outcome outcome = interruptAsleep(QStringLiteral("started"));
    EXPECT_EQ(outcome.signal, SIGINT);
    EXPECT_EQ(outcome.errors, "");
    const auto passes = static_cast<int>(outcome.output.count("hhh\n"));
    EXPECT_GT(passes, 0);
    EXPECT_TRUE(
        outcome.output.endsWith("\n***talmo_test: interrupted by SIGINT, " +
                                QByteArray::number(count - 1 - passes) + " tests not run\n"))
        << outcome.output.right(1000).toStdString();
}

TEST_F(InterruptionTest, SigquitIsForTheProgramAlone)
{
    addProgram(QStringLiteral("slow"), ">../started\nexec sleep 300\n");
    write(QStringLiteral("test1"), "=one\n=run ulimit -c 0; exec slow\n");
    write(QStringLiteral("test2"), "=two\n");
    const Outcome outcome = interruptAll(SIGQUIT);
    EXPECT_EQ(outcome.output, preamble("test1 test2") +
                                  "test1: ***ERROR: running 'ulimit' failed\ntest2: two\n" +
                                  summary(1, 2));
    EXPECT_EQ(outcome.status, 2);
}

TEST_F(InterruptionTest, AnotherSignalLaterEndsWhateverTheDriverWaitsFor)
{
    const QByteArray never = QFile::encodeName(work) + "/never";
    ASSERT_EQ(mkfifo(never, 0600), 0);
    const int writer = open(never, O_RDWR | O_CLOEXEC); // it never writes
    for (const char *const lines : {"=run touch ../started\n=compare ../never ../never\n",
             "=run touch ../started; exec sleep 20\n"}) {
        SCOPED_TRACE(lines);
        QFile::remove(work + QStringLiteral("/started"));
        write(QStringLiteral("test1"), "=one\n" + QByteArray(lines));
        QProcess process;
        startProcess(process, driver, {QStringLiteral("test1")}, environment, work);
        while (!exists(QStringLiteral("started")))
            QThread::msleep(1);
        const auto id = static_cast<pid_t>(process.processId());
        ASSERT_GT(id, 0); // 0 would mean all processes of our group
        while (!process.waitForFinished(100) && process.state() == QProcess::Running)
            kill(id, SIGINT);
        EXPECT_EQ(outcomeOf(process).signal, SIGINT);
        EXPECT_TRUE(exists(QStringLiteral("test1.dir")));
    }
    close(writer);
}

TEST_F(InterruptionTest, IgnoredSignalsStayIgnored)
{
    const QString command = QStringLiteral("trap '' INT HUP; exec \"$0\" \"$@\"");
    write(QStringLiteral("test1"), "=one\n=run kill -INT $PPID $$; kill -HUP $PPID $$\n");
    const Outcome outcome = runProcess(QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), command, driver, QStringLiteral("test1")}, environment, work);
    EXPECT_EQ(outcome.output, preamble("test1") + "test1: one\n" + summary(0, 1));
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(InterruptionTest, EndOfAProgramIsSeenWhereTheCallerDoesNotWantToKnowOfChildren)
{
    write(QStringLiteral("test1"),
        "=one\n=run sleep 0.1\n=ignore running 'sleep' failed\n=run sleep 0.1; false\n");
    for (const char *const command : {"trap '' CHLD; exec \"$0\" \"$@\"",
             "exec env --block-signal=CHLD --ignore-signal=CHLD \"$0\" \"$@\""}) {
        SCOPED_TRACE(command);
        const Outcome outcome = runProcess(QStringLiteral("/bin/sh"),
            {QStringLiteral("-c"), QLatin1String(command), driver, QStringLiteral("test1")},
            environment, work);
        EXPECT_EQ(outcome.output, preamble("test1") + "test1: one\n" + summary(0, 1));
        EXPECT_EQ(outcome.errors, QByteArray());
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(InterruptionTest, FirstProcessOfAContainerEndsWithTheStatusOfTheSignal)
{
    // A signal that it sends to itself does not end it, so it has to end with a status instead.
    if (!becomeFirstProcess())
        GTEST_SKIP() << "a container is not allowed here";
    for (const auto &[number, name] : interruptions) {
        SCOPED_TRACE(name);
        const QByteArray signal = QByteArray(name).mid(3);
        write(QStringLiteral("test1"), "=one\n=run test $PPID = 1 && kill -" + signal + " 1\n");
        write(QStringLiteral("test2"), "=two\n");
        const Outcome outcome = run({QStringLiteral("test?")});
        EXPECT_TRUE(outcome.output.endsWith(
            "***talmo_test: interrupted by " + QByteArray(name) + ", 1 tests not run\n"))
            << outcome.output.toStdString();
        EXPECT_EQ(outcome.status, 128 + number);
    }
}
