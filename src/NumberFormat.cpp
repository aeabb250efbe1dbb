#include "NumberFormat.h"

#include "Tokens.h"
#include "talmo/Numbers.h"

#include <QStringView>

#include <algorithm>
#include <charconv>
#include <string>

namespace Talmo
{

namespace
{

/// Bounds the width and the precision that users can ask for. The C standard promises no more
/// characters from one conversion (C17, 7.21.6.1).
constexpr int longestConversion = 4095;

/// A format, read from its front.
class FormatReader
{
public:
    explicit FormatReader(QStringView text)
        : format(text)
    {
    }

    int position() const { return front; }
    bool isAtEnd() const { return front == format.size(); }

    /// Takes plain text: up to the end, or to a "%" that is not doubled.
    void takePlain()
    {
        while (!isAtEnd() && (ahead(0) != '%' || ahead(1) == '%'))
            front += ahead(0) == '%' ? 2 : 1;
    }

    /// Takes a character if it is one out of \a characters; whether it did.
    bool take(const char *characters)
    {
        const char character = ahead(0);
        while (*characters != '\0' && *characters != character)
            ++characters;
        if (*characters == '\0')
            return false;
        ++front;
        return true;
    }

    /// Takes the digits of a number, which may be none; all that are too large count alike.
    int takeNumber()
    {
        int number = 0;
        for (; isDigit(ahead(0)); ++front)
            number = std::min(number * 10 + ahead(0) - '0', longestConversion + 1);
        return number;
    }

private:
    /// The character at a distance from the front; 0 behind the end, and for any beyond Latin-1.
    char ahead(int distance) const
    {
        const int index = front + distance;
        return index < format.size() ? format[index].toLatin1() : '\0';
    }

    QStringView format;
    int front = 0;
};

/// The conversion of a format: where it stands and what it asks for.
struct Conversion {
    int begin = 0;
    int end = 0;
    bool hasFlagsOrWidth = false;
    int precision = 6;
};

/// Takes a conversion; false if there is none, or if it asks for too much.
bool takeConversion(FormatReader &reader, Conversion &conversion)
{
    conversion.begin = reader.position();
    reader.take("%"); // it stands there, unless the format is at its end
    const int flags = reader.position();
    while (reader.take("-+ #0")) {
    }
    const int width = reader.takeNumber();
    conversion.hasFlagsOrWidth = reader.position() > flags;
    if (reader.take("."))
        conversion.precision = reader.takeNumber();
    reader.take("l");
    const bool hasLetter = reader.take("aAeEfFgG");
    conversion.end = reader.position();
    return hasLetter && std::max(width, conversion.precision) <= longestConversion;
}

/// Finds the conversion of \a format; false if there is not exactly one, in plain text.
bool findConversion(const QString &format, Conversion &conversion)
{
    FormatReader reader(format);
    reader.takePlain();
    if (!takeConversion(reader, conversion))
        return false;
    reader.takePlain();
    return reader.isAtEnd();
}

/// \a number as \a conversion prints it, which \a format holds.
std::string converted(const QString &format, const Conversion &conversion, double number)
{
    const QChar letter = format[conversion.end - 1];
    std::string text;
    if (!conversion.hasFlagsOrWidth && letter == 'g')
        appendNumber(text, number, conversion.precision);
    else if (!conversion.hasFlagsOrWidth && letter == 'f')
        appendNumber(text, number, conversion.precision, std::chars_format::fixed);
    else if (!conversion.hasFlagsOrWidth && letter == 'e')
        appendNumber(text, number, conversion.precision, std::chars_format::scientific);
    else
        text = formattedNumber(
            format.mid(conversion.begin, conversion.end - conversion.begin).toStdString(), number);
    return text;
}

/// Plain text of a format as it is printed.
QString unescaped(QString text)
{
    return text.replace(QStringLiteral("%%"), QStringLiteral("%"));
}

} // namespace

bool printNumber(const QString &format, double number, QString &text)
{
    Conversion conversion;
    if (!findConversion(format, conversion))
        return false;
    const std::string digits = converted(format, conversion, number);
    text = QString::fromLatin1(digits.data(), static_cast<int>(digits.size()));
    if (conversion.begin > 0)
        text.prepend(unescaped(format.left(conversion.begin)));
    if (conversion.end < format.size())
        text.append(unescaped(format.mid(conversion.end)));
    return true;
}

} // namespace Talmo
