// A line is searched for digits, because most of it is none. A number begins with its first digit,
// or with the point before that. What stands before the number and behind its unit then tells
// whether it stands alone.

#include "numbers.h"

#include "knownUnit.h"
#include "knownUnits.h"
#include "lineText.h"
#include "nearest.h"

#include <algorithm>
#include <iterator>

namespace Talmo
{

namespace
{

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

bool isLetter(char byte)
{
    const int lowerCase = byte | 0x20; // the bit that tells "A" from "a"
    return lowerCase >= 'a' && lowerCase <= 'z';
}

bool isLetterOrDigit(char byte)
{
    return isLetter(byte) || isDigit(byte);
}

bool isAscii(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80;
}

/// Whether \a byte is one of a character of UTF-8, but not the first.
bool continues(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

/// The byte at \a position of \a line; NUL behind the end.
char byteAt(std::string_view line, size_t position)
{
    return position < line.size() ? line[position] : '\0';
}

template <typename Predicate>
size_t endOf(Predicate kind, std::string_view line, size_t position)
{
    while (position < line.size() && kind(line[position]))
        ++position;
    return position;
}

/// Whether \a bytes, one character of UTF-8 or bytes that are none, belong to a word.
bool isOfWord(std::string_view bytes)
{
    const QString text = textOf(bytes);
    // A character is one or two units. Bytes that are no UTF-8 are low surrogates without a high
    // one.
    const bool isPair = text.size() == 2 && text[0].isHighSurrogate();
    if (!isPair && (text.size() != 1 || text[0].isSurrogate()))
        return true;
    const uint character = isPair ? QChar::surrogateToUcs4(text[0], text[1]) : text[0].unicode();
    return QChar::isLetterOrNumber(character) || QChar::isMark(character) || character == '_';
}

/// Whether a character of a word ends before \a position of \a line.
bool isWordBefore(std::string_view line, size_t position)
{
    if (position == 0)
        return false;
    const char byte = line[position - 1];
    if (isAscii(byte))
        return isLetterOrDigit(byte) || byte == '_';
    size_t begin = position - 1;
    while (begin > 0 && position - begin < 4 && continues(line[begin]))
        --begin;
    return isOfWord(line.substr(begin, position - begin));
}

/// Whether a character of a word begins at \a position of \a line.
bool isWordAt(std::string_view line, size_t position)
{
    const char byte = byteAt(line, position);
    if (isAscii(byte))
        return isLetterOrDigit(byte) || byte == '_';
    size_t end = position + 1;
    while (end < line.size() && end - position < 4 && continues(line[end]))
        ++end;
    return isOfWord(line.substr(position, end - position));
}

/// Whether what stands before \a position of \a line makes a word of the number there. A "}" may
/// end a reference, such as "${x}5mm", and a "%" begin a format, such as "%-8.3f".
bool isBound(std::string_view line, size_t position)
{
    const char before = position == 0 ? '\0' : line[position - 1];
    if (before == '.')
        return isWordBefore(line, position - 1);
    const size_t format = before == '-' || before == '+' ? position - 1 : position;
    if (format > 0 && line[format - 1] == '%')
        return true;
    return before == '$' || before == '}' || isWordBefore(line, position);
}

/// Where the number ends that begins at \a begin of \a line, with its exponent.
size_t numberEnd(std::string_view line, size_t begin)
{
    size_t end = endOf(isDigit, line, begin);
    if (byteAt(line, end) == '.' && isDigit(byteAt(line, end + 1)))
        end = endOf(isDigit, line, end + 1);
    if ((byteAt(line, end) | 0x20) != 'e')
        return end;
    const char sign = byteAt(line, end + 1);
    const size_t digits = end + (sign == '+' || sign == '-' ? 2 : 1);
    return isDigit(byteAt(line, digits)) ? endOf(isDigit, line, digits) : end;
}

/// Whether what begins at \a position of \a line, behind a unit, makes a word of it, such as the
/// name of a file, or "5m$x".
bool isContinued(std::string_view line, size_t position)
{
    if (position == line.size())
        return false;
    if (line[position] != '.')
        return line[position] == '$' || isWordAt(line, position);
    const char next = byteAt(line, position + 1);
    return isAscii(next) ? isLetter(next) || next == '_' : isWordAt(line, position + 1);
}

/// Where the units end that are put together with the one from \a begin up to \a end of \a line.
/// Deliberate: to convert 5m/s as 5m would give a number that is wrong.
size_t compoundEnd(std::string_view line, size_t begin, size_t end)
{
    const char sign = byteAt(line, end);
    if ((sign != '^' && sign != '/' && sign != '*') ||
        !isKnownUnit(textOf(line.substr(begin, end - begin))))
        return end;
    if (sign == '^')
        return endOf(isDigit, line, end + (byteAt(line, end + 1) == '-' ? 2 : 1));
    const size_t otherEnd = endOf(isLetterOrDigit, line, end + 1);
    const std::string_view other = line.substr(end + 1, otherEnd - end - 1);
    const bool isUnit = !other.empty() && isKnownUnit(textOf(other));
    return isUnit && !isContinued(line, otherEnd) ? otherEnd : end;
}

bool areAllDigits(std::string_view bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), isDigit);
}

} // namespace

bool NumbersWithUnits::next(NumberWithUnit &found)
{
    for (;;) {
        const auto *const digit = std::find_if(line.begin() + end, line.end(), isDigit);
        if (digit == line.end())
            return false;
        begin = static_cast<size_t>(digit - line.begin());
        if (begin > end && line[begin - 1] == '.')
            --begin; // everything before `end` belongs to another number or unitBegin
        unitBegin = numberEnd(line, begin);
        end =
            isLetter(byteAt(line, unitBegin)) ? endOf(isLetterOrDigit, line, unitBegin) : unitBegin;
        if (end == unitBegin || isBound(line, begin) || isContinued(line, end))
            continue;
        end = compoundEnd(line, unitBegin, end);
        found = {line.substr(begin, unitBegin - begin), line.substr(unitBegin, end - unitBegin)};
        return true;
    }
}

bool isWord(const NumberWithUnit &found)
{
    constexpr std::string_view words[] = {"st", "nd", "rd", "th", "D", "x", "X"};
    const std::string_view unit = found.unit;
    const bool isHexadecimal = found.number == "0" && (unit[0] | 0x20) == 'x';
    if (!std::all_of(unit.begin(), unit.end(), isLetterOrDigit))
        return false; // units that are put together
    return isHexadecimal || std::any_of(unit.begin(), unit.end(), isDigit) ||
           (areAllDigits(found.number) &&
               std::find(std::begin(words), std::end(words), unit) != std::end(words));
}

QString unknownUnit(const QString &unit)
{
    return QStringLiteral("unknown unit '%1'").arg(unit) + suggestion(unit, knownUnits());
}

qint64 Columns::at(size_t offset)
{
    column += columnAt(line.substr(done), offset - done) - 1;
    done = offset;
    return column;
}

} // namespace Talmo
