// A run is a walk over the script's lines. A line's command reports failure by leaving an error
// message in its Invocation, and the first message that stands ends the run. "=ignore" turns that
// around for one command: its pattern is pending while the "=ignore" line itself is judged, and
// active for the next command.

#include "Run.h"

#include "commands.h"
#include "interruption.h"
#include "messages.h"

#include <cstdio>
#include <new>
#include <optional>

namespace Talmo
{

namespace
{

/// Applies =ignore: clears \a error if it is the failure that was expected, and sets one if nothing
/// failed although a failure was expected.
void applyExpectation(QString &error, const std::optional<QString> &expectedFailure)
{
    if (!expectedFailure)
        return;
    if (matchesMessage(*expectedFailure, error))
        error = QString();
    else if (error.isNull())
        error = QStringLiteral("Command should have failed");
}

/// Adds to \a error that \a signal came, if one did: then the command has failed, whatever was
/// expected of it.
void addInterruption(QString &error, const QString &signal)
{
    if (signal.isNull())
        return;
    const QString interrupted = QStringLiteral("interrupted by ") + signal;
    error = error.isNull() ? interrupted : error + QStringLiteral(", ") + interrupted;
}

/// Runs the lines of \a script from its position on for \a program, in the current directory, and
/// writes into \a result why the run failed, if it did. \a lineStart is where the line at hand
/// begins.
void runLines(ScriptReader &script, const QString &program, Result &result, size_t &lineStart)
{
    std::optional<QString> expectedFailure;
    for (QString line = script.readLine(); !line.isNull(); line = script.readLine()) {
        // Not QString::replace, which moves the rest of the line again and again.
        if (line.contains(QLatin1String("$simProgram")))
            line = line.split(QStringLiteral("$simProgram")).join(program);
        if (Debug > 0)
            std::printf("==== line='%s'\n", qPrintable(line));
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        const bool isCommand = !words[0].isEmpty() && !words[0].startsWith(QLatin1Char('#'));
        if (isCommand) {
            Invocation invocation = {words, line, script};
            perform(invocation);
            applyExpectation(invocation.error, expectedFailure);
            addInterruption(invocation.error, interruption());
            if (!invocation.error.isNull()) {
                if (Debug > 0)
                    std::printf("***errorMsg=%s\n", qPrintable(invocation.error));
                result.message = invocation.error;
                result.findings = invocation.findings;
                return;
            }
            expectedFailure = invocation.expectedFailure;
        }
        lineStart = script.position();
    }
}

/// Does what runLines does, and finds the number of the line that failed. A run that needs more
/// memory than there is has failed.
void runLinesInMemory(ScriptReader &script, const QString &program, Result &result)
{
    size_t lineStart = script.position();
    try {
        runLines(script, program, result, lineStart);
    } catch (const std::bad_alloc &) {
        result.message = QStringLiteral("Out of memory");
    }
    if (!result.passed())
        result.line = 1 + script.linesBetween(0, lineStart);
}

} // namespace

Run::Run(Script &itsScript, const QString &itsProgram)
    : script(itsScript)
    , program(itsProgram)
    , ownName(
          program.isEmpty() ? script.name() : QStringLiteral("%1(%2)").arg(script.name(), program))
    , directoryName(ownName + QStringLiteral(".dir"))
    , directory(directoryName)
{
}

Result Run::make()
{
    if (Debug > 0)
        std::printf("==== start test %s\n", qPrintable(ownName));
    Result result;
    if (!directory.enter()) {
        const QString message =
            directory.isInUse() ? QStringLiteral("directory '%1' is in use by another talmo_test")
                                : QStringLiteral("cannot cd to '%1'");
        result.isInUse = directory.isInUse();
        result.message = message.arg(directoryName.section(QChar(u'\0'), 0, 0)); // as it is printed
        return result;
    }
    result.directory = directoryName;
    result.hasLeftover = directory.hasLeftover();
    runLinesInMemory(script.linesToRun(), program, result);
    if (Debug > 0)
        std::printf("==== end test %s\n", qPrintable(ownName));
    directory.leave();
    return result;
}

void Run::finish(Result &result, KeptDirectory kept)
{
    if (result.passed() && Debug < 1 && kept == KeptDirectory::OfFailure) {
        directory.remove();
        result.directory = QString();
    }
    result.remarks = directory.remarks();
}

} // namespace Talmo
