#include "CompanionTest.h"
#include "Sessions.h"

#include <gtest/gtest-spi.h>

namespace
{

class ShellManual : public CompanionTest
{
protected:
    ShellManual()
    {
        const QString path = QStringLiteral("PATH");
        environment[path] = QStringLiteral(BUILD "/bin:") + environment[path];
    }

    int expectTrue(const char *manual)
    {
        return expectSessions(QString::fromLatin1(manual), environment, work, folder.path());
    }

    /// What expectSessions says of a manual with one session, of \a kind, with these \a lines.
    int expectSession(const QByteArray &kind, const QByteArray &lines)
    {
        write("manual.md", "```" + kind + '\n' + lines + "```\n");
        return expectSessions(work + "/manual.md", environment, work, folder.path());
    }
};

} // namespace

TEST_F(ShellManual, EverySessionAboutTheCommandsIsTrue)
{
    EXPECT_GE(expectTrue(MANUALS "/shell.md"), 15);
}

TEST_F(ShellManual, EverySessionAboutExpressionsIsTrue)
{
    EXPECT_GE(expectTrue(MANUALS "/expressions.md"), 4);
}

TEST_F(ShellManual, EverySessionAboutTheDecksOfTheTrackerIsTrue)
{
    EXPECT_GE(expectTrue(TRACKER "/README.md"), 5);
}

TEST_F(ShellManual, ASessionIsComparedWithWhatHappens)
{
    EXPECT_EQ(expectSession("session", "$ echo a; echo b >&2\na\nb\n$ echo \\\nc\nc\n"), 2);
    EXPECT_EQ(expectSession("session", "$ seq 5\n1\n[...]\n5\n"), 1);
    EXPECT_NONFATAL_FAILURE(expectSession("session", "$ echo a\nb\n"), "and the manual shows");
    EXPECT_NONFATAL_FAILURE(expectSession("session", "$ echo a\n"), "and the manual shows");
    EXPECT_NONFATAL_FAILURE(expectSession("session", "$ seq 5\n[...]\n4\n"), "prints");
    EXPECT_NONFATAL_FAILURE(expectSession("session", "a\n$ true\n"), "begins with no command");
}

TEST_F(ShellManual, ExitStatusesAreComparedToo)
{
    EXPECT_EQ(expectSession("session 0 3", "$ true\n$ (exit 3)\n$ echo $?\n3\n"), 3);
    EXPECT_NONFATAL_FAILURE(expectSession("session", "$ false\n"), "is the exit status of $ false");
    EXPECT_NONFATAL_FAILURE(expectSession("session 1", "$ true\n"), "is the exit status of $ true");
    EXPECT_NONFATAL_FAILURE(expectSession("session 0 1", "$ true\n"), "More statuses");
}

TEST_F(ShellManual, OnlyWhatDiffersFromDayToDayIsLeftOut)
{
    EXPECT_EQ(expectSession("session", "$ echo 2 runs in 0.25 s: all\n2 runs in 17 s: all\n"), 1);
    EXPECT_EQ(
        expectSession("session", "$ echo on 2026-01-02 03:04:05\non 2027-11-12 13:14:15\n"), 1);
    const QByteArray others[] = {"$ echo 3 s\n4 s\n", "$ echo 2 runs in 1 s: a\n3 runs in 1 s: a\n",
        "$ echo so 2 runs in 1 s: a\nso 2 runs in 2 s: a\n"};
    for (const QByteArray &lines : others)
        EXPECT_NONFATAL_FAILURE(expectSession("session", lines), "and the manual shows");
}
