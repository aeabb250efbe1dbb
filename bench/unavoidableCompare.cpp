// Two files side by side, straight from the page cache. A line that is equal in both is only looked
// through: are its columns numbers? In any other, both numbers of each column are converted.
//
// Characters are taken eight at a time, as one integer whose lowest byte is the first of them. A
// run of digits ends at the first byte that is no digit, and up to eight digits become a number in
// three multiplications.

#include "unavoidable.h"

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

/// The number that the first \a count of \a eight characters, all of them digits, make.
uint64_t digitsValue(uint64_t eight, int count)
{
    if (count == 0)
        return 0;
    eight = (eight & everyByte(0x0F)) << (64 - 8 * count); // to the end, with zeros in front
    eight = eight * 10 + (eight >> 8);                     // each even byte: two digits
    const uint64_t first = (eight & 0x000000FF000000FFU) * 0x000F424000000064U;
    const uint64_t second = ((eight >> 16) & 0x000000FF000000FFU) * 0x0000271000000001U;
    return (first + second) >> 32;
}

constexpr uint64_t integerPowers[] = {
    1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000};
constexpr int largestExactPower = 22; // of ten, in a double
constexpr double powers[largestExactPower + 1] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9,
    1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

/// Whether a word ends here; the 0 is that behind the end of the file.
bool isEnd(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r') || character == '\0';
}

void skipBlanks(const char *&text)
{
    while (isEnd(*text) && *text != '\n' && *text != '\0')
        ++text;
}

/// Passes a run of digits, and returns how many they are. With \a Convert they are appended to
/// \a value.
template <bool Convert>
int passDigits(const char *&text, uint64_t &value)
{
    int sum = 0;
    int count = 8;
    while (count == 8) {
        const uint64_t eight = eightAt(text);
        count = digitCount(eight);
        if (Convert)
            value = value * integerPowers[count] + digitsValue(eight, count);
        text += count;
        sum += count;
    }
    return sum;
}

/// Passes a number, up to the end of its word; false if the word is none. With \a Convert it is
/// what \a number becomes.
template <bool Convert>
bool passNumber(const char *&text, double &number)
{
    const char *const word = text;
    const bool negative = *text == '-';
    if (negative || *text == '+')
        ++text;
    uint64_t mantissa = 0;
    int power = 0;
    int digits = passDigits<Convert>(text, mantissa);
    if (*text == '.') {
        ++text;
        power = -passDigits<Convert>(text, mantissa);
        digits -= power;
    }
    if (digits == 0)
        return false;
    if (*text == 'e' || *text == 'E') {
        ++text;
        const bool small = *text == '-';
        if (small || *text == '+')
            ++text;
        uint64_t exponent = 0;
        const int exponentDigits = passDigits<true>(text, exponent);
        if (exponentDigits == 0 || exponentDigits > 3)
            return false;
        power += small ? -static_cast<int>(exponent) : static_cast<int>(exponent);
    }
    if (!isEnd(*text))
        return false;
    if (!Convert)
        return true;
    // An integer and a power of ten that doubles hold exactly give the nearest double.
    if (digits < 20 && mantissa >> 53 == 0 && std::abs(power) <= largestExactPower) {
        const auto exact = static_cast<double>(mantissa);
        number = power < 0 ? exact / powers[-power] : exact * powers[power];
        number = negative ? -number : number;
        return true;
    }
    const char *const unsignedWord = *word == '+' ? word + 1 : word;
    return readNumber({unsignedWord, static_cast<size_t>(text - unsignedWord)}, number);
}

bool areNumbers(const char *line, int columns)
{
    double ignored = 0;
    for (int column = 0; column < columns; ++column) {
        skipBlanks(line);
        if (!passNumber<false>(line, ignored))
            return *line == '#' && column == 0;
    }
    return true;
}

bool areClose(const char *line1, const char *line2, int columns, double tolerance)
{
    if (*line1 == '#' && *line2 == '#')
        return true;
    for (int column = 0; column < columns; ++column) {
        double number1 = 0;
        double number2 = 0;
        skipBlanks(line1);
        skipBlanks(line2);
        if (!passNumber<true>(line1, number1) || !passNumber<true>(line2, number2) ||
            std::fabs(number1 - number2) > tolerance)
            return false;
    }
    return true;
}

/// Takes the first line of \a text, its newline included.
std::string_view takeLine(std::string_view &text)
{
    const auto *newline = static_cast<const char *>(std::memchr(text.data(), '\n', text.size()));
    const size_t length =
        newline == nullptr ? text.size() : static_cast<size_t>(newline - text.data()) + 1;
    const std::string_view line = text.substr(0, length);
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
        const std::string_view line = takeLine(rest1);
        const char *const other = rest2.data();
        bool agree = false;
        if (rest2.substr(0, line.size()) == line) {
            rest2.remove_prefix(line.size());
            agree = areNumbers(line.data(), columns);
        } else {
            takeLine(rest2);
            agree = areClose(line.data(), other, columns, tolerance);
        }
        if (!agree)
            return 1;
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
