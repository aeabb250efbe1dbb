#pragma once

#include "Inspection.h"
#include "RunRecord.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace Talmo
{

/// How the runs of a report differ from those of an earlier one: names of runs, in their order.
struct Changes {
    QString old; ///< what they are compared with: a file, or when the earlier run was
    QStringList newlyFailing;
    QStringList newlyPassing;
    QStringList stillFailing;
    QStringList added;
    QStringList gone;
    struct Slower {
        QString run;
        double before; ///< seconds
        double now;
    };
    std::vector<Slower> slower; ///< more than 1.5 times
};

/// A program, and the first line that it prints when it is asked for its version.
struct ProgramVersion {
    QString program;
    QString version;
};

/// What is told about a run that failed.
struct FailedRun {
    size_t run = 0; ///< index into RunResults::runs
    Inspection inspection;
    QString directory;     ///< of the run, absolute, which was inspected; null if none is known
    QByteArray scriptText; ///< null if there is no such script any more, or if it was changed
    QString rerun;         ///< the command that makes the run again, for a shell
};

/// All that a report tells, in whatever format.
struct Report {
    RunResults results;
    QString source;                       ///< what the results were taken from, in a sentence
    std::vector<ProgramVersion> versions; ///< only if they were asked for
    std::optional<Changes> changes;
    std::vector<FailedRun> failures; ///< in the order of the runs
};

} // namespace Talmo
