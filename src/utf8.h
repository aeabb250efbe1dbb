#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace Talmo
{

/// How many bytes of \a start, the first of a file, are a byte order mark: 3 or 0.
inline size_t byteOrderMarkLength(std::string_view start)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    return start.substr(0, byteOrderMark.size()) == byteOrderMark ? byteOrderMark.size() : 0;
}

/// \a line as a string, not null. QString drops a byte order mark wherever a conversion starts;
/// that of the file is gone by now, and any other is a character of the line.
inline QString decoded(std::string_view line)
{
    return QString::fromStdString('x' + std::string(line)).mid(1);
}

} // namespace Talmo
