// Runs one test script for each simulation program that it applies to, each run in a directory of
// its own.
//
// A run is a walk over the script's lines. A line's command reports failure by leaving an error
// message in its Invocation, and the first message that stands ends the run. "=ignore" turns that
// around for one command: its pattern is pending while the "=ignore" line itself is settled, and
// active for the next command.

#include "runTest.h"

#include "PatternCost.h"
#include "RunDirectory.h"
#include "ScriptReader.h"
#include "commands.h"
#include "interruption.h"
#include "talmo/Preferences.h"
#include "talmo/RegExp.h"

#include <QFile>
#include <QScopeGuard>

#include <algorithm>
#include <cstdio>
#include <new>
#include <optional>
#include <utility>

using namespace Talmo;

int Debug = 0;
QString platformName;

namespace
{

/// True if \a pattern holds none of the characters \a special, and so stands for itself: then it is
/// not compiled, which takes time that grows with the square of its length.
bool isFreeOf(const QString &pattern, const QString &special)
{
    return std::none_of(pattern.begin(), pattern.end(),
        [&special](QChar character) { return special.contains(character); });
}

/// True if \a pattern, a wildcard, is a plain name.
bool isPlainName(const QString &pattern)
{
    return isFreeOf(pattern, QStringLiteral("*?["));
}

} // namespace

QStringList configuredSimPrograms(const QString &pattern)
{
    static QStringList configured;
    // Deliberate: with no program configured every call looks again and prints the empty list.
    if (configured.isEmpty()) {
        for (int n = 1; n <= 9; ++n) {
            const QString name = Preferences::get(QStringLiteral("SimProgram%1.name").arg(n));
            if (!name.isEmpty())
                configured += name;
        }
        std::printf("Configured SimPrograms: %s\n", qPrintable(configured.join(QLatin1Char(' '))));
    }
    const bool isName = isPlainName(pattern);
    const QRegExp wildcard(isName ? QString() : pattern, Qt::CaseSensitive, QRegExp::Wildcard);
    QStringList matching;
    for (const QString &name : std::as_const(configured)) {
        if (isName ? name == pattern : wildcard.exactMatch(name))
            matching += name;
    }
    return matching;
}

namespace
{

/// Whether \a pattern, a regular expression, matches anywhere in \a text.
bool matches(const QString &pattern, const QString &text)
{
    const bool isText = isFreeOf(pattern, QStringLiteral("\\^$.|?*+()[]{}"));
    if (isText)
        return text.contains(pattern);
    // Scripts have any number of patterns, each for one line.
    const auto afterwards = qScopeGuard([&pattern] { RE.forget(pattern); });
    return RE.match(pattern, text);
}

/// What settles a command: whether its failure was expected. Changes \a error accordingly.
void settle(QString &error, const std::optional<QString> &expectedFailure)
{
    if (!expectedFailure)
        return;
    if (matches(*expectedFailure, error))
        error = QString();
    else if (error.isNull())
        error = QStringLiteral("Command should have failed");
}

/// A command during which \a signal came has failed, whatever was expected of it.
QString withInterruption(const QString &error, const QString &signal)
{
    if (signal.isNull())
        return error;
    const QString interrupted = QStringLiteral("interrupted by ") + signal;
    return error.isNull() ? interrupted : error + QStringLiteral(", ") + interrupted;
}

/// Runs the lines of \a script from its position on for \a program, in the current directory.
/// Returns the message of the first failure, null if there is none.
QString runLines(ScriptReader &script, const QString &program)
{
    std::optional<QString> expectedFailure;
    for (QString line = script.readLine(); !line.isNull(); line = script.readLine()) {
        // Not QString::replace, which moves the rest of the line again and again.
        if (line.contains(QLatin1String("$simProgram")))
            line = line.split(QStringLiteral("$simProgram")).join(program);
        if (Debug > 0)
            std::printf("==== line='%s'\n", qPrintable(line));
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        if (words[0].isEmpty() || words[0].startsWith(QLatin1Char('#')))
            continue;
        Invocation invocation = {words, line, script, QString(), std::nullopt};
        perform(invocation);
        settle(invocation.error, expectedFailure);
        invocation.error = withInterruption(invocation.error, interruption());
        expectedFailure = invocation.expectedFailure;
        if (Debug > 0 && !invocation.error.isNull())
            std::printf("***errorMsg=%s\n", qPrintable(invocation.error));
        if (!invocation.error.isNull())
            return invocation.error;
    }
    return {};
}

/// What runLines returns. A run that needs more memory than there is has failed.
QString runLinesInMemory(ScriptReader &script, const QString &program)
{
    try {
        return runLines(script, program);
    } catch (const std::bad_alloc &) {
        return QStringLiteral("Out of memory");
    }
}

/// Reports that the run \a testName failed.
void reportFailure(const QString &testName, const QString &error)
{
    std::fflush(stdout);
    std::printf("%s: ***ERROR: %s\n", qPrintable(testName), qPrintable(error));
    std::fflush(stdout);
}

/// Runs \a script once, for \a program, in \a directory, and reports. The directory of a failing
/// run is kept.
bool runIn(RunDirectory &directory, ScriptReader &script, const QString &program,
    const QString &testName, const QString &description)
{
    if (!directory.enter()) {
        const QString dirName = testName + QStringLiteral(".dir");
        std::printf(directory.isInUse()
                        ? "%s: ***ERROR: directory '%s' is in use by another talmo_test\n"
                        : "%s: ***ERROR: cannot cd to '%s'\n",
            qPrintable(testName), qPrintable(dirName));
        return false;
    }
    const QString error = runLinesInMemory(script, program);
    if (Debug > 0)
        std::printf("==== end test %s\n", qPrintable(testName));
    directory.leave();
    if (!error.isNull()) {
        reportFailure(testName, error);
        return false;
    }
    std::printf("%s: %s\n", qPrintable(testName), qPrintable(description));
    if (Debug < 1)
        directory.remove();
    --Debug; // Deliberate: on every pass, "=debug" or not, and never on a failure
    return true;
}

/// Does so in a directory of its own, and says if anything unexpected stays there.
bool runOnce(ScriptReader &script, const QString &program, const QString &testName,
    const QString &description)
{
    if (Debug > 0)
        std::printf("==== start test %s\n", qPrintable(testName));
    RunDirectory directory(testName + QStringLiteral(".dir"));
    const bool passed = runIn(directory, script, program, testName, description);
    const QByteArrayList remarks = directory.remarks();
    for (const QByteArray &remark : remarks)
        std::printf("***talmo_test: %s\n", remark.constData());
    std::fflush(stdout);
    return passed;
}

/// Finds out the \a programs that \a script runs for, as the line after its heading tells; one
/// empty name if that line does not. Leaves the script at the first line to run. False if a pattern
/// needs too much time or memory: were it passed over, the script would pass without running.
bool selectPrograms(ScriptReader &script, QStringList &programs)
{
    const size_t afterHeading = script.position();
    const QString line = script.readLine().simplified();
    if (!line.startsWith(QLatin1String("=simprogram"))) {
        script.seek(afterHeading);
        programs = QStringList{QString()};
        return true;
    }
    const QStringList patterns = line.split(QLatin1Char(' ')).mid(1);
    for (const QString &pattern : patterns) {
        if (!isPlainName(pattern) && !isAffordableWildcard(pattern))
            return false;
        programs += configuredSimPrograms(pattern);
    }
    return true;
}

/// Does what runTest does as long as there is memory.
bool runInMemory(const QByteArray &path)
{
    ScriptReader script;
    if (!script.open(path)) {
        std::printf(
            "%s: ***ERROR: Cannot read file%s\n", path.constData(), qPrintable(script.remark()));
        return false;
    }
    const QString heading = script.readLine();
    if (!heading.startsWith(QLatin1Char('='))) {
        std::printf("%s: ***ERROR: Invalid test file\n", path.constData());
        return false;
    }
    QStringList programs;
    if (!selectPrograms(script, programs)) {
        std::printf("%s: ***ERROR: Invalid =simprogram pattern\n", path.constData());
        return false;
    }
    if (programs.isEmpty()) {
        std::printf("%s: No applicable SimPrograms\n", path.constData());
        return true;
    }
    const size_t start = script.position();
    const QString fileName = QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
    bool passed = true;
    for (const QString &program : programs) {
        const QString testName =
            program.isEmpty() ? fileName : QStringLiteral("%1(%2)").arg(fileName, program);
        if (!interruption().isNull()) {
            reportFailure(testName, QStringLiteral("not run, interrupted by ") + interruption());
            return false;
        }
        script.seek(start);
        passed = runOnce(script, program, testName, heading.mid(1)) && passed;
    }
    return passed;
}

} // namespace

bool runTest(const QByteArray &path)
{
    try {
        return runInMemory(path);
    } catch (const std::bad_alloc &) { // a heading, or a message, that is too long
        std::printf("%s: ***ERROR: Out of memory\n", path.constData());
        return false;
    }
}
