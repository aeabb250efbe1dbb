#pragma once

#include <vector>

namespace Talmo
{

/// A part of a line, from one position to another.
struct Range {
    int begin = 0;
    int end = 0;
};

/// The references "${...}" in \a line that are in no other one, from left to right. What is never
/// closed is none.
template <typename Text>
std::vector<Range> referencesIn(const Text &line)
{
    std::vector<int> open;
    std::vector<Range> ranges;
    for (int index = 0; index < static_cast<int>(line.size()); ++index) {
        const auto at = static_cast<decltype(line.size())>(index);
        const bool isBrace = line[at] == '{' && index > 0 && line[at - 1] == '$';
        if (isBrace)
            open.push_back(index - 1);
        if (line[at] != '}' || open.empty())
            continue;
        const int begin = open.back();
        open.pop_back();
        while (!ranges.empty() && ranges.back().begin > begin)
            ranges.pop_back();
        ranges.push_back({begin, index + 1});
    }
    return ranges;
}

} // namespace Talmo
