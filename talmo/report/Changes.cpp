#include "Changes.h"

#include "Records.h"
#include "latestResults.h"

#include <QHash>
#include <QSet>

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr double slowFactor = 1.5;
constexpr double leastSeconds = 0.1; ///< less is chance

using RunsByName = QHash<QString, const RunRecord *>;

RunsByName byName(const std::vector<RunRecord> &runs)
{
    RunsByName names;
    names.reserve(static_cast<int>(runs.size()));
    for (const RunRecord &run : runs)
        names.insert(run.name, &run);
    return names;
}

bool isSlower(const RunRecord &before, const RunRecord &now)
{
    return before.state == RunState::Passed && now.state == RunState::Passed &&
           now.seconds > slowFactor * before.seconds &&
           now.seconds - before.seconds >= leastSeconds;
}

/// Adds to \a changes what became of a run that was there before.
void addChange(const RunRecord &before, const RunRecord &now, Changes &changes)
{
    const bool hadFailed = before.state == RunState::Failed;
    if (now.state == RunState::Failed)
        (hadFailed ? changes.stillFailing : changes.newlyFailing) += now.name;
    else if (now.state == RunState::Passed && (hadFailed || before.state == RunState::Known))
        changes.newlyPassing += now.name;
    if (isSlower(before, now))
        changes.slower.push_back({now.name, before.seconds, now.seconds});
}

/// Adds to \a before those runs of \a invocation, an earlier one, that are in \a missing, which are
/// then found.
void complete(
    const RunResults &invocation, QHash<QString, int> &missing, std::vector<RunRecord> &before)
{
    for (const RunRecord &run : invocation.runs) {
        const auto place = missing.find(run.name);
        if (place == missing.end())
            continue;
        if (*place < 0) {
            *place = static_cast<int>(before.size());
            before.push_back(run);
        } else if (run.state != RunState::NotRun) {
            before[static_cast<size_t>(*place)] = run;
        }
        if (run.state != RunState::NotRun)
            missing.erase(place);
    }
}

} // namespace

Changes changesBetween(const RunResults &before, const RunResults &now,
    const std::function<bool(const QString &script)> &isThere)
{
    Changes changes;
    const RunsByName earlier = byName(before.runs);
    for (const RunRecord &run : now.runs) {
        if (const RunRecord *const known = earlier.value(run.name))
            addChange(*known, run, changes);
        else
            changes.added += run.name;
    }
    const std::optional<RunResults> all = latestAfter(before, now, isThere);
    const RunsByName kept = byName(all ? all->runs : now.runs);
    for (const RunRecord &run : before.runs) {
        if (!kept.contains(run.name))
            changes.gone += run.name;
    }
    return changes;
}

bool readBefore(
    const RunResults &now, const QByteArray &suiteDirectory, RunResults &before, QString &problem)
{
    std::vector<QByteArray> names;
    Records::invocations(suiteDirectory, names, problem);
    QHash<QString, int> missing; // the runs of now, each with its place in before, or -1
    for (const RunRecord &run : now.runs)
        missing.insert(run.name, -1);
    bool isFirst = true;
    for (size_t index = 1; index < names.size() && (isFirst || !missing.isEmpty()); ++index) {
        RunResults invocation;
        if (Records::readInvocation(suiteDirectory, names[index], SystemOut::PassedOver, invocation,
                problem) != Records::Reading::Read)
            return false;
        if (isFirst) {
            before = invocation;
            before.runs.clear();
            // All of them, also those that are not in now: they may have gone.
            for (const RunRecord &run : invocation.runs) {
                if (!missing.contains(run.name))
                    before.runs.push_back(run);
            }
        }
        complete(invocation, missing, before.runs);
        isFirst = false;
    }
    return !isFirst;
}

} // namespace Talmo
