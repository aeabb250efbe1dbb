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

/// Eight characters, the first one lowest. A digit becomes its value; anything else becomes more
/// than 9.
inline std::uint64_t digitsAt(const char *text)
{
    return qFromLittleEndian<std::uint64_t>(text) ^ 0x3030303030303030;
}

/// The high bit of each of \a bytes that is more than 9. One of 138 and more may also mark the byte
/// behind it.
inline std::uint64_t nonDigits(std::uint64_t bytes)
{
    return ((bytes + 0x7676767676767676) | bytes) & 0x8080808080808080;
}

/// The number whose digits are the lowest \a count, at least 1, of \a bytes.
inline std::uint64_t valueOf(std::uint64_t bytes, int count)
{
    bytes <<= 64 - 8 * count;          // behind zeros; then two digits to a number, then four,
    bytes = bytes * 10 + (bytes >> 8); // then eight
    const std::uint64_t outer = (bytes & 0xFF000000FF) * (100 + (std::uint64_t(1000000) << 32));
    const std::uint64_t inner = (bytes >> 16 & 0xFF000000FF) * (1 + (std::uint64_t(10000) << 32));
    return (outer + inner) >> 32;
}

/// Reads the digits at \a text, of which there may be none, behind those of \a number; returns
/// where they end. Reads up to 8 bytes beyond. More than 19 digits in all overflow.
inline const char *quickDigits(const char *text, std::uint64_t &number)
{
    static constexpr std::uint64_t powers[] = {
        1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
    for (int count = 8; count == 8; text += count) {
        const std::uint64_t bytes = digitsAt(text);
        const std::uint64_t others = nonDigits(bytes);
        count = others == 0 ? 8 : __builtin_ctzll(others) / 8;
        if (count == 0)
            break;
        number = number * powers[count] + valueOf(bytes, count);
    }
    return text;
}

/// The digits of a number without a sign, and the power of ten that they are to be multiplied by.
struct QuickMantissa {
    std::uint64_t digits = 0;
    std::ptrdiff_t count = 0;
    std::ptrdiff_t exponent = 0;
};

/// Reads digits with a point in them; returns where they end. Null if there is no point, if they
/// take up more than eight characters, or if the point is the only one.
inline const char *shortMantissa(const char *text, QuickMantissa &mantissa)
{
    const std::uint64_t bytes = digitsAt(text);
    const std::uint64_t others = nonDigits(bytes);
    const std::uint64_t behindPoint = others & (others - 1);
    const int point = others == 0 ? 8 : __builtin_ctzll(others) / 8;
    const int end = behindPoint == 0 ? 8 : __builtin_ctzll(behindPoint) / 8;
    const bool goesOn = end == 8 && text[8] >= '0' && text[8] <= '9';
    if (text[point] != '.' || point >= end || end == 1 || goesOn)
        return nullptr;
    const std::uint64_t whole = (std::uint64_t(1) << (8 * point)) - 1;
    mantissa.digits = valueOf((bytes & whole) | (bytes >> 8 & ~whole), end - 1); // no point
    mantissa.count = end - 1;
    mantissa.exponent = point + 1 - end;
    return text + end;
}

/// Reads any mantissa; returns where it ends. It may have no digits.
inline const char *longMantissa(const char *text, QuickMantissa &mantissa)
{
    const char *end = quickDigits(text, mantissa.digits);
    mantissa.count = end - text;
    if (*end == '.') {
        const char *const fraction = end + 1;
        end = quickDigits(fraction, mantissa.digits);
        mantissa.count += end - fraction;
        mantissa.exponent = fraction - end; // each digit of the fraction shifts the point by one
    }
    return end;
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
    static constexpr double signs[] = {1.0, -1.0};
    static constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10,
        1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr std::ptrdiff_t largestPower = 22;
    const int negative = *text == '-'; // no branch: signs are hard to predict
    text += negative | static_cast<int>(*text == '+');

    QuickMantissa mantissa;
    const char *end = shortMantissa(text, mantissa); // a third less to do, where it is enough
    if (end == nullptr)
        end = longMantissa(text, mantissa);
    const std::uint64_t digits = mantissa.digits;
    std::ptrdiff_t exponent = mantissa.exponent;
    const bool isExact = mantissa.count > 0 && mantissa.count <= 19 && digits >> DBL_MANT_DIG == 0;
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
