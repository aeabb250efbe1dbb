#pragma once

#include <cstddef>
#include <string_view>

namespace Talmo
{

// What a line, bytes of UTF-8, is made of.

inline bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

inline bool isLetter(char byte)
{
    const int lowerCase = byte | 0x20; // the bit that tells "A" from "a"
    return lowerCase >= 'a' && lowerCase <= 'z';
}

inline bool isLetterOrDigit(char byte)
{
    return isLetter(byte) || isDigit(byte);
}

inline bool isAscii(char byte)
{
    return static_cast<unsigned char>(byte) < 0x80;
}

/// The byte at \a position of \a line; NUL behind the end.
inline char byteAt(std::string_view line, size_t position)
{
    return position < line.size() ? line[position] : '\0';
}

/// Where the bytes of one \a kind end that begin at \a position of \a line.
template <typename Predicate>
size_t endOf(Predicate kind, std::string_view line, size_t position)
{
    while (position < line.size() && kind(line[position]))
        ++position;
    return position;
}

/// A character of a line. A byte that is no UTF-8 is taken as Latin-1.
struct Character {
    char32_t code = 0;
    size_t size = 0; ///< in bytes; 0 at the end of the line
};

/// The one that begins at \a position of \a line.
Character characterAt(std::string_view line, size_t position);

/// The same as wordEnd, for any characters.
size_t anyWordEnd(std::string_view line, size_t position);

/// Where the letters, marks and digits of any alphabet, also raised ones, end that begin at
/// \a position of \a line.
inline size_t wordEnd(std::string_view line, size_t position)
{
    position = endOf(isLetterOrDigit, line, position);
    return isAscii(byteAt(line, position)) ? position : anyWordEnd(line, position);
}

/// Whether a letter, mark or digit of any alphabet, or "_", ends before \a position of \a line. A
/// byte that is no UTF-8 counts as a letter.
bool isWordBefore(std::string_view line, size_t position);

/// Whether what stands before \a position of \a line makes a word of the number there.
bool isBound(std::string_view line, size_t position);

/// Where the exponent ends that begins at \a position of \a line; \a position if there is none.
inline size_t exponentEnd(std::string_view line, size_t position)
{
    if ((byteAt(line, position) | 0x20) != 'e')
        return position;
    const char sign = byteAt(line, position + 1);
    const size_t digits = position + (sign == '+' || sign == '-' ? 2 : 1);
    return isDigit(byteAt(line, digits)) ? endOf(isDigit, line, digits) : position;
}

/// Where the number ends that begins at \a position of \a line, with its exponent. A point without
/// a digit behind it is no part of it.
inline size_t numberEnd(std::string_view line, size_t position)
{
    size_t end = endOf(isDigit, line, position);
    if (byteAt(line, end) == '.' && isDigit(byteAt(line, end + 1)))
        end = endOf(isDigit, line, end + 1);
    return exponentEnd(line, end);
}

} // namespace Talmo
