#pragma once

#include <QtGlobal>

#include <charconv>
#include <cstdarg>
#include <string>
#include <string_view>

/// Reads and writes numbers as text, in the same way under every locale of the process.
namespace Talmo
{

/// Reads the whole of \a word as a number: an optional sign, digits with or without a decimal
/// point, and an optional exponent ("-1", "+.5", "5.", "2.5E-3"). Returns false, and does not
/// change \a value, for everything else: "nan", "inf", "0x10", "1e", "", and magnitudes that
/// overflow a double. A magnitude that is too small for a double becomes the nearest one, 0 or a
/// subnormal number.
bool toNumber(std::string_view word, double &value);

/// Reads the whole of \a word as a decimal integer with an optional sign. Returns false, and does
/// not change \a value, for everything else and for a number that does not fit in an int.
bool toInteger(std::string_view word, int &value);

/// Appends \a value to \a text as printf's "%.*g" writes it in the C locale, with \a digits
/// significant digits: -0 keeps its sign, and ties round to even. With another \a notation it
/// writes what "%.*f" or "%.*e" would, with up to 4095 digits behind the point.
void appendNumber(std::string &text, double value, int digits = 6,
    std::chars_format notation = std::chars_format::general);

/// What vprintf would print for \a format and \a arguments in the C locale; empty if the C library
/// reports an error.
std::string formatted(const char *format, va_list arguments) Q_ATTRIBUTE_FORMAT_PRINTF(1, 0);

/// What printf would print for \a format, which takes one double, and \a value in the C locale.
std::string formattedNumber(const std::string &format, double value);

} // namespace Talmo
