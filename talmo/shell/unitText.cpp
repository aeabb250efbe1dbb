#include "unitText.h"

#include "knownUnits.h"
#include "lineBytes.h"

#include <QChar>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <array>
#include <iterator>
#include <string>
#include <vector>

namespace Talmo
{

namespace
{

using Names = std::vector<std::string>;

/// The units of the table by their last letters and digits, and by their lengths: a text asks for
/// them often, and there are few with the same of both.
using SortedUnits = std::array<Names, 1024>;

size_t placeOf(std::string_view unit)
{
    constexpr size_t lengths = 8;
    return (static_cast<unsigned char>(unit.back()) & 0x7FU) * lengths + unit.size() % lengths;
}

SortedUnits sortedUnits()
{
    SortedUnits units;
    for (const QString &unit : knownUnits()) {
        const std::string name = unit.toStdString();
        units.at(placeOf(name)).push_back(name);
    }
    return units;
}

const SortedUnits &allUnits()
{
    static const SortedUnits units = sortedUnits();
    return units;
}

bool areAll(bool kind(char), std::string_view bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), kind);
}

bool isHexadecimal(char byte)
{
    const int lowerCase = byte | 0x20;
    return isDigit(byte) || (lowerCase >= 'a' && lowerCase <= 'f');
}

bool isX(char byte)
{
    return byte == 'x' || byte == 'X';
}

bool isUnit(std::string_view bytes)
{
    return unitOf(bytes) != nullptr;
}

/// Whether \a bytes differ from a unit of two letters or more in upper and lower case only. One
/// letter means too much.
bool isNearlyUnit(std::string_view bytes)
{
    const auto isSame = [](char one, char other) { return (one | 0x20) == (other | 0x20); };
    const auto isMeant = [&](const std::string &unit) {
        return std::equal(unit.begin(), unit.end(), bytes.begin(), bytes.end(), isSame);
    };
    if (bytes.size() < 2 || !areAll(isLetter, bytes))
        return false;
    return std::any_of(allUnits().begin(), allUnits().end(),
        [&](const Names &units) { return std::any_of(units.begin(), units.end(), isMeant); });
}

/// Whether \a bytes begin with a unit and go on with anything but a letter of English, as "m2",
/// "mmx20" and, with what means "micro", "\u00B5s" do.
bool beginsWithUnit(std::string_view bytes)
{
    std::string letters(bytes.substr(0, endOf(isLetter, bytes, 0)));
    for (const std::string_view micro : {"\xC2\xB5", "\xCE\xBC"}) {
        if (bytes.substr(0, micro.size()) == micro)
            letters = 'u' + std::string(bytes.substr(
                                micro.size(), endOf(isLetter, bytes, micro.size()) - micro.size()));
    }
    if (isUnit(letters) || isNearlyUnit(letters))
        return true;
    if (letters.empty() || !isX(letters.back()))
        return false;
    letters.pop_back();
    return isUnit(letters) || isNearlyUnit(letters);
}

/// Whether a letter in \a bytes is of an alphabet without upper and lower case: in some of them,
/// there are no blanks between words.
bool hasOtherLetter(std::string_view bytes)
{
    for (size_t position = 0; position < bytes.size();) {
        const Character character = characterAt(bytes, position);
        if (QChar::category(character.code) == QChar::Letter_Other)
            return true;
        position += character.size;
    }
    return false;
}

/// Whether \a number before \a position of \a line and \a unit behind it are a part of a date and
/// a time, such as "2026-11-22T10:15:00Z".
bool isOfTime(
    std::string_view line, size_t position, std::string_view number, std::string_view unit)
{
    constexpr size_t dateSize = 8;
    const char before = position == 0 ? '\0' : line[position - 1];
    if (before == ':' && unit == "Z")
        return true;
    const bool isDate = number.size() == dateSize || (number.size() == 2 && before == '-');
    if (unit.back() == 'Z')
        unit.remove_suffix(1);
    return unit.size() > 2 && unit.size() % 2 == 1 && unit[0] == 'T' &&
           areAll(isDigit, unit.substr(1)) && isDate && areAll(isDigit, number);
}

/// Where the sign ends at \a position of \a line that puts units together; \a position if there is
/// none.
size_t signEnd(std::string_view line, size_t position)
{
    constexpr std::string_view signs[] = {"**", "^", "*", "/", "\xC2\xB7", "\xE2\x8B\x85"};
    const char first = byteAt(line, position);
    for (const std::string_view sign : signs) {
        if (sign[0] == first && line.substr(position, sign.size()) == sign)
            return position + sign.size();
    }
    return position;
}

bool isPower(std::string_view sign)
{
    return sign == "**" || sign == "^";
}

} // namespace

const std::string *unitOf(std::string_view bytes)
{
    if (bytes.empty())
        return nullptr;
    for (const std::string &unit : allUnits()[placeOf(bytes)]) {
        if (unit == bytes)
            return &unit;
    }
    return nullptr;
}

/// Deliberate: to convert 5m/s as 5m would give a number that is wrong.
size_t compoundEnd(std::string_view line, size_t end)
{
    const size_t other = signEnd(line, end);
    if (other == end)
        return end;
    if (isPower(line.substr(end, other - end))) {
        const size_t digits = other + (byteAt(line, other) == '-' ? 1 : 0);
        // Text that is set off by asterisks has no digits behind them.
        return line[end] == '^' || isDigit(byteAt(line, digits)) ? endOf(isDigit, line, digits)
                                                                 : end;
    }
    const size_t otherEnd = wordEnd(line, other);
    const bool isTogether =
        beginsWithUnit(line.substr(other, otherEnd - other)) && !isContinued(line, otherEnd);
    return isTogether ? otherEnd : end;
}

size_t sizesEnd(std::string_view line, size_t begin)
{
    size_t position = begin;
    while (isX(byteAt(line, position)) &&
           (isDigit(byteAt(line, position + 1)) || byteAt(line, position + 1) == '.')) {
        const size_t next = numberEnd(line, position + 1);
        if (next == position + 1)
            return begin;
        position = next;
    }
    const size_t end = wordEnd(line, position);
    const bool hasUnit = position > begin && isUnit(line.substr(position, end - position));
    return hasUnit && !isContinued(line, end) ? end : begin;
}

bool isContinued(std::string_view line, size_t position)
{
    const char byte = byteAt(line, position);
    if (byte != '.')
        return byte == '$' || byte == '_';
    const char next = byteAt(line, position + 1);
    return isAscii(next) ? isLetter(next) || next == '_'
                         : wordEnd(line, position + 1) > position + 1;
}

bool isWord(std::string_view line, size_t begin, size_t unitBegin, size_t end)
{
    constexpr std::string_view words[] = {"st", "nd", "rd", "th", "D", "x", "X"};
    const std::string_view number = line.substr(begin, unitBegin - begin);
    const std::string_view unit = line.substr(unitBegin, end - unitBegin);
    const bool isHexadecimalNumber = number == "0" && isX(unit[0]);
    if (isHexadecimalNumber || !QChar::isLetter(characterAt(unit, 0).code) ||
        hasOtherLetter(unit) || isOfTime(line, begin, number, unit))
        return true;
    if (std::any_of(unit.begin(), unit.end(), isDigit))
        return areAll(isHexadecimal, unit) || !beginsWithUnit(unit);
    return areAll(isDigit, number) &&
           std::find(std::begin(words), std::end(words), unit) != std::end(words);
}

} // namespace Talmo
