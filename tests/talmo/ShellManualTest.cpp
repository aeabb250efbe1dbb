#include "CompanionTest.h"
#include "Sessions.h"

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
