#include "mountOf.h"

#include <QByteArray>
#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

/// The number of the mount as /proc tells it; 0 if it does not.
std::uint64_t mountToldByProc(int descriptor)
{
    QFile info(QStringLiteral("/proc/self/fdinfo/%1").arg(descriptor));
    const QByteArray text = info.open(QIODevice::ReadOnly) ? info.readAll() : QByteArray();
    const QByteArray key = "\nmnt_id:";
    const auto found = text.indexOf(key);
    if (found < 0)
        return 0;
    const auto begin = found + key.size();
    return text.mid(begin, text.indexOf('\n', begin) - begin).trimmed().toULongLong();
}

} // namespace

std::uint64_t mountOf(int descriptor)
{
#ifdef STATX_MNT_ID
    struct statx status = {};
    if (statx(descriptor, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) == 0 &&
        (status.stx_mask & STATX_MNT_ID) != 0)
        return status.stx_mnt_id;
#endif
    if (const std::uint64_t mount = mountToldByProc(descriptor); mount != 0)
        return mount;
    struct stat file = {};
    return fstat(descriptor, &file) == 0 ? file.st_dev : 0;
}
