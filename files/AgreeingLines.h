#pragma once

#include "LineReader.h"

#include <vector>

namespace Talmo
{

/// Passes over lines at the front of two files that are equal, byte by byte; returns how many. Not
/// necessarily all, and never a last line without a newline.
qint64 passEqualLines(LineReader &file1, LineReader &file2);

/// Passes over pairs of lines at the front of two files that judgeColumns surely finds no
/// difference in; returns how many. It stops at whatever is unusual: comments, text that is not
/// ASCII, odd blanks, and of course differences.
qint64 passAgreeingLines(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances);

} // namespace Talmo
