// Proves that a line holds numbers, for sixty-four bytes at once. For each kind of character there
// are sixty-four bits, which tell where it stands. Sixty-four other bits hold a cursor for each
// word of the line. All cursors move at once over the parts that a number may have: a sign, digits,
// a point and digits, an exponent. The words are numbers if every cursor then stands at a blank.
// Adding the cursors to the bits of the digits moves them over the digits: the carry runs through a
// run of ones and stops behind it.
//
// Of sixty-four bytes we judge the words that end in them. The next sixty-four bytes begin behind
// the last of these words.

#include "NumberLine.h"

#include "Bytes64.h"
#include "LineReader.h"

#include <algorithm>

namespace Talmo
{

namespace
{

using Bits = Bytes64::Bits;
static_assert(sizeof(Bits) * 8 <= LineReader::padding);

/// Moves those \a cursors that stand at one of \a bits behind it.
Bits stepOver(Bits cursors, Bits bits)
{
    return (cursors & bits) << 1 | (cursors & ~bits);
}

/// Moves those \a cursors that stand in a run of \a bits behind its end.
Bits runOver(Bits cursors, Bits bits)
{
    return (cursors + bits) & ~bits;
}

/// Whether an exponent stands between each of \a cursors and the next blank. An exponent of three
/// digits does not count here, because its number may be too large for a double.
bool areExponents(Bits cursors, Bits blanks, Bits digits, Bits signs, const Bytes64 &bytes)
{
    const Bits letters = bytes.anyOf('e', 'E');
    const Bits first = stepOver((cursors & letters) << 1, signs);
    const Bits end = stepOver(stepOver(first, digits), digits);
    return ((cursors & ~letters) | (first & ~digits) | (end & ~blanks)) == 0;
}

/// Whether each word that begins at one of \a starts is a number.
bool areNumbers(Bits starts, Bits blanks, const Bytes64 &bytes)
{
    const Bits digits = bytes.digits();
    const Bits points = bytes.anyOf('.');
    const Bits signs = bytes.anyOf('+', '-');
    const Bits whole = stepOver(starts, signs);
    const Bits bare = whole & ~digits; // at these cursors there must be a point and a digit
    if ((stepOver(bare, points) & ~digits) != 0)
        return false;
    const Bits fraction = stepOver(runOver(whole, digits), points);
    const Bits unfinished = runOver(fraction, digits) & ~blanks;
    return unfinished == 0 || areExponents(unfinished, blanks, digits, signs, bytes);
}

/// The lowest \a count bits; \a count is less than 64.
Bits lowest(std::size_t count)
{
    return (Bits(1) << count) - 1;
}

} // namespace

bool isNumberLine(const char *begin, const char *end, std::size_t count)
{
    std::size_t words = 0;
    while (begin < end) {
        const Bytes64 bytes(begin);
        const Bits blanks = bytes.anyOf(' ', '\t', '\n');
        if (blanks == 0)
            return false;
        const auto left = static_cast<std::size_t>(end - begin);
        const auto lastBlank = static_cast<std::size_t>(63 - __builtin_clzll(blanks));
        const std::size_t length = std::min(left, lastBlank);
        const Bits starts = ~blanks & ~(~blanks << 1) & lowest(length);
        if (!areNumbers(starts, blanks, bytes))
            return false;
        words += static_cast<std::size_t>(__builtin_popcountll(starts));
        begin += length + 1;
    }
    return words >= count;
}

} // namespace Talmo
