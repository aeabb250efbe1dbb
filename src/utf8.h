#pragma once

#include <QByteArray>
#include <QString>

#include <string>
#include <string_view>

namespace Talmo
{

/// How many bytes a byte order mark takes at the front of \a start, the beginning of a file: 3, or
/// 0 if there is none.
inline size_t byteOrderMarkLength(std::string_view start)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    return start.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark.size() : 0;
}

/// \a line, UTF-8, as a string, which is never null. The byte order mark of the file has been
/// skipped by now, so one at the front of \a line is a character of it. QString would drop it where
/// a conversion starts.
inline QString decoded(std::string_view line)
{
    return QString::fromStdString('x' + std::string(line)).mid(1);
}

/// \a bytes, UTF-8, as a string, also what is behind a NUL, where Qt 5 would end.
inline QString decodedBytes(const QByteArray &bytes)
{
    return QString::fromUtf8(bytes.constData(), bytes.size());
}

} // namespace Talmo
