#include "systemDiff.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace Talmo
{

namespace
{

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

SystemDiff systemDiff(const QString &name1, const QString &name2, size_t mostLines)
{
    SystemDiff diff;
    const QString program = QStandardPaths::findExecutable(QStringLiteral("diff"));
    if (program.isEmpty()) {
        diff.problem = QStringLiteral("there is no 'diff' in the PATH");
        return diff;
    }
    if (QFileInfo(name1).size() + QFileInfo(name2).size() > mostBytes) {
        diff.problem = QStringLiteral("the files are too large for 'diff'");
        return diff;
    }
    QProcess process;
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program,
        {QStringLiteral("-u"), QStringLiteral("--strip-trailing-cr"), QStringLiteral("--label"),
            name1, QStringLiteral("--label"), name2, QStringLiteral("--"), name1, name2});
    const bool isInTime = process.waitForStarted() && takeLines(process, diff, mostLines);
    if (!isInTime || diff.isCut)
        process.kill();
    process.waitForFinished();
    constexpr int filesDiffer = 1;
    const bool isWell = diff.isCut || (process.exitStatus() == QProcess::NormalExit &&
                                          process.exitCode() <= filesDiffer);
    if (!isInTime)
        diff.problem = QStringLiteral("'diff' takes too long");
    else if (!isWell || diff.lines.empty())
        diff.problem = QStringLiteral("'diff' shows nothing");
    return diff;
}

} // namespace Talmo
