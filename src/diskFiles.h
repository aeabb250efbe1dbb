#pragma once

#include <QFile>
#include <QFileInfo>
#include <QString>

// How the files that users name are opened.

namespace Talmo
{

/// How text files are read: the device itself drops every carriage return.
constexpr QIODevice::OpenMode textModeRead =
    QIODevice::ReadOnly | QIODevice::Text | QIODevice::Unbuffered;

/// How text files are written, replacing an old one.
constexpr QIODevice::OpenMode textModeWrite =
    QIODevice::WriteOnly | QIODevice::Text | QIODevice::Truncate | QIODevice::Unbuffered;

/// \a name as a file on disk: Qt would take ":name" for a resource inside the program.
inline QString diskPath(const QString &name)
{
    return name.startsWith(QLatin1Char(':')) ? QStringLiteral("./") + name : name;
}

/// Opens \a file as the file \a name on disk; false if that fails. A name with a NUL in it is none:
/// the system would cut it there.
inline bool openOnDisk(QFile &file, const QString &name, QIODevice::OpenMode mode)
{
    file.setFileName(diskPath(name));
    return !name.contains(QChar(u'\0')) && file.open(mode);
}

/// True if there is a file or a directory of that name on disk. A dangling link is neither.
inline bool existsOnDisk(const QString &name)
{
    return !name.contains(QChar(u'\0')) && QFileInfo::exists(diskPath(name));
}

} // namespace Talmo
