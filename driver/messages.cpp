#include "messages.h"

#include "talmo/RegExp.h"

#include <QScopeGuard>

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

bool matchesMessage(const QString &pattern, const QString &message)
{
    // A pattern that stands for itself is not compiled, which takes time that grows with the square
    // of its length.
    static const QString special = QStringLiteral("\\^$.|?*+()[]{}");
    const bool isText = std::none_of(pattern.begin(), pattern.end(),
        [](QChar character) { return special.contains(character); });
    if (isText)
        return message.contains(pattern);
    // Scripts have any number of patterns, and each serves for one line.
    const auto afterwards = qScopeGuard([&pattern] { RE.forget(pattern); });
    return RE.match(pattern, message);
}

} // namespace Talmo
