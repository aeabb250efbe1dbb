// Where two files part. One pair of lines is judged at a time, from the definition: comments first,
// then the number of words, then one column after the other. The walk over two files passes the
// lines that surely agree, judges the pair behind them, and begins again.

#include "Difference.h"

#include "AgreeingLines.h"
#include "talmo/Numbers.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Talmo
{

namespace
{

bool isComment(const Words &words)
{
    return words[0].substr(0, 1) == "#";
}

Difference commentMismatch(const Words &words1, const Words &words2)
{
    Difference difference{Difference::CommentMismatch};
    difference.file = isComment(words1) ? 1 : 2;
    difference.count = static_cast<qint64>((isComment(words1) ? words2 : words1).count());
    return difference;
}

Difference tooFewColumns(const Words &words1, const Words &words2)
{
    Difference difference{Difference::TooFewColumns};
    difference.file = words1.count() <= words2.count() ? 1 : 2;
    difference.count = static_cast<qint64>(std::min(words1.count(), words2.count()));
    return difference;
}

Difference invalidData(size_t column, int file, std::string_view word)
{
    Difference difference{Difference::InvalidData, 0, column, file};
    difference.word = word;
    return difference;
}

Difference tooFarApart(size_t column, double value1, double value2, double tolerance)
{
    Difference difference{Difference::Value, 0, column};
    difference.value1 = value1;
    difference.value2 = value2;
    difference.tolerance = tolerance;
    return difference;
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

/// What each kind of difference is called, in the order of Difference::Kind. %1 and %2 are the
/// files, %3 the line, %4 the column. Deliberate: "File" or "Files" as the wording always was.
const char *const differenceMessages[] = {
    nullptr,
    "Files '%1' and '%2' have different lengths",
    "Files '%1' and '%2' differ at line %3",
    "File '%1' and '%2' comment mismatch, line %3",
    "File '%1' and/or '%2' has too few columns, line %3",
    "File '%1' and/or '%2' has invalid data on line %3, column %4",
    "Files '%1' and '%2' differ on line %3, column %4",
};
static_assert(std::size(differenceMessages) == Difference::Value + 1);

} // namespace

Difference judgeColumns(
    const Words &words1, const Words &words2, const std::vector<double> &tolerances, size_t judged)
{
    if (isComment(words1) && isComment(words2))
        return {};
    if (isComment(words1) || isComment(words2))
        return commentMismatch(words1, words2);
    if (std::min(words1.count(), words2.count()) < tolerances.size())
        return tooFewColumns(words1, words2);
    for (size_t column = judged; column < tolerances.size(); ++column) {
        if (tolerances[column] < 0)
            continue;
        double value1 = 0;
        double value2 = 0;
        if (!toNumber(words1[column], value1))
            return invalidData(column + 1, 1, words1[column]);
        if (!toNumber(words2[column], value2))
            return invalidData(column + 1, 2, words2[column]);
        if (std::fabs(value1 - value2) > tolerances[column])
            return tooFarApart(column + 1, value1, value2, tolerances[column]);
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

QString describe(const Difference &difference, const QString &name1, const QString &name2)
{
    const QString message = QString::fromLatin1(differenceMessages[difference.kind]);
    const QString line = QString::number(difference.line);
    // One substitution of all at once: a file name may itself hold a "%2".
    if (difference.column > 0)
        return message.arg(name1, name2, line, QString::number(difference.column));
    if (difference.line > 0)
        return message.arg(name1, name2, line);
    return message.arg(name1, name2);
}

} // namespace Talmo
