#include "messages.h"

#include "talmo/RegExp.h"
#include "utf8.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// \a text up to its first NUL, as it is printed.
QByteArray printed(const QString &text)
{
    return QByteArray(qPrintable(text));
}

} // namespace

QByteArray passLine(const QString &name, const QString &heading)
{
    return printed(name) + ": " + printed(heading);
}

QByteArray failureLine(const QByteArray &name, const QString &message)
{
    return name + ": ***ERROR: " + printed(message);
}

QByteArray skipLine(const QByteArray &path)
{
    return path + ": No applicable SimPrograms";
}

Pattern::Pattern(const QString &text)
    : pattern(text)
    , bytes(text.toUtf8())
{
    static const QString special = QStringLiteral("\\^$.|?*+()[]{}");
    isText = std::none_of(pattern.begin(), pattern.end(),
        [](QChar character) { return special.contains(character); });
    isAscii = std::all_of(
        pattern.begin(), pattern.end(), [](QChar character) { return character < QChar(0x80); });
}

Pattern::~Pattern()
{
    // Scripts have any number of patterns, and most serve for one line.
    if (!isText)
        RE.forget(pattern);
}

bool Pattern::matches(const QString &message) const
{
    // A pattern that stands for itself is not compiled, which takes time that grows with the square
    // of its length.
    return isText ? message.contains(pattern) : RE.match(pattern, message);
}

bool Pattern::matchesLine(std::string_view line) const
{
    // In UTF-8, ASCII characters are found byte by byte, also in a line that is damaged.
    if (isText && isAscii)
        return line.find(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size()))) !=
               std::string_view::npos;
    return matches(decoded(line));
}

bool matchesMessage(const QString &pattern, const QString &message)
{
    return Pattern(pattern).matches(message);
}

int countOfMatches(const QString &pattern, const QStringList &messages)
{
    const Pattern compiled(pattern);
    const auto count = std::count_if(messages.begin(), messages.end(),
        [&compiled](const QString &message) { return compiled.matches(message); });
    return static_cast<int>(count);
}

} // namespace Talmo
