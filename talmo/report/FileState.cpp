#include "FileState.h"

#include "DiskFile.h"

#include <sys/stat.h>

namespace Talmo
{

bool operator==(const FileState &one, const FileState &other)
{
    return one.device == other.device && one.number == other.number && one.size == other.size &&
           one.changed.tv_sec == other.changed.tv_sec &&
           one.changed.tv_nsec == other.changed.tv_nsec;
}

std::optional<FileState> stateOf(const QString &name)
{
    const QByteArray path = systemName(name);
    struct stat status = {};
    if (path.isNull() || stat(path, &status) != 0)
        return {};
    return FileState{status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

} // namespace Talmo
