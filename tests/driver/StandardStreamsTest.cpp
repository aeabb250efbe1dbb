// Standard input, output and error in states that shells and schedulers leave them in.

#include "DriverTest.h"

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
        {"trap '' PIPE; { $driver; echo $? >status; } | true; exit $(cat status)", ": Broken pipe"},
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
    // Were it so, the report, or what programs print, would be in the file.
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
    write(QStringLiteral("test1"), "=one\n=run sleep 0\n");
    const Outcome outcome =
        shell(QStringLiteral("{ $driver; echo $? >status; } | true; exit $(cat status)"));
    EXPECT_EQ(outcome.status, 128 + SIGPIPE);
    EXPECT_EQ(outcome.errors, QByteArray());
}
