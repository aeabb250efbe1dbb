// The driver's message says that two files differ on line 7, column 2. Whether they are apart by a
// millionth of the tolerance or by a factor of a million is what a user wants to know next.

#include "details.h"

#include "Descriptor.h"
#include "DiskFile.h"
#include "LineReader.h"
#include "Programs.h"
#include "utf8.h"
#include "visible.h"
#include "wording.h"

#include <QStandardPaths>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <csignal>
#include <cstring>
#include <iterator>
#include <string>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

constexpr int shellCannotRun = 126;
constexpr int shellCannotFind = 127;

QString aboutValues(const Difference &difference)
{
    const double apart = std::fabs(difference.value1 - difference.value2);
    const QString sentence =
        QStringLiteral("%1 and %2 are %3 apart, ")
            .arg(exactly(difference.value1), exactly(difference.value2), roughly(apart));
    if (difference.tolerance == 0)
        return sentence + QStringLiteral("and the tolerance is 0");
    return sentence +
           QStringLiteral("%1 times the tolerance %2")
               .arg(roughly(apart / difference.tolerance), exactly(difference.tolerance));
}

/// How many lines the file \a name of the run's \a directory has; -1 if it cannot be read once
/// more.
qint64 linesOf(const QString &name, const QString &directory)
{
    const bool isAbsolute = name.startsWith(QLatin1Char('/'));
    const QString path = isAbsolute ? name : directory + QLatin1Char('/') + name;
    struct stat status = {};
    LineReader file;
    if (stat(systemName(path), &status) != 0 || !S_ISREG(status.st_mode) || !file.open(path))
        return -1;
    qint64 count = 0;
    std::string_view line;
    while (file.readLine(line))
        ++count;
    return file.failed() ? -1 : count;
}

QString aboutLengths(const Comparison &comparison, const QString &directory)
{
    const qint64 lines1 = linesOf(comparison.file1, directory);
    const qint64 lines2 = linesOf(comparison.file2, directory);
    if (lines1 < 0 || lines2 < 0)
        return {};
    return QStringLiteral("'%1' has %2, '%3' has %4")
        .arg(shown(comparison.file1), counted(lines1, "line"), shown(comparison.file2),
            counted(lines2, "line"));
}

/// What is known of a difference; null if the message says it all.
QString aboutComparison(const Comparison &comparison, const QString &directory)
{
    const Difference &difference = comparison.difference;
    const QString file = shown(difference.file == 2 ? comparison.file2 : comparison.file1);
    switch (difference.kind) {
    case Difference::Value:
        return aboutValues(difference);
    case Difference::Length:
        return aboutLengths(comparison, directory);
    case Difference::InvalidData:
        return QStringLiteral("'%1' in '%2' is no number").arg(shown(comparison.word), file);
    case Difference::TooFewColumns:
        return QStringLiteral("'%1' has %2 there").arg(file, counted(difference.count, "column"));
    case Difference::CommentMismatch:
        return QStringLiteral("only '%1' has a comment there").arg(file);
    case Difference::Text:
    case Difference::None:
        break;
    }
    return {};
}

/// True if the word \a program can only be the name of a program, and the PATH has none.
bool isMissing(const QString &program)
{
    return QStandardPaths::findExecutable(program).isEmpty() && isNameOfProgram(program);
}

/// How \a run ended.
QString aboutEnd(const ProgramRun &run)
{
    const ShellEnd &end = run.end;
    const QString program = shown(run.program);
    if (end.exitStatus == shellCannotFind && isMissing(run.program))
        return QStringLiteral("'%1' was not found in the PATH").arg(program);
    if (end.exitStatus == shellCannotFind)
        return QStringLiteral("exit status 127: '%1', or what it starts, was not found")
            .arg(program);
    if (end.exitStatus == shellCannotRun)
        return QStringLiteral("exit status 126: '%1', or what it starts, cannot be run")
            .arg(program);
    const int signal = end.programSignal();
    const char *const name = signal > 0 && signal < NSIG ? strsignal(signal) : nullptr;
    if (name != nullptr)
        return QStringLiteral("ended by signal %1 (%2)")
            .arg(QString::number(signal), QString::fromLocal8Bit(name));
    if (end.exitStatus < 0)
        return QStringLiteral("the shell was not started");
    return QStringLiteral("exit status %1").arg(end.exitStatus);
}

/// The last line that is not empty of the file \a path, as far as its last bytes tell; empty if
/// there is none. A carriage return also ends a line, since a terminal shows only what follows it.
QByteArray lastLineOf(const QByteArray &path)
{
    constexpr off_t most = 4096;
    const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC)); // it could be a FIFO
    struct stat status = {};
    if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    QByteArray tail(static_cast<int>(std::min(status.st_size, most)), '\0');
    const ssize_t count = pread(file.get(), tail.data(), static_cast<size_t>(tail.size()),
        status.st_size - static_cast<off_t>(tail.size()));
    tail.truncate(static_cast<int>(std::max<ssize_t>(count, 0)));
    while (!tail.isEmpty() && std::isspace(static_cast<uchar>(tail.back())) != 0)
        tail.chop(1);
    const auto start = std::max(tail.lastIndexOf('\n'), tail.lastIndexOf('\r')) + 1;
    const bool isCut = start == 0 && status.st_size > most;
    return (isCut ? "..." : "") + tail.mid(start);
}

/// The last words of a program that is said to have printed them into \a capture.
QString aboutCapture(const QString &capture, const QString &directory)
{
    if (capture.isNull())
        return {};
    const QByteArray line = lastLineOf(systemName(directory + QLatin1Char('/') + capture));
    if (line.isEmpty())
        return QStringLiteral("it printed nothing");
    return QStringLiteral("last line of '%1': %2").arg(shown(capture), shown(line));
}

/// The text of the line with \a number of \a script; null if there is none.
QString lineOf(const Script &script, qint64 number)
{
    for (const ScriptLine &line : script.lines()) {
        if (line.number == number)
            return line.text;
    }
    return {};
}

} // namespace

QString shown(const QString &text)
{
    constexpr int most = 300;
    QString line;
    for (const uint character : text.toUcs4()) {
        const QString piece = character == '\t' ? QStringLiteral(" ") : visible(character);
        if (line.size() + piece.size() > most)
            return line + QStringLiteral("...");
        line += piece;
    }
    return line;
}

QString shown(const QByteArray &bytes)
{
    constexpr int enough = 2000; // for a line that is cut, whatever the characters
    return shown(decodedBytes(bytes.left(enough)));
}

QStringList detailsOf(const Result &result, const Script &script)
{
    QStringList details;
    if (result.line > 0)
        details += QStringLiteral("%1:%2: %3")
                       .arg(script.name(), QString::number(result.line),
                           shown(lineOf(script, result.line)));
    if (result.findings.comparison)
        details += aboutComparison(*result.findings.comparison, result.directory);
    if (result.findings.program) {
        details += aboutEnd(*result.findings.program);
        details += aboutCapture(result.findings.program->capture, result.directory);
    }
    details.removeAll(QString());
    return details;
}

} // namespace Talmo
