#include "ProgramFolder.h"

#include "removeDir.h"

#include <QString>
#include <QSysInfo>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// What the names of such folders begin with. Where several machines have one folder for temporary
/// files, a lock of another machine need not be seen, so each looks after its own.
QByteArray startOfNames()
{
    QByteArray host = QSysInfo::machineHostName().toUtf8();
    host.replace('/', '_').replace(':', '_'); // which the PATH could not hold
    return "talmo-programs-" + host + '-';
}

Descriptor openToLock(const QByteArray &path)
{
    return Descriptor(open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool isLocked(const Descriptor &folder)
{
    return flock(folder.get(), LOCK_EX | LOCK_NB) == 0;
}

/// Removes the folder \a path, unless a process is using it or it belongs to somebody else.
void removeLeftover(const QByteArray &path)
{
    const Descriptor folder = openToLock(path);
    struct stat status = {};
    if (fstat(folder.get(), &status) == 0 && status.st_uid == geteuid() && isLocked(folder))
        removeDir(path, &status);
}

void removeLeftoversIn(const QByteArray &place)
{
    const QByteArray start = startOfNames();
    std::vector<QByteArray> names;
    const Directory directory(opendir(place));
    while (const dirent *const entry = directory ? readdir(directory.get()) : nullptr) {
        if (QByteArray(entry->d_name).startsWith(start))
            names.emplace_back(entry->d_name);
    }
    for (const QByteArray &name : names)
        removeLeftover(place + '/' + name);
}

} // namespace

ProgramFolder::~ProgramFolder()
{
    if (!folder.isNull() && getpid() == owner)
        removeDir(folder);
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
        const bool isOurs = isLocked(lock);
        const bool isTaken = !isOurs && (!lock.isOpen() || errno == EWOULDBLOCK);
        // Between its making and its lock, another process may have taken it for a leftover.
        if (isTaken || access(path, F_OK) != 0)
            continue;
        folder = path;
        owner = getpid();
        return true;
    }
    return false;
}

} // namespace Talmo
