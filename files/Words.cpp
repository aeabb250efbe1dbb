#include "Words.h"

#include "utf8.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// The ASCII characters that count as white space for QString.
bool isBlank(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isAscii(char character)
{
    return static_cast<signed char>(character) >= 0;
}

} // namespace

void Words::split(std::string_view line)
{
    words.clear();
    if (!std::all_of(line.begin(), line.end(), isAscii)) { // Unicode has more kinds of blanks
        simplified = decoded(line).simplified().toStdString();
        line = simplified;
    }
    for (auto next = line.begin(); next != line.end();) {
        const auto begin = std::find_if_not(next, line.end(), isBlank);
        next = std::find_if(begin, line.end(), isBlank);
        if (begin != next)
            words.emplace_back(&*begin, static_cast<size_t>(next - begin));
    }
    if (words.empty())
        words.emplace_back();
}

} // namespace Talmo
