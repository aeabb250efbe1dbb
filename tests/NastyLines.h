#pragma once

#include <random>
#include <string>
#include <vector>

/// \a numbers with each of the 256 bytes inserted before each character, and put in its place. The
/// default numbers have every part that a number can have.
inline std::vector<std::string> withAnyByte(
    const std::vector<std::string> &numbers = {"-12.5e+67", "+.5E3", "5", "12345678.9"})
{
    std::vector<std::string> words;
    for (const std::string &number : numbers) {
        for (std::size_t place = 0; place <= number.size(); ++place) {
            for (int byte = 0; byte < 256; ++byte) {
                const std::string front = number.substr(0, place) + static_cast<char>(byte);
                words.push_back(front + number.substr(place));
                if (place < number.size())
                    words.push_back(front + number.substr(place + 1));
            }
        }
    }
    return words;
}

/// Makes random lines from a seed: numbers as simulations print them, and nearly everything that
/// looks like a number.
class NastyLines
{
public:
    explicit NastyLines(unsigned seed)
        : random(seed)
    {
    }

    /// From 0 up to, but not including, \a limit.
    int below(int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); }

    bool oneIn(int count) { return below(count) == 0; }

    template <std::size_t size>
    const char *pick(const char *const (&choices)[size])
    {
        return choices[below(static_cast<int>(size))];
    }

    std::string digits(int most)
    {
        std::string text;
        for (int count = below(most + 1); count > 0; --count)
            text += static_cast<char>('0' + below(10));
        return text;
    }

    /// A number, or now and then something that is not quite one.
    std::string number()
    {
        static const char *const signs[] = {"", "", "-", "-", "+"};
        std::string text = pick(signs) + digits(oneIn(9) ? 40 : 5);
        if (!oneIn(4))
            text += '.' + digits(oneIn(9) ? 40 : 12);
        if (oneIn(3))
            text += std::string(oneIn(2) ? "e" : "E") + pick(signs) + digits(oneIn(5) ? 4 : 2);
        return text;
    }

    std::string word()
    {
        static const char *const odd[] = {"", ".", "+", "-", "e", "1e", "1e+", "-.", ".e1", "1.e1",
            "+-1", "1-", "1.2.3", "1e2.3", "1e2e3", "nan", "inf", "-inf", "0x10", "1e999", "1e-999",
            "1e308", "1.8e308", "1,5", "#", "#1", "1#", "x", "1f", "1\u00A02", "\xC3\xA9", "\xFF",
            "\uFEFF1", "1\v2", "1\f2", "\x1F", "\x7F", "9007199254740993", "1\x80", "/", ":",
            "1:", "1/", "123456789012345678", "0.1234567890123456789", "00000000000000000000001",
            "0.000000000000000000000000000001", "1000000000000000000000000", "4503599627370497.5"};
        std::string text = oneIn(40) ? pick(odd) : number();
        if (oneIn(400))
            text += std::string(static_cast<std::size_t>(below(150)), '1'); // longer than 64 bytes
        return text;
    }

    std::string blanks()
    {
        static const char *const odd[] = {"\t", "  ", " \t ", "\v", "\f", "\xC2\xA0",
            "\xE3\x80\x80", "\xC2\x85", "\x1C", "          "};
        return oneIn(30) ? pick(odd) : " ";
    }

    std::string line(int words)
    {
        if (oneIn(60))
            return std::string(oneIn(2) ? " " : "") + "# " + word();
        std::string text = oneIn(20) ? blanks() : "";
        for (int count = oneIn(50) ? below(words + 3) : words; count > 0; --count)
            text += word() + (count > 1 || oneIn(20) ? blanks() : "");
        return text;
    }

private:
    std::mt19937 random;
};
