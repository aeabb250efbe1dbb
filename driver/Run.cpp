// A run is a walk over the script's lines. A line's command reports failure by leaving an error
// message in its Invocation, and the first message that stands ends the run.

#include "Run.h"

#include "CommandWalk.h"
#include "commands.h"
#include "interruption.h"

#include <cstdio>
#include <new>
#include <optional>

namespace Talmo
{

namespace
{

/// Adds to \a error that \a signal came, if one did: then the command has failed, whatever was
/// expected of it.
void addInterruption(QString &error, const QString &signal)
{
    if (signal.isNull())
        return;
    const QString interrupted = QStringLiteral("interrupted by ") + signal;
    error = error.isNull() ? interrupted : error + QStringLiteral(", ") + interrupted;
}

/// Performs the commands on \a walk in the current directory, and writes into \a result why the run
/// failed, if it did.
void performAll(CommandWalk &walk, Result &result)
{
    while (std::optional<Invocation> command = walk.next()) {
        perform(*command);
        walk.settle(*command);
        addInterruption(command->error, interruption());
        if (command->error.isNull())
            continue;
        if (Debug > 0)
            std::printf("***errorMsg=%s\n", qPrintable(command->error));
        result.message = command->error;
        result.findings = command->findings;
        return;
    }
}

/// Runs the lines of \a script from its position on for \a program, and finds the number of the
/// line that failed. A run that needs more memory than there is has failed.
void runLines(ScriptReader &script, const QString &program, Result &result)
{
    CommandWalk walk(script, program);
    try {
        performAll(walk, result);
    } catch (const std::bad_alloc &) {
        result.message = QStringLiteral("Out of memory");
    }
    if (!result.passed())
        result.line = walk.line();
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
    runLines(script.linesToRun(), program, result);
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
