#pragma once

#include "JUnit.h"
#include "RecordFolder.h"
#include "RunRecord.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace Talmo
{

/// The results that a suite keeps in the folder ".talmo" of its directory: the latest one of each
/// run in latest.xml, and the last ten invocations in runs/, all as JUnit XML. While the object is
/// open, no other process records there. The folder may be removed at any time; what was to be
/// saved is then saved in a new one.
class Records
{
public:
    enum class Opening {
        Opened,
        NotWritable, ///< we lack the permission, or the disk is read-only: go on without a record
        Refused,     ///< in use by another process, not ours, or something else is wrong
    };

    Records() = default;
    Records(const Records &) = delete;
    Records &operator=(const Records &) = delete;
    ~Records() = default;

    /// Makes the folder in \a suiteDirectory, unless it is there, and locks it. Unless it is
    /// Opened, \a problem says why, in a sentence.
    Opening open(const QByteArray &suiteDirectory, QString &problem);

    bool isOpen() const { return folder.isLocked(); }

    enum class Reading {
        Read,
        Absent,  ///< nothing was recorded yet
        Damaged, ///< or the folder is not ours; a hint can do without, a request cannot
    };

    /// Reads the latest result of each run; save need not do it again then, if it replaces them
    /// all. \a problem says what is Damaged.
    Reading readLatest(SystemOut systemOut, RunResults &latest, QString &problem);

    /// Does the same for the suite in \a suiteDirectory without its lock. It finds a whole document
    /// also while another process saves.
    static Reading readLatest(const QByteArray &suiteDirectory, SystemOut systemOut,
        RunResults &latest, QString &problem);

    /// The names of the invocations that the suite in \a suiteDirectory keeps, the newest one
    /// first; Read if there is one. \a problem says what is Damaged.
    static Reading invocations(
        const QByteArray &suiteDirectory, std::vector<QByteArray> &names, QString &problem);

    /// Reads the one with the \a name.
    static Reading readInvocation(const QByteArray &suiteDirectory, const QByteArray &name,
        SystemOut systemOut, RunResults &invocation, QString &problem);

    /// Saves \a invocation, and what it means for the latest results. They keep the runs that are
    /// not part of it, as long as a file with the name of the script exists in the suite's
    /// directory or among the distribution's scripts (latestResults.h). False if not all of it
    /// could be saved; \a problem then says why, and what was not saved is as it was. So it is if
    /// the latest results are damaged: then those of \a invocation take their place, and the file
    /// is kept as latest.xml.damaged.
    bool save(const RunResults &invocation, QString &problem);

    /// Gives up the lock.
    void close() { folder.close(); }

private:
    bool saveInvocation(const RunResults &invocation, QByteArray &name, QString &problem);
    bool saveLatest(const RunResults &invocation, const QByteArray &name, QString &problem);
    bool writeLatest(const RunResults &invocation, const QByteArray &name, const RunResults &before,
        QString &problem);
    bool readKept(const RunResults &invocation, RunResults &before, QString &problem) const;
    bool fails(const QByteArray &name, const QString &reason, QString &problem) const;

    QByteArray suite; ///< its directory
    RecordFolder folder;
    std::optional<QStringList> knownRuns; ///< of the latest results, if they were read
};

} // namespace Talmo
