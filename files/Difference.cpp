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

/// One walk over two files.
class PairWalk
{
public:
    PairWalk(LineReader &reader1, LineReader &reader2, const std::vector<double> &limits,
        const OnDifference &callBack, const Lengths &passed)
        : file1(reader1)
        , file2(reader2)
        , tolerances(limits)
        , onDifference(callBack)
        , lengths(passed)
    {
    }

    Lengths go()
    {
        while (readPair() && judgePair() == Walk::GoesOn)
            continue;
        return lengths;
    }

private:
    bool readPair();
    Walk judgePair();
    Walk judgeBytes() const;
    Walk judgeNumbers();
    Walk judgeEachColumn();
    Walk judgeLengths();

    LineReader &file1;
    LineReader &file2;
    const std::vector<double> &tolerances;
    const OnDifference &onDifference;
    Lengths lengths;
    LinePair lines;
    Words words1; // kept from pair to pair with their memory
    Words words2;
    std::vector<double> values1; // as well
    std::vector<double> values2;
};

/// Passes what surely agrees, and reads the next line of each file; false if neither has one, or if
/// reading failed: then a line may be cut.
bool PairWalk::readPair()
{
    const qint64 passed = tolerances.empty() ? passEqualLines(file1, file2)
                                             : passAgreeingLines(file1, file2, tolerances);
    lines = {};
    const bool more1 = file1.readLine(lines.line1);
    const bool more2 = file2.readLine(lines.line2);
    lengths.lines1 += passed + more1;
    lengths.lines2 += passed + more2;
    return (more1 || more2) && !file1.failed() && !file2.failed();
}

Walk PairWalk::judgePair()
{
    if (lengths.lines1 != lengths.lines2)
        return judgeLengths();
    if (tolerances.empty())
        return judgeBytes();
    const bool areNumbers = readColumns(lines.line1, tolerances, values1) &&
                            readColumns(lines.line2, tolerances, values2);
    return areNumbers ? judgeNumbers() : judgeEachColumn();
}

Walk PairWalk::judgeBytes() const
{
    if (lines.line1 == lines.line2)
        return Walk::GoesOn;
    return onDifference({Difference::Text, lengths.lines1}, lines);
}

/// Judges a pair of lines whose columns are surely numbers, which were read the quick way.
Walk PairWalk::judgeNumbers()
{
    for (size_t column = 0; column < tolerances.size(); ++column) {
        if (tolerances[column] < 0 ||
            !(std::fabs(values1[column] - values2[column]) > tolerances[column]))
            continue;
        Difference difference =
            tooFarApart(column + 1, values1[column], values2[column], tolerances[column]);
        difference.line = lengths.lines1;
        if (onDifference(difference, lines) == Walk::Stops)
            return Walk::Stops;
    }
    return Walk::GoesOn;
}

Walk PairWalk::judgeEachColumn()
{
    words1.split(lines.line1);
    words2.split(lines.line2);
    size_t judged = 0;
    for (;;) {
        Difference difference = judgeColumns(words1, words2, tolerances, judged);
        if (difference.kind == Difference::None)
            return Walk::GoesOn;
        difference.line = lengths.lines1;
        judged = difference.column;
        const Walk walk = onDifference(difference, lines);
        if (walk == Walk::Stops || judged == 0) // 0 if the lines differ as a whole
            return walk;
    }
}

/// One file has just ended. Counts the other one's lines, if the walk goes on.
Walk PairWalk::judgeLengths()
{
    const bool isShorter1 = lengths.lines1 < lengths.lines2;
    Difference difference{Difference::Length};
    difference.file = isShorter1 ? 1 : 2;
    difference.count = std::min(lengths.lines1, lengths.lines2);
    if (onDifference(difference, lines) == Walk::Stops)
        return Walk::Stops;
    LineReader &longer = isShorter1 ? file2 : file1;
    qint64 &count = isShorter1 ? lengths.lines2 : lengths.lines1;
    while (longer.readLine(lines.line1))
        ++count;
    return Walk::Stops;
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

Lengths forEachDifference(LineReader &file1, LineReader &file2,
    const std::vector<double> &tolerances, const OnDifference &onDifference, const Lengths &passed)
{
    return PairWalk(file1, file2, tolerances, onDifference, passed).go();
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
