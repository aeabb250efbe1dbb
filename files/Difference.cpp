#include "Difference.h"

#include "AgreeingLines.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <cmath>

namespace Talmo
{

namespace
{

bool isComment(const Words &words)
{
    return words[0].substr(0, 1) == "#";
}

/// Walks two files side by side. pass goes on to lines that may differ, and returns how many it
/// passed over; judge, given a line of each, returns a Difference.
template <typename Pass, typename Judge>
Difference compareLines(LineReader &file1, LineReader &file2, Pass pass, Judge judge)
{
    std::string_view line1;
    std::string_view line2;
    for (qint64 lineNumber = 1;; ++lineNumber) {
        lineNumber += pass();
        const bool more1 = file1.readLine(line1);
        const bool more2 = file2.readLine(line2);
        if (more1 != more2)
            return {Difference::Length, 0, 0};
        if (!more1)
            return {};
        Difference difference = judge(line1, line2);
        if (difference.kind != Difference::None) {
            difference.line = lineNumber;
            return difference;
        }
    }
}

} // namespace

Difference judgeColumns(
    const Words &words1, const Words &words2, const std::vector<double> &tolerances)
{
    if (isComment(words1) && isComment(words2))
        return {};
    if (isComment(words1) || isComment(words2))
        return {Difference::CommentMismatch, 0, 0};
    if (std::min(words1.count(), words2.count()) < tolerances.size())
        return {Difference::TooFewColumns, 0, 0};
    for (size_t column = 0; column < tolerances.size(); ++column) {
        if (tolerances[column] < 0)
            continue;
        double value1 = 0;
        double value2 = 0;
        if (!toNumber(words1[column], value1) || !toNumber(words2[column], value2))
            return {Difference::InvalidData, 0, column + 1};
        if (std::fabs(value1 - value2) > tolerances[column])
            return {Difference::Value, 0, column + 1};
    }
    return {};
}

Difference compareExactly(LineReader &file1, LineReader &file2)
{
    return compareLines(
        file1, file2, [&] { return passEqualLines(file1, file2); },
        [](std::string_view line1, std::string_view line2) {
            return line1 == line2 ? Difference() : Difference{Difference::Text, 0, 0};
        });
}

Difference compareColumns(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances)
{
    Words words1;
    Words words2;
    return compareLines(
        file1, file2, [&] { return passAgreeingLines(file1, file2, tolerances); },
        [&](std::string_view line1, std::string_view line2) {
            words1.split(line1);
            words2.split(line2);
            return judgeColumns(words1, words2, tolerances);
        });
}

} // namespace Talmo
