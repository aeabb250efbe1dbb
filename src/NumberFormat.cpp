// A format that users write must not reach printf unchecked: with "%s" or "%n" it would read or
// write anywhere in memory. So we read it once from left to right: plain text, one conversion,
// plain text. Only the conversion is used for printing, after its letter, width and precision have
// been checked. A plain "%g", "%f" or "%e", with or without a precision, goes to appendNumber,
// which is quicker than printf and writes the same digits.

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

/// The largest width and precision that users can ask for. The C standard promises that one
/// conversion can print this many characters, and not more (C17, 7.21.6.1).
constexpr int longestConversion = 4095;

/// Reads a format from its front.
class FormatReader
{
public:
    explicit FormatReader(QStringView text)
        : format(text)
    {
    }

    int position() const { return front; }
    bool isAtEnd() const { return front == format.size(); }

    /// Takes plain text, up to the end or to a "%" that is not doubled.
    void takePlain()
    {
        while (!isAtEnd() && (ahead(0) != '%' || ahead(1) == '%'))
            front += ahead(0) == '%' ? 2 : 1;
    }

    /// Takes the next character if it is one of \a characters. Returns whether it did.
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

    /// Takes the digits of a number, if there are any, and returns it. Every number that is too
    /// large becomes the same one, just above the limit.
    int takeNumber()
    {
        int number = 0;
        for (; isDigit(ahead(0)); ++front)
            number = std::min(number * 10 + ahead(0) - '0', longestConversion + 1);
        return number;
    }

private:
    /// The character at a distance from the front; 0 behind the end, and for a character that is
    /// not in Latin-1.
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

/// Takes a conversion. Returns false if there is none, or if its width or precision is too large.
bool takeConversion(FormatReader &reader, Conversion &conversion)
{
    conversion.begin = reader.position();
    reader.take("%"); // plain text ends before a "%" or at the end of the format
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

/// Finds the conversion of \a format. Returns false unless there is exactly one, in plain text.
bool findConversion(const QString &format, Conversion &conversion)
{
    FormatReader reader(format);
    reader.takePlain();
    if (!takeConversion(reader, conversion))
        return false;
    reader.takePlain();
    return reader.isAtEnd();
}

/// \a number as \a conversion, a part of \a format, prints it.
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

/// The plain text of a format as it is printed.
QString unescaped(QString text)
{
    return text.replace(QStringLiteral("%%"), QStringLiteral("%"));
}

} // namespace

bool isNumberFormat(const QString &format)
{
    Conversion ignored;
    return findConversion(format, ignored);
}

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
