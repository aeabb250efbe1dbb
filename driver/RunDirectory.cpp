// Two drivers may be at work in one directory, and by mistake with the same script. Then the second
// must not take the directory that the first is in for a leftover; so each locks the directory of
// its run. The lock is the system's, on the directory itself, and ends with the process however
// that ends. Where the file system knows no locks, we go on without.
//
// A program may outlive the driver that started it, and go on writing into what is now a leftover.
// Its files must not be taken for those of the new run. So a leftover is moved to a name of its own
// first, and removed there; the program goes with it.

#include "RunDirectory.h"

#include "DiskFile.h"
#include "removeDir.h"

#include <cerrno>
#include <chrono>
#include <cstdio>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

bool statusOf(const Descriptor &file, struct stat &status)
{
    return file.isOpen() && fstat(file.get(), &status) == 0;
}

/// True if \a path still names the directory that was opened as \a directory.
bool isStillNamed(const Descriptor &directory, const char *path)
{
    struct stat opened = {};
    struct stat named = {};
    return statusOf(directory, opened) && lstat(path, &named) == 0 && isSameFile(opened, named);
}

/// True if \a error says that we may not do something, now and later.
bool isOfPermission(int error)
{
    return error == EACCES || error == EPERM;
}

} // namespace

RunDirectory::RunDirectory(const QString &directoryName)
    : path(Talmo::systemName(directoryName))
{
}

bool RunDirectory::enter()
{
    above = openDirectory(".", asPlace);
    if (!above.isOpen())
        return false;
    const bool isNew = make(); // usually there is no leftover
    inUse = !claim();
    if (!inUse && !isNew) {
        clear();
        make();
        inUse = !claim();
    }
    // By its descriptor: something else may have that name by now.
    return !inUse && claimed.isOpen() && fchdir(claimed.get()) == 0;
}

/// Makes the directory; false if something of that name is there, or it cannot be made.
bool RunDirectory::make()
{
    constexpr mode_t allMayUse = 0777; // less what the process masks out
    const bool isNew = mkdir(path, allMayUse) == 0;
    mustBeThere = isNew || errno == EEXIST;
    return isNew;
}

/// Opens and locks the directory, if it is one; false if another driver has it, or had it and took
/// it away meanwhile.
bool RunDirectory::claim()
{
    claimed = openDirectory(path, O_RDONLY | O_NOFOLLOW);
    const bool isLockable = claimed.isOpen();
    if (!isLockable && errno == EACCES) // it may be entered, but not read
        claimed = openDirectory(path, asPlace | O_NOFOLLOW);
    if (!claimed.isOpen()) // it is a link or a file, or was taken away
        return errno != ENOENT || !mustBeThere;
    if (isLockable && flock(claimed.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return false;
    return isStillNamed(claimed, path);
}

/// Removes the leftover, or at least moves it out of the way.
void RunDirectory::clear()
{
    if (!claimed.isOpen()) {
        struct stat status = {};
        if (lstat(path, &status) == 0 && S_ISLNK(status.st_mode))
            unlink(path); // which no directory is, not even one that another driver just made
        return;
    }
    if (!statusOf(claimed, leftover) || !moveAside())
        removeIf(leftover, path);
    else if (removeAside() || (isOfPermission(obstacle.error) && rename(aside, path) == 0))
        aside = QByteArray();
}

/// Gives the leftover another name, one that nothing has; false if it cannot be moved.
bool RunDirectory::moveAside()
{
    const QByteArray prefix = "talmo_test-leftover-" + QByteArray::number(getpid()) + '-';
    struct stat status = {};
    int number = 1;
    while (lstat(prefix + QByteArray::number(number), &status) == 0)
        ++number;
    aside = prefix + QByteArray::number(number);
    if (rename(path, aside) == 0)
        return true;
    aside = QByteArray();
    return false;
}

/// Removes the leftover that was moved aside; false if something stays. A program may make files
/// there meanwhile, so we try again, but not for long: it may be quicker than we are.
bool RunDirectory::removeAside()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(1);
    do {
        if (removeIf(leftover, aside))
            return true;
    } while (
        (obstacle.error == ENOTEMPTY || obstacle.error == EEXIST || obstacle.error == ENOENT) &&
        std::chrono::steady_clock::now() < end);
    return false;
}

/// Removes \a directory if it is the one with \a identity; false if something stays.
bool RunDirectory::removeIf(const struct stat &identity, const QByteArray &directory)
{
    const bool isRemoved = removeDir(directory, &identity, &obstacle);
    if (!obstacle.mounted.isEmpty() && !mounted.contains(obstacle.mounted))
        mounted += obstacle.mounted;
    return isRemoved;
}

void RunDirectory::leave()
{
    // Not "..": from a directory that was removed, moved, or closed to us, that leads elsewhere.
    [[maybe_unused]] const bool isBack = fchdir(above.get()) == 0;
}

void RunDirectory::remove()
{
    struct stat identity = {};
    if (statusOf(claimed, identity))
        removeIf(identity, path);
}

QByteArrayList RunDirectory::remarks() const
{
    QByteArrayList sentences;
    if (!aside.isNull())
        sentences += "what an earlier run left in '" + path +
                     "' could not be removed, and was moved to '" + aside + "'";
    for (const QByteArray &place : mounted)
        sentences += "a file system is mounted on '" + place + "', which stays";
    return sentences;
}
