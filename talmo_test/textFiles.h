#pragma once

#include <QFile>
#include <QString>

#include <string>
#include <string_view>

// What a text file is to the driver: how it is named, opened and decoded.

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

/// Opens \a file as the file \a name. A name with a NUL in it is none: the system would cut it
/// there.
inline bool openOnDisk(QFile &file, const QString &name, QIODevice::OpenMode mode)
{
    file.setFileName(diskPath(name));
    return !name.contains(QChar(u'\0')) && file.open(mode);
}

/// How many bytes of \a start, the first of a file, are a UTF-8 byte order mark: 3 or 0.
inline size_t byteOrderMarkLength(std::string_view start)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    return start.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark.size() : 0;
}

/// \a line, UTF-8, as a string; not null. A byte order mark in it stays a character: only one at
/// the start of a file is none, but QString drops it wherever a conversion starts.
inline QString decoded(std::string_view line)
{
    return QString::fromStdString('x' + std::string(line)).mid(1);
}
