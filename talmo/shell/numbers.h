#pragma once

#include "references.h"

#include <QString>
#include <QtGlobal>

#include <string>
#include <string_view>
#include <vector>

namespace Talmo
{

/// A number in a line, with a unit directly behind it. Both stand alone: they are no part of a word
/// such as "BPM12a", "file1in.txt", "2nd" or "$5mm".
struct NumberWithUnit {
    enum class Kind {
        Right,
        UnknownUnit,
        InGroups, ///< with digits before it, as in "1,024m" or "1/2in": it may be another number
    };

    Kind kind = Kind::Right;
    std::string_view number; ///< without a sign, which counts as text

    /// All letters and digits behind the number; or, where known units are put together, all of
    /// that, as in "m/s", "m^2" and "x20mm", which no table has.
    std::string_view unit;

    const std::string *known = nullptr; ///< the unit in the table; null if it is in no table

    std::string_view problem; ///< the part of the line that is wrong; empty if nothing is

    /// Number and unit, as they stand in the line.
    std::string_view text() const { return {number.data(), number.size() + unit.size()}; }
};

/// Finds the numbers with units in a line, bytes of UTF-8, from left to right: those that are to be
/// converted, and those with which something is wrong. What stands in "${...}" is an expression,
/// and is passed over.
class NumbersWithUnits
{
public:
    explicit NumbersWithUnits(std::string_view itsLine);

    /// Moves to the next one. False if there is none.
    bool next(NumberWithUnit &found);

    /// Where a \a part of the line begins in it, in bytes from 0.
    size_t positionOf(std::string_view part) const
    {
        return static_cast<size_t>(part.data() - line.data());
    }

private:
    bool findDigit(size_t &digit);
    bool judge(size_t begin, NumberWithUnit &found);

    std::string_view line;
    std::vector<Range> references;
    size_t reference = 0; ///< the first one that may be ahead
    size_t end = 0;       ///< everything before it was looked at
    size_t told = 0;      ///< where the latest number with a unit ends
};

/// What is wrong with \a found, in words.
QString problemOf(const NumberWithUnit &found);

/// What is wrong with the unknown unit \a unit, in words, with the one that may have been meant.
QString unknownUnit(const QString &unit);

/// Tells columns of places that are asked for from left to right. All of them together take as long
/// as the last of them alone.
class Columns
{
public:
    explicit Columns(std::string_view itsLine)
        : line(itsLine)
    {
    }

    /// The column, from 1, of the character that begins at \a offset of the line.
    qint64 at(size_t offset);

private:
    std::string_view line;
    size_t done = 0;
    qint64 column = 1;
};

} // namespace Talmo
