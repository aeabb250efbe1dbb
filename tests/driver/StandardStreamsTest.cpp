// Standard input, output and error in the states in which shells and schedulers leave them.

#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <csignal>

namespace
{

class StandardStreamsTest : public DriverTest
{
protected:
    /// Has a shell run \a line, in which "$driver" runs the script test1.
    Outcome shell(const QString &line)
    {
        environment.insert(QStringLiteral("driver"), driver + QStringLiteral(" test1"));
        return runProcess(
            QStringLiteral("/bin/sh"), {QStringLiteral("-c"), line}, environment, work);
    }
};

const char *const fine = "=fine\n=file data\n1\n=run cat data\n=compare data cat.out 0\n";
const char *const failing = "=failing\n=file data\n1\n=run false\n";

} // namespace

TEST_F(StandardStreamsTest, ReportThatIsLostIsAFailure)
{
    const struct {
        const char *line;
        const char *reason;
    } rows[] = {
        {"exec $driver >/dev/full", ": No space left on device"},
        {"exec $driver >&-", ": Bad file descriptor"},
        {"mkfifo pipe; exec 3<>pipe >pipe 3<&-; trap '' PIPE; exec $driver", ": Broken pipe"},
    };
    for (const auto &[line, reason] : rows) {
        SCOPED_TRACE(line);
        write(QStringLiteral("test1"), fine);
        const Outcome outcome = shell(QString::fromLatin1(line));
        EXPECT_EQ(outcome.output, QByteArray());
        EXPECT_EQ(
            outcome.errors, "talmo_test: cannot write the report" + QByteArray(reason) + "\n");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_FALSE(exists(QStringLiteral("test1.dir")));
    }
}

TEST_F(StandardStreamsTest, NoFileTakesThePlaceOfAClosedStream)
{
    // Otherwise the report, or what programs print, would go into the file.
    for (const char *const closed : {"<&-", ">&-", "2>&-", "<&- >&- 2>&-"}) {
        SCOPED_TRACE(closed);
        write(QStringLiteral("test1"), failing);
        shell(QStringLiteral("exec $driver ") + QLatin1String(closed));
        EXPECT_EQ(entries().join(QLatin1Char(' ')),
            QStringLiteral("test1 test1.dir/ test1.dir/data test1.dir/false.out"));
        EXPECT_EQ(read(QStringLiteral("test1.dir/data")), "1\n");
        EXPECT_EQ(read(QStringLiteral("test1.dir/false.out")), "");
    }
}

TEST_F(StandardStreamsTest, ClosedInputAndErrorDoNotMatter)
{
    for (const char *const closed : {"<&-", "2>&-", "<&- 2>&-"}) {
        SCOPED_TRACE(closed);
        write(QStringLiteral("test1"), fine);
        const Outcome outcome = shell(QStringLiteral("exec $driver ") + QLatin1String(closed));
        EXPECT_EQ(outcome.output, preamble("test1") + "test1: fine\n" + summary(0, 1));
        EXPECT_EQ(outcome.status, 0);
    }
}

TEST_F(StandardStreamsTest, BrokenPipeEndsTheDriverAsItEndsAnyProgram)
{
    // The reader takes one line and goes away. The driver waits for a program until that has
    // happened.
    write(QStringLiteral("test1"), "=one\n=run until test -e ../gone; do sleep 0.01; done; true\n");
    const Outcome outcome = shell(QStringLiteral("mkfifo report; { head -n 1; exec <&-; >gone; } "
                                                 "<report >first & exec $driver >report"));
    EXPECT_EQ(read(QStringLiteral("first")), preamble("test1").split('\n').first() + '\n');
    EXPECT_EQ(outcome.signal, SIGPIPE);
    EXPECT_EQ(outcome.errors, QByteArray());
}

TEST_F(StandardStreamsTest, APipeThatDoesNotWaitLosesNothing)
{
    // Another program that shares the pipe has told it not to wait. Nobody reads before the driver
    // sleeps.
    addProgram(QStringLiteral("hasty"),
        "exec perl -MFcntl -e 'fcntl(STDOUT, F_SETFL, O_WRONLY | O_NONBLOCK); exec @ARGV' " +
            driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath(QStringLiteral("hasty"));
    QByteArray names;
    QByteArray printed;
    for (int n = 1000; n < 1300; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        const int size = n == 1100 ? 300000 : 1000; // the longest one is written in pieces
        QByteArray heading(size, 'a');
        for (int byte = 0; byte < size; ++byte)
            heading[byte] = static_cast<char>('a' + (byte + n) % 23);
        write(QString::fromLatin1(name), "=" + heading + "\n");
        names += (names.isEmpty() ? "" : " ") + name;
        printed += name + ": " + heading + "\n";
    }
    QProcess process;
    startProcess(process, driver, {QStringLiteral("test*")}, environment, work);
    const auto state = [&process] { return stateOf(QByteArray::number(process.processId())); };
    while (state() != 'S' && state() != 'Z')
        QThread::msleep(1);
    const Outcome outcome = outcomeOf(process);
    EXPECT_TRUE(outcome.output == preamble(names) + printed + summary(0, 300));
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(StandardStreamsTest, APipeThatIsFullFromTheStartLosesNothing)
{
    // The driver prints its first line before main.
    addProgram(QStringLiteral("late"),
        "exec perl -MFcntl -e 'fcntl(STDOUT, F_SETFL, O_WRONLY | O_NONBLOCK); "
        "1 while syswrite(STDOUT, \"x\"); open(F, \">../full\"); exec @ARGV' " +
            driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath(QStringLiteral("late"));
    write(QStringLiteral("test1"), fine);
    QProcess process;
    startProcess(process, driver, {QStringLiteral("test1")}, environment, work);
    const auto state = [&process] { return stateOf(QByteArray::number(process.processId())); };
    while (!exists(QStringLiteral("../full")) || (state() != 'S' && state() != 'Z'))
        QThread::msleep(1);
    const Outcome outcome = outcomeOf(process);
    const QByteArray report = preamble("test1") + "test1: fine\n" + summary(0, 1);
    EXPECT_TRUE(outcome.output.endsWith('x' + report)) << outcome.output.right(1000).toStdString();
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(StandardStreamsTest, AReportBeyondTheSizeThatAFileMayHaveIsAFailure)
{
    write(QStringLiteral("test1"), "=" + QByteArray(100000, 'h') + "\n");
    for (const int limit : {0, 2}) { // 0 is too small even for the line that is printed before main
        SCOPED_TRACE(limit);
        const Outcome outcome =
            shell(QStringLiteral("ulimit -f %1; exec $driver >report").arg(limit));
        EXPECT_EQ(outcome.errors, "talmo_test: cannot write the report: File too large\n");
        EXPECT_EQ(outcome.status, 2);
        EXPECT_FALSE(exists(QStringLiteral("test1.dir")));
    }
}
