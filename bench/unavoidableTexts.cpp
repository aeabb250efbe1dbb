// Short expressions with units, and lines with references to macros: each character is looked at
// once, and nothing is allocated but the tables and what is printed.

#include "unavoidable.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>
#include <unordered_map>

namespace Unavoidable
{

namespace
{

struct Unit {
    std::string_view name;
    double factor;
};

// The units of the workload; the first of each kind is worth 1.
constexpr Unit units[] = {{"mm", 1}, {"cm", 10}, {"m", 1000}, {"in", 25.4}, {"MeV", 1},
    {"keV", 1e-3}, {"GeV", 1e3}, {"ns", 1}, {"us", 1e3}, {"ms", 1e6}, {"T", 1}, {"kG", 0.1}};

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isNamed(char character)
{
    return isDigit(character) || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || character == '_';
}

double factorOf(std::string_view name)
{
    for (const Unit &unit : units) {
        if (unit.name == name)
            return unit.factor;
    }
    return 1;
}

/// Takes the longest name that \a text begins with.
std::string_view takeName(std::string_view &text)
{
    size_t length = 0;
    while (length < text.size() && isNamed(text[length]))
        ++length;
    const std::string_view name = text.substr(0, length);
    text.remove_prefix(length);
    return name;
}

bool take(std::string_view &text, char character)
{
    if (text.empty() || text.front() != character)
        return false;
    text.remove_prefix(1);
    return true;
}

double sum(std::string_view &text);

/// A number with an optional unit, a sum in parentheses, or the square root of one.
double primary(std::string_view &text)
{
    const bool root = !text.empty() && text.front() == 's';
    if (root)
        takeName(text);
    if (take(text, '(')) {
        const double value = sum(text);
        take(text, ')');
        return root ? std::sqrt(value) : value;
    }
    if (take(text, '-'))
        return -primary(text);
    double value = 0;
    const char *const stop = std::from_chars(text.data(), text.data() + text.size(), value).ptr;
    text.remove_prefix(static_cast<size_t>(stop - text.data()));
    return value * factorOf(takeName(text));
}

double power(std::string_view &text)
{
    const double value = primary(text);
    return take(text, '^') ? std::pow(value, power(text)) : value;
}

double product(std::string_view &text)
{
    double value = power(text);
    for (;;) {
        if (take(text, '*'))
            value *= power(text);
        else if (take(text, '/'))
            value /= power(text);
        else
            return value;
    }
}

double sum(std::string_view &text)
{
    double value = product(text);
    for (;;) {
        if (take(text, '+'))
            value += product(text);
        else if (take(text, '-'))
            value -= product(text);
        else
            return value;
    }
}

using Macros = std::unordered_map<std::string_view, std::string_view>;

/// The macros of \a text, a line NAME=VALUE for each.
Macros macrosOf(std::string_view text)
{
    Macros macros;
    while (!text.empty()) {
        const std::string_view name = takeName(text);
        const size_t end = text.find('\n');
        macros[name] = text.substr(1, end - 1);
        text.remove_prefix(end + 1);
    }
    return macros;
}

} // namespace

int evaluate(const Arguments &arguments)
{
    const MappedFile file(arguments[0]);
    std::string_view text = file.text();
    std::string results;
    while (!text.empty()) {
        double value = sum(text);
        if (take(text, ' '))
            value /= factorOf(takeName(text));
        if (!take(text, '\n'))
            return 1;
        char number[32];
        const auto general = std::chars_format::general;
        results.append(
            number, std::to_chars(number, number + sizeof number, value, general, 12).ptr);
        results += '\n';
    }
    return writeAll(STDOUT_FILENO, results) ? 0 : 1;
}

int expand(const Arguments &arguments)
{
    const MappedFile definitions(arguments[0]);
    const MappedFile file(arguments[1]);
    const Macros macros = macrosOf(definitions.text());
    std::string_view text = file.text();
    std::string results;
    while (!text.empty()) {
        const size_t plain = std::min(text.find('$'), text.size());
        results += text.substr(0, plain);
        text.remove_prefix(plain);
        if (!take(text, '$'))
            break;
        const bool braces = take(text, '{');
        const auto macro = macros.find(takeName(text));
        if (macro == macros.end() || (braces && !take(text, '}')))
            return 1;
        results += macro->second;
    }
    return writeAll(STDOUT_FILENO, results) ? 0 : 1;
}

} // namespace Unavoidable
