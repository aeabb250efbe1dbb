// The regression-test driver: main selects the test scripts, has them run, and sums up.
//
// A run that nobody notices to be incomplete is worse than none. So whatever keeps the driver from
// knowing its scripts, its programs or its working directory is reported in one line, with the exit
// status of a failure; and a signal that comes meanwhile is noted, and counted among the failures.

#include "ScriptFolder.h"
#include "commands.h"
#include "configuredSimPrograms.h"
#include "interruption.h"
#include "runTest.h"
#include "standardStreams.h"
#include "talmo/Preferences.h"
#include "talmo/StartupGuard.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

using namespace Talmo;

/// Says on standard error how the driver is called. Deliberate: nothing calls it, since an unknown
/// option is a file pattern like any other.
void usage()
{
    std::fputs(
        "USAGE: talmo_test [-d] [test file(s)]\n"
        "If no test files are given, test* is used from the distribution.\n"
        "-d sets debug mode for all tests.\n"
        "Each file testX is run in a directory testX.dir, which is removed if the test succeeds.\n",
        stderr);
}

/// Calls outliveFileSizeLimit before the constructors of the libraries, because they print a line.
/// Where the system does not know this list of functions, the call in main must be enough.
[[gnu::section(".preinit_array"),
    gnu::used]] void (*const beforeConstructors)() = outliveFileSizeLimit;

namespace
{

/// Prints the one line that tells why no test can be run. Returns false.
bool refuse(const QByteArray &reason)
{
    std::printf("***talmo_test: %s\n", reason.constData());
    return false;
}

/// The scripts to run, and the directory that they are in.
struct Selection {
    QByteArray folder;
    QStringList names;
};

/// Selects the scripts that match \a patterns in the working directory \a work. If there are none,
/// selects those of the distribution. Returns false, and prints why, if a directory cannot be
/// listed.
bool selectTests(const QStringList &patterns, const QByteArray &work, Selection &selection)
{
    ScriptFolder folder;
    bool isKnown = patterns.isEmpty() || folder.list(".");
    for (const QString &pattern : patterns)
        isKnown = isKnown && folder.select(pattern, selection.names);
    selection.folder = work;
    if (isKnown && selection.names.isEmpty()) {
        selection.folder = distributionDirectory();
        folder = ScriptFolder();
        isKnown = folder.list(selection.folder) &&
                  folder.select(QStringLiteral("test*"), selection.names);
    }
    return isKnown ||
           refuse("cannot list the scripts in '" + selection.folder + "': " + folder.error());
}

/// Prints how many of the scripts passed, failed, and were not run because a signal came before.
void printSummary(int passes, int failures, int notRun, const QByteArray &work)
{
    if (failures == 0 && notRun == 0) {
        std::printf("All tests passed (%d total)\n", passes);
    } else {
        std::printf(
            "***talmo_test: %d tests failed out of %d tests\n", failures, passes + failures);
        std::printf("   The current directory is \"%s\".\n", work.constData());
        std::printf(
            "   For each failing test a directory has been created containing the output(s).\n");
    }
    if (!interruption().isNull())
        std::printf("***talmo_test: interrupted by %s, %d tests not run\n",
            qPrintable(interruption()), notRun);
}

/// Runs the tests of \a selection and prints the summary; true if all passed.
bool runTests(const Selection &selection, const QByteArray &work)
{
    int passes = 0;
    int failures = 0;
    int notRun = 0;
    const QByteArray folder = selection.folder == "/" ? QByteArray() : selection.folder;
    for (const QString &name : selection.names) {
        if (!interruption().isNull())
            ++notRun;
        else if (runTest(folder + '/' + QFile::encodeName(name)))
            ++passes;
        else
            ++failures;
    }
    printSummary(passes, failures, notRun, work);
    return failures == 0 && notRun == 0;
}

/// Selects the tests that the arguments name and runs them; true if all passed.
bool runDriver(int argc, char *argv[])
{
    // Without the settings no program is configured: tests for programs would pass without running.
    if (!Preferences::problem.isNull())
        return refuse(Preferences::problem.toLocal8Bit());
    // The application object would remove Qt's own options from its list, so argv is read itself.
    const std::vector<const char *> arguments(argv + std::min(argc, 1), argv + argc);
    dropWarningsOfQt(); // the driver prints nothing of its own on standard error
    const QCoreApplication application(argc, argv);

    const QByteArray work = workingDirectory();
    if (work.isNull())
        return refuse("the working directory has no name: " + QByteArray(std::strerror(errno)));
    std::printf("talmo_test: executing tests in '%s'\n", work.constData());
    std::fflush(stdout); // because a preference that cannot be used ends the process
    Preferences::init();
    QStringList patterns;
    for (const char *const argument : arguments)
        patterns += QString::fromLocal8Bit(argument);
    if (!arguments.empty() && std::strcmp(arguments.front(), "-d") == 0) {
        Debug = 999999999;
        patterns.removeFirst();
    }
    configuredSimPrograms(); // prints them
    platformName = platformOfThisBuild();

    Selection selection;
    if (!selectTests(patterns, work, selection))
        return false;
    std::printf("talmo_test: tests to run from '%s':\n%s\n", selection.folder.constData(),
        qPrintable(selection.names.join(QLatin1Char(' '))));
    return runTests(selection, work);
}

/// Does what runDriver does as long as there is memory.
bool runInMemory(int argc, char *argv[])
{
    try {
        return runDriver(argc, argv);
    } catch (const std::bad_alloc &) {
        return refuse("out of memory");
    }
}

} // namespace

int main(int argc, char *argv[])
{
    enterMain();
    occupyStandardStreams();
    waitForReaders();
    noteInterruptions();
    outliveFileSizeLimit();
    const bool allPassed = runInMemory(argc, argv);
    const bool isReported = reportIsWritten("talmo_test");
    endIfInterrupted();
    return allPassed && isReported ? 0 : 2;
}
