#pragma once

#include "LineReader.h"

#include <vector>

namespace Talmo
{

/// Passes over lines at the front of two files that are equal, byte by byte. Returns how many. It
/// may stop before the first difference, and never passes a last line without a newline.
qint64 passEqualLines(LineReader &file1, LineReader &file2);

/// Passes over pairs of lines at the front of two files in which judgeColumns surely finds no
/// difference. Returns how many. It stops at everything unusual, such as text that is not ASCII or
/// a rare kind of blank, and at differences.
qint64 passAgreeingLines(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances);

/// Reads the columns of \a line into \a values, one for each of \a tolerances; that of a column
/// with a negative tolerance means nothing. False only says that the caller must look closer, as a
/// line of numbers between usual blanks that a LineReader gives never needs. Reads up to
/// LineReader::padding bytes beyond the line.
bool readColumns(
    std::string_view line, const std::vector<double> &tolerances, std::vector<double> &values);

} // namespace Talmo
