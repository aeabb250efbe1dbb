#pragma once

#include <string_view>
#include <vector>

namespace Talmo
{

/// How large the numbers in a text of columns are.
struct Magnitudes {
    /// The largest magnitude in each column that all lines have; infinite if a word there is no
    /// number. Lines that begin with "#" do not count. There are 1000 columns at most.
    std::vector<double> ofColumns;

    double ofAll = 0; ///< the largest of them that is finite
};

Magnitudes magnitudesOf(std::string_view text);

} // namespace Talmo
