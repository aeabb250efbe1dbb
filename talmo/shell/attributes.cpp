#include "attributes.h"

#include "regularFile.h"

#include <QByteArray>
#include <QFile>
#include <QList>

#include <cerrno>

#include <sys/types.h>
#include <sys/xattr.h>

namespace Talmo
{

namespace
{

constexpr char accessList[] = "system.posix_acl_access";

/// What \a get writes into a buffer, whose size it is told; with the size 0 it returns the size
/// that is needed. False if it fails; errno then tells why.
template <typename Get>
bool fill(QByteArray &bytes, const Get &get)
{
    for (;;) {
        const ssize_t size = get(nullptr, 0);
        if (size < 0)
            return false;
        bytes.resize(static_cast<int>(size));
        const ssize_t count = size == 0 ? 0 : get(bytes.data(), static_cast<size_t>(size));
        if (count >= 0) {
            bytes.resize(static_cast<int>(count));
            return true;
        }
        if (errno != ERANGE) // it has grown meanwhile
            return false;
    }
}

/// The names of the attributes of \a path. Some file systems know none.
bool readNames(const char *path, QList<QByteArray> &names)
{
    QByteArray list;
    if (!fill(list, [path](char *data, size_t size) { return listxattr(path, data, size); }))
        return errno == ENOTSUP;
    names = list.split('\0');
    names.removeAll(QByteArray());
    return true;
}

/// Gives \a target the attribute \a name of \a path. False if that fails; errno then tells why.
bool keep(const char *path, int target, const QByteArray &name)
{
    QByteArray value;
    if (!fill(value, [&](char *data, size_t size) { return getxattr(path, name, data, size); }))
        return errno == ENODATA; // it was removed meanwhile
    QByteArray present;
    const bool isThere =
        fill(present, [&](char *data, size_t size) { return fgetxattr(target, name, data, size); });
    return (isThere && present == value) ||
           fsetxattr(target, name, value.constData(), static_cast<size_t>(value.size()), 0) == 0;
}

} // namespace

QString keepAttributes(const char *path, int target)
{
    QList<QByteArray> names;
    if (!readNames(path, names))
        return QStringLiteral("Its attributes cannot be read: ") + reasonOf(errno);
    if (!names.contains(accessList))
        fremovexattr(target, accessList); // that which the folder gives to new files
    for (const QByteArray &name : names) {
        // The system's own: checksums, what a program may do, and labels, for which it has rules.
        const bool isOfSystem = name.startsWith("security.");
        const bool isLabel = name == "security.selinux";
        if ((!isOfSystem || isLabel) && !keep(path, target, name) && !isLabel)
            return QStringLiteral("Its attribute '%1' cannot be kept: %2")
                .arg(QFile::decodeName(name), reasonOf(errno));
    }
    return {};
}

} // namespace Talmo
