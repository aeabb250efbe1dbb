#pragma once

#include "Crew.h"
#include "RunPrinter.h"
#include "RunRecord.h"
#include "Scheduler.h"
#include "Suite.h"

#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace Talmo
{

/// How the runs of a suite are made.
struct RunOptions {
    int processors = 1;
    double timeout = 0; ///< seconds, for runs whose scripts do not say; 0: none
    int repetitions = 1;
    bool stopsOnFailure = false;
    bool keepsAll = false;
    bool isVerbose = false;
    std::map<QString, QStringList> known;  ///< patterns by the names of runs
    std::map<QString, double> lastSeconds; ///< that runs took, by their names
};

/// Makes all runs of a suite: starts them, judges what became of them, has them made again, and
/// prints.
class SuiteRun
{
public:
    /// \a suite must live as long as this object.
    SuiteRun(const Suite &suite, RunOptions options);

    /// Makes the runs. What they printed can be read as long as this object lives.
    std::vector<RunRecord> make();

    /// Ends the report about \a results.
    void sumUp(const RunResults &results);

private:
    /// How far the making of one run has come.
    struct Progress {
        int repetition = 0;   ///< how many have passed
        int attempt = 0;      ///< in this repetition
        int mostAttempts = 1; ///< that a repetition took
        QStringList failures; ///< of earlier attempts
    };

    void skipUpTo(size_t end);
    void startJobs();
    void take(const Happenings &happenings);
    void judge(const RunReport &report);
    void applyKnown(size_t run);
    bool isToBeMadeAgain(size_t run);
    void settle(size_t run);
    void stop(const QString &reason);
    QStringList namesOf(const std::vector<size_t> &runs) const;

    const Suite &suite;
    RunOptions options;
    std::vector<RunRecord> records;
    std::vector<Progress> progress;
    Scheduler scheduler;
    Crew crew;
    RunPrinter printer;
    Descriptor spool;       ///< what failed runs printed
    size_t nextToSkip = 0;  ///< what comes before was settled if it is skipped
    bool isStopped = false; ///< nothing is started any more,
    QString stopReason;     ///< and this is why
    bool isInterrupted = false;
};

} // namespace Talmo
