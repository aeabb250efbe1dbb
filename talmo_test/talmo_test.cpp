// The regression-test driver: main selects the test scripts, has them run, and sums up.

#include "Preferences.h"
#include "StartupGuard.h"
#include "interruption.h"
#include "runTest.h"
#include "standardStreams.h"

#include <QCoreApplication>
#include <QDir>

#include <algorithm>
#include <cstdio>
#include <cstring>
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

namespace
{

QStringList testFiles(const QDir &dir, const QString &pattern)
{
    return dir.entryList({pattern}, QDir::Files | QDir::Readable, QDir::Name | QDir::IgnoreCase);
}

/// The scripts that match \a patterns in the current directory. If there is none, those of the
/// distribution; \a dir becomes the directory that they are in.
QStringList selectTests(const QStringList &patterns, QDir &dir)
{
    QStringList names;
    for (const QString &pattern : patterns)
        names += testFiles(dir, pattern);
    if (!names.isEmpty())
        return names;
    dir.setPath(QCoreApplication::applicationDirPath());
    dir.cdUp();
    dir.cd(QStringLiteral("test")); // Deliberate: if there is none, the directory above serves
    return testFiles(dir, QStringLiteral("test*"));
}

/// Prints how many of the scripts passed, failed, and were not run because a signal came before.
void printSummary(int passes, int failures, int notRun)
{
    if (failures == 0 && notRun == 0) {
        std::printf("All tests passed (%d total)\n", passes);
    } else {
        std::printf(
            "***talmo_test: %d tests failed out of %d tests\n", failures, passes + failures);
        std::printf("   The current directory is \"%s\".\n", qPrintable(QDir::currentPath()));
        std::printf(
            "   For each failing test a directory has been created containing the output(s).\n");
    }
    if (!interruption().isNull())
        std::printf("***talmo_test: interrupted by %s, %d tests not run\n",
            qPrintable(interruption()), notRun);
}

/// Runs the tests \a names of \a dir and prints the summary; true if all passed.
bool runTests(const QStringList &names, const QDir &dir)
{
    int passes = 0;
    int failures = 0;
    int notRun = 0;
    for (const QString &name : names) {
        // Not QDir::absoluteFilePath: that takes ":name" for a resource inside the program.
        const QString path = QDir::cleanPath(dir.absolutePath() + QLatin1Char('/') + name);
        if (!interruption().isNull())
            ++notRun;
        else if (runTest(path))
            ++passes;
        else
            ++failures;
    }
    printSummary(passes, failures, notRun);
    return failures == 0 && notRun == 0;
}

/// Under a locale whose encoding is not UTF-8, newer versions of Qt 6 switch to one that is, and
/// warn of it at every start; we have nothing to say on standard error.
void dropWarning(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type != QtWarningMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

const char *platformOfThisBuild()
{
#if defined(Q_OS_WIN)
    return "WINDOWS";
#elif defined(Q_OS_DARWIN)
    return "DARWIN";
#else
    return "LINUX";
#endif
}

/// Selects the tests that the arguments name and runs them; true if all passed.
bool runDriver(int argc, char *argv[])
{
    // From argv itself: the application object takes Qt's own options out of its list.
    const std::vector<const char *> arguments(argv + std::min(argc, 1), argv + argc);
    const QtMessageHandler standardHandler = qInstallMessageHandler(dropWarning);
    const QCoreApplication application(argc, argv);
    qInstallMessageHandler(standardHandler);

    std::printf("talmo_test: executing tests in '%s'\n", qPrintable(QDir::currentPath()));
    std::fflush(stdout); // an unusable preference ends the process
    Preferences::init();
    QStringList patterns;
    for (const char *const argument : arguments)
        patterns += QString::fromLocal8Bit(argument);
    if (!arguments.empty() && std::strcmp(arguments.front(), "-d") == 0) {
        Debug = 999999999;
        patterns.removeFirst();
    }
    configuredSimPrograms(QString()); // lists them
    platformName = QString::fromLatin1(platformOfThisBuild());

    QDir dir = QDir::current();
    const QStringList names = selectTests(patterns, dir);
    std::printf("talmo_test: tests to run from '%s':\n%s\n", qPrintable(dir.absolutePath()),
        qPrintable(names.join(QLatin1Char(' '))));
    return runTests(names, dir);
}

} // namespace

int main(int argc, char *argv[])
{
    mainHasBeenEntered = true;
    occupyStandardStreams();
    noteInterruptions();
    const bool allPassed = runDriver(argc, argv);
    const bool isReported = reportIsWritten();
    endIfInterrupted();
    return allPassed && isReported ? 0 : 2;
}
