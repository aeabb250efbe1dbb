// Two drivers may be at work in one directory, and by mistake with the same script. Then the second
// must not take the directory that the first is in for a leftover; so each locks the directory of
// its run. The lock is the system's, on the directory itself, and ends with the process however
// that ends. Where the file system knows no locks, we go on without.

#include "RunDirectory.h"

#include "DiskFile.h"
#include "removeDir.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

#ifdef O_PATH
constexpr int toComeBack = O_PATH; // for a directory that may not be read
#else
constexpr int toComeBack = O_RDONLY;
#endif

Descriptor openDirectory(const char *path, int access)
{
    return Descriptor(open(path, access | O_DIRECTORY | O_CLOEXEC));
}

/// True if \a path still names the directory that was opened as \a directory.
bool isStillNamed(const Descriptor &directory, const char *path)
{
    struct stat opened = {};
    struct stat named = {};
    return directory.isOpen() && fstat(directory.get(), &opened) == 0 && lstat(path, &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

} // namespace

RunDirectory::RunDirectory(const QString &directoryName)
    : name(directoryName)
    , path(Talmo::systemName(directoryName))
{
}

bool RunDirectory::enter()
{
    above = openDirectory(".", toComeBack);
    const bool isNew = make(); // usually there is no leftover
    inUse = !claim();
    if (!inUse && !isNew) {
        removeDir(name);
        make();
        inUse = !claim();
    }
    return !inUse && chdir(path) == 0;
}

/// Makes the directory; false if something of that name is there, or it cannot be made.
bool RunDirectory::make()
{
    constexpr mode_t allMayUse = 0777; // less what the process masks out
    const bool isNew = mkdir(path, allMayUse) == 0;
    mustBeThere = isNew || errno == EEXIST;
    return isNew;
}

/// Locks the directory; false if another driver has it, or had it and took it away meanwhile.
bool RunDirectory::claim()
{
    if (isStillNamed(claimed, path))
        return true;
    Descriptor directory = openDirectory(path, O_RDONLY | O_NOFOLLOW);
    if (!directory.isOpen()) // it may not be read, is a link or a file, or was taken away
        return errno != ENOENT || !mustBeThere;
    if (flock(directory.get(), LOCK_EX | LOCK_NB) != 0)
        return errno != EWOULDBLOCK;
    claimed = std::move(directory);
    return isStillNamed(claimed, path);
}

void RunDirectory::leave()
{
    // Not "..": from a directory that was removed, or closed to us, that leads nowhere. It serves
    // where the directory above could not be opened, for want of a descriptor.
    const bool isBack = above.isOpen() && fchdir(above.get()) == 0;
    [[maybe_unused]] const bool isAbove = isBack || chdir("..") == 0;
}

void RunDirectory::remove()
{
    removeDir(name);
}
