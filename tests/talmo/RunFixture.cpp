#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QThread>

#include <csignal>

namespace
{

/// \a outcome without what no test can foresee.
Outcome foreseeable(Outcome outcome)
{
    // Byte by byte, also behind a NUL.
    QString text = QString::fromLatin1(outcome.output.constData(), outcome.output.size());
    text.replace(QRegularExpression(QStringLiteral("\nSlowest:\n( +[0-9.]+ s  .*\n){2,5}")), {});
    text.replace(QRegularExpression(QStringLiteral("\n([0-9]+ runs?) in [0-9]+\\.[0-9]+ s: ")),
        QStringLiteral("\n\\1: "));
    // What stays becomes sleep only after it has told that it is there.
    text.replace(QRegularExpression(QStringLiteral("'(stay|insist)' \\(process")),
        QStringLiteral("'sleep' (process"));
    outcome.output = text.toLatin1();
    return outcome;
}

} // namespace

RunFixture::~RunFixture()
{
    if (process.state() != QProcess::NotRunning) { // a test has failed
        process.terminate();
        process.waitForFinished(waitingTime);
    }
}

Outcome RunFixture::make(const QStringList &arguments)
{
    return foreseeable(run(QStringList(QStringLiteral("run")) + arguments));
}

void RunFixture::expectRun(const QStringList &arguments, const QByteArray &output, int status)
{
    SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
    const Outcome outcome = make(arguments);
    EXPECT_EQ(outcome.output, output);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, status);
}

QByteArray RunFixture::counts(int passed, int failed, int known, int flaky, int skipped, int notRun)
{
    const int all = passed + failed + known + flaky + skipped + notRun;
    return QStringLiteral(
        "\n%1: %2 passed, %3 failed, %4 known, %5 flaky, %6 skipped, %7 not run\n")
        .arg(QString::number(all) + QLatin1String(all == 1 ? " run" : " runs"))
        .arg(passed)
        .arg(failed)
        .arg(known)
        .arg(flaky)
        .arg(skipped)
        .arg(notRun)
        .toLatin1();
}

void RunFixture::start(const QStringList &arguments)
{
    const QStringList all = QStringList({driver, QStringLiteral("run")}) + arguments;
    startProcess(process, QStringLiteral("/usr/bin/setsid"), all, environment, work);
    ASSERT_TRUE(process.waitForStarted(waitingTime));
}

void RunFixture::waitFor(const QStringList &files)
{
    for (const QString &file : files) {
        while (!exists(file) && process.state() != QProcess::NotRunning)
            process.waitForFinished(5);
        ASSERT_TRUE(exists(file)) << file.toStdString();
    }
}

void RunFixture::waitForOutput(const QByteArray &text)
{
    constexpr int most = 10000000;
    while (!process.peek(most).contains(text) && process.waitForReadyRead(waitingTime)) {
    }
    ASSERT_TRUE(process.peek(most).contains(text)) << text.toStdString();
}

void RunFixture::sendToTalmo(int signal)
{
    ASSERT_GT(process.processId(), 0); // 0 would mean our own group
    kill(static_cast<pid_t>(process.processId()), signal);
}

void RunFixture::sendToGroup(int signal)
{
    ASSERT_GT(process.processId(), 1);
    kill(static_cast<pid_t>(-process.processId()), signal);
}

pid_t RunFixture::onlyChildOfTalmo() const
{
    QList<pid_t> children = childrenOfTalmo();
    for (; children.size() != 1; children = childrenOfTalmo()) // one before it is about to end
        QThread::msleep(1);
    return children[0];
}

QList<pid_t> RunFixture::childrenOfTalmo() const
{
    QFile list(QStringLiteral("/proc/%1/task/%1/children").arg(process.processId()));
    EXPECT_TRUE(list.open(QIODevice::ReadOnly));
    QList<pid_t> children;
    for (const QByteArray &child : list.readAll().simplified().split(' ')) {
        if (child.toInt() > 1 && stateOf(child) != 'Z')
            children += child.toInt();
    }
    return children;
}

Outcome RunFixture::end()
{
    return foreseeable(outcomeOf(process));
}

void RunFixture::addProgramsThatStay()
{
    // The file appears as a whole.
    const QByteArray staying = "cd '" + work.toUtf8() +
                               "'\necho $$ >\"$1.new\"\nmv \"$1.new\" \"$1\"\n"
                               "exec sleep 300 >/dev/null 2>&1\n";
    addProgram(QStringLiteral("stay"), staying);
    addProgram(QStringLiteral("insist"), "trap '' INT TERM HUP QUIT USR1\n" + staying);
}

pid_t RunFixture::processIn(const QString &name) const
{
    return read(name).trimmed().toInt();
}

bool RunFixture::isThere(const QString &name) const
{
    const char state = stateOf(read(name).trimmed());
    return state != '?' && state != 'Z' && state != 'X';
}

void RunFixture::endProcessIn(const QString &name)
{
    EXPECT_TRUE(isThere(name));
    if (processIn(name) > 1)
        kill(processIn(name), SIGKILL);
}
