// Most lines that are compared agree, and most of these agree to the byte. So the files are first
// passed over here, as bytes in memory, up to a line that needs a closer look. The only decision
// made here is that lines agree, and the only thing changed is the position in each file. The lines
// that follow are judged and reported one by one (see Difference.cpp).

#include "AgreeingLines.h"

#include "NumberLine.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numeric>

namespace Talmo
{

namespace
{

bool isUsualBlank(char character)
{
    return character == ' ' || character == '\t';
}

bool isWordEnd(char character)
{
    return isUsualBlank(character) || character == '\n';
}

const char *skipBlanks(const char *text)
{
    while (isUsualBlank(*text))
        ++text;
    return text;
}

/// True for an ASCII character that is not a blank of any kind.
bool isPlain(char character)
{
    return character > ' ' && character < '\x7F';
}

/// The lines of a window, from the front.
class Lines
{
public:
    explicit Lines(std::string_view window)
        : begin(window.data())
        , next(begin)
        , end(begin + window.size())
    {
    }

    bool isEmpty() const { return next == end; }
    const char *front() const { return next; }
    std::string_view rest() const { return {next, static_cast<size_t>(end - next)}; }
    size_t passed() const { return static_cast<size_t>(next - begin); }

    /// The newline at or behind \a text.
    const char *newlineFrom(const char *text) const
    {
        return static_cast<const char *>(std::memchr(text, '\n', static_cast<size_t>(end - text)));
    }

    void passThrough(const char *newline) { next = newline + 1; }

private:
    const char *begin;
    const char *next;
    const char *end;
};

const char *skipSign(const char *text)
{
    return text + (*text == '-' || *text == '+');
}

/// Reads the digits at \a text, if there are any, and appends them to \a number. Returns where they
/// end. More than 19 digits in all overflow.
const char *readDigits(const char *text, std::uint64_t &number)
{
    for (; *text >= '0' && *text <= '9'; ++text)
        number = number * 10 + static_cast<std::uint64_t>(*text - '0');
    return text;
}

/// Adds the number at \a text, which follows an "e", to \a exponent. Returns where it ends, or null
/// if it has no digits or more than two.
const char *readExponent(const char *text, std::ptrdiff_t &exponent)
{
    const char *const first = skipSign(text);
    std::uint64_t digits = 0;
    const char *const end = readDigits(first, digits);
    if (end == first || end - first > 2)
        return nullptr;
    const auto magnitude = static_cast<std::ptrdiff_t>(digits);
    exponent += *text == '-' ? -magnitude : magnitude;
    return end;
}

/// Reads the number at \a text into \a value as toNumber would, but faster. Returns where it ends,
/// or null if there is no number or if it is not short. A number is short if its digits, as a whole
/// number, and the power of ten that shifts the point are both doubles without an error. Then one
/// multiplication or division rounds once, as it must (W. D. Clinger, "How to Read Floating Point
/// Numbers Accurately", PLDI 1990).
const char *readShortNumber(const char *text, double &value)
{
    // 10^22 is the largest power of ten that is a double without an error.
    static constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10,
        1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    // A factor and no branch, because the processor can hardly predict signs.
    static constexpr double signs[] = {1.0, -1.0};
    const char *const first = skipSign(text);
    std::uint64_t digits = 0;
    const char *end = readDigits(first, digits);
    std::ptrdiff_t count = end - first;
    std::ptrdiff_t exponent = 0;
    if (*end == '.') {
        const char *const fraction = end + 1;
        end = readDigits(fraction, digits);
        count += end - fraction;
        exponent = fraction - end; // each digit behind the point shifts by one
    }
    if (*end == 'e' || *end == 'E')
        end = readExponent(end + 1, exponent);
    // Some processors compute with more digits than a double has, and so would round twice.
    if (count == 0 || count > DBL_DIG || std::abs(exponent) > 22 || FLT_EVAL_METHOD != 0)
        return nullptr;
    const auto exact = static_cast<double>(static_cast<std::int64_t>(digits));
    const double magnitude = exponent < 0 ? exact / powers[-exponent] : exact * powers[exponent];
    value = magnitude * signs[*text == '-'];
    return end; // null if the exponent was not short enough
}

/// Reads the number at \a text. Returns where its word ends, or null if the word is no number.
const char *readNumber(const char *text, double &value)
{
    if (const char *const end = readShortNumber(text, value); end != nullptr && isWordEnd(*end))
        return end;
    const char *end = text;
    while (isPlain(*end))
        ++end;
    const bool isNumber = toNumber({text, static_cast<size_t>(end - text)}, value);
    return isNumber && isWordEnd(*end) ? end : nullptr;
}

/// Passes the word at \a text. Returns where it ends, or null if it begins a comment or has
/// characters that are not plain.
const char *passWord(const char *text)
{
    const char *end = text;
    while (isPlain(*end))
        ++end;
    return end != text && *text != '#' ? end : nullptr; // the next column judges what ends it
}

bool areComments(const char *line1, const char *line2)
{
    return *line1 == '#' && *line2 == '#';
}

/// True if each column of the lines at \a text1 and \a text2 surely agrees.
bool columnsAgree(const char *text1, const char *text2, const std::vector<double> &tolerances)
{
    for (const double tolerance : tolerances) {
        double value1 = 0;
        double value2 = 0;
        const auto pass = [tolerance](const char *text, double &value) {
            const char *const word = skipBlanks(text);
            return tolerance < 0 ? passWord(word) : readNumber(word, value);
        };
        text1 = pass(text1, value1);
        text2 = pass(text2, value2);
        if (text1 == nullptr || text2 == nullptr)
            return false;
        if (tolerance >= 0 && std::fabs(value1 - value2) > tolerance)
            return false;
    }
    return !tolerances.empty(); // without columns, a comment would agree with anything
}

/// Passes the first line of both files if the two surely agree.
bool passPair(Lines &lines1, Lines &lines2, const std::vector<double> &tolerances)
{
    const char *const text1 = lines1.front();
    const char *const text2 = lines2.front();
    const char *const newline = lines1.newlineFrom(text1);
    const auto length = static_cast<size_t>(newline - text1);
    const bool equal = length < lines2.rest().size() && std::memcmp(text1, text2, length + 1) == 0;
    const bool agree = areComments(text1, text2) ||
                       (equal && isNumberLine(text1, newline, tolerances.size())) ||
                       columnsAgree(text1, text2, tolerances);
    if (!agree)
        return false;
    lines1.passThrough(newline);
    lines2.passThrough(equal ? text2 + length : lines2.newlineFrom(text2));
    return true;
}

/// The number of newlines in \a text.
qint64 newlinesIn(std::string_view text)
{
    constexpr size_t width = 16;
    qint64 count = 0;
    while (text.size() >= width) {
        // Sixteen counters of one byte each, which processors add all at once, until one is full.
        std::uint8_t counters[width] = {};
        const size_t rounds = std::min<size_t>(text.size() / width, 255);
        const char *const end = text.data() + rounds * width;
        for (const char *part = text.data(); part != end; part += width) {
            for (size_t index = 0; index < width; ++index)
                counters[index] =
                    static_cast<std::uint8_t>(counters[index] + (part[index] == '\n'));
        }
        count += std::accumulate(counters, counters + width, 0);
        text.remove_prefix(rounds * width);
    }
    return count + std::count(text.begin(), text.end(), '\n');
}

/// How long the common start of \a text1 and \a text2 is, up to its last newline.
size_t equalLines(std::string_view text1, std::string_view text2)
{
    size_t length = std::min(text1.size(), text2.size());
    if (std::memcmp(text1.data(), text2.data(), length) == 0)
        return length; // the shorter one ends with a newline
    const auto parting = std::mismatch(text1.begin(), text1.begin() + length, text2.begin());
    length = static_cast<size_t>(parting.first - text1.begin());
    return text1.substr(0, length).rfind('\n') + 1; // 0 if there is none
}

} // namespace

bool readColumns(
    std::string_view line, const std::vector<double> &tolerances, std::vector<double> &values)
{
    values.resize(tolerances.size());
    const char *text = line.data();
    for (size_t column = 0; column < tolerances.size(); ++column) {
        const char *const word = skipBlanks(text);
        text = tolerances[column] < 0 ? passWord(word) : readNumber(word, values[column]);
        if (text == nullptr)
            return false;
    }
    return true;
}

qint64 passEqualLines(LineReader &file1, LineReader &file2)
{
    qint64 count = 0;
    for (;;) {
        const std::string_view window1 = file1.window();
        const size_t length = equalLines(window1, file2.window());
        if (length == 0)
            return count;
        count += newlinesIn(window1.substr(0, length));
        file1.skip(length);
        file2.skip(length);
    }
}

qint64 passAgreeingLines(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances)
{
    qint64 count = 0;
    for (bool agree = true; agree;) {
        Lines lines1(file1.window());
        Lines lines2(file2.window());
        agree = !lines1.isEmpty() && !lines2.isEmpty();
        while (agree && !lines1.isEmpty() && !lines2.isEmpty()) {
            agree = passPair(lines1, lines2, tolerances);
            count += agree;
        }
        file1.skip(lines1.passed());
        file2.skip(lines2.passed());
    }
    return count;
}

} // namespace Talmo
