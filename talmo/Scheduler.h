#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <deque>
#include <set>
#include <vector>

namespace Talmo
{

/// What decides when a run may start.
struct RunNeeds {
    int processors = 1;
    QStringList locks = {};
    bool isSerial = false;
    bool startsPrograms = true; ///< several that do not may be one job
    double seconds = -1;        ///< that it took last time; below 0 if that is not known
};

/// Says which runs start next. A job is a list of runs that one process makes in turn. At no time
/// do the runs at work need more processors than there are, hold a lock together, or have a serial
/// one among them; a run that needs more processors than there are is made alone.
///
/// With one processor the order is that of the runs. With more, those that took longest last time,
/// and those of which nothing is known, come first, and the serial ones last. A run that waits for
/// processors lets no other one pass, or it might wait for ever; one that waits for a lock does.
class Scheduler
{
public:
    /// Of the runs with \a needs, those with the indices \a runs are to be made. \a processors is
    /// the number of runs, of one processor each, that may be at work at once.
    Scheduler(std::vector<RunNeeds> needs, const std::vector<size_t> &runs, int processors);

    /// The runs, as indices, of a job that may start now; none if none may.
    std::vector<size_t> next();

    /// Takes back what \a run occupied: it has ended. A job of several occupies what one does, up
    /// to the end of its last run.
    void ended(const std::vector<size_t> &job);

    /// Has \a run made once more, before those that wait; with one processor, in its place.
    void again(size_t run);

    /// Those that have not been started, in the order of the runs. Nothing starts any more.
    std::vector<size_t> stop();

    bool isEmpty() const { return waiting.empty(); }

private:
    bool mayStart(const RunNeeds &run) const;
    bool isLocked(const RunNeeds &run) const;
    bool isLight(size_t run) const;
    size_t largestJob() const;
    std::vector<size_t> take(std::deque<size_t>::iterator first);

    std::vector<RunNeeds> needs;
    int processors;
    std::deque<size_t> waiting;
    size_t lightWaiting = 0; ///< how many of them start no programs, or a few more
    int occupied = 0;
    int atWork = 0; ///< jobs
    bool isAlone = false;
    std::set<QString> locked;
};

} // namespace Talmo
