// An invocation is written once, into runs/, and if it is all that is known of the suite, the
// latest results are a link to it. The files are written under another name and then renamed, so a
// reader finds the old or the new one, each whole. All is done from the open folder: what has its
// path by now does not matter.

#include "Records.h"

#include "latestResults.h"
#include "regularFile.h"
#include "saving.h"
#include "scriptPlaces.h"

#include <QDateTime>
#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr char latestName[] = "latest.xml";
constexpr char damagedName[] = "latest.xml.damaged";
constexpr char runsName[] = "runs";
constexpr int runsAccess = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr size_t keptInvocations = 10;

/// Tells by the name of a script whether it is there, in the directory of the suite or among the
/// scripts of the distribution.
class ScriptsOnDisk
{
public:
    explicit ScriptsOnDisk(QByteArray suiteDirectory)
        : suite(std::move(suiteDirectory))
    {
    }

    bool contains(const QString &script)
    {
        auto known = answers.find(script);
        if (known == answers.end())
            known = answers.insert(script, !scriptPlaces(suite, script).empty());
        return *known;
    }

private:
    const QByteArray suite;
    QHash<QString, bool> answers;
};

/// Files are named after a moment, in UTC, so that their order is that of their names.
const QString &nameFormat()
{
    static const QString format = QStringLiteral("yyyy-MM-dd'T'HH-mm-ss.zzz'Z.xml'");
    return format;
}

/// The moment after which the file \a name is called; invalid if it is not one of ours.
QDateTime momentOf(const QByteArray &name)
{
    QDateTime moment = QDateTime::fromString(QString::fromLatin1(name), nameFormat());
    moment.setTimeSpec(Qt::UTC);
    return moment;
}

/// The names of the invocations in \a folder, the oldest one first.
std::vector<QByteArray> invocationsIn(int folder)
{
    std::vector<QByteArray> names;
    const int copy = fcntl(folder, F_DUPFD_CLOEXEC, 0);
    const Directory directory(copy < 0 ? nullptr : fdopendir(copy));
    while (const dirent *const entry = directory ? readdir(directory.get()) : nullptr) {
        if (momentOf(entry->d_name).isValid())
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// A name for an invocation that was made now and comes behind \a others, also if the clock was set
/// back.
QByteArray nameBehind(const std::vector<QByteArray> &others)
{
    QDateTime moment = QDateTime::currentDateTimeUtc();
    if (!others.empty())
        moment = std::max(moment, momentOf(others.back()).addMSecs(1));
    return moment.toString(nameFormat()).toLatin1();
}

/// Opens the folder of the invocations in \a folder, and makes it if there is none.
Descriptor openRuns(int folder)
{
    constexpr mode_t allMayUse = 0777; // the umask of the process removes some of them
    mkdirat(folder, runsName, allMayUse);
    return Descriptor(openat(folder, runsName, runsAccess));
}

/// Makes the invocation \a name the latest results of \a folder, without a second copy of it. False
/// where files cannot have two names.
bool linkLatest(int folder, const QByteArray &name)
{
    const QByteArray path = QByteArray(runsName) + '/' + name;
    unlinkat(folder, unfinishedName, 0);
    return linkat(folder, path, folder, unfinishedName, 0) == 0 &&
           renameat(folder, unfinishedName, folder, latestName) == 0;
}

/// Keeps what is in \a folder out of git. That it is not there is no reason to refuse anything.
void ignoreInGit(int folder)
{
    struct stat status = {};
    QString reason;
    if (fstatat(folder, ".gitignore", &status, AT_SYMLINK_NOFOLLOW) != 0)
        saveFileIn(
            folder, ".gitignore", [](QIODevice &file) { return file.write("*\n") == 2; }, reason);
}

/// Reads the latest results in \a folder, which is open. \a systemOut is what readJUnit takes.
template <typename SystemOutOrIsKept>
Records::Reading readLatestIn(const RecordFolder &folder, const SystemOutOrIsKept &systemOut,
    RunResults &latest, QString &problem)
{
    QFile file;
    const QString name = folder.pathOf(latestName);
    if (openRegular(file, latestName, folder.descriptor(), O_NOFOLLOW))
        return readJUnit(file, name, systemOut, latest, problem) ? Records::Reading::Read
                                                                 : Records::Reading::Damaged;
    if (errno == ENOENT)
        return Records::Reading::Absent;
    problem = QStringLiteral("cannot read '%1': %2").arg(name, reasonOf(errno));
    return Records::Reading::Damaged;
}

bool isNotRun(const RunRecord &run)
{
    return run.state == RunState::NotRun;
}

} // namespace

Records::Opening Records::open(const QByteArray &suiteDirectory, QString &problem)
{
    suite = suiteDirectory;
    knownRuns.reset();
    const RecordFolder::State state = folder.lock(suite, problem);
    if (state == RecordFolder::Ours)
        ignoreInGit(folder.descriptor());
    if (state == RecordFolder::NotPermitted)
        return Opening::NotWritable;
    return state == RecordFolder::Ours ? Opening::Opened : Opening::Refused;
}

bool Records::save(const RunResults &invocation, QString &problem)
{
    if (suite.isNull()) // it was never opened
        return false;
    if (!folder.isStillThere() && open(suite, problem) != Opening::Opened)
        return false;
    QByteArray name;
    const bool isSaved =
        saveInvocation(invocation, name, problem) && saveLatest(invocation, name, problem);
    knownRuns.reset();
    return isSaved;
}

/// Saves \a invocation as a file that gets the \a name, and removes the oldest ones.
bool Records::saveInvocation(const RunResults &invocation, QByteArray &name, QString &problem)
{
    const Descriptor runs = openRuns(folder.descriptor());
    if (!runs.isOpen())
        return fails(runsName, reasonOf(errno), problem);
    std::vector<QByteArray> names = invocationsIn(runs.get());
    name = nameBehind(names);
    QString reason;
    const auto write = [&invocation](QIODevice &file) { return writeJUnit(invocation, file); };
    if (!saveFileIn(runs.get(), name, write, reason))
        return fails(runsName + QByteArray("/") + name, reason, problem);
    names.push_back(name);
    const size_t tooMany = names.size() - std::min(names.size(), keptInvocations);
    for (size_t index = 0; index < tooMany; ++index)
        unlinkat(runs.get(), names[index], 0);
    return true;
}

/// Saves the latest results. The last one of them is \a invocation, in the file \a name.
bool Records::saveLatest(const RunResults &invocation, const QByteArray &name, QString &problem)
{
    RunResults before;
    QString damage;
    if (readKept(invocation, before, damage))
        return writeLatest(invocation, name, before, problem);
    const int place = folder.descriptor();
    if (renameat(place, latestName, place, damagedName) != 0)
        return fails(damagedName, reasonOf(errno), problem);
    if (!writeLatest(invocation, name, {}, problem)) {
        renameat(place, damagedName, place, latestName); // so that it will be said next time
        return false;
    }
    problem = QStringLiteral("the earlier results are kept as '%1', but do not count any more: %2")
                  .arg(folder.pathOf(damagedName), damage);
    return false;
}

/// Writes what the latest results are when \a invocation, in the file \a name, comes in addition
/// to those \a before.
bool Records::writeLatest(const RunResults &invocation, const QByteArray &name,
    const RunResults &before, QString &problem)
{
    ScriptsOnDisk scripts(suite);
    const auto latest = latestAfter(
        before, invocation, [&scripts](const QString &script) { return scripts.contains(script); });
    if (!latest && linkLatest(folder.descriptor(), name))
        return true;
    const RunResults &written = latest ? *latest : invocation;
    const auto write = [&written](QIODevice &file) { return writeJUnit(written, file); };
    QString reason;
    return saveFileIn(folder.descriptor(), latestName, write, reason) ||
           fails(latestName, reason, problem);
}

/// Reads the latest results before \a invocation; the output only of runs that are not part of it.
/// False if they are damaged; \a problem then says how.
bool Records::readKept(const RunResults &invocation, RunResults &before, QString &problem) const
{
    QSet<QString> names;
    for (const RunRecord &run : invocation.runs)
        names += run.name;
    const auto isReplaced = [&names](const QString &run) { return names.contains(run); };
    // A run that was not made keeps its time.
    if (knownRuns && std::all_of(knownRuns->begin(), knownRuns->end(), isReplaced) &&
        std::none_of(invocation.runs.begin(), invocation.runs.end(), isNotRun))
        return true;
    const auto isKept = [&isReplaced](const QString &run) { return !isReplaced(run); };
    return readLatestIn(folder, isKept, before, problem) != Reading::Damaged;
}

bool Records::fails(const QByteArray &name, const QString &reason, QString &problem) const
{
    problem = QStringLiteral("cannot write '%1': %2").arg(folder.pathOf(name), reason);
    return false;
}

Records::Reading Records::readLatest(SystemOut systemOut, RunResults &latest, QString &problem)
{
    latest = RunResults();
    const Reading reading = readLatestIn(folder, systemOut, latest, problem);
    knownRuns.reset();
    if (reading == Reading::Damaged) // so save tells it
        return reading;
    knownRuns = QStringList();
    for (const RunRecord &run : latest.runs)
        *knownRuns += run.name;
    return reading;
}

Records::Reading Records::readLatest(
    const QByteArray &suiteDirectory, SystemOut systemOut, RunResults &latest, QString &problem)
{
    latest = RunResults();
    RecordFolder folder;
    const RecordFolder::State state = folder.open(suiteDirectory, problem);
    if (state != RecordFolder::Ours)
        return state == RecordFolder::Absent ? Reading::Absent : Reading::Damaged;
    return readLatestIn(folder, systemOut, latest, problem);
}

Records::Reading Records::invocations(
    const QByteArray &suiteDirectory, std::vector<QByteArray> &names, QString &problem)
{
    names.clear();
    RecordFolder folder;
    const RecordFolder::State state = folder.open(suiteDirectory, problem);
    if (state != RecordFolder::Ours)
        return state == RecordFolder::Absent ? Reading::Absent : Reading::Damaged;
    const Descriptor runs(openat(folder.descriptor(), runsName, runsAccess));
    if (!runs.isOpen() && errno != ENOENT) {
        problem =
            QStringLiteral("cannot read '%1': %2").arg(folder.pathOf(runsName), reasonOf(errno));
        return Reading::Damaged;
    }
    if (runs.isOpen())
        names = invocationsIn(runs.get());
    std::reverse(names.begin(), names.end());
    return names.empty() ? Reading::Absent : Reading::Read;
}

Records::Reading Records::readInvocation(const QByteArray &suiteDirectory, const QByteArray &name,
    SystemOut systemOut, RunResults &invocation, QString &problem)
{
    RecordFolder folder;
    const RecordFolder::State state = folder.open(suiteDirectory, problem);
    if (state != RecordFolder::Ours)
        return state == RecordFolder::Absent ? Reading::Absent : Reading::Damaged;
    const QString path = folder.pathOf(runsName + QByteArray("/") + name);
    const Descriptor runs(openat(folder.descriptor(), runsName, runsAccess));
    QFile file;
    if (runs.isOpen() && openRegular(file, name, runs.get(), O_NOFOLLOW))
        return readJUnit(file, path, systemOut, invocation, problem) ? Reading::Read
                                                                     : Reading::Damaged;
    if (errno == ENOENT)
        return Reading::Absent;
    problem = QStringLiteral("cannot read '%1': %2").arg(path, reasonOf(errno));
    return Reading::Damaged;
}

} // namespace Talmo
