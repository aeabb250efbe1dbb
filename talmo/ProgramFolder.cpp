#include "ProgramFolder.h"

#include "removeDir.h"

#include <QSysInfo>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <vector>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// What the names of such folders begin with. Where several machines have one folder for temporary
/// files, a lock of another machine need not be seen, and machines may have the same name. So each
/// looks after those that were made since its own start.
QByteArray startOfNames()
{
    return "talmo-programs-" + QSysInfo::bootUniqueId() + '-';
}

bool isLetterOrDigit(char character)
{
    const bool isLetter =
        (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
    return isLetter || (character >= '0' && character <= '9');
}

/// True if mkdtemp() may have made \a name, which was to begin with \a start.
bool isNameOfOurs(const QByteArray &name, const QByteArray &start)
{
    constexpr int length = 6; // of what it adds
    return name.startsWith(start) && name.size() == start.size() + length &&
           std::all_of(name.begin() + start.size(), name.end(), isLetterOrDigit);
}

/// True if \a folder has nothing but links and executable files, as programs are placed there.
bool hasOnlyPrograms(const Descriptor &folder)
{
    const int copy = openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const Directory directory(fdopendir(copy));
    while (const dirent *const entry = directory ? readdir(directory.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        struct stat status = {};
        if (name == "." || name == "..")
            continue;
        const bool isKnown =
            fstatat(folder.get(), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0;
        const bool isStarter = S_ISREG(status.st_mode) && (status.st_mode & S_IXUSR) != 0;
        if (!isKnown || !(S_ISLNK(status.st_mode) || isStarter))
            return false;
    }
    return directory != nullptr;
}

Descriptor openToLock(const QByteArray &path)
{
    return Descriptor(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isLocked(const Descriptor &folder)
{
    return flock(folder.get(), LOCK_EX | LOCK_NB) == 0;
}

/// Removes the folder \a path, unless a process is using it, or it belongs to somebody else, or
/// something else is in it.
void removeLeftover(const QByteArray &path)
{
    const Descriptor folder = openToLock(path);
    struct stat status = {};
    if (fstat(folder.get(), &status) == 0 && status.st_uid == geteuid() && isLocked(folder) &&
        hasOnlyPrograms(folder))
        removeDir(path, &status);
}

/// Removes the folder \a path, which cannot be used, and keeps errno. Returns false.
bool removeEmpty(const QByteArray &path)
{
    const int reason = errno;
    rmdir(path);
    errno = reason;
    return false;
}

void removeLeftoversIn(const QByteArray &place)
{
    if (QSysInfo::bootUniqueId().isEmpty())
        return; // of no folder it is known where it was made
    const QByteArray start = startOfNames();
    std::vector<QByteArray> names;
    const Directory directory(opendir(place));
    while (const dirent *const entry = directory ? readdir(directory.get()) : nullptr) {
        if (isNameOfOurs(entry->d_name, start))
            names.emplace_back(entry->d_name);
    }
    for (const QByteArray &name : names)
        removeLeftover(place + '/' + name);
}

} // namespace

ProgramFolder::~ProgramFolder()
{
    if (!folder.isNull() && getpid() == owner)
        removeDir(folder, &identity);
}

bool ProgramFolder::make(const QByteArray &place)
{
    constexpr int mostAttempts = 100;
    removeLeftoversIn(place);
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        QByteArray path = place + '/' + startOfNames() + "XXXXXX";
        if (mkdtemp(path.data()) == nullptr)
            return false;
        lock = openToLock(path);
        if (!lock.isOpen() && errno != ENOENT)
            return removeEmpty(path);
        const bool isOurs = isLocked(lock);
        const bool isTaken = !isOurs && (!lock.isOpen() || errno == EWOULDBLOCK);
        // Between its making and its lock, another process may have taken it for a leftover.
        if (isTaken || access(path, F_OK) != 0 || fstat(lock.get(), &identity) != 0)
            continue;
        folder = path;
        owner = getpid();
        return true;
    }
    return false;
}

} // namespace Talmo
