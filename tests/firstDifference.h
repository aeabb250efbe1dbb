#pragma once

#include "Difference.h"

/// The first difference between two files, without the word, which is gone with its line.
inline Talmo::Difference firstDifference(
    Talmo::LineReader &file1, Talmo::LineReader &file2, const std::vector<double> &tolerances)
{
    Talmo::Difference first;
    const auto keep = [&first](const Talmo::Difference &difference, const Talmo::LinePair &) {
        first = difference;
        first.word = {};
        return Talmo::Walk::Stops;
    };
    Talmo::forEachDifference(file1, file2, tolerances, keep);
    return first;
}
