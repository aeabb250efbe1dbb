// The lock is Qt's own, so that programs of the product and this one exclude one another. Qt waits
// longer and longer between two attempts, so one of many processes could come too late again and
// again. So we try by ourselves, at short intervals.

#include "SettingsLock.h"

#include "SettingsFile.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

namespace Talmo
{

namespace
{

constexpr int staleAfter = 1000; ///< milliseconds; Qt's own rule is thirty seconds
constexpr unsigned long pauseBetween = 10;

QString nameOfLock(const QString &settings)
{
    return settings + QStringLiteral(".lock");
}

/// What has the name of the lock \a name, and is no file; null if nothing has.
QString obstacleToLock(const QString &name)
{
    // Qt takes the second lock while it removes the first one.
    for (const QString &file : {name, name + QStringLiteral(".rmlock")}) {
        if (QFileInfo(file).isSymLink() || !isOrdinaryOrMissing(file))
            return file;
    }
    return {};
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

/// True if \a lock could be taken within \a longestWait milliseconds.
bool isTakenWithin(int longestWait, QLockFile &lock)
{
    QElapsedTimer timer;
    timer.start();
    while (!lock.tryLock(0)) {
        if (lock.error() != QLockFile::LockFailedError || timer.elapsed() >= longestWait)
            return false;
        QThread::msleep(pauseBetween);
    }
    return true;
}

} // namespace

SettingsLock::SettingsLock(const QString &settings)
    : name(nameOfLock(settings))
    , lock(name)
{
    lock.setStaleLockTime(staleAfter); // a process that is alive keeps even an old lock
}

QString SettingsLock::obstacleTo(const QString &settings)
{
    const QString name = nameOfLock(settings);
    QString obstacle = obstacleToLock(name);
    // Qt removes a lock that was left over if it may write into it.
    if (obstacle.isNull() && QFileInfo::exists(name) && !QFileInfo(name).isWritable() &&
        isLeftOver(QLockFile(name), name))
        obstacle = name;
    return obstacle;
}

SettingsLock::State SettingsLock::take(int longestWait)
{
    inTheWay = obstacleToLock(name);
    if (!inTheWay.isNull())
        return Obstructed;
    if (isTakenWithin(longestWait, lock))
        return Taken;
    if (lock.error() != QLockFile::LockFailedError)
        return Impossible;
    if (!isLeftOver(lock, name))
        return InUse;
    inTheWay = name;
    return Obstructed;
}

} // namespace Talmo
