#include "carrying.h"

#include <algorithm>

namespace Talmo
{

namespace
{

QString onLine(const QByteArray &text, std::string_view::size_type position, const QString &what)
{
    return QStringLiteral("line %1 %2").arg(QString::number(lineAt(text, position)), what);
}

/// Where the first line of \a body begins that begins with "="; npos if none does.
std::string_view::size_type commandIn(std::string_view body)
{
    if (!body.empty() && body.front() == '=')
        return 0;
    const auto found = body.find("\n=");
    return found == std::string_view::npos ? found : found + 1;
}

} // namespace

qint64 lineAt(const QByteArray &text, std::string_view::size_type position)
{
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(position);
    return 1 + std::count(text.begin(), end, '\n');
}

QByteArray bodyOf(const QByteArray &text)
{
    QByteArray body = text;
    body.replace("\r", "");
    if (!body.isEmpty() && !body.endsWith('\n'))
        body += '\n';
    return body;
}

QString problemOfBody(const QByteArray &text, Sameness sameness)
{
    constexpr auto none = std::string_view::npos;
    const std::string_view bytes(text.constData(), static_cast<size_t>(text.size()));
    if (const auto found = bytes.find('\0'); found != none)
        return QStringLiteral("it is binary: ") + onLine(text, found, QStringLiteral("has a NUL"));
    const auto carriageReturn = bytes.find('\r');
    if (sameness == Sameness::OfBytes && carriageReturn != none)
        return onLine(text, carriageReturn, QStringLiteral("has a carriage return"));
    if (sameness == Sameness::OfBytes && !bytes.empty() && bytes.back() != '\n')
        return QStringLiteral("its last line does not end with a newline");
    const QByteArray body = bodyOf(text);
    const auto command = commandIn({body.constData(), static_cast<size_t>(body.size())});
    if (command != none)
        return onLine(body, command, QStringLiteral("begins with '='"));
    return {};
}

QString problemOfFileName(const QString &name)
{
    const auto isBlank = [](QChar character) { return character.isSpace(); };
    const auto isControl = [](QChar character) {
        return character.category() == QChar::Other_Control;
    };
    if (std::any_of(name.begin(), name.end(), isBlank))
        return QStringLiteral("its name has blanks");
    if (std::any_of(name.begin(), name.end(), isControl))
        return QStringLiteral("its name has control characters");
    if (name.contains(QLatin1String("$simProgram")))
        return QStringLiteral("its name has '$simProgram'");
    return name.isEmpty() ? QStringLiteral("its name is empty") : QString();
}

} // namespace Talmo
