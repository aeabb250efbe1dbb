#include "regularFile.h"

#include "Descriptor.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

/// In the place of an error of the system: what was opened is neither a regular file nor a
/// directory.
constexpr int isSpecial = -1;

bool isRegular(const struct stat &status)
{
    if (!S_ISREG(status.st_mode))
        errno = S_ISDIR(status.st_mode) ? EISDIR : isSpecial;
    return S_ISREG(status.st_mode);
}

} // namespace

bool openRegular(QFile &file, const QByteArray &path, int folder, int flags)
{
    // To open a device may do something, and to open a FIFO without waiting wakes its writer. So we
    // look first. We look once more when we have it, because it may be another file by then, though
    // hardly ever, and in no test.
    struct stat status = {};
    const int following = (flags & O_NOFOLLOW) != 0 ? AT_SYMLINK_NOFOLLOW : 0;
    if (fstatat(folder, path, &status, following) != 0 || !isRegular(status))
        return false;
    const int access = O_RDONLY | O_CLOEXEC | flags;
    int descriptor = openat(folder, path, access | O_NONBLOCK);
    // A file server holds a lease on the file. It gives the lease up to a call that waits.
    if (descriptor < 0 && errno == EWOULDBLOCK)
        descriptor = openat(folder, path, access);
    if (descriptor < 0)
        return false;
    if (fstat(descriptor, &status) != 0 || !isRegular(status)) {
        const int error = errno;
        close(descriptor);
        errno = error;
        return false;
    }
    return file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
}

QString reasonOf(int error)
{
    if (error == isSpecial)
        return QStringLiteral("It is no regular file");
    return QString::fromLocal8Bit(std::strerror(error));
}

} // namespace Talmo
