#include "Words.h"

#include "utf8.h"

#include <cstdint>
#include <cstring>

namespace Talmo
{

namespace
{

/// The ASCII characters that count as white space for QString.
inline bool isBlank(char character)
{
    return character <= ' ' && (character == ' ' || (character >= '\t' && character <= '\r'));
}

/// Eight characters at once: the highest bit of each tells.
bool isAscii(std::string_view text)
{
    constexpr std::uint64_t highest = 0x8080808080808080;
    std::uint64_t found = 0;
    for (; text.size() >= sizeof found; text.remove_prefix(sizeof found)) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof eight);
        found |= eight & highest;
    }
    for (const char character : text)
        found |= static_cast<unsigned char>(character) & highest;
    return found == 0;
}

} // namespace

void Words::split(std::string_view line)
{
    words.clear();
    if (!isAscii(line)) { // Unicode has more kinds of blanks
        simplified = decoded(line).simplified().toStdString();
        line = simplified;
    }
    // Plain loops: a compiler does not put a predicate of std::find_if into its place.
    const char *const end = line.data() + line.size();
    for (const char *next = line.data(); next != end;) {
        while (next != end && isBlank(*next))
            ++next;
        const char *const begin = next;
        while (next != end && !isBlank(*next))
            ++next;
        if (begin != next)
            words.emplace_back(begin, static_cast<size_t>(next - begin));
    }
    if (words.empty())
        words.emplace_back();
}

} // namespace Talmo
