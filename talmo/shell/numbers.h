#pragma once

#include <QHash>
#include <QString>
#include <QtGlobal>

#include <string>
#include <string_view>

namespace Talmo
{

/// A number in a line, with a unit directly behind it. Both stand alone: they are no part of a word
/// such as "BPM12a", "file1in.txt" or "$5mm".
struct NumberWithUnit {
    std::string_view number; ///< without a sign, which counts as text

    /// The longest run of letters and digits, whether known or not; or, where known units are put
    /// together, all of that, as in "m/s" and "m^2", which no table has.
    std::string_view unit;

    /// The whole, as it stands in the line.
    std::string_view text() const { return {number.data(), number.size() + unit.size()}; }
};

/// Finds the numbers with units in a line, bytes of UTF-8, from left to right. A byte that is no
/// UTF-8 counts as a letter.
class NumbersWithUnits
{
public:
    explicit NumbersWithUnits(std::string_view itsLine)
        : line(itsLine)
    {
    }

    /// Moves to the next one. False if there is none.
    bool next(NumberWithUnit &found);

    /// Where the latest one begins in the line, in bytes from 0.
    size_t position() const { return begin; }

    /// Where its unit does.
    size_t unitPosition() const { return unitBegin; }

private:
    std::string_view line;
    size_t begin = 0;
    size_t unitBegin = 0;
    size_t end = 0; ///< everything before it was looked at
};

/// Whether \a found, whose unit is unknown, is a word, such as "2nd", "0x10", "3D" or "1e5e3".
bool isWord(const NumberWithUnit &found);

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
