#pragma once

#include "Crew.h"
#include "RunRecord.h"
#include "Suite.h"

#include <QByteArray>
#include <QString>

#include <memory>

namespace Talmo
{

/// Has a script that is still being written run in the current directory, as "talmo run" would.
class Trial
{
public:
    /// The script will be called \a script and run for \a program, if that is not empty; a run may
    /// take so many \a seconds, or as long as it likes if that is 0.
    Trial(const QString &script, const QString &program, double seconds);

    /// Makes the run of a script with this \a text, and keeps its directory. False if it was not
    /// made, or failed; problem() and details() then tell why.
    bool make(const QByteArray &text);

    /// Waits for the next second of the clock, so that what depends on the time becomes different
    /// from what it was in the latest run. False if a signal comes.
    bool waitForLaterTime() const;

    /// Why the run failed, as a message, and what that leaves out, a sentence each.
    const QString &problem() const { return reason; }
    const QStringList &details() const { return record.details; }

    /// The number of the script's line that failed, from 1; 0 if none did, or the run was not made.
    qint64 line() const { return record.line; }

    /// What stays of the run for its user: programs that are still at work.
    QStringList remarks() const;

    /// The name of the directory of the run.
    QString directory() const { return suite.runs[0].directory(); }

private:
    bool write(const QByteArray &text);
    bool findSuite();
    void takeReport();

    QString script;
    QString program;
    double seconds;
    Suite suite;
    std::unique_ptr<Crew> crew;
    RunRecord record;
    QString reason;
    qint64 latest = 0; ///< the time at which the latest run ended
};

} // namespace Talmo
