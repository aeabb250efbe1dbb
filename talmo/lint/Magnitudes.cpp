#include "Magnitudes.h"

#include "Words.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <cmath>

namespace Talmo
{

Magnitudes magnitudesOf(std::string_view text)
{
    constexpr size_t mostColumns = 1000;
    Magnitudes magnitudes;
    std::vector<double> &largest = magnitudes.ofColumns;
    bool isFirst = true;
    Words words;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        words.split(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (words[0].substr(0, 1) == "#")
            continue;
        const size_t count = std::min(words.count(), isFirst ? mostColumns : largest.size());
        largest.resize(count);
        isFirst = false;
        for (size_t column = 0; column < count; ++column) {
            double value = 0;
            if (!toNumber(words[column], value))
                value = HUGE_VAL;
            largest[column] = std::max(largest[column], std::fabs(value));
        }
    }
    for (const double one : largest)
        magnitudes.ofAll = std::isfinite(one) ? std::max(magnitudes.ofAll, one) : magnitudes.ofAll;
    return magnitudes;
}

} // namespace Talmo
