#include "wording.h"

#include "talmo/Numbers.h"

#include <charconv>
#include <iterator>
#include <string>

namespace Talmo
{

QString exactly(double number)
{
    char text[40];
    const auto end = std::to_chars(std::begin(text), std::end(text), number).ptr;
    return QString::fromLatin1(text, static_cast<int>(end - text));
}

QString roughly(double number)
{
    std::string text;
    appendNumber(text, number, 4);
    return QString::fromStdString(text);
}

QString counted(qint64 count, const char *what)
{
    return QStringLiteral("%1 %2%3").arg(
        QString::number(count), QLatin1String(what), count == 1 ? QString() : QStringLiteral("s"));
}

} // namespace Talmo
