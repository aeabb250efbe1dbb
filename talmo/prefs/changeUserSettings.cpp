// Programs of the product save the settings under a lock, each after it has read them again. So do
// we, and nothing that another one has saved is lost. We read them first when we have the lock: Qt
// keeps what it has read, and takes a file of the same size and time for the same file.

#include "changeUserSettings.h"

#include "DiskFile.h"
#include "Ownership.h"
#include "SettingsFile.h"
#include "SettingsLock.h"
#include "StoredSettings.h"
#include "interruption.h"
#include "regularFile.h"
#include "saving.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr int longestWait = 10000; ///< milliseconds
constexpr int aMoment = 50;
constexpr mode_t onlyForTheUser = 077;

/// Makes the directory \a path and those above it. False, with errno, if that fails.
bool makeDirectories(const QByteArray &path)
{
    if (mkdir(path, 0777) == 0 || errno == EEXIST)
        return true;
    const auto slash = path.lastIndexOf('/');
    if (errno != ENOENT || slash <= 0)
        return false;
    if (!makeDirectories(path.left(slash)))
        return false;
    return mkdir(path, 0777) == 0 || errno == EEXIST;
}

SettingsLock::State takeUnlessInterrupted(SettingsLock &lock)
{
    QElapsedTimer timer;
    timer.start();
    SettingsLock::State state = lock.take(aMoment);
    while (state == SettingsLock::InUse && timer.elapsed() < longestWait && interruption().isNull())
        state = lock.take(aMoment);
    return state;
}

/// Why \a lock, for the file \a name, could not be taken, as a sentence.
QString problemOfLock(SettingsLock::State state, const SettingsLock &lock, const QString &name)
{
    if (state == SettingsLock::Obstructed)
        return cannotWrite(name, QStringLiteral("'%1' is in the way").arg(lock.obstacle()));
    if (state == SettingsLock::InUse)
        return cannotWrite(
            name, QStringLiteral("another process has had the lock '%1.lock' for %2 seconds")
                      .arg(name)
                      .arg(longestWait / 1000));
    return cannotWrite(
        name, QStringLiteral("the lock '%1.lock' cannot be written; is the disk full?").arg(name));
}

/// Reads the file \a name into \a text, which stays empty if there is none.
bool readFile(const QString &name, QByteArray &text, QString &problem)
{
    QFile file;
    if (!openRegular(file, systemName(name))) {
        if (errno == ENOENT)
            return true;
        problem = QStringLiteral("cannot read the settings '%1': %2").arg(name, reasonOf(errno));
        return false;
    }
    text = file.readAll();
    if (file.error() == QFileDevice::NoError)
        return true;
    problem = QStringLiteral("cannot read the settings '%1': %2").arg(name, file.errorString());
    return false;
}

/// Makes \a changes in the file \a name, which is locked.
ExitStatus saveChanges(
    const std::vector<SettingsChange> &changes, const QString &name, QString &problem)
{
    QByteArray before;
    if (!readFile(name, before, problem))
        return WrongCall;
    QByteArray text = before;
    for (const SettingsChange &change : changes) {
        if (const ExitStatus status = changeSettingsText(text, change, problem);
            status != AllIsWell)
            return status;
    }
    if (text == before)
        return AllIsWell;
    const Ownership ownership(name);
    const bool isSaved = saveFile(
        name, [&text](QIODevice &file) { return file.write(text) == text.size(); }, problem);
    return isSaved ? AllIsWell : AtFault;
}

/// What \a decide says to the settings as they are now.
std::vector<SettingsChange> decisionOf(const SettingsDecision &decide, QString &problem)
{
    const StoredSettings settings;
    problem = settings.problem();
    return problem.isNull() ? decide(settings, problem) : std::vector<SettingsChange>();
}

/// True if nothing is to be done, so that not even a folder is made.
bool isSettledWithoutFile(const SettingsDecision &decide, const QString &name, QString &problem)
{
    struct stat status = {};
    if (stat(systemName(name), &status) == 0)
        return false;
    const auto changes = decisionOf(decide, problem);
    return !std::any_of(changes.begin(), changes.end(),
        [](const SettingsChange &change) { return change.value.has_value(); });
}

} // namespace

QString problemOfSavingSettings()
{
    const QString name = userSettings();
    struct stat status = {};
    QString problem = problemOfSaving(name);
    const bool isThere = stat(systemName(name), &status) == 0;
    // The new file would be ours, because only root may give it away.
    if (problem.isNull() && isThere && status.st_uid != geteuid() && geteuid() != 0)
        return cannotWrite(name, QStringLiteral("It belongs to another user"));
    return problem;
}

ExitStatus changeUserSettings(const SettingsDecision &decide, QString &problem)
{
    outliveFileSizeLimit();
    problem = problemOfReadingSettings();
    if (!problem.isNull())
        return WrongCall;
    const QString name = userSettings();
    if (isSettledWithoutFile(decide, name, problem))
        return problem.isNull() ? AllIsWell : WrongCall;
    umask(onlyForTheUser); // for what is new, as Qt makes it
    const QByteArray folder = systemName(QFileInfo(name).path());
    if (!makeDirectories(folder)) {
        problem = cannotWrite(name, reasonOf(errno));
        return AtFault;
    }
    problem = problemOfSavingSettings();
    if (!problem.isNull())
        return AtFault;
    SettingsLock lock(name);
    noteInterruptions(); // they wait until the lock and the files for trials are gone
    const SettingsLock::State state = takeUnlessInterrupted(lock);
    if (!interruption().isNull())
        return AtFault;
    if (state != SettingsLock::Taken) {
        problem = problemOfLock(state, lock, name);
        return AtFault;
    }
    const std::vector<SettingsChange> changes = decisionOf(decide, problem);
    return problem.isNull() ? saveChanges(changes, name, problem) : WrongCall;
}

} // namespace Talmo
