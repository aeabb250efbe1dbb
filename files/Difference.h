#pragma once

#include "LineReader.h"
#include "Words.h"

#include <QString>
#include <QtGlobal>

#include <string_view>
#include <vector>

namespace Talmo
{

// Comparing two files takes four steps that know nothing of one another: LineReader reads, Words
// splits, toNumber converts, and judgeColumns judges one pair of lines. The two functions at
// the end walk the files; they leave to AgreeingLines what surely agrees.

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
    /// CommentMismatch: how many words the other line has, which is no comment.
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

/// The first difference between two files, lines compared byte by byte. Ask the readers afterwards
/// whether they failed: then the result means nothing.
Difference compareExactly(LineReader &file1, LineReader &file2);

/// The first difference between two files as judgeColumns sees it. Failed readers as above.
Difference compareColumns(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances);

/// The sentence that tells users of \a difference between files of these names.
QString describe(const Difference &difference, const QString &name1, const QString &name2);

} // namespace Talmo
