#include "Scheduler.h"
#include "Printing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace Talmo;

namespace
{

using Job = std::vector<size_t>;

RunNeeds taking(int processors)
{
    RunNeeds needs;
    needs.processors = processors;
    return needs;
}

RunNeeds locking(const QStringList &locks)
{
    RunNeeds needs;
    needs.locks = locks;
    return needs;
}

RunNeeds serial()
{
    RunNeeds needs;
    needs.isSerial = true;
    return needs;
}

/// A run that starts no programs.
RunNeeds light()
{
    RunNeeds needs;
    needs.startsPrograms = false;
    return needs;
}

RunNeeds lasting(double seconds)
{
    RunNeeds needs;
    needs.seconds = seconds;
    return needs;
}

/// The indices of all runs with \a needs.
Job allOf(const std::vector<RunNeeds> &needs)
{
    Job runs;
    for (size_t run = 0; run < needs.size(); ++run)
        runs.push_back(run);
    return runs;
}

Scheduler schedulerOf(const std::vector<RunNeeds> &needs, int processors)
{
    return {needs, allOf(needs), processors};
}

/// All jobs that may start now.
std::vector<Job> startAll(Scheduler &scheduler)
{
    std::vector<Job> jobs;
    for (Job job = scheduler.next(); !job.empty(); job = scheduler.next())
        jobs.push_back(job);
    return jobs;
}

/// The runs in the order in which they start if each job ends before the next one starts.
Job orderOf(const std::vector<RunNeeds> &needs, int processors)
{
    Scheduler scheduler = schedulerOf(needs, processors);
    Job order;
    for (Job job = scheduler.next(); !job.empty(); job = scheduler.next()) {
        order.insert(order.end(), job.begin(), job.end());
        scheduler.ended(job);
    }
    EXPECT_TRUE(scheduler.isEmpty());
    return order;
}

} // namespace

TEST(Scheduler, StartsAsManyAsThereAreProcessors)
{
    for (int processors = 1; processors <= 6; ++processors) {
        SCOPED_TRACE(processors);
        Scheduler scheduler = schedulerOf(std::vector<RunNeeds>(5), processors);
        EXPECT_EQ(startAll(scheduler).size(), size_t(std::min(processors, 5)));
        EXPECT_EQ(scheduler.isEmpty(), processors >= 5);
    }
}

TEST(Scheduler, ARunMayTakeSeveralProcessors)
{
    const struct {
        std::vector<int> taken;
        int processors;
        size_t atOnce;
    } rows[] = {
        {{2, 2}, 4, 2},
        {{2, 2}, 3, 1},
        {{1, 2, 1}, 4, 3},
        {{1, 2, 2, 1}, 4, 2}, // the last one must not pass the third, or that might never start
        {{4, 1}, 4, 1},
        {{1, 4}, 4, 1},
        {{5, 1}, 4, 1}, // more than there are: alone
        {{1, 5, 1}, 4, 1},
        {{1000000000, 1000000000}, 4, 1},
    };
    for (const auto &row : rows) {
        std::vector<RunNeeds> needs;
        for (const int count : row.taken)
            needs.push_back(taking(count));
        SCOPED_TRACE(testing::PrintToString(row.taken));
        Scheduler scheduler = schedulerOf(needs, row.processors);
        EXPECT_EQ(startAll(scheduler).size(), row.atOnce);
    }
}

TEST(Scheduler, ARunThatNeedsMoreThanThereIsStartsWhenNothingElseIsAtWork)
{
    Scheduler scheduler = schedulerOf({taking(1), taking(1), taking(9), taking(1)}, 2);
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{0}, {1}}));
    scheduler.ended({0});
    EXPECT_EQ(startAll(scheduler), std::vector<Job>());
    scheduler.ended({1});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{2}}));
    scheduler.ended({2});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{3}}));
}

TEST(Scheduler, RunsWithALockInCommonWaitAndLetOthersPass)
{
    Scheduler scheduler =
        schedulerOf({locking({"a", "b"}), locking({"b"}), locking({"c"}), {}, locking({"a"})}, 8);
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{0}, {2}, {3}}));
    scheduler.ended({2});
    EXPECT_EQ(startAll(scheduler), std::vector<Job>());
    scheduler.ended({0});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{1}, {4}}));
}

TEST(Scheduler, ALockIsHeldUntilTheJobHasEndedAlsoByARunThatIsMadeAgain)
{
    Scheduler scheduler = schedulerOf({locking({"a"}), locking({"a"}), {}}, 8);
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{0}, {2}}));
    scheduler.again(0);
    EXPECT_EQ(startAll(scheduler), std::vector<Job>());
    scheduler.ended({0});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{0}}));
}

TEST(Scheduler, ASerialRunIsAlone)
{
    Scheduler scheduler = schedulerOf({serial(), serial(), {}, {}}, 4);
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{2}, {3}})); // the serial ones come last
    scheduler.ended({2});
    EXPECT_EQ(startAll(scheduler), std::vector<Job>());
    scheduler.ended({3});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{0}}));
    scheduler.again(2);
    EXPECT_EQ(startAll(scheduler), std::vector<Job>());
    scheduler.ended({0});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{2}}));
    scheduler.ended({2});
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{1}}));
}

TEST(Scheduler, WithOneProcessorTheOrderIsThatOfTheRuns)
{
    const std::vector<RunNeeds> needs = {
        lasting(1), serial(), lasting(9), light(), taking(4), light(), locking({"a"}), lasting(5)};
    EXPECT_EQ(orderOf(needs, 1), allOf(needs));
}

TEST(Scheduler, WithOneProcessorTheOrderStaysThatOfTheRunsWhereSomeAreMadeAgain)
{
    Scheduler scheduler = schedulerOf(std::vector<RunNeeds>(12, light()), 1);
    const Job job = scheduler.next();
    ASSERT_EQ(job, (Job{0, 1, 2, 3, 4, 5, 6, 7}));
    for (const size_t run : job) // as they report, one after the other
        scheduler.again(run);
    scheduler.ended(job);
    Job order;
    for (Job next = scheduler.next(); !next.empty(); next = scheduler.next()) {
        order.insert(order.end(), next.begin(), next.end());
        scheduler.ended(next);
    }
    EXPECT_EQ(order, allOf(std::vector<RunNeeds>(12)));
}

TEST(Scheduler, WhatTookLongestComesFirst)
{
    const struct {
        std::vector<RunNeeds> needs;
        Job order;
    } rows[] = {
        {{lasting(1), lasting(3), lasting(2)}, {1, 2, 0}},
        {{lasting(1), {}, lasting(3), {}}, {1, 3, 2, 0}}, // of the others nothing is known
        {{lasting(0), lasting(0), lasting(0.001)}, {2, 0, 1}},
        {{serial(), lasting(0), {}, serial()}, {2, 1, 0, 3}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(orderOf(row.needs, 2), row.order);
        EXPECT_EQ(orderOf(row.needs, 1), allOf(row.needs));
    }
}

TEST(Scheduler, AJobHasSeveralRunsOnlyIfTheyAreLight)
{
    const RunNeeds heavy[] = {{}, taking(2), locking({"a"}), serial()};
    for (RunNeeds other : heavy) {
        other.startsPrograms = other.processors == 1 && other.locks.isEmpty() && !other.isSerial;
        std::vector<RunNeeds> needs(100, light());
        needs[2] = other;
        Scheduler scheduler = schedulerOf(needs, 1);
        const std::vector<Job> jobs = {scheduler.next()};
        EXPECT_EQ(jobs[0], (Job{0, 1}));
        scheduler.ended(jobs[0]);
        EXPECT_EQ(scheduler.next(), (Job{2}));
    }
}

TEST(Scheduler, JobsBecomeSmallerSoThatAllProcessorsAreBusyToTheEnd)
{
    for (const int processors : {1, 2, 8}) {
        SCOPED_TRACE(processors);
        Scheduler scheduler = schedulerOf(std::vector<RunNeeds>(2000, light()), processors);
        std::vector<Job> jobs;
        for (Job job = scheduler.next(); !job.empty(); job = scheduler.next()) {
            scheduler.ended(job);
            jobs.push_back(job);
        }
        EXPECT_TRUE(std::is_sorted(jobs.begin(), jobs.end(),
            [](const Job &one, const Job &other) { return one.size() > other.size(); }));
        EXPECT_GT(jobs.front().size(), 8U);
        EXPECT_LE(jobs.front().size(), 256U);
        EXPECT_LE(jobs.back().size(), 8U); // fewer cost less than a process does
        EXPECT_GE(jobs.size(), size_t(4 * processors));
    }
}

TEST(Scheduler, LightRunsThatTookLongLastTimeShareNoJob)
{
    std::vector<RunNeeds> needs(100, light());
    const double seconds[] = {0.5, 0.1, 0.06, 0.06, 0.06};
    for (size_t run = 0; run < std::size(seconds); ++run)
        needs[run].seconds = seconds[run];
    Scheduler scheduler = schedulerOf(needs, 1);
    const std::vector<Job> jobs = startAll(scheduler);
    EXPECT_EQ(jobs, (std::vector<Job>{{0}}));
    scheduler.ended({0});
    EXPECT_EQ(scheduler.next(), Job{1});
    scheduler.ended({1});
    EXPECT_EQ(scheduler.next(), (Job{2, 3})); // together they take long enough
    scheduler.ended({2, 3});
    EXPECT_GT(scheduler.next().size(), 8U);
}

TEST(Scheduler, LightRunsThatAreMadeAgainAreJobsOfSeveralAsBefore)
{
    Scheduler scheduler = schedulerOf(std::vector<RunNeeds>(400, light()), 2);
    std::vector<size_t> sizes;
    for (int round = 0; round < 2; ++round) {
        std::vector<Job> jobs;
        for (Job job = scheduler.next(); !job.empty(); job = scheduler.next()) {
            jobs.push_back(job);
            scheduler.ended(job);
        }
        sizes.push_back(jobs.front().size());
        for (const Job &job : jobs)
            std::for_each(job.begin(), job.end(), [&](size_t run) { scheduler.again(run); });
    }
    EXPECT_EQ(sizes, std::vector<size_t>({50, 50}));
}

TEST(Scheduler, OnlyTheRunsThatAreToBeMadeStart)
{
    Scheduler scheduler(std::vector<RunNeeds>(5), {1, 4}, 8);
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{1}, {4}}));
    EXPECT_TRUE(scheduler.isEmpty());
    EXPECT_EQ(Scheduler({}, {}, 1).next(), Job());
}

TEST(Scheduler, AfterStopNothingStarts)
{
    Scheduler scheduler = schedulerOf({lasting(1), lasting(2), lasting(3), lasting(4)}, 2);
    EXPECT_EQ(startAll(scheduler), (std::vector<Job>{{3}, {2}}));
    EXPECT_EQ(scheduler.stop(), (Job{0, 1}));
    scheduler.ended({3});
    scheduler.ended({2});
    EXPECT_EQ(scheduler.next(), Job());
    scheduler.again(2); // a child had not come to it
    EXPECT_EQ(scheduler.stop(), Job{2});
    EXPECT_EQ(scheduler.next(), Job());
}

namespace
{

/// Has a scheduler with needs that were made up start everything, and watches it.
class Watch
{
public:
    Watch(unsigned seed, size_t count)
        : engine(seed)
        , processors(1 + number(9))
        , needs(count)
        , wanted(count, 1)
        , made(count, 0)
    {
        for (RunNeeds &its : needs)
            its = somethingNeeded();
    }

    void watch()
    {
        Scheduler scheduler = schedulerOf(needs, processors);
        while (!scheduler.isEmpty() || !atWork.empty()) {
            for (Job job = scheduler.next(); !job.empty(); job = scheduler.next())
                begin(job);
            ASSERT_FALSE(atWork.empty()) << "nothing starts although nothing is at work";
            endOne(scheduler);
        }
        EXPECT_EQ(made, wanted);
    }

private:
    int number(int limit) { return static_cast<int>(engine() % static_cast<unsigned>(limit)); }

    RunNeeds somethingNeeded()
    {
        RunNeeds its;
        its.startsPrograms = number(2) == 0;
        its.processors = number(4) == 0 ? 1 + number(11) : 1;
        its.isSerial = number(20) == 0;
        its.seconds = number(3) == 0 ? -1 : number(100);
        for (int locks = number(5) - 2; locks > 0; --locks)
            its.locks += QString::number(number(4));
        return its;
    }

    void begin(const Job &job)
    {
        for (const size_t run : job) {
            ++made[run];
            const RunNeeds &its = needs[run];
            EXPECT_TRUE(job.size() == 1 || (!its.startsPrograms && its.processors == 1 &&
                                               its.locks.isEmpty() && !its.isSerial));
        }
        atWork.push_back(job);
        expectRoom();
    }

    /// Expects that nothing is at work together that must not be.
    void expectRoom() const
    {
        int occupied = 0;
        QStringList locks;
        bool isSerial = false;
        for (const Job &job : atWork) {
            const RunNeeds &its = needs[job[0]];
            occupied += its.processors;
            QStringList own = its.locks;
            own.removeDuplicates();
            locks += own;
            isSerial = isSerial || its.isSerial;
        }
        EXPECT_TRUE(occupied <= processors || atWork.size() == 1) << occupied;
        EXPECT_FALSE(isSerial && atWork.size() > 1);
        EXPECT_EQ(locks.removeDuplicates(), 0);
    }

    /// Ends one of the jobs at work. Some of its runs are to be made again.
    void endOne(Scheduler &scheduler)
    {
        const auto ended = atWork.begin() + number(static_cast<int>(atWork.size()));
        for (const size_t run : *ended) {
            if (number(10) != 0)
                continue;
            scheduler.again(run);
            ++wanted[run];
        }
        scheduler.ended(*ended);
        atWork.erase(ended);
    }

    std::mt19937 engine;
    int processors;
    std::vector<RunNeeds> needs;
    std::vector<int> wanted; ///< how often each run is to be made
    std::vector<int> made;
    std::vector<Job> atWork;
};

} // namespace

TEST(Scheduler, WhateverIsNeededEverythingIsMadeAndNothingTwice)
{
    for (unsigned seed = 1; seed <= 300 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Watch(seed, 1 + seed % 100).watch();
    }
}

TEST(Scheduler, NoProcessorIsIdleWhereEveryRunNeedsOne)
{
    for (int processors = 2; processors <= 8; ++processors) {
        Scheduler scheduler = schedulerOf(std::vector<RunNeeds>(40), processors);
        std::vector<Job> atWork;
        for (size_t left = 40; left > 0; --left) {
            const std::vector<Job> started = startAll(scheduler);
            atWork.insert(atWork.end(), started.begin(), started.end());
            ASSERT_EQ(atWork.size(), std::min(left, size_t(processors)));
            scheduler.ended(atWork.front());
            atWork.erase(atWork.begin());
        }
    }
}
