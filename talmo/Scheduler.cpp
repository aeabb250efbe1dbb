#include "Scheduler.h"

#include <algorithm>
#include <utility>

namespace Talmo
{

Scheduler::Scheduler(
    std::vector<RunNeeds> itsNeeds, const std::vector<size_t> &runs, int itsProcessors)
    : needs(std::move(itsNeeds))
    , processors(itsProcessors)
    , waiting(runs.begin(), runs.end())
{
    for (const size_t run : runs)
        lightWaiting += isLight(run) ? 1 : 0;
    if (processors == 1)
        return;
    const auto rank = [this](size_t run) {
        const double seconds = needs[run].seconds;
        return std::make_pair(needs[run].isSerial, seconds < 0 ? -1e300 : -seconds);
    };
    std::stable_sort(waiting.begin(), waiting.end(),
        [&rank](size_t one, size_t other) { return rank(one) < rank(other); });
}

std::vector<size_t> Scheduler::next()
{
    for (auto run = waiting.begin(); run != waiting.end(); ++run) {
        if (isLocked(needs[*run]))
            continue;
        return mayStart(needs[*run]) ? take(run) : std::vector<size_t>();
    }
    return {};
}

bool Scheduler::isLocked(const RunNeeds &run) const
{
    return std::any_of(run.locks.begin(), run.locks.end(),
        [this](const QString &lock) { return locked.count(lock) != 0; });
}

bool Scheduler::mayStart(const RunNeeds &run) const
{
    if (isAlone)
        return false;
    if (run.isSerial || run.processors > processors)
        return atWork == 0;
    return occupied + run.processors <= processors;
}

/// True if \a run costs so little that a process of its own would cost more.
bool Scheduler::isLight(size_t run) const
{
    const RunNeeds &its = needs[run];
    return !its.startsPrograms && its.processors == 1 && its.locks.isEmpty() && !its.isSerial;
}

/// How many light runs one job may have: few enough that all processors are busy up to the end, and
/// so many that starting a process does not cost more than they do.
size_t Scheduler::largestJob() const
{
    constexpr size_t jobsForEach = 4;
    constexpr size_t least = 8;
    constexpr size_t most = 256;
    const size_t share = lightWaiting / (jobsForEach * static_cast<size_t>(processors));
    return std::clamp(share, least, most);
}

/// Takes the job out of those that wait that begins with \a first.
std::vector<size_t> Scheduler::take(std::deque<size_t>::iterator first)
{
    std::vector<size_t> job = {*first};
    const RunNeeds &run = needs[job[0]];
    auto behind = std::next(first);
    if (isLight(job[0])) {
        constexpr double enough = 0.1; // seconds: then a process of its own costs nothing
        const size_t most = largestJob();
        double time = run.seconds;
        while (behind != waiting.end() && job.size() < most && time < enough && isLight(*behind)) {
            time += std::max(needs[*behind].seconds, 0.0);
            job.push_back(*behind++);
        }
        lightWaiting -= std::min(lightWaiting, job.size());
    }
    waiting.erase(first, behind);
    ++atWork;
    occupied += run.processors;
    isAlone = run.isSerial || run.processors > processors;
    locked.insert(run.locks.begin(), run.locks.end());
    return job;
}

void Scheduler::ended(const std::vector<size_t> &job)
{
    const RunNeeds &run = needs[job[0]];
    --atWork;
    occupied -= run.processors;
    isAlone = false;
    for (const QString &lock : run.locks)
        locked.erase(lock);
}

void Scheduler::again(size_t run)
{
    auto place = waiting.begin();
    while (processors == 1 && place != waiting.end() && *place < run)
        ++place;
    waiting.insert(place, run);
    lightWaiting += isLight(run) ? 1 : 0;
}

std::vector<size_t> Scheduler::stop()
{
    std::vector<size_t> left(waiting.begin(), waiting.end());
    waiting.clear();
    std::sort(left.begin(), left.end());
    return left;
}

} // namespace Talmo
