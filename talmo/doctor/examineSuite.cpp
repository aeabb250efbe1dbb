// The working directory, in which the runs of a suite are made and their results are kept.

#include "Descriptor.h"
#include "Records.h"
#include "ScriptFolder.h"
#include "details.h"
#include "examinations.h"
#include "folder.h"
#include "regularFile.h"
#include "wording.h"

#include <cerrno>

#include <sys/file.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// True if \a file can be locked, by us or by another one, who has locked it now. If not, errno
/// tells why.
bool isLockable(const Descriptor &file, int kind)
{
    return flock(file.get(), kind | LOCK_NB) == 0 || errno == EWOULDBLOCK;
}

/// Whether the directories of runs, and the folder of results, are locked here. The working
/// directory is locked for a moment, in a way that does not keep another doctor out; and a file
/// that has no name.
Observation examineLocks()
{
    const QString subject = QStringLiteral("locks");
    const Descriptor directory = openDirectory(".", O_RDONLY);
    if (!directory.isOpen())
        return {Observation::Note, subject,
            QStringLiteral("whether there are any cannot be found out: %1").arg(reasonOf(errno)),
            QString()};
    const Descriptor file(open(".", O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (isLockable(directory, LOCK_SH) && (!file.isOpen() || isLockable(file, LOCK_EX)))
        return {Observation::Ok, subject, QStringLiteral("the file system knows them"), QString()};
    return {Observation::Note, subject,
        QStringLiteral("the file system knows none: %1").arg(reasonOf(errno)),
        QStringLiteral("start no two suites here at once, they would disturb one another")};
}

/// The results that are kept in \a suite, the folder of which is ours.
Observation examineLatest(const QByteArray &suite)
{
    const QString subject = QStringLiteral("results");
    RunResults latest;
    QString problem;
    switch (Records::readLatest(suite, SystemOut::PassedOver, latest, problem)) {
    case Records::Reading::Read:
        return {Observation::Ok, subject,
            QStringLiteral("those of %1 are kept in '.talmo'")
                .arg(counted(static_cast<qint64>(latest.runs.size()), "run")),
            QString()};
    case Records::Reading::Absent:
        return {
            Observation::Ok, subject, QStringLiteral("none are kept in '.talmo' yet"), QString()};
    case Records::Reading::Damaged:
        break;
    }
    return {Observation::Problem, subject, shown(problem),
        QStringLiteral("the next 'talmo run' makes new ones, and keeps what is there")};
}

} // namespace

Observations examineSuite()
{
    const QString subject = QStringLiteral("suite");
    const QByteArray path = workingDirectory();
    if (path.isNull())
        return {{Observation::Problem, subject,
            QStringLiteral("the working directory cannot be found: %1").arg(reasonOf(errno)),
            QStringLiteral("go to another one")}};
    Observations observations = examineScripts(subject, path,
        {Observation::Note, subject,
            QStringLiteral("'%1', without scripts of the name test*").arg(shown(path)),
            QStringLiteral("go to the folder of a suite, or name it with -C")});
    const Observations room = examineFolder(QStringLiteral("suite's disk"), path,
        QStringLiteral("runs make their directories there; work in a copy of the suite"));
    observations.insert(observations.end(), room.begin(), room.end());
    observations.push_back(examineLocks());
    return observations;
}

Observations examineRecords()
{
    const QByteArray suite = workingDirectory();
    if (suite.isNull())
        return {}; // the suite is a problem, which is said
    RecordFolder folder;
    QString problem;
    const QString subject = QStringLiteral("results");
    switch (folder.open(suite, problem)) {
    case RecordFolder::Ours:
        return {examineLatest(suite)};
    case RecordFolder::Absent:
        return {{Observation::Ok, subject,
            QStringLiteral("none are kept here yet; 'talmo run' makes the folder '.talmo'"),
            QString()}};
    case RecordFolder::NotOurs:
        return {{Observation::Problem, subject, shown(problem),
            QStringLiteral("move it away, or use 'talmo run --no-record'")}};
    default:
        return {{Observation::Problem, subject, shown(problem),
            QStringLiteral("change its permissions, or use 'talmo run --no-record'")}};
    }
}

} // namespace Talmo
