#include "Trial.h"

#include "DiskFile.h"
#include "ScriptFolder.h"
#include "commands.h"
#include "interruption.h"
#include "saving.h"

#include <QFile>

#include <ctime>

#include <poll.h>

namespace Talmo
{

Trial::Trial(const QString &itsScript, const QString &itsProgram, double itsSeconds)
    : script(itsScript)
    , program(itsProgram)
    , seconds(itsSeconds)
{
    outliveFileSizeLimit();
    platformName = platformOfThisBuild();
}

bool Trial::write(const QByteArray &text)
{
    return saveFile(
        script, [&text](QIODevice &file) { return file.write(text) == text.size(); }, reason);
}

/// Finds the one run of the script, in the way of all commands. The suite is the same at later
/// runs: only the text of the script differs, which the run reads, and perhaps where it lies.
bool Trial::findSuite()
{
    if (crew) {
        suite.folder = suite.work = workingDirectory();
        suite.scripts[0].path = suite.folder + '/' + systemName(script);
        return true;
    }
    Selection selection;
    selection.filters = QStringList(filterFor(script));
    QStringList problems;
    const QStringList programs = program.isEmpty() ? QStringList() : QStringList(program);
    suite = Suite::find(selection, programs, problems);
    if (problems.isEmpty() && suite.runs.size() != 1)
        problems += QStringLiteral("'%1' is not the only script of that name").arg(script);
    if (!problems.isEmpty()) {
        reason = problems[0];
        return false;
    }
    crew = std::make_unique<Crew>(suite, std::vector<double>{seconds}, /*keepsAll=*/true);
    return true;
}

bool Trial::make(const QByteArray &text)
{
    record = RunRecord();
    reason = QString();
    if (!write(text) || !findSuite())
        return false;
    if (!crew->start({0})) {
        reason = crew->problem();
        return false;
    }
    while (!crew->isIdle()) {
        if (!interruption().isNull())
            crew->stop(interruption());
        takeReport();
    }
    latest = static_cast<qint64>(time(nullptr));
    return reason.isNull() && interruption().isNull();
}

/// Waits until something happens, and keeps what the run has reported.
void Trial::takeReport()
{
    const Happenings happenings = crew->wait();
    for (const RunReport &report : happenings.reports) {
        record = report.record;
        reason = record.message;
    }
}

bool Trial::waitForLaterTime() const
{
    constexpr int milliseconds = 20;
    while (interruption().isNull() && static_cast<qint64>(time(nullptr)) <= latest)
        poll(nullptr, 0, milliseconds);
    return interruption().isNull();
}

QStringList Trial::remarks() const
{
    QStringList sentences;
    for (const auto &[run, left] : crew->leftBehind())
        sentences += QStringLiteral("the process %1 ('%2') that COMMAND has started is still there")
                         .arg(QString::number(left.process), QString::fromLocal8Bit(left.name));
    return sentences;
}

} // namespace Talmo
