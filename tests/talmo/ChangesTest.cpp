#include "Changes.h"
#include "ResultsForTests.h"

#include <QSet>

using namespace Talmo;

namespace
{

RunRecord timed(RunRecord run, double seconds)
{
    run.seconds = seconds;
    return run;
}

/// What changesBetween() says, a line for each kind.
QStringList told(const Changes &changes)
{
    QStringList slower;
    for (const Changes::Slower &run : changes.slower)
        slower += QStringLiteral("%1 %2 %3").arg(run.run).arg(run.before).arg(run.now);
    return {"newly failing " + changes.newlyFailing.join(' '),
        "newly passing " + changes.newlyPassing.join(' '),
        "still failing " + changes.stillFailing.join(' '), "new " + changes.added.join(' '),
        "gone " + changes.gone.join(' '), "slower " + slower.join(", ")};
}

bool isAlwaysThere(const QString & /*script*/)
{
    return true;
}

} // namespace

TEST(Changes, ARunChangesByItsStates)
{
    const RunState states[] = {
        RunState::Passed, RunState::Failed, RunState::Known, RunState::Skipped, RunState::NotRun};
    // Of the states before and now: F newly failing, P newly passing, S still failing, else none.
    const char *const expected[] = {
        "-F---",
        "PS---",
        "PF---",
        "-F---",
        "-F---",
    };
    for (int before = 0; before < 5; ++before) {
        for (int now = 0; now < 5; ++now) {
            const Changes changes = changesBetween(resultsOf({runOf("a", states[before], "x")}),
                resultsOf({runOf("a", states[now], "x")}), isAlwaysThere);
            const char is = !changes.newlyFailing.isEmpty()   ? 'F'
                            : !changes.newlyPassing.isEmpty() ? 'P'
                            : !changes.stillFailing.isEmpty() ? 'S'
                                                              : '-';
            EXPECT_EQ(is, expected[before][now]) << before << " to " << now;
            EXPECT_TRUE(changes.added.isEmpty() && changes.gone.isEmpty());
        }
    }
}

TEST(Changes, ListsAreInTheOrderOfTheRuns)
{
    EXPECT_EQ(
        told(changesBetween(resultsOf({runOf("z"), runOf("y"), runOf("old2"), runOf("old1")}),
            resultsOf({runOf("new2", RunState::Failed, "x"), runOf("z", RunState::Failed, "x"),
                runOf("new1"), runOf("y", RunState::Failed, "x")}),
            [](const QString &) { return false; })),
        QStringList({"newly failing z y", "newly passing ", "still failing ", "new new2 new1",
            "gone old2 old1", "slower "}));
}

TEST(Changes, GoneIsOnlyWhatCannotBeMadeAnyMore)
{
    const RunResults before =
        resultsOf({runOf("a"), runOf("b"), runOf("c(sim1)"), runOf("d(sim1)")});
    const RunResults now = resultsOf({runOf("a"), runOf("c"), runOf("d(sim2)")});
    EXPECT_EQ(changesBetween(before, now, isAlwaysThere).gone, QStringList({"c(sim1)"}));
    EXPECT_EQ(changesBetween(before, now, [](const QString &script) { return script != "b"; }).gone,
        QStringList({"b", "c(sim1)"}));
}

TEST(Changes, SlowerIsMoreThanChance)
{
    const struct {
        double before;
        double now;
        bool isSlower;
    } rows[] = {
        {1, 1.5, false},
        {1, 1.51, true},
        {0, 0.09, false},
        {0, 0.125, true},
        {0.125, 0.2, false},
        {0.125, 0.25, true},
        {2, 1, false},
    };
    for (const auto &row : rows) {
        const Changes changes = changesBetween(resultsOf({timed(runOf("a"), row.before)}),
            resultsOf({timed(runOf("a"), row.now)}), isAlwaysThere);
        EXPECT_EQ(changes.slower.size(), row.isSlower ? 1U : 0U) << row.before << " " << row.now;
    }
    // What fails ends earlier or later.
    for (const RunState state : {RunState::Failed, RunState::Known, RunState::NotRun}) {
        EXPECT_TRUE(changesBetween(resultsOf({timed(runOf("a", state, "x"), 1)}),
            resultsOf({timed(runOf("a"), 9)}), isAlwaysThere)
                        .slower.empty());
        EXPECT_TRUE(changesBetween(resultsOf({timed(runOf("a"), 1)}),
            resultsOf({timed(runOf("a", state, "x"), 9)}), isAlwaysThere)
                        .slower.empty());
    }
}
