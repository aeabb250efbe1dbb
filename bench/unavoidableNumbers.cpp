// Whether lines consist of numbers, 64 characters at a time. Each kind of character is a row of 64
// bits, the lowest for the first character, and each rule about neighbours is a few operations on
// rows. What a rule needs to know about the 64 characters before is carried along.
//
// Runs of digits are passed by an addition: a bit at the begin of a run makes a carry that runs
// through it, and comes to rest behind it.

#include "unavoidable.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Unavoidable
{

#ifdef __SSE2__

namespace
{

/// 64 characters by their kinds.
struct Kinds {
    uint64_t digits = 0;
    uint64_t points = 0;
    uint64_t signs = 0;
    uint64_t exponents = 0;
    uint64_t blanks = 0; ///< newlines, too
    uint64_t newlines = 0;

    explicit Kinds(const char *text)
    {
        for (int part = 0; part < 64; part += 16) {
            const __m128i sixteen = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text + part));
            const auto is = [&](char character) {
                return _mm_cmpeq_epi8(sixteen, _mm_set1_epi8(character));
            };
            const auto isWithin = [&](char first,
                                      char last) { // unsigned, so that there is no below
                const __m128i distance = _mm_sub_epi8(sixteen, _mm_set1_epi8(first));
                const __m128i most = _mm_set1_epi8(static_cast<char>(last - first));
                return _mm_cmpeq_epi8(_mm_min_epu8(distance, most), distance);
            };
            const auto add = [&](uint64_t &bits, __m128i where) {
                bits |= static_cast<uint64_t>(_mm_movemask_epi8(where)) << part;
            };
            add(digits, isWithin('0', '9'));
            add(points, is('.'));
            add(signs, _mm_or_si128(is('-'), is('+')));
            add(exponents, _mm_or_si128(is('e'), is('E')));
            add(blanks, _mm_or_si128(is(' '), isWithin('\t', '\r')));
            add(newlines, is('\n'));
        }
    }
};

/// What stands behind what: a row moved by one, with the end of the row before.
class Behind
{
public:
    uint64_t operator()(uint64_t bits)
    {
        const uint64_t moved = bits << 1 | last;
        last = bits >> 63;
        return moved;
    }

private:
    uint64_t last = 0;
};

/// Where runs of digits end: the first character behind each.
class RunEnds
{
public:
    /// \a begins may also be right behind a run of no digits.
    uint64_t operator()(uint64_t begins, uint64_t digits)
    {
        uint64_t ends = 0;
        const bool overflow1 = __builtin_add_overflow(digits, begins, &ends);
        const bool overflow2 = __builtin_add_overflow(ends, carry, &ends);
        carry = static_cast<uint64_t>(overflow1 || overflow2);
        return ends & ~digits;
    }

private:
    uint64_t carry = 0;
};

/// The grammar of numbers, for one row after the other.
class NumberRules
{
public:
    /// False if there is something else than numbers, or one that may be too large for a double.
    bool accept(const Kinds &row)
    {
        const uint64_t behindExponent = behindExponents(row.exponents);
        const uint64_t behindPoint = behindPoints(row.points);
        const uint64_t behindDigit = behindDigits(row.digits);
        const uint64_t words = row.digits | row.points | row.signs | row.exponents;
        begins = words & ~behindWords(words);
        const uint64_t exponentSigns = row.signs & behindExponent;
        const uint64_t exponentBegins =
            behindExponentSigns(exponentSigns) | (behindExponent & ~row.signs);
        const uint64_t thirdDigits =
            row.digits & behindSeconds(row.digits & behindFirsts(row.digits & exponentBegins));
        const uint64_t wrong =
            ~(words | row.blanks) | (row.signs & ~(begins | behindExponent)) |
            (behindSigns(row.signs) & ~(row.digits | row.points)) |
            (behindBarePoints(row.points & ~behindDigit) & ~row.digits) |
            (row.exponents & ~(behindDigit | behindPoint)) | (exponentBegins & ~row.digits) |
            (fractionEnds(behindPoint, row.digits) & ~(row.blanks | row.exponents)) |
            (exponentEnds(exponentBegins, row.digits) & ~row.blanks) | thirdDigits;
        return wrong == 0 && ~row.digits != 0;
    }

    uint64_t begins = 0; ///< of words, in the latest row

private:
    Behind behindExponents, behindPoints, behindDigits, behindWords, behindSigns;
    Behind behindExponentSigns, behindBarePoints, behindFirsts, behindSeconds;
    RunEnds fractionEnds, exponentEnds;
};

} // namespace

bool areSurelyNumbers(std::string_view lines, int columns)
{
    NumberRules rules;
    int words = 0; // of the line that is being read
    for (; !lines.empty(); lines.remove_prefix(std::min<size_t>(lines.size(), 64))) {
        char end[64];
        if (lines.size() < 64) // blanks behind the last line
            lines.copy(static_cast<char *>(std::memset(end, ' ', sizeof end)), sizeof end);
        const Kinds row(lines.size() < 64 ? end : lines.data());
        if (!rules.accept(row))
            return false;
        uint64_t begins = rules.begins;
        for (uint64_t newlines = row.newlines; newlines != 0; newlines &= newlines - 1) {
            const uint64_t before = (newlines & -newlines) - 1;
            if (words + __builtin_popcountll(begins & before) < columns)
                return false;
            begins &= ~before;
            words = 0;
        }
        words += __builtin_popcountll(begins);
    }
    return words == 0;
}

#else

bool areSurelyNumbers(std::string_view /*lines*/, int /*columns*/)
{
    return false;
}

#endif

} // namespace Unavoidable
