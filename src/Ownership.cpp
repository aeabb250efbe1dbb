#include "Ownership.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

namespace Talmo
{

Ownership::Ownership(const QString &name)
{
    const QFileInfo target(QFileInfo(name).canonicalFilePath());
    fileName = QFile::encodeName(target.fileName());
    // We keep the folder open. If root found it again by its name, another user could exchange it
    // meanwhile, and lead root to another file.
    folder = open(QFile::encodeName(target.path()), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    isKnown = fstatat(folder, fileName, &before, AT_SYMLINK_NOFOLLOW) == 0;
}

Ownership::~Ownership()
{
    if (isKnown)
        restore();
    if (folder >= 0)
        close(folder);
}

void Ownership::restore() const
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

/// True if \a now is a new file of this process whose owner, group or permissions differ from those
/// of the old one.
bool Ownership::isReplacement(const struct stat &now) const
{
    const bool isOurs = S_ISREG(now.st_mode) && now.st_nlink == 1 && now.st_uid == geteuid();
    const bool isSame =
        now.st_uid == before.st_uid && now.st_gid == before.st_gid && now.st_mode == before.st_mode;
    return isOurs && now.st_ino != before.st_ino && !isSame;
}

} // namespace Talmo
