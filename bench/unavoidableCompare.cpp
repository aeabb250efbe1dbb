// Two files side by side, straight from the page cache. Lines that are equal in both are only
// looked through: are their columns numbers? In any other, both numbers of each column are
// converted.
//
// Characters are taken eight at a time, as one integer whose lowest byte is the first of them. A
// run of digits ends at the first byte that is none. The digits on both sides of the point are
// moved together, and become a number in three multiplications. Few branches depend on what the
// numbers are: one that is guessed wrong takes longer than all the rest.

#include "unavoidable.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Unavoidable
{

namespace
{

constexpr uint64_t everyByte(uint64_t byte)
{
    return byte * 0x0101010101010101U;
}

uint64_t eightAt(const char *text)
{
    uint64_t eight = 0;
    std::memcpy(&eight, text, sizeof eight);
    return eight;
}

/// How many of \a eight characters are digits, up to the first that is none.
int digitCount(uint64_t eight)
{
    // The high half of a digit is 3, and still is when 6 is added. What a byte carries over can
    // only spoil those behind it.
    const uint64_t others = ((eight & everyByte(0xF0)) ^ everyByte(0x30)) |
                            (((eight + everyByte(0x06)) & everyByte(0xF0)) ^ everyByte(0x30));
    return others == 0 ? 8 : __builtin_ctzll(others) / 8;
}

/// The last \a count bytes, moved to the end of eight; the others are 0.
uint64_t movedToEnd(uint64_t eight, int count)
{
    return count == 0 ? 0 : eight << (64 - 8 * count);
}

/// The number that eight digits make; bytes of 0 count as the digit.
uint64_t digitsValue(uint64_t eight)
{
    eight &= everyByte(0x0F);
    eight = eight * 10 + (eight >> 8); // each even byte: two digits
    const uint64_t first = (eight & 0x000000FF000000FFU) * 0x000F424000000064U;
    const uint64_t second = ((eight >> 16) & 0x000000FF000000FFU) * 0x0000271000000001U;
    return (first + second) >> 32;
}

constexpr int largestExactPower = 22; // of ten, in a double
constexpr double powers[largestExactPower + 1] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9,
    1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// Whether a word ends here; the 0 is that behind the end of the file.
bool isEnd(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r') || character == '\0';
}

const char *skipBlanks(const char *text)
{
    if (*text == ' ')
        ++text;
    while (*text <= ' ' && isEnd(*text) && *text != '\n' && *text != '\0')
        ++text;
    return text;
}

/// A number, and where its word ends: null if it is none.
struct Number {
    double value = 0;
    const char *end = nullptr;
};

/// The number at \a text, of whatever length.
Number anyNumber(const char *text)
{
    const char *end = text;
    while (!isEnd(*end))
        ++end;
    Number number;
    if (readNumber({text, static_cast<size_t>(end - text)}, number.value))
        number.end = end;
    return number;
}

/// The number at \a text: for up to eight digits, and an exponent of up to two. In registers, so
/// that two numbers can be read side by side.
[[gnu::always_inline]] inline Number numberAt(const char *const text)
{
    const bool negative = *text == '-';
    const char *end = text + static_cast<int>(negative) + static_cast<int>(*text == '+');
    const uint64_t whole = eightAt(end);
    const int wholeCount = digitCount(whole);
    end += wholeCount;
    uint64_t part = 0;
    int partCount = 0;
    if (*end == '.') {
        part = eightAt(++end);
        partCount = digitCount(part);
        end += partCount;
    }
    int power = -partCount;
    const int count = wholeCount + partCount;
    bool simple = count >= 1 && count <= 8;
    if (*end == 'e' || *end == 'E') {
        const bool small = *++end == '-';
        end += static_cast<int>(small) + static_cast<int>(*end == '+');
        const uint64_t digits = eightAt(end);
        const int digitsCount = digitCount(digits);
        const auto exponent = static_cast<int>(digitsValue(movedToEnd(digits, digitsCount)));
        power += small ? -exponent : exponent;
        end += digitsCount;
        simple = simple && (digitsCount == 1 || digitsCount == 2);
    }
    if (!simple || !isEnd(*end) || std::abs(power) > largestExactPower)
        return anyNumber(text);
    const uint64_t digits =
        (movedToEnd(whole, wholeCount) >> (8 * partCount % 64)) | movedToEnd(part, partCount);
    // An integer and a power of ten that doubles hold exactly give the nearest double.
    const auto exact = static_cast<double>(digitsValue(digits));
    const double magnitude = power < 0 ? exact / powers[-power] : exact * powers[power];
    return {negative ? -magnitude : magnitude, end};
}

bool areClose(const char *line1, const char *line2, int columns, double tolerance)
{
    line1 = skipBlanks(line1);
    line2 = skipBlanks(line2);
    if (*line1 == '#' && *line2 == '#')
        return true;
    for (int column = 0; column < columns; ++column) {
        const Number number1 = numberAt(skipBlanks(line1));
        const Number number2 = numberAt(skipBlanks(line2));
        line1 = number1.end;
        line2 = number2.end;
        if (line1 == nullptr || line2 == nullptr ||
            std::fabs(number1.value - number2.value) > tolerance)
            return false;
    }
    return true;
}

/// The lines that \a text1 and \a text2 begin with alike; not all, if there are many.
std::string_view equalLines(std::string_view text1, std::string_view text2)
{
    constexpr size_t most = 1 << 16; // stays in the cache
    const size_t end = std::min({text1.size(), text2.size(), most});
    size_t length = 0;
    while (length < end && eightAt(text1.data() + length) == eightAt(text2.data() + length))
        length += 8;
    length = std::min(length, end);
    while (length > 0 && text1[length - 1] != '\n')
        --length;
    return text1.substr(0, length);
}

/// Takes the first line of \a text.
const char *takeLine(std::string_view &text)
{
    const auto *newline = static_cast<const char *>(std::memchr(text.data(), '\n', text.size()));
    const size_t length =
        newline == nullptr ? text.size() : static_cast<size_t>(newline - text.data()) + 1;
    const char *const line = text.data();
    text.remove_prefix(length);
    return line;
}

} // namespace

int compareColumns(const Arguments &arguments)
{
    const MappedFile file1(arguments[0]);
    const MappedFile file2(arguments[1]);
    const int columns = std::stoi(arguments[2]);
    const double tolerance = std::stod(arguments[3]);
    std::string_view rest1 = file1.text();
    std::string_view rest2 = file2.text();
    while (!rest1.empty() && !rest2.empty()) {
        const std::string_view equal = equalLines(rest1, rest2);
        if (!equal.empty() && areSurelyNumbers(equal, columns)) {
            rest1.remove_prefix(equal.size());
            rest2.remove_prefix(equal.size());
        } else if (!areClose(takeLine(rest1), takeLine(rest2), columns, tolerance)) {
            return 1;
        }
    }
    return rest1.empty() && rest2.empty() ? 0 : 1;
}

int compareExactly(const Arguments &arguments)
{
    const MappedFile file1(arguments[0]);
    const MappedFile file2(arguments[1]);
    return file1.text() == file2.text() ? 0 : 1;
}

} // namespace Unavoidable
