#pragma once

#include "LineReader.h"
#include "Words.h"

#include <QString>
#include <QtGlobal>

#include <functional>
#include <string_view>
#include <vector>

namespace Talmo
{

// Comparing two files takes four steps that know nothing of one another: LineReader reads, Words
// splits, toNumber converts, and judgeColumns judges one pair of lines. forEachDifference walks the
// files; it leaves to AgreeingLines what surely agrees.

/// Where two files part, how, and what stands there.
struct Difference {
    enum Kind {
        None,            ///< they agree
        Length,          ///< one has more lines
        Text,            ///< a line differs
        CommentMismatch, ///< only one of the lines is a comment
        TooFewColumns,   ///< a line has fewer words than there are tolerances
        InvalidData,     ///< a compared word is no number
        Value,           ///< two numbers are farther apart than their tolerance
    };
    Kind kind = None;
    qint64 line = 0;   ///< counted from 1; 0 if no single line differs
    size_t column = 0; ///< counted from 1; 0 if no single column differs

    /// 1 or 2: the file that ends first, or whose line is the comment, is shorter, or holds the
    /// invalid word; 1 if both do. 0 for Text and Value, which say nothing against either file.
    int file = 0;
    /// Length: how many lines that file has. TooFewColumns: how many words its line has.
    /// CommentMismatch: how many words the line of the other file has.
    qint64 count = 0;
    /// InvalidData: the word that is no number. It is valid as long as the words that were judged.
    std::string_view word = {};
    double value1 = 0;    ///< Value: the number in the first file,
    double value2 = 0;    ///< the one in the second file,
    double tolerance = 0; ///< and the largest difference allowed
};

/// Judges one pair of lines, column by column, each by its own tolerance: the largest absolute
/// difference allowed, or, if negative, a mark that the column may hold anything. Words beyond the
/// tolerances do not count, and two comments, lines whose first word begins with '#', always agree.
/// Returns the first difference behind the column \a judged; Difference::line is left to the
/// caller.
Difference judgeColumns(const Words &words1, const Words &words2,
    const std::vector<double> &tolerances, size_t judged = 0);

/// A line of each file, without its end; empty where a file has none.
struct LinePair {
    std::string_view line1;
    std::string_view line2;
};

/// How many lines each of two files has, as far as they were read.
struct Lengths {
    qint64 lines1 = 0;
    qint64 lines2 = 0;
};

enum class Walk { GoesOn, Stops };

/// Takes one difference and the lines that it is on, and says whether the walk goes on. What it
/// gets is valid during the call only: whoever keeps a line or Difference::word copies it.
using OnDifference = std::function<Walk(const Difference &difference, const LinePair &lines)>;

/// Walks two files, and calls back for each difference as judgeColumns sees it, in the order of the
/// lines and columns. Without tolerances, lines are compared byte by byte. Length comes last, with
/// the first line that is missing in the other file; a walk that goes on then counts the rest.
/// Ask the readers afterwards whether they failed: the walk ends there, and the lengths mean
/// nothing. If lines were read before, \a passed says how many, so that the walk counts on.
Lengths forEachDifference(LineReader &file1, LineReader &file2,
    const std::vector<double> &tolerances, const OnDifference &onDifference,
    const Lengths &passed = {});

/// The sentence that tells users of \a difference between files of these names.
QString describe(const Difference &difference, const QString &name1, const QString &name2);

} // namespace Talmo
