#pragma once

#include "RunRecord.h"
#include "Suite.h"

#include <QByteArray>

#include <vector>

#include <sys/types.h>

namespace Talmo
{

/// A program that a run has left behind.
struct LeftBehind {
    qint64 process = 0;
    QByteArray name;
    QByteArray started; ///< tells the process from a later one with the same number
};

/// What a child tells of a run that it has made.
struct RunReport {
    size_t run = 0; ///< index into Suite::runs
    /// State Passed or Failed, and all that only the child knows: neither attempts nor captures'
    /// nor the output's path.
    RunRecord record;
    std::vector<LeftBehind> leftBehind;
};

/// Which runs a child makes, and how.
struct ChildTask {
    std::vector<size_t> runs; ///< indices into Suite::runs, in their order
    int output = -1;          ///< the file, open for appending, that takes what the runs print
    int reports = -1;         ///< the pipe on which a child reports
    bool keepsAll = false;    ///< the directories of runs that passed stay, too
};

/// How long programs that were asked to end may take, in seconds.
constexpr double gracePeriod = 3;

/// In a forked child: makes the runs of \a task and ends the process. Afterwards nothing that a run
/// has started is left if the process was asked to stop; otherwise what is left is reported.
[[noreturn]] void makeRuns(const Suite &suite, const ChildTask &task, pid_t parent);

/// Takes the first whole report out of \a bytes, which came from a child. False if there is none
/// yet.
bool takeReport(QByteArray &bytes, RunReport &report);

} // namespace Talmo
