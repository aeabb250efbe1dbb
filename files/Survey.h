#pragma once

#include "Difference.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace Talmo
{

/// How a column of two files differs, over all lines.
struct ColumnSurvey {
    double tolerance = 0; ///< that was asked for; negative: the column is not compared
    qint64 lines = 0;     ///< how many lines differ in this column
    qint64 firstLine = 0; ///< the first of them, from 1; 0 if there is none
    /// Of the lines that differ: the largest absolute difference, and the first line that has it.
    double largest = 0;
    qint64 largestLine = 0;
    /// Of the lines that differ: the largest difference relative to the larger magnitude of the
    /// two numbers, from 0 to 2, and the first line that has it.
    double largestRelative = 0;
    qint64 largestRelativeLine = 0;
    qint64 invalid = 0; ///< in how many lines a word is no number; these are among \a lines
    /// The tolerance with which the column would pass: the one that was asked for if it does, else
    /// the smallest number of two significant digits that does. None if no tolerance helps.
    std::optional<double> sufficient;
};

/// The lines with one kind of difference.
struct KindSurvey {
    qint64 lines = 0;
    qint64 firstLine = 0; ///< from 1; 0 if there is none
};

/// A line on which the files differ.
struct DifferingLine {
    qint64 line = 0;
    Difference::Kind kind = Difference::None; ///< of its first difference
    QByteArray text1;            ///< without its end; of a very long one the beginning only
    QByteArray text2;            ///< null if the file has no such line, and so is text1 then
    std::vector<size_t> columns; ///< that differ, from 1; none if the lines differ as a whole
};

/// All that two files differ in.
struct Survey {
    std::optional<Difference> first; ///< what "=compare" reports; its word is empty here
    Lengths lengths;
    qint64 differingLines = 0;         ///< of those that both files have
    std::vector<ColumnSurvey> columns; ///< one for each tolerance; none if bytes were compared
    std::array<KindSurvey, Difference::Value + 1> kinds = {}; ///< by Difference::Kind
    std::vector<DifferingLine> firstLines;                    ///< the first ones, in their order
    /// The names of the columns, by the last comment before the first line with data, if it has as
    /// many words, without its "#", as that line. Otherwise none.
    QStringList names;
    int unreadable = 0; ///< 1 or 2: that file could not be read to its end, and nothing else counts

    bool agree() const { return !first && unreadable == 0; }
    /// Whether some tolerances of at least 0, and marks for columns that are not compared, would
    /// make the files agree.
    bool toleranceHelps() const;
};

/// Compares \a file1 and \a file2, which are open, by the rules of "=compare" with \a tolerances,
/// to their ends. Keeps the first \a keptLines of the lines that differ. Memory does not grow with
/// the files.
Survey surveyOf(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances, size_t keptLines);

/// The smallest number of two significant digits that is not below \a difference, as text that
/// toNumber reads; empty if there is none, because the difference is no finite number.
std::string toleranceFor(double difference);

} // namespace Talmo
