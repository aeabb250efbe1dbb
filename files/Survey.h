#pragma once

#include "Difference.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Talmo
{

/// The numbers, from 1, that a line has in two files; 0 if it is not there. They differ from the
/// number of the line that was compared, and from one another, if lines were left out or sorted
/// before the files were compared.
struct LinePlaces {
    qint64 line1 = 0;
    qint64 line2 = 0;
};

/// How a column of two files differs, over all lines. Lines are counted as they are compared.
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
    LinePlaces firstPlaces; ///< where these three lines are in the files
    LinePlaces largestPlaces;
    LinePlaces largestRelativePlaces;
    qint64 invalid = 0; ///< in how many lines a word is no number; these are among \a lines
    /// The tolerance with which the column would pass: the one that was asked for if it does, else
    /// the smallest number of two significant digits that does. None if no tolerance helps. It is
    /// absolute, and so covers also differences that agree only because of Rules::relative.
    std::optional<double> sufficient;
};

/// The lines with one kind of difference.
struct KindSurvey {
    qint64 lines = 0;
    qint64 firstLine = 0; ///< from 1; 0 if there is none
    LinePlaces firstPlaces;
};

/// A line on which the files differ.
struct DifferingLine {
    qint64 line = 0;
    Difference::Kind kind = Difference::None; ///< of its first difference
    QByteArray text1;            ///< without its end; of a very long one the beginning only
    QByteArray text2;            ///< null if the file has no such line, and so is text1 then
    std::vector<size_t> columns; ///< that differ, from 1; none if the lines differ as a whole
    LinePlaces places;
};

/// All that two files differ in.
struct Survey {
    std::optional<Difference> first; ///< what "=compare" reports; its word is empty here
    LinePlaces firstPlaces;          ///< where its line is in the files
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

/// What stands at the front of two files.
struct Head {
    Lengths passed;     ///< comments that both files begin with, which agree
    QStringList names;  ///< of the columns (see Survey); none if they are not known
    size_t columns = 0; ///< of the first line with data, the wider one; 0 if neither file has one
};

/// Passes the comments at the front of two files, which are open, pair by pair, as far as both have
/// one.
Head readHead(LineReader &file1, LineReader &file2);

/// By which rules two files are compared.
struct Rules {
    std::vector<double> tolerances; ///< of the columns, as "=compare" takes them; none for bytes
    /// A value agrees also if its difference is within this part of the larger magnitude of the
    /// two, or within relativeToColumn times that of the column.
    double relative = 0;
    double relativeToColumn = 0;
    std::vector<double> magnitudes; ///< the largest of each column; only for relativeToColumn
    bool ignoresExtraLines = false; ///< one file may have more lines
};

/// Compares \a file1 and \a file2, which are open, by the rules of "=compare" with \a tolerances,
/// to their ends. Keeps the first \a keptLines of the lines that differ. Memory does not grow with
/// the files.
Survey surveyOf(
    LineReader &file1, LineReader &file2, const std::vector<double> &tolerances, size_t keptLines);

/// Does the same by \a rules with files of which \a head was read.
Survey surveyOf(
    LineReader &file1, LineReader &file2, const Rules &rules, size_t keptLines, const Head &head);

/// The words of \a comment behind its "#", if there are as many as \a columns; otherwise none.
QStringList namesOfColumns(std::string_view comment, size_t columns);

/// The largest magnitude of each of \a columns columns of two files, which are open, over the lines
/// that both have and that are no comments.
std::vector<double> magnitudesOf(LineReader &file1, LineReader &file2, size_t columns);

/// The smallest number of two significant digits that is not below \a difference, as text that
/// toNumber reads; empty if there is none, because the difference is no finite number.
std::string toleranceFor(double difference);

} // namespace Talmo
