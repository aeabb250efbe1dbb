// Reading a number eight digits at a time. A number of at most fifteen or sixteen digits, shifted
// by a power of ten that is itself a double, is one multiplication or division of two exact doubles
// and therefore rounded once, as it must be (W. D. Clinger, "How to Read Floating Point Numbers
// Accurately", PLDI 1990). That covers nearly all that simulations print.

#pragma once

#include <QtEndian>

#include <cfloat>
#include <cstddef>
#include <cstdint>

namespace Talmo
{

/// Reads the digits at \a text, of which there may be none, behind those of \a number; returns
/// where they end. Reads up to 8 bytes beyond. More than 19 digits in all overflow.
inline const char *quickDigits(const char *text, std::uint64_t &number)
{
    constexpr std::uint64_t powers[] = {
        1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    for (int count = 8; count == 8;) {
        // The first byte is the lowest. A digit becomes its value; anything else becomes more than
        // 9, which sets the high bit, and carries into bytes behind it only.
        std::uint64_t bytes = qFromLittleEndian<std::uint64_t>(text) ^ 0x3030303030303030;
        const std::uint64_t others = ((bytes + 0x7676767676767676) | bytes) & 0x8080808080808080;
        count = others == 0 ? 8 : __builtin_ctzll(others) / 8;
        if (count == 0)
            break;
        bytes <<= 64 - 8 * count;          // behind zeros; then two digits to a number, then four,
        bytes = bytes * 10 + (bytes >> 8); // then eight
        const std::uint64_t outer = (bytes & 0xFF000000FF) * (100 + (std::uint64_t(1000000) << 32));
        const std::uint64_t inner =
            (bytes >> 16 & 0xFF000000FF) * (1 + (std::uint64_t(10000) << 32));
        number = number * powers[count] + ((outer + inner) >> 32);
        text += count;
    }
    return text;
}

/// Adds the exponent at \a text, which begins with its letter, to \a exponent; returns where it
/// ends, or null if it has no digits, or more than three.
inline const char *quickExponent(const char *text, std::ptrdiff_t &exponent)
{
    const bool isNegative = text[1] == '-';
    const char *const digits = text + (isNegative || text[1] == '+' ? 2 : 1);
    std::uint64_t magnitude = 0;
    const char *const end = quickDigits(digits, magnitude);
    if (end == digits || end - digits > 3)
        return nullptr;
    const auto shift = static_cast<std::ptrdiff_t>(magnitude);
    exponent += isNegative ? -shift : shift;
    return end;
}

/// Reads the number at \a text into \a value, as toNumber would; returns where it ends. Returns
/// null if there is none, or if it is one of the few that are not as easy as this. What follows a
/// number is for the caller to judge. Reads up to 8 bytes beyond.
inline const char *quickNumber(const char *text, double &value)
{
    constexpr double signs[] = {1.0, -1.0};
    constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12,
        1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr std::ptrdiff_t largestPower = 22;
    const int negative = *text == '-'; // no branch: signs are hard to predict
    text += negative | static_cast<int>(*text == '+');

    std::uint64_t digits = 0;
    std::ptrdiff_t exponent = 0;
    const char *end = quickDigits(text, digits);
    std::ptrdiff_t count = end - text;
    if (*end == '.') {
        const char *const fraction = end + 1;
        end = quickDigits(fraction, digits);
        count += end - fraction;
        exponent = fraction - end; // each digit of the fraction shifts the point by one
    }
    const bool isExact = count > 0 && count <= 19 && digits >> DBL_MANT_DIG == 0;
    if (isExact && (*end == 'e' || *end == 'E'))
        end = quickExponent(end, exponent);
    if (!isExact || end == nullptr || exponent < -largestPower || exponent > largestPower ||
        FLT_EVAL_METHOD != 0)
        return nullptr;
    const auto exact = static_cast<double>(static_cast<std::int64_t>(digits));
    value = (exponent < 0 ? exact / powers[-exponent] : exact * powers[exponent]) * signs[negative];
    return end;
}

} // namespace Talmo
