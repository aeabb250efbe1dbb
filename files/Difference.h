#pragma once

#include "LineReader.h"
#include "Words.h"

#include <QString>
#include <QtGlobal>

#include <vector>

namespace Talmo
{

// Comparing two files takes four steps that know nothing of one another: LineReader reads, Words
// splits, toNumber converts, and judgeColumns judges one pair of lines. The two functions at
// the end walk the files; they leave to AgreeingLines what surely agrees.

/// Where two files part, and how.
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
    qint64 line = 0;   ///< counted from 1; 0 where there is none to name
    size_t column = 0; ///< likewise
};

/// Judges one pair of lines, column by column, each by its own tolerance: the largest absolute
/// difference allowed, or, if negative, a mark that the column may hold anything. Words beyond the
/// tolerances do not count, and two comments, lines whose first word begins with '#', always agree.
/// Leaves Difference::line to the caller.
Difference judgeColumns(
    const Words &words1, const Words &words2, const std::vector<double> &tolerances);

/// The first difference between two files, lines compared byte by byte. Ask the readers afterwards
/// whether they failed: then the result means nothing.
Difference compareExactly(LineReader &file1, LineReader &file2);

/// The first difference between two files as judgeColumns sees it. Failed readers as above.
Difference compareColumns(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances);

/// The sentence that tells users of \a difference between files of these names.
QString describe(const Difference &difference, const QString &name1, const QString &name2);

} // namespace Talmo
