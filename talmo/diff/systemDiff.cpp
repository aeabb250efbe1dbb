#include "systemDiff.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace Talmo
{

namespace
{

const QString programName = QStringLiteral("diff");

// Diff holds both files in memory, and may take a time that grows with the square of their lengths.
constexpr qint64 mostBytes = 1 << 25;
constexpr int mostMilliseconds = 10000;

/// Appends the lines of \a process, which is running; false if it took too long.
bool takeLines(QProcess &process, SystemDiff &diff, size_t mostLines)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        while (process.canReadLine()) {
            diff.isCut = diff.lines.size() == mostLines;
            if (diff.isCut)
                return true;
            QByteArray line = process.readLine();
            line.chop(line.endsWith('\n') ? 1 : 0);
            diff.lines.push_back(line);
        }
        const auto left = mostMilliseconds - static_cast<int>(timer.elapsed());
        if (left <= 0)
            return false;
        if (!process.waitForReadyRead(left) && process.state() == QProcess::NotRunning &&
            !process.canReadLine())
            return true;
    }
}

} // namespace

void startSystemDiff(QProcess &process, const DiffSide &side1, const DiffSide &side2,
    const QStringList &furtherOptions)
{
    const QString label = QStringLiteral("--label");
    process.setStandardInputFile(QProcess::nullDevice());
    process.start(programName, QStringList(QStringLiteral("-u")) + furtherOptions +
                                   QStringList({label, side1.label, label, side2.label,
                                       QStringLiteral("--"), side1.path, side2.path}));
}

bool hasCompared(const QProcess &process)
{
    constexpr int filesDiffer = 1;
    return process.exitStatus() == QProcess::NormalExit && process.exitCode() <= filesDiffer;
}

SystemDiff systemDiff(const QString &name1, const QString &name2, size_t mostLines)
{
    SystemDiff diff;
    if (QStandardPaths::findExecutable(programName).isEmpty()) {
        diff.problem = QStringLiteral("there is no 'diff' in the PATH");
        return diff;
    }
    if (QFileInfo(name1).size() + QFileInfo(name2).size() > mostBytes) {
        diff.problem = QStringLiteral("the files are too large for 'diff'");
        return diff;
    }
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    startSystemDiff(
        process, {name1, name1}, {name2, name2}, {QStringLiteral("--strip-trailing-cr")});
    const bool isInTime = process.waitForStarted() && takeLines(process, diff, mostLines);
    if (!isInTime || diff.isCut)
        process.kill();
    process.waitForFinished();
    const bool isWell = diff.isCut || hasCompared(process);
    if (!isInTime)
        diff.problem = QStringLiteral("'diff' takes too long");
    else if (!isWell || diff.lines.empty())
        diff.problem = QStringLiteral("'diff' shows nothing");
    return diff;
}

} // namespace Talmo
