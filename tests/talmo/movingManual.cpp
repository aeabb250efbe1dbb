#include "CompanionTest.h"
#include "Sessions.h"

#include <QDir>
#include <QFile>

// The sessions of the manual about moving a suite, for scripts/check-moving: they need a simulation
// program that the other tests do without. DECKS in the environment is the folder with its suite.

class MovingManual : public CompanionTest
{
};

TEST_F(MovingManual, EverySessionIsTrue)
{
    const QString decks = qEnvironmentVariable("DECKS");
    ASSERT_TRUE(QFile::exists(decks + "/beam8t.inp") || QFile::exists(decks + "/beam8t.inp.gz"))
        << decks.toStdString();
    ASSERT_TRUE(QFile::link(decks, folder.filePath("decks")));
    work = folder.filePath("talmo");
    ASSERT_TRUE(QDir().mkpath(work + "/build"));
    ASSERT_TRUE(QFile::link(BUILD, work + "/build/release"));
    ASSERT_TRUE(QFile::link(EXAMPLES, work + "/examples"));
    environment["HOME"] = folder.path();
    EXPECT_GE(expectSessions(MANUAL, environment, work, folder.path()), 15);
}
