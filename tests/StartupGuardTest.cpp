#include "talmo/StartupGuard.h"
#include "Printing.h"
#include "Process.h"

#include <QDir>

#include <csignal>

#include <gtest/gtest.h>

namespace
{

// Without this, the sanitizers would catch the crash and report it in their own words.
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
    const QByteArray listed =
        runProcess(CALL_BEFORE_MAIN, {}, plainCrashes, QDir::currentPath()).output;
    const QStringList operations = QString::fromUtf8(listed).split('\n', Qt::SkipEmptyParts);
    EXPECT_EQ(operations.size(), 41);
    for (const QString &operation : operations) {
        SCOPED_TRACE(operation.toStdString());
        const Outcome outcome = runProbe(operation);
        EXPECT_EQ(outcome.signal, SIGSEGV);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "");
    }
}

TEST(StartupGuard, OthersWorkBeforeMain)
{
    const struct {
        const char *operation;
        const char *output;
    } rows[] = {
        {"Console::printf", "early 1\n"},
        {"Error::message", "Error: early\n"},
        {"Error::reported", "Error: early\n1\n"},
        {"Units::compatibleUnits", "T G gauss kG kilogauss tesla\n"},
        {"Units::Units", "70 units, 9 of them standard\n"},
        {"Value", "0\n"},
        {"the state of Error", "'' 0 0 '' 0 '' 0 0\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.operation);
        const Outcome outcome = runProbe(row.operation);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, row.output + QByteArray("main\n"));
        EXPECT_EQ(outcome.errors, "");
    }
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

TEST(StartupGuard, EnterMainSetsTheVariable)
{
    mainHasBeenEntered = false;
    Talmo::enterMain();
    EXPECT_TRUE(mainHasBeenEntered);
    mainHasBeenEntered = true; // for the tests after this one
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
