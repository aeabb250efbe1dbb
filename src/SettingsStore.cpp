// To save, Qt takes the lock "Talmo.conf.lock", writes a new file and renames it. It would wait for
// the lock without end and would replace whatever has the file's name, and the new file would
// belong to the user who runs the program. So we first look at the file and try to take the lock,
// and afterwards we give the new file to the owner of the old one.

#include "SettingsStore.h"

#include "SettingsFile.h"
#include "talmo/Console.h"

#include <QDateTime>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr int staleAfter = 1000; ///< milliseconds; Qt's own rule is thirty seconds
constexpr int longestWait = 1500;

/// True if \a name is an ordinary file, or does not exist. A link counts as what it leads to.
bool isOrdinaryOrMissing(const QString &name)
{
    struct stat status = {};
    return stat(QFile::encodeName(name), &status) != 0 || S_ISREG(status.st_mode);
}

/// True if no process is using the lock \a name although it could not be taken. A new lock counts
/// as used, because a process that has just made its lock still has to write its name there.
bool isLeftOver(const QLockFile &lock, const QString &name)
{
    qint64 process = 0;
    QString host;
    QString program;
    return !lock.getLockInfo(&process, &host, &program) &&
           QFileInfo(name).lastModified().msecsTo(QDateTime::currentDateTime()) >= staleAfter;
}

/// The file that keeps Qt from taking the lock under which it saves the file \a name. Empty if
/// another process has the lock. Null if nothing keeps Qt from it, and also if no lock can be made,
/// because Qt then gives up at once.
QString obstacleToLocking(const QString &name)
{
    const QString lockName = name + QStringLiteral(".lock");
    // Qt takes the second lock while it removes the first one.
    for (const QString &file : {lockName, lockName + QStringLiteral(".rmlock")}) {
        if (QFileInfo(file).isSymLink() || !isOrdinaryOrMissing(file))
            return file;
    }
    QLockFile lock(lockName);
    lock.setStaleLockTime(staleAfter); // a process that is alive keeps even an old lock
    if (lock.tryLock(longestWait) || lock.error() != QLockFile::LockFailedError)
        return {};
    return isLeftOver(lock, lockName) ? lockName : QStringLiteral("");
}

/// True if the file \a name can be saved now. If not, prints what is in the way of its lock. Prints
/// nothing about a device or a directory, which the user has put in the place of the file, and
/// nothing about another process that has the lock, because it saves the same.
bool canBeSaved(const QString &name)
{
    if (!isOrdinaryOrMissing(name))
        return false;
    const QString obstacle = obstacleToLocking(name);
    if (!obstacle.isEmpty())
        Console::printf("***Preferences not saved: '%s' is in the way\n", qPrintable(obstacle));
    return obstacle.isNull();
}

/// Remembers the owner, the group and the permissions of a file, and gives them to the file that
/// takes its place.
class Ownership
{
public:
    explicit Ownership(const QString &name)
    {
        const QFileInfo target(QFileInfo(name).canonicalFilePath());
        fileName = QFile::encodeName(target.fileName());
        // We keep the folder open. If root found it again by its name, another user could exchange
        // it meanwhile, and lead root to another file.
        folder = open(QFile::encodeName(target.path()), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        isKnown = fstatat(folder, fileName, &before, AT_SYMLINK_NOFOLLOW) == 0;
    }
    Ownership(const Ownership &) = delete;
    Ownership &operator=(const Ownership &) = delete;
    ~Ownership()
    {
        if (isKnown)
            restore();
        if (folder >= 0)
            close(folder);
    }

private:
    void restore() const
    {
        constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        const int file = openat(folder, fileName, flags);
        struct stat now = {};
        if (fstat(file, &now) == 0 && isReplacement(now) &&
            fchown(file, before.st_uid, before.st_gid) == 0)
            fchmod(file, before.st_mode & 07777U); // comes last, because fchown clears some bits
        if (file >= 0)
            close(file);
    }

    /// True if \a now is a new file of this process whose owner, group or permissions differ from
    /// those of the old one.
    bool isReplacement(const struct stat &now) const
    {
        const bool isOurs = S_ISREG(now.st_mode) && now.st_nlink == 1 && now.st_uid == geteuid();
        const bool isSame = now.st_uid == before.st_uid && now.st_gid == before.st_gid &&
                            now.st_mode == before.st_mode;
        return isOurs && now.st_ino != before.st_ino && !isSame;
    }

    int folder = -1;
    QByteArray fileName;
    struct stat before = {};
    bool isKnown = false;
};

} // namespace

SettingsStore::SettingsStore()
    : QSettings(QLatin1String(settingsOrganization), QLatin1String(settingsApplication))
{
}

SettingsStore::SettingsStore(const QString &fileName)
    : QSettings(fileName, QSettings::IniFormat)
    , isUsable(false)
{
}

SettingsStore *SettingsStore::open(QString &problem)
{
    problem = settingsProblem();
    if (!problem.isNull())
        return new SettingsStore(QStringLiteral("/dev/null/none")); // no such file can exist
    auto *const store = new SettingsStore;
#if QT_VERSION_MAJOR < 6
    store->setIniCodec("UTF-8"); // as in Qt 6, so that both read the same file alike
#endif
    return store;
}

bool SettingsStore::event(QEvent *event)
{
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    if (!isUsable || !canBeSaved(fileName()))
        return true; // Qt believes that the request is still waiting, and never asks again
    const Ownership ownership(fileName());
    return QSettings::event(event);
}

} // namespace Talmo
