// What becomes of a run goes one way: the crew reports it, it is judged, perhaps made again, and
// settled: then it stands in its record and is printed. A run that is never settled was not run.

#include "SuiteRun.h"

#include "anonymousFile.h"
#include "interruption.h"
#include "messages.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace Talmo
{

namespace
{

/// A record of \a run as it is before anything was made.
RunRecord recordOf(const Suite &suite, const PlannedRun &run)
{
    const SuiteScript &script = suite.scripts[run.script];
    RunRecord record;
    record.name = run.name;
    record.script = script.name;
    record.program = run.program;
    record.heading = script.heading;
    record.labels = script.needs.labels;
    return record;
}

std::vector<RunNeeds> needsOf(const Suite &suite, const RunOptions &options)
{
    std::vector<RunNeeds> all;
    for (const PlannedRun &run : suite.runs) {
        const SuiteScript &script = suite.scripts[run.script];
        RunNeeds needs;
        needs.processors = script.needs.processors;
        needs.locks = script.needs.locks;
        needs.isSerial = script.needs.isSerial;
        // A job of several goes on when one of them has failed.
        needs.startsPrograms = script.startsPrograms || options.stopsOnFailure;
        const auto last = options.lastSeconds.find(run.name);
        if (last != options.lastSeconds.end())
            needs.seconds = last->second;
        all.push_back(needs);
    }
    return all;
}

/// The indices of the runs that can be made.
std::vector<size_t> runsToMake(const Suite &suite)
{
    std::vector<size_t> runs;
    for (size_t run = 0; run < suite.runs.size(); ++run) {
        if (!suite.runs[run].isSkipped)
            runs.push_back(run);
    }
    return runs;
}

std::vector<double> timeoutsOf(const Suite &suite, double usual)
{
    std::vector<double> seconds;
    for (const PlannedRun &run : suite.runs) {
        const double own = suite.scripts[run.script].needs.timeout;
        seconds.push_back(own > 0 ? own : usual);
    }
    return seconds;
}

/// Appends the bytes of \a part to \a spool, as far as there is room; returns where they are there.
FilePart spooled(const FilePart &part, const Descriptor &spool)
{
    FilePart copy = {
        "/proc/self/fd/" + QByteArray::number(spool.get()), lseek(spool.get(), 0, SEEK_END), 0};
    forEachBlock(part, [&](const char *bytes, size_t count) {
        const ssize_t written = write(spool.get(), bytes, count);
        copy.length += std::max<ssize_t>(written, 0);
        return written == static_cast<ssize_t>(count);
    });
    return copy;
}

} // namespace

SuiteRun::SuiteRun(const Suite &itsSuite, RunOptions itsOptions)
    : suite(itsSuite)
    , options(std::move(itsOptions))
    , progress(suite.runs.size())
    , scheduler(needsOf(suite, options), runsToMake(suite), options.processors)
    , crew(suite, timeoutsOf(suite, options.timeout), options.keepsAll)
    , printer(suite.runs.size(), options.isVerbose)
    , spool(openAnonymousFile())
{
    for (const PlannedRun &run : suite.runs)
        records.push_back(recordOf(suite, run));
}

std::vector<RunRecord> SuiteRun::make()
{
    for (;;) {
        if (!interruption().isNull() && !isInterrupted) {
            isInterrupted = true;
            crew.stop(interruption());
            stop(QStringLiteral("interrupted by ") + interruption());
        }
        startJobs();
        if (crew.isIdle()) {
            skipUpTo(suite.runs.size());
            return std::move(records);
        }
        if (printer.counts())
            printer.count(namesOf(crew.atWork()));
        std::fflush(stdout);
        take(crew.wait());
    }
}

/// Settles the scripts before \a end that apply to no program, unless that was done.
void SuiteRun::skipUpTo(size_t end)
{
    for (; nextToSkip < end; ++nextToSkip) {
        if (!suite.runs[nextToSkip].isSkipped)
            continue;
        records[nextToSkip].state = RunState::Skipped;
        records[nextToSkip].message = skipReason();
        printer.skipped(suite.scripts[suite.runs[nextToSkip].script].path);
    }
}

void SuiteRun::startJobs()
{
    for (std::vector<size_t> job = scheduler.next(); !job.empty(); job = scheduler.next()) {
        if (crew.start(job))
            continue;
        scheduler.ended(job);
        std::for_each(job.rbegin(), job.rend(), [this](size_t run) { scheduler.again(run); });
        if (!crew.isIdle())
            return; // when one has ended, there may be room
        stop(crew.problem());
    }
}

void SuiteRun::take(const Happenings &happenings)
{
    for (const RunReport &report : happenings.reports)
        judge(report);
    for (const EndedJob &ended : happenings.ended) {
        scheduler.ended(ended.job);
        const auto &left = ended.notStarted;
        std::for_each(left.rbegin(), left.rend(), [this](size_t run) { scheduler.again(run); });
    }
    if (isStopped)
        stop(stopReason);
}

/// Decides what \a report means for its run.
void SuiteRun::judge(const RunReport &report)
{
    const size_t run = report.run;
    const RunRecord &made = report.record;
    RunRecord &record = records[run];
    record.state = made.state;
    record.message = made.message;
    record.isOwn = made.isOwn;
    record.line = made.line;
    record.details = made.details;
    record.directory = made.directory;
    record.remarks = made.remarks;
    record.seconds = made.seconds;
    record.scriptDigest = made.scriptDigest;
    record.referencesDigest = made.referencesDigest;
    record.directoryDigest = made.directoryDigest;
    record.output = made.output;
    record.captures = made.captures;
    ++progress[run].attempt;
    if (record.isOwn)
        applyKnown(run);
    if (isToBeMadeAgain(run)) {
        record.output = spooled(record.output, spool); // its file goes with the process
        scheduler.again(run);
    } else {
        settle(run);
    }
}

/// Turns a failure of \a run that is known into one, and a pass where a failure is known into a
/// failure.
void SuiteRun::applyKnown(size_t run)
{
    RunRecord &record = records[run];
    QStringList patterns = suite.scripts[suite.runs[run].script].needs.known;
    const auto own = options.known.find(record.name);
    if (own != options.known.end())
        patterns += own->second;
    if (patterns.isEmpty())
        return;
    const QString all = patterns.join(QStringLiteral("' or '"));
    if (record.state == RunState::Passed) {
        record.state = RunState::Failed;
        record.isOwn = false;
        record.message = QStringLiteral("passed, although it is known to fail with '%1'").arg(all);
        return;
    }
    const auto found = std::find_if(patterns.begin(), patterns.end(),
        [&record](const QString &pattern) { return matchesMessage(pattern, record.message); });
    if (found == patterns.end()) {
        record.details += QStringLiteral("it is known to fail otherwise, with '%1'").arg(all);
        return;
    }
    record.state = RunState::Known;
    record.knownPattern = *found;
}

/// True if \a run, which has just been made, has another attempt or repetition before it.
bool SuiteRun::isToBeMadeAgain(size_t run)
{
    Progress &its = progress[run];
    RunRecord &record = records[run];
    its.mostAttempts = std::max(its.mostAttempts, its.attempt);
    if (record.state == RunState::Failed) {
        const int retries = suite.scripts[suite.runs[run].script].needs.retries;
        const bool isRetried = record.isOwn && its.attempt <= retries;
        if (isRetried)
            its.failures +=
                QStringLiteral("attempt %1: %2").arg(QString::number(its.attempt), record.message);
        else if (options.repetitions > 1)
            record.details += QStringLiteral("at repetition %1 of %2")
                                  .arg(its.repetition + 1)
                                  .arg(options.repetitions);
        return isRetried;
    }
    its.attempt = 0;
    ++its.repetition;
    return its.repetition < options.repetitions;
}

/// The record of \a run is as it stays.
void SuiteRun::settle(size_t run)
{
    RunRecord &record = records[run];
    record.attempts = progress[run].mostAttempts;
    record.remarks = progress[run].failures + record.remarks;
    skipUpTo(run); // at its place in the driver's order, if that is kept
    const FilePart kept =
        record.state == RunState::Passed ? FilePart() : spooled(record.output, spool);
    if (record.state != RunState::Passed && kept.length < record.output.length)
        record.remarks += QStringLiteral("what it printed is kept in part only: the disk is full");
    printer.ended(record);
    record.output = kept;
    if (record.state == RunState::Failed && options.stopsOnFailure)
        stop(QStringLiteral("stopped after the failure of ") + record.name);
}

/// Has nothing started any more. What was waiting is not run because of \a reason; but a run that
/// waits for one more attempt has failed.
void SuiteRun::stop(const QString &reason)
{
    if (!isStopped)
        stopReason = reason;
    isStopped = true;
    for (const size_t run : scheduler.stop()) {
        if (records[run].state == RunState::Failed) {
            settle(run);
            continue;
        }
        const QString directory = records[run].directory; // of an earlier repetition
        records[run] = recordOf(suite, suite.runs[run]);
        records[run].directory = directory;
        records[run].message = stopReason;
    }
}

void SuiteRun::sumUp(const RunResults &results)
{
    printer.sumUp(results, suite, crew.leftBehind());
}

QStringList SuiteRun::namesOf(const std::vector<size_t> &runs) const
{
    QStringList names;
    for (const size_t run : runs)
        names += suite.runs[run].name;
    return names;
}

} // namespace Talmo
