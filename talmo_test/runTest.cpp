// One script from its file to its report. What the driver prints about what became of a run is
// here; the trace, and what a script asks for, is printed where it happens (Run.cpp, commands.cpp).

#include "runTest.h"

#include "Run.h"
#include "commands.h"
#include "configuredSimPrograms.h"
#include "interruption.h"
#include "messages.h"

#include <cstdio>
#include <new>

using namespace Talmo;

namespace
{

/// Reports that the run or the script \a name failed.
void reportFailure(const char *name, const QString &message)
{
    std::fflush(stdout);
    std::puts(failureLine(name, message));
    std::fflush(stdout);
}

/// Makes \a run, of a script that is described so, and reports; true if it passed.
bool makeAndReport(Run &run, const QString &description)
{
    Result result = run.make();
    if (result.passed())
        std::puts(passLine(run.name(), description));
    else
        reportFailure(qPrintable(run.name()), result.message);
    run.finish(result);
    if (result.passed())
        --Debug; // Deliberate: on every pass, "=debug" or not, and never on a failure
    for (const QByteArray &remark : result.remarks)
        std::printf("***talmo_test: %s\n", remark.constData());
    std::fflush(stdout);
    return result.passed();
}

/// Looks for the configured programs, once for each pattern of \a script.
QStringList lookForPrograms(const Script &script)
{
    QStringList configured;
    const auto count = script.programPatterns() ? script.programPatterns()->size() : 0;
    for (auto pattern = count; pattern > 0; --pattern)
        configured = configuredSimPrograms(); // which may print a line
    return configured;
}

/// Does what runTest does as long as there is memory.
bool runInMemory(const QByteArray &path)
{
    Script script;
    const bool canRun = script.open(path);
    const QStringList configured = lookForPrograms(script);
    if (!canRun) {
        reportFailure(path, script.problem());
        return false;
    }
    const QStringList programs = programsFor(script, configured);
    if (programs.isEmpty())
        std::puts(skipLine(path));
    bool passed = true;
    for (const QString &program : programs) {
        Run run(script, program);
        if (!interruption().isNull()) {
            reportFailure(qPrintable(run.name()),
                QStringLiteral("not run, interrupted by ") + interruption());
            return false;
        }
        passed = makeAndReport(run, script.description()) && passed;
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
