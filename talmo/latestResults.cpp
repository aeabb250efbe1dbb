#include "latestResults.h"

#include "digests.h"

#include <QHash>
#include <QStringList>

#include <vector>

namespace Talmo
{

namespace
{

using IsThere = std::function<bool(const QString &script)>;

/// Puts earlier and new results together.
class Union
{
public:
    Union(const RunResults &earlier, const RunResults &invocation, const IsThere &itsIsThere)
        : before(earlier)
        , now(invocation)
        , isThere(itsIsThere)
    {
        for (const RunRecord &run : before.runs)
            earlierRuns.insert(run.name, &run);
        for (const RunRecord &run : now.runs) {
            newRuns.insert(run.name, &run);
            newScripts.insert(run.script, &run);
        }
    }

    std::vector<RunRecord> runs();
    bool isInvocation = true; ///< whether runs() are those of the invocation, unchanged

private:
    bool isKept(const RunRecord &earlier) const;
    void append(const RunRecord &run);
    void appendAfter(const QString &name);

    const RunResults &before;
    const RunResults &now;
    const IsThere &isThere;
    QHash<QString, const RunRecord *> earlierRuns;
    QHash<QString, const RunRecord *> newRuns;
    QHash<QString, const RunRecord *> newScripts;         ///< one run of each
    QHash<QString, std::vector<const RunRecord *>> added; ///< by the earlier run that they follow
    std::vector<RunRecord> result;
};

/// Whether \a earlier, which is not part of the invocation, is still a result of the suite.
bool Union::isKept(const RunRecord &earlier) const
{
    const RunRecord *const other = newScripts.value(earlier.script);
    const bool isContradicted =
        other != nullptr && other->program.isEmpty() != earlier.program.isEmpty();
    return !isContradicted && isThere(earlier.script);
}

/// Appends a run of the invocation.
void Union::append(const RunRecord &run)
{
    if (newRuns.value(run.name) != &run) { // it was repeated
        isInvocation = false;
        return;
    }
    result.push_back(run);
    const RunRecord *const earlier = earlierRuns.value(run.name);
    if (run.state != RunState::NotRun || earlier == nullptr || earlier->seconds == run.seconds)
        return;
    result.back().seconds = earlier->seconds;
    isInvocation = false;
}

void Union::appendAfter(const QString &name)
{
    for (const RunRecord *const run : added.value(name))
        append(*run);
}

std::vector<RunRecord> Union::runs()
{
    std::vector<const RunRecord *> order; // of what stays of the earlier ones
    bool isMixed = false;
    for (const RunRecord &run : before.runs) {
        const bool isNew = newRuns.contains(run.name);
        if (!isNew && !isKept(run))
            continue;
        order.push_back(&run);
        isMixed = isMixed || !isNew;
    }
    if (!isMixed) {
        for (const RunRecord &run : now.runs)
            append(run);
        return result;
    }
    isInvocation = false;
    QString latest; // of the runs that were known before
    for (const RunRecord &run : now.runs) {
        if (earlierRuns.contains(run.name))
            latest = run.name;
        else
            added[latest].push_back(&run);
    }
    appendAfter({});
    for (const RunRecord *const run : order) {
        if (const RunRecord *const again = newRuns.value(run->name))
            append(*again);
        else
            result.push_back(*run);
        appendAfter(run->name);
    }
    return result;
}

} // namespace

std::optional<RunResults> latestAfter(
    const RunResults &before, const RunResults &invocation, const IsThere &isThere)
{
    Union both(before, invocation, isThere);
    std::vector<RunRecord> runs = both.runs();
    if (both.isInvocation)
        return {};
    RunResults latest = invocation;
    latest.runs = std::move(runs);
    QStringList names;
    for (const RunRecord &run : latest.runs)
        names += run.name;
    latest.runsInAll = static_cast<qint64>(latest.runs.size());
    latest.listDigest = digestOfNames(names);
    return latest;
}

} // namespace Talmo
