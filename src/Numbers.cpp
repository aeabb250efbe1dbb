// std::from_chars and std::to_chars do not depend on the locale, and do nearly all of the work.
// Three cases need more:
// - from_chars accepts "nan" and "inf" but no "+", so we look at the start of a word first.
// - It does not tell a number that is too large from one that is too small. strtod_l does.
// - Formats of printf need vsnprintf, which follows the locale: the thread gets that of C
// meanwhile.

#include "talmo/Numbers.h"

#include <cassert>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <locale.h> // locale_t and strtod_l, of POSIX

namespace Talmo
{

namespace
{

/// The C locale. The locale of the process may print and expect a decimal comma.
locale_t cLocale()
{
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

/// Drops a leading "+", which std::from_chars does not accept. Returns false for "+-", since "+-1"
/// is no number.
bool dropPlus(std::string_view &word)
{
    if (word.empty() || word.front() != '+')
        return true;
    word.remove_prefix(1);
    return word.empty() || word.front() != '-';
}

/// True if \a word begins with a digit or a point, after a "-" if there is one. This excludes "nan"
/// and "inf".
bool startsAsDecimal(std::string_view word)
{
    if (!word.empty() && word.front() == '-')
        word.remove_prefix(1);
    return !word.empty() && (word.front() == '.' || (word.front() >= '0' && word.front() <= '9'));
}

/// Does what formatted does, for arguments that are listed one by one.
std::string formattedList(const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::string text = formatted(format, arguments);
    va_end(arguments);
    return text;
}

} // namespace

bool toNumber(std::string_view word, double &value)
{
    if (!dropPlus(word) || !startsAsDecimal(word))
        return false;
    double number = 0;
    const char *const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error == std::errc::invalid_argument || stop != end)
        return false;
    if (error == std::errc::result_out_of_range) { // the number is too large or too small
        number = strtod_l(std::string(word).c_str(), nullptr, cLocale());
        if (std::isinf(number))
            return false;
    }
    value = number;
    return true;
}

bool toInteger(std::string_view word, int &value)
{
    if (!dropPlus(word))
        return false;
    int number = 0;
    const char *const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    if (error != std::errc() || stop != end)
        return false;
    value = number;
    return true;
}

void appendNumber(std::string &text, double value, int digits, std::chars_format notation)
{
    char buffer[4500]; // for a sign, at most 309 digits before the point, and 4095 behind it
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, notation, digits);
    assert(error == std::errc());
    text.append(buffer, end);
}

std::string formatted(const char *format, va_list arguments)
{
    const locale_t previous = uselocale(cLocale());
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    if (length > 0)
        std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    uselocale(previous);
    return text;
}

std::string formattedNumber(const std::string &format, double value)
{
    return formattedList(format.c_str(), value);
}

} // namespace Talmo
