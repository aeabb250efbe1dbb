// Two drivers may be at work in one directory, and by mistake with the same script. The second one
// must not take the directory in which the first one is running for a leftover. So each driver
// locks the directory of its run. The system keeps the lock on the directory itself, and drops it
// when the process ends, in whatever way. On a file system without locks we go on without one.
//
// A program may outlive the driver that started it, and go on writing into what is now a leftover.
// Its files must not be taken for those of the new run. So we first give the leftover another name,
// and then remove it there. The program goes on in the directory with the other name.

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

/// True if nothing is in the current directory, as far as we may look.
bool isCurrentEmpty()
{
    const Directory directory(opendir("."));
    if (!directory)
        return false;
    int entries = 0;
    while (entries <= 2 && readdir(directory.get()) != nullptr)
        ++entries;
    return entries <= 2; // "." and ".."
}

/// True if \a error says that we have no permission, so that it makes no sense to try again.
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
    bool isNew = make(); // usually there is no leftover
    inUse = !claim();
    if (!inUse && !isNew) {
        clear();
        isNew = make();
        inUse = !claim();
    }
    // We enter it by its descriptor, because something else may have its name by now.
    const bool isEntered = !inUse && claimed.isOpen() && fchdir(claimed.get()) == 0;
    leftoverStays = isEntered && !isNew && !isCurrentEmpty();
    return isEntered;
}

bool RunDirectory::takeLeftover()
{
    inUse = !claim();
    return !inUse && claimed.isOpen();
}

/// Makes the directory. Returns false if something has its name, or if it cannot be made.
bool RunDirectory::make()
{
    constexpr mode_t allMayUse = 0777; // the umask of the process removes some of them
    const bool isNew = mkdir(path, allMayUse) == 0;
    mustBeThere = isNew || errno == EEXIST;
    return isNew;
}

/// Opens and locks the directory, if it is one. Returns false if another driver is at work in it,
/// or was, and has removed it meanwhile.
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
            unlink(path); // spares a directory that another driver may just have made there
        return;
    }
    if (!statusOf(claimed, leftover) || !moveAside())
        removeIf(leftover, path);
    else if (removeAside() || (isOfPermission(obstacle.error) && rename(aside, path) == 0))
        aside = QByteArray();
}

/// Gives the leftover a name that nothing else has. Returns false if it cannot be moved.
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

/// Removes the leftover that was moved aside. Returns false if something stays. A program may make
/// files there meanwhile, so we try again, but not for long, because the program may be quicker.
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

/// Removes \a directory if it is the one with \a identity. Returns false if something stays.
bool RunDirectory::removeIf(const struct stat &identity, const QByteArray &directory)
{
    const bool isRemoved = removeDir(directory, &identity, &obstacle);
    if (!obstacle.mounted.isEmpty() && !mounted.contains(obstacle.mounted))
        mounted += obstacle.mounted;
    return isRemoved;
}

void RunDirectory::leave()
{
    // From a directory that was removed or moved, or that is closed to us, ".." does not lead
    // there.
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
