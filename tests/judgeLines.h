#pragma once

#include "Difference.h"

/// Judges two lines, given as they are in their files.
inline Talmo::Difference judgeLines(
    std::string_view line1, std::string_view line2, const std::vector<double> &tolerances)
{
    Talmo::Words words1;
    Talmo::Words words2;
    words1.split(line1);
    words2.split(line2);
    return Talmo::judgeColumns(words1, words2, tolerances);
}
