// A line is searched for digits, because most of it is none. A number begins with its first digit,
// or with the point before that. What stands before the number and behind its unit then tells
// whether it stands alone.

#include "numbers.h"

#include "digitGroups.h"
#include "knownUnits.h"
#include "lineBytes.h"
#include "lineText.h"
#include "nearest.h"
#include "unitText.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// Where the first digit is in \a line from \a position on, or the end of the line.
size_t digitFrom(std::string_view line, size_t position)
{
    while (position < line.size() && !isDigit(line[position]))
        ++position;
    return position;
}

/// Where the number ends that begins at \a begin of \a line. A point without a digit behind it is a
/// part of it only if a known unit follows, as in "5.mm": otherwise it may end a sentence.
size_t endOfNumber(std::string_view line, size_t begin)
{
    const size_t end = numberEnd(line, begin);
    if (byteAt(line, end) != '.' || end != endOf(isDigit, line, begin))
        return end;
    const size_t unitBegin = exponentEnd(line, end + 1);
    const size_t unitEnd = wordEnd(line, unitBegin);
    return unitOf(line.substr(unitBegin, unitEnd - unitBegin)) != nullptr ? unitBegin : end;
}

/// Where that begins which may be one number with the digits at \a begin of \a line, with a unit
/// that ends at \a end; \a begin if nothing before them may belong to them.
size_t wholeBegin(std::string_view line, size_t begin, size_t end)
{
    return std::min(groupsBegin(line, begin, end), termBegin(line, begin));
}

/// The letter "u" in the place of one that means "micro" in front of \a unit.
QString withoutMicro(const QString &unit)
{
    constexpr char16_t microSign = 0xB5;
    constexpr char16_t greekLetter = 0x3BC;
    const bool isMicro = unit.startsWith(QChar(microSign)) || unit.startsWith(QChar(greekLetter));
    return isMicro ? QLatin1Char('u') + unit.mid(1) : unit;
}

} // namespace

NumbersWithUnits::NumbersWithUnits(std::string_view itsLine)
    : line(itsLine)
{
    if (line.find('$') != std::string_view::npos)
        references = referencesIn(line);
}

/// Moves to the next \a digit that is in no reference. False if there is none.
bool NumbersWithUnits::findDigit(size_t &digit)
{
    for (;;) {
        digit = digitFrom(line, end);
        if (digit == line.size())
            return false;
        if (references.empty())
            return true;
        const auto isBehind = [&](const Range &range) {
            return static_cast<size_t>(range.end) <= digit;
        };
        while (reference < references.size() && isBehind(references[reference]))
            ++reference;
        if (reference == references.size() ||
            static_cast<size_t>(references[reference].begin) > digit)
            return true;
        end = static_cast<size_t>(references[reference].end);
    }
}

bool NumbersWithUnits::next(NumberWithUnit &found)
{
    size_t begin = 0;
    while (findDigit(begin)) {
        if (begin > end && line[begin - 1] == '.')
            --begin; // everything before `end` belongs to another number or unit
        if (judge(begin, found))
            return true;
    }
    return false;
}

/// Looks at the number at \a begin, and moves behind it and its unit. False if it has none, or does
/// not stand alone.
bool NumbersWithUnits::judge(size_t begin, NumberWithUnit &found)
{
    const size_t unitBegin = endOfNumber(line, begin);
    end = wordEnd(line, unitBegin);
    if (end == unitBegin || isBound(line, begin) || isContinued(line, end))
        return false;
    const std::string_view number = line.substr(begin, unitBegin - begin);
    const std::string *const known = unitOf(line.substr(unitBegin, end - unitBegin));
    const bool isKnown = known != nullptr;
    const size_t sizes = isKnown || number == "0" ? unitBegin : sizesEnd(line, unitBegin);
    if (!isKnown && sizes == unitBegin && isWord(line, begin, unitBegin, end))
        return false;
    const size_t exponentEnd = brokenExponentEnd(line, unitBegin, end);
    const bool isBroken = exponentEnd != end;
    const size_t knownEnd = end;
    end = isBroken ? exponentEnd : isKnown ? compoundEnd(line, end) : std::max(end, sizes);
    const std::string_view unit = line.substr(unitBegin, end - unitBegin);
    found = {NumberWithUnit::Kind::Right, number, unit, known, {}};
    if (!isBroken && (!isKnown || end != knownEnd)) {
        found.kind = NumberWithUnit::Kind::UnknownUnit;
        found.problem = unit;
    } else if (const size_t whole = wholeBegin(line, begin, end); isBroken || whole != begin) {
        found.kind = NumberWithUnit::Kind::InGroups;
        const size_t from = std::max(whole, told);
        found.problem = line.substr(from, end - from);
    }
    told = end;
    return true;
}

QString problemOf(const NumberWithUnit &found)
{
    const QString part = textOf(found.problem);
    switch (found.kind) {
    case NumberWithUnit::Kind::UnknownUnit:
        return unknownUnit(part);
    case NumberWithUnit::Kind::InGroups:
        return QStringLiteral("'%1' may be one number or several").arg(part);
    case NumberWithUnit::Kind::Right:
        break;
    }
    return {};
}

QString unknownUnit(const QString &unit)
{
    return QStringLiteral("unknown unit '%1'").arg(unit) +
           suggestion(withoutMicro(unit), knownUnits());
}

qint64 Columns::at(size_t offset)
{
    column += columnAt(line.substr(done), offset - done) - 1;
    done = offset;
    return column;
}

} // namespace Talmo
