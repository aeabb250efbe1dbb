#include "DriverTest.h"

#include <QDir>

// The distribution's own scripts, as a user runs them: without arguments.

namespace
{

class Distribution : public DriverTest
{
protected:
    Distribution()
    {
        const QDir bin = QFileInfo(driver).dir();
        environment["PATH"] = bin.path() + ':' + environment["PATH"];
        scripts = QDir(SCRIPTS).entryList({"test*"}, QDir::Files, QDir::Name);
    }

    QStringList scripts;
};

} // namespace

TEST_F(Distribution, PassesForEveryConfiguredTracker)
{
    configure({"tracker", "tracker-kick"});
    const Outcome outcome = run({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(outcome.output.endsWith(summary(0, static_cast<int>(scripts.size()))))
        << outcome.output.toStdString();
    EXPECT_EQ(entries(), QStringList());

    ASSERT_GE(scripts.size(), 12);
    int forTrackers = 0;
    for (const QString &script : std::as_const(scripts)) {
        SCOPED_TRACE(script.toStdString());
        const QByteArray name = script.toUtf8();
        const bool ranAlone = outcome.output.contains('\n' + name + ": ");
        const bool ranForBoth = outcome.output.contains('\n' + name + "(tracker): ") &&
                                outcome.output.contains('\n' + name + "(tracker-kick): ");
        EXPECT_NE(ranAlone, ranForBoth);
        forTrackers += ranForBoth;
    }
    EXPECT_GE(forTrackers, 6);
}

TEST_F(Distribution, PassesWhenNoProgramIsConfigured)
{
    const Outcome outcome = run({});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(outcome.output.endsWith(summary(0, static_cast<int>(scripts.size()))))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains(": No applicable SimPrograms\n"));
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(Distribution, FailsWhenTheConfiguredProgramIsNotThere)
{
    configure({"tracker-that-is-not-there"});
    const Outcome outcome = run({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.output.contains("running 'tracker-that-is-not-there' failed\n"))
        << outcome.output.toStdString();
}
