#include "texts.h"

#include "anonymousFile.h"
#include "systemDiff.h"

#include <QProcess>

#include <unistd.h>

namespace Talmo
{

TextFile::TextFile(const QByteArray &text)
    : file(openAnonymousFile())
    , hasAll(file.isOpen())
{
    for (qint64 done = 0; hasAll && done < text.size();) {
        const ssize_t count =
            write(file.get(), text.constData() + done, static_cast<size_t>(text.size() - done));
        hasAll = count > 0;
        done += count;
    }
}

QString TextFile::path() const
{
    return QStringLiteral("/proc/%1/fd/%2").arg(getpid()).arg(file.get());
}

Survey surveyOfTexts(const QByteArray &text1, const QByteArray &text2,
    const std::vector<double> &tolerances, size_t keptLines)
{
    const TextFile file1(text1);
    const TextFile file2(text2);
    LineReader reader1;
    LineReader reader2;
    if (file1.isWritten() && file2.isWritten() && reader1.open(file1.path()) &&
        reader2.open(file2.path()))
        return surveyOf(reader1, reader2, tolerances, keptLines);
    Survey survey;
    survey.unreadable = 1;
    return survey;
}

bool unifiedDiff(const QByteArray &before, const QString &labelBefore, const QByteArray &after,
    const QString &labelAfter, QByteArray &difference, QString &problem)
{
    const TextFile file1(before);
    const TextFile file2(after);
    if (!file1.isWritten() || !file2.isWritten()) {
        problem = QStringLiteral("there is no room for temporary files");
        return false;
    }
    QProcess diff;
    diff.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    startSystemDiff(diff, {file1.path(), labelBefore}, {file2.path(), labelAfter});
    const bool hasEnded = diff.waitForStarted(-1) && diff.waitForFinished(-1);
    difference = diff.readAllStandardOutput();
    if (hasEnded && hasCompared(diff))
        return true;
    problem = QStringLiteral("the program 'diff' does not work");
    return false;
}

} // namespace Talmo
