#pragma once

#include <QtGlobal>

#include <charconv>
#include <cstdarg>
#include <string>
#include <string_view>

/// Numbers as text, read and written alike under every locale of the process.
namespace Talmo
{

/// Reads \a word, the whole of it, as an optional sign, digits with a decimal point, and an
/// optional exponent ("-1", "+.5", "5.", "2.5E-3"). Returns false, and leaves \a value alone, for
/// everything else: "nan", "inf", "0x10", "1e", "", and magnitudes that overflow a double. One
/// that is too small for a double is the nearest, 0 or a subnormal.
bool toNumber(std::string_view word, double &value);

/// Reads \a word, the whole of it, as a decimal integer with an optional sign. Returns false, and
/// leaves \a value alone, for everything else and for what does not fit in an int.
bool toInteger(std::string_view word, int &value);

/// Appends \a value to \a text as printf's "%.*g" writes it in the C locale: -0 keeps its sign,
/// ties round to even, \a digits significant digits. In another \a notation as "%.*f" or "%.*e"
/// does, with up to 4095 digits behind the point.
void appendNumber(std::string &text, double value, int digits = 6,
    std::chars_format notation = std::chars_format::general);

/// What vprintf would print for \a format and \a arguments in the C locale; empty if the C library
/// reports an error.
std::string formatted(const char *format, va_list arguments) Q_ATTRIBUTE_FORMAT_PRINTF(1, 0);

/// What printf would print for \a format, which takes one double, and \a value in the C locale.
std::string formattedNumber(const std::string &format, double value);

} // namespace Talmo
