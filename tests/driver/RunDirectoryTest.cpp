// What programs and other drivers can do to the directory of a run.

#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <csignal>

namespace
{

class RunDirectoryTest : public DriverTest
{
protected:
    /// Runs test1, which has \a line in it, and test2. Expects that both pass and leave the files
    /// \a left.
    void expectBothPass(const QByteArray &line, const char *left)
    {
        SCOPED_TRACE(line.toStdString());
        write(QStringLiteral("test1"), "=one\n=file data\n" + line + "\n=platform\n");
        write(QStringLiteral("test2"), "=two\n=file data\n=exists data\n");
        expectRun({QStringLiteral("test?")}, "test1 test2", "test1: one\ntest2: two\n", 0, 2);
        EXPECT_EQ(entries().join(QLatin1Char(' ')).toStdString(), left);
    }

    void waitFor(const QString &path)
    {
        while (!exists(path) && first.state() != QProcess::NotRunning)
            first.waitForFinished(10);
    }

    /// Starts the driver with the script test1, which consists of \a lines and then runs the
    /// program "outlive", made of \a body. Kills the driver when the program has made the file
    /// "../started". The program has to end when there is a file "$work/go".
    void leaveBehind(const QByteArray &lines, const QByteArray &body)
    {
        addProgram(QStringLiteral("outlive"),
            "export work='" + work.toUtf8() + "'\n" + body + "\n>\"$work/gone\"\n");
        write(QStringLiteral("test1"), "=one\n" + lines + "=run outlive\n");
        startProcess(first, driver, {QStringLiteral("test1")}, environment, work);
        waitFor(QStringLiteral("started"));
        first.kill();
        EXPECT_EQ(outcomeOf(first).signal, SIGKILL);
    }

    /// Ends the program that was left behind.
    void endIt()
    {
        write(QStringLiteral("go"), "");
        while (!exists(QStringLiteral("gone")))
            QThread::msleep(1);
    }

    QProcess first; ///< the driver that is already at work
};

} // namespace

TEST_F(RunDirectoryTest, ProgramDoesAwayWithIt)
{
    expectBothPass("=run rm -r ../test1.dir", "test1 test2");
    expectBothPass("=run mv ../test1.dir ../moved", "moved/ moved/data moved/mv.out test1 test2");
    QDir(work + QStringLiteral("/moved")).removeRecursively();
    expectBothPass(
        "=run rm -r ../test1.dir; touch ../test1.dir >/dev/null", "test1 test1.dir test2");
}

TEST_F(RunDirectoryTest, FilesOfADirectoryThatIsGoneCannotBeWritten)
{
    EXPECT_EQ(errorOf("=run rm -r ../test1.dir\n=file data\n1\n"), "Cannot write file 'data'");
    EXPECT_EQ(errorOf("=run rm -r ../test1.dir\n=exists data\n"), "File 'data' does not exist");
}

TEST_F(RunDirectoryTest, ProgramClosesItToEverybody)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "needs setpriv to run as somebody to whom permissions apply";
    write(QStringLiteral("test1"), "=one\n=run chmod 000 .\n");
    write(QStringLiteral("test2"), "=two\n=file data\n=exists data\n");
    // The directory cannot be removed, because its content cannot be listed.
    expectRun({QStringLiteral("test?")}, "test1 test2", "test1: one\ntest2: two\n", 0, 2);
    EXPECT_TRUE(exists(QStringLiteral("test1.dir")));
    expectRun(
        {QStringLiteral("test1")}, "test1", "test1: ***ERROR: cannot cd to 'test1.dir'\n", 1, 1);
    const QString directory = work + QStringLiteral("/test1.dir");
    QFile::setPermissions(directory, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

TEST_F(RunDirectoryTest, IsNotTakenFromADriverAtWork)
{
    addProgram(QStringLiteral("slow"), ">../started\nwhile [ ! -e ../go ]; do sleep 0.01; done\n");
    write(QStringLiteral("test1"), "=one\n=file data\n1\n=run slow\n=exists data\n");
    write(QStringLiteral("test2"), "=two\n");
    startProcess(first, driver, {QStringLiteral("test1")}, environment, work);
    waitFor(QStringLiteral("started"));
    expectRun({QStringLiteral("test?")}, "test1 test2",
        "test1: ***ERROR: directory 'test1.dir' is in use by another talmo_test\n"
        "test2: two\n",
        1, 2);
    EXPECT_EQ(read(QStringLiteral("test1.dir/data")), "1\n");
    write(QStringLiteral("go"), "");
    const Outcome outcome = outcomeOf(first);
    EXPECT_EQ(outcome.output, preamble("test1") + "test1: one\n" + summary(0, 1));
    EXPECT_FALSE(exists(QStringLiteral("test1.dir")));
}

TEST_F(RunDirectoryTest, IsALeftoverOnceItsDriverWasKilled)
{
    // When the next driver comes, the program still runs, in a directory that is removed.
    leaveBehind("=file data\n1\n", ">../started; while [ ! -e \"$work/go\" ]; do sleep 0.01; done");
    write(QStringLiteral("test1"), "=one\n=ignore does not exist\n=exists data\n");
    expectRun({QStringLiteral("test1")}, "test1", "test1: one\n", 0, 1);
    endIt();
}

TEST_F(RunDirectoryTest, IsNotSharedWithAProgramThatOutlivedItsDriver)
{
    // The program goes on writing, as fast as it can, files that would let the next run pass.
    leaveBehind("", "while [ ! -e \"$work/go\" ]; do\n"
                    "echo 1 >result; mkdir -p d; >../started\n"
                    "done 2>&-");
    write(QStringLiteral("test1"),
        "=one\n=file reference\n1\n=run sleep 0.1\n=compare result reference 0\n");
    for (int round = 0; round < 10; ++round) {
        const Outcome outcome = run({QStringLiteral("test1")});
        EXPECT_TRUE(outcome.output.startsWith(
            preamble("test1") + "test1: ***ERROR: Cannot read file 'result'\n"))
            << outcome.output.toStdString();
        EXPECT_EQ(outcome.status, 2);
    }
    endIt();
}

TEST_F(RunDirectoryTest, IsNotWaitedForWhereFilesAreMadeFasterThanTheyAreRemoved)
{
    // Ten in a millisecond, for three seconds at least: more would keep a loaded machine busy for
    // minutes. Sometimes the driver is the faster one; RunDirectorySystemTest has the certain case.
    leaveBehind("", "perl -e 'open(F, \">../started\");\n"
                    "until (-e \"$ENV{work}/go\" || $n >= 30000)\n"
                    "{ for (1..10) { mkdir(\"d\" . ++$n); open(F, \">d$n/f\"); }\n"
                    "select(undef, undef, undef, 0.001); }'");
    write(QStringLiteral("test1"), "=one\n=ignore running 'ls' failed\n=run ls d*\n");
    const Outcome outcome = run({QStringLiteral("test1")});
    EXPECT_EQ(outcome.status, 0);
    const QStringList moved = QDir(work).entryList({QStringLiteral("talmo_test-leftover-*")});
    const QByteArray remark = "***talmo_test: what an earlier run left in 'test1.dir' could not be "
                              "removed, and was moved to '" +
                              moved.join(QLatin1Char(' ')).toUtf8() + "'\n";
    EXPECT_EQ(outcome.output, preamble("test1") + "test1: one\n" +
                                  (moved.isEmpty() ? QByteArray() : remark) + summary(0, 1));
    endIt();
}

TEST_F(RunDirectoryTest, DriversStartedTogetherTakeTurnsOrSaySo)
{
    // In any order, a directory is used by only one driver at a time, so a run counts only its own
    // lines.
    write(QStringLiteral("test1"),
        "=one\n=run sh -c 'echo x >>lines'\n=run sh -c 'echo x >>lines'\n"
        "=file reference\nx\nx\n=compare lines reference\n");
    for (int round = 0; round < 20; ++round) {
        QProcess drivers[4];
        for (QProcess &process : drivers)
            startProcess(process, driver, {QStringLiteral("test1")}, environment, work);
        for (QProcess &process : drivers) {
            const Outcome outcome = outcomeOf(process);
            const QByteArray inUse =
                "test1: ***ERROR: directory 'test1.dir' is in use by another talmo_test\n";
            EXPECT_TRUE(outcome.output == preamble("test1") + "test1: one\n" + summary(0, 1) ||
                        outcome.output == preamble("test1") + inUse + summary(1, 1))
                << outcome.output.toStdString();
        }
    }
    EXPECT_EQ(entries(), QStringList{QStringLiteral("test1")});
}
