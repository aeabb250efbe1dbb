#include "StartupGuard.h"
#include "Printing.h"
#include "Process.h"

#include <QDir>

#include <csignal>

#include <gtest/gtest.h>

namespace
{

// The sanitizers would catch the crash and report it in their own words.
const Environment plainCrashes = {{"ASAN_OPTIONS", "handle_segv=0:handle_abort=0"}};

Outcome runProbe(const QString &operation)
{
    Environment environment = plainCrashes;
    environment["OPERATION"] = operation;
    return runProcess(CALL_BEFORE_MAIN, {}, environment, QDir::currentPath());
}

} // namespace

TEST(StartupGuard, GuardedOperationsDieBeforeMainWithoutAWord)
{
    const char *const operations[] = {
        "find", "match", "replace", "substitute", "replaceAll", "replaceAll of nothing"};
    for (const char *const operation : operations) {
        SCOPED_TRACE(operation);
        const Outcome outcome = runProbe(operation);
        EXPECT_EQ(outcome.signal, SIGSEGV);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "");
    }
}

TEST(StartupGuard, TheConsoleWorksBeforeMain)
{
    const Outcome outcome = runProbe("Console::printf");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "early 1\nmain\n");
}

TEST(StartupGuard, PreferencesCannotBeReadBeforeMain)
{
    Environment environment = plainCrashes;
    environment["XDG_CONFIG_HOME"] = QDir::current().filePath("config");
    const QString settings = environment["XDG_CONFIG_HOME"] + "/Brelund, Inc./Talmo.conf";
    const Outcome outcome = runProcess(GET_BEFORE_MAIN, {}, environment, QDir::currentPath());
    EXPECT_EQ(outcome.signal, SIGSEGV);
    EXPECT_EQ(outcome.output, "Preferences loaded from '" + settings.toUtf8() + "'\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST(StartupGuard, DoesNothingOnceMainHasBeenEntered)
{
    ASSERT_TRUE(mainHasBeenEntered);
    Talmo::startupGuard();
}

TEST(StartupGuard, AProgramWithoutAConsoleWindowMustNotAskForIt)
{
    const Outcome outcome = runProcess(ASK_FOR_WINDOW, {}, plainCrashes, QDir::currentPath());
    EXPECT_EQ(outcome.signal, SIGSEGV);
    EXPECT_EQ(outcome.output, "text without a newline; ***ERROR ConsoleWindow cannot be used!\n");
    EXPECT_EQ(outcome.errors, "");
}
