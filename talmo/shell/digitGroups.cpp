// People write 1024 as 1,024, as 1'024, or with a blank, and 0.05 as 0,05. But they also write
// lists, with commas or in columns. A leading zero shows that digits are no item of a list, unless
// the item before them has one, too: then zeros fill the columns.

#include "digitGroups.h"

#include "lineBytes.h"

#include <iterator>

namespace Talmo
{

namespace
{

constexpr size_t groupSize = 3;

/// What stands between groups of digits.
struct Separator {
    std::string_view text;
    bool isOfLists = false;    ///< lists have it, too
    bool isOfDecimals = false; ///< it may be a decimal point, too
    bool isOfFeet = false;     ///< groups of any size are unclear, as in 5'6in
};

// clang-format off
constexpr Separator separators[] = {
    // text            lists  decimals  feet
    {",",              true,  true,     false},
    {" ",              true,  false,    false},
    {"'",              false, false,    true},
    {"\xE2\x80\x99",   false, false,    true},  // a raised comma
    {"\xC2\xA0",       false, false,    false}, // blanks at which no line ends, and a thin one
    {"\xE2\x80\xAF",   false, false,    false},
    {"\xE2\x80\x89",   false, false,    false},
};
// clang-format on

/// The separator between the digits that begin at \a position of \a line and others directly before
/// it; null if there is none.
const Separator *separatorBefore(std::string_view line, size_t position)
{
    const char last = position < 2 ? '\0' : line[position - 1];
    if (last == ' ' && !isDigit(line[position - 2]))
        return nullptr; // nearly always
    for (const Separator &separator : separators) {
        const size_t size = separator.text.size();
        if (separator.text.back() == last && position > size &&
            line.substr(position - size, size) == separator.text &&
            isDigit(line[position - size - 1]))
            return &separator;
    }
    return nullptr;
}

/// Where the digits begin that end at \a end of \a line.
size_t digitsBegin(std::string_view line, size_t end)
{
    while (end > 0 && isDigit(line[end - 1]))
        --end;
    return end;
}

/// Digits, a separator, and so on: as many as may be one number.
struct Groups {
    size_t begin = 0;         ///< of the first one
    bool areThousands = true; ///< one to three digits, then three each
    bool haveZero = false;    ///< one behind the first begins with 0
};

/// The groups that end with \a size digits at \a begin of \a line, which follow \a separator.
Groups groupsBefore(std::string_view line, size_t begin, size_t size, const Separator &separator)
{
    Groups groups;
    for (const Separator *before = &separator; before == &separator && size == groupSize;
         before = separatorBefore(line, begin)) {
        groups.haveZero = groups.haveZero || line[begin] == '0';
        const size_t end = begin - separator.text.size();
        begin = digitsBegin(line, end);
        size = end - begin;
    }
    groups.begin = begin;
    groups.areThousands = size <= groupSize && line[begin] != '0' && !isBound(line, begin);
    return groups;
}

/// Whether the digits at \a begin of \a line, \a size of them, are what follows a decimal comma.
bool areDecimals(std::string_view line, size_t begin, size_t size)
{
    const size_t before = digitsBegin(line, begin - 1);
    const bool isFilled = line[before] == '0' && begin - 1 - before > 1;
    return size > 1 && line[begin] == '0' && !isFilled && !isBound(line, before);
}

/// Where the first of the digits begins that \a separator divides, if the last of them begin at
/// \a begin of \a line; \a begin if they are a part of a word.
size_t allBegin(std::string_view line, size_t begin, const Separator &separator)
{
    size_t first = begin;
    while (separatorBefore(line, first) == &separator)
        first = digitsBegin(line, first - separator.text.size());
    return isBound(line, first) ? begin : first;
}

/// Whether another comma shows that from \a begin to \a end of \a line there is a part of a list.
bool isInList(std::string_view line, size_t begin, size_t end)
{
    const char next = byteAt(line, end + 1);
    return (begin > 0 && line[begin - 1] == ',') ||
           (byteAt(line, end) == ',' && next != '\0' && next != ' ' && next != '\t');
}

constexpr std::string_view minusSigns[] = {"-", "+", "\xE2\x88\x92", "\xE2\x80\x93"};
constexpr std::string_view powers[] = {"^", "**"};
constexpr std::string_view strokes[] = {"/", "\xE2\x81\x84", "\xE2\x88\x95"};

/// Whether \a end bytes of \a line end with \a part.
bool endsWith(std::string_view line, size_t end, std::string_view part)
{
    return end >= part.size() && line.substr(end - part.size(), part.size()) == part;
}

/// How many bytes the one of \a signs has that ends at \a end of \a line; 0 if none does.
template <size_t count>
size_t sizeBefore(std::string_view line, size_t end, const std::string_view (&signs)[count])
{
    for (const std::string_view sign : signs) {
        if (endsWith(line, end, sign))
            return sign.size();
    }
    return 0;
}

/// Where the letters, digits and points begin that end at \a end of \a line.
size_t tokenBegin(std::string_view line, size_t end)
{
    while (end > 0 && (isLetterOrDigit(line[end - 1]) || line[end - 1] == '.'))
        --end;
    return end;
}

/// Whether from \a begin to \a end of \a line there is a number that stands alone.
bool isNumber(std::string_view line, size_t begin, size_t end)
{
    return begin < end && numberEnd(line, begin) == end && !isBound(line, begin);
}

} // namespace

size_t termBegin(std::string_view line, size_t begin)
{
    constexpr std::string_view lastBytes = "-+^*/\x92\x93\x84\x95"; // of all these signs
    if (begin == 0 || lastBytes.find(line[begin - 1]) == std::string_view::npos)
        return begin; // nearly always
    const size_t sign = begin - sizeBefore(line, begin, minusSigns);
    if (const size_t size = sizeBefore(line, sign, powers); size > 0) {
        // Text that is set off by asterisks has no digits before them.
        const size_t baseEnd = sign - size;
        const char last = baseEnd > 0 ? line[baseEnd - 1] : '\0';
        const bool isBase = isDigit(last) || last == ')' || last == '}' ||
                            (size == 1 && isWordBefore(line, baseEnd));
        return isBase ? tokenBegin(line, baseEnd) : begin;
    }
    const size_t numeratorEnd = begin - sizeBefore(line, begin, strokes);
    const size_t numerator = tokenBegin(line, numeratorEnd);
    return numeratorEnd < begin && isNumber(line, numerator, numeratorEnd) ? numerator : begin;
}

size_t brokenExponentEnd(std::string_view line, size_t unitBegin, size_t end)
{
    if (end != unitBegin + 1 || (line[unitBegin] | 0x20) != 'e')
        return end;
    for (const std::string_view sign : minusSigns) {
        const size_t digits = end + sign.size();
        if (!isAscii(sign[0]) && line.substr(end, sign.size()) == sign &&
            isDigit(byteAt(line, digits)))
            return wordEnd(line, digits);
    }
    return end;
}

size_t groupsBegin(std::string_view line, size_t begin, size_t end)
{
    const Separator *const separator = separatorBefore(line, begin);
    if (separator == nullptr)
        return begin;
    const size_t size = endOf(isDigit, line, begin) - begin;
    const size_t previous = digitsBegin(line, begin - separator->text.size());
    if (separator->isOfFeet)
        return allBegin(line, begin, *separator);
    if (separator->isOfDecimals && areDecimals(line, begin, size))
        return previous;
    if (size != groupSize)
        return begin;
    const Groups groups = groupsBefore(line, begin, size, *separator);
    const bool isList = separator->isOfLists && !groups.haveZero &&
                        (!separator->isOfDecimals || isInList(line, groups.begin, end));
    return groups.areThousands && !isList ? groups.begin : begin;
}

} // namespace Talmo
