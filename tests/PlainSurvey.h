#pragma once

// What a survey of two files counts, written so plainly that one can see that it is right. Both
// files are texts in memory. Of the driver's code it uses only the rounding of toleranceFor, which
// has tests of its own.

#include "PlainCompare.h"
#include "Survey.h"

#include <QString>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace PlainSurvey
{

struct Column {
    qint64 lines = 0;
    qint64 firstLine = 0;
    double largest = 0;
    qint64 largestLine = 0;
    double relative = 0;
    qint64 relativeLine = 0;
    qint64 invalid = 0;
    double largestOfAll = 0; ///< also of values that agree by the relative rule
};

struct Counts {
    std::vector<Column> columns;
    std::array<qint64, Talmo::Difference::Value + 1> lines = {}; ///< by kind
    std::array<qint64, Talmo::Difference::Value + 1> first = {};
    qint64 differing = 0;
};

inline void count(Counts &counts, Talmo::Difference::Kind kind, qint64 line)
{
    ++counts.lines[kind];
    if (counts.first[kind] == 0)
        counts.first[kind] = line;
}

/// Counts one pair of lines that are no comments and long enough. Returns whether they differ.
inline bool countColumns(Counts &counts, const QStringList &words1, const QStringList &words2,
    const std::vector<double> &tolerances, double part, qint64 line)
{
    bool isInvalid = false;
    bool isApart = false;
    for (size_t index = 0; index < tolerances.size(); ++index) {
        if (tolerances[index] < 0)
            continue;
        Column &column = counts.columns[index];
        const auto value1 = PlainCompare::numberOf(words1[static_cast<int>(index)]);
        const auto value2 = PlainCompare::numberOf(words2[static_cast<int>(index)]);
        if (value1 && value2) {
            const double apart = std::fabs(*value1 - *value2);
            if (!(apart > tolerances[index]))
                continue;
            column.largestOfAll = std::max(column.largestOfAll, apart);
            const double larger = std::max(std::fabs(*value1), std::fabs(*value2));
            const double relative =
                std::isinf(apart) ? std::fabs(*value1 / larger - *value2 / larger) : apart / larger;
            if (part > 0 && (std::isinf(apart) ? relative <= part : apart <= part * larger))
                continue;
            if (apart > column.largest) {
                column.largest = apart;
                column.largestLine = line;
            }
            if (relative > column.relative) {
                column.relative = relative;
                column.relativeLine = line;
            }
            isApart = true;
        } else {
            ++column.invalid;
            isInvalid = true;
        }
        if (column.lines++ == 0)
            column.firstLine = line;
    }
    if (isInvalid)
        count(counts, Talmo::Difference::InvalidData, line);
    if (isApart)
        count(counts, Talmo::Difference::Value, line);
    return isInvalid || isApart;
}

inline bool countLine(Counts &counts, const QByteArray &line1, const QByteArray &line2,
    const std::vector<double> &tolerances, double part, qint64 line)
{
    using Talmo::Difference;
    const QStringList words1 = PlainCompare::wordsOf(line1);
    const QStringList words2 = PlainCompare::wordsOf(line2);
    const bool isComment1 = words1[0].startsWith('#');
    const bool isComment2 = words2[0].startsWith('#');
    if (isComment1 && isComment2)
        return false;
    const auto needed = static_cast<int>(tolerances.size());
    if (isComment1 || isComment2)
        count(counts, Difference::CommentMismatch, line);
    else if (words1.size() < needed || words2.size() < needed)
        count(counts, Difference::TooFewColumns, line);
    else
        return countColumns(counts, words1, words2, tolerances, part, line);
    return true;
}

/// The counts of files with \a content1 and \a content2.
inline Counts countsOf(const QByteArray &content1, const QByteArray &content2,
    const std::vector<double> &tolerances, double part)
{
    using Talmo::Difference;
    const QList<QByteArray> lines1 = PlainCompare::linesOf(content1);
    const QList<QByteArray> lines2 = PlainCompare::linesOf(content2);
    const auto common = std::min(lines1.size(), lines2.size());
    Counts counts;
    counts.columns.resize(tolerances.size());
    for (int index = 0; index < common; ++index) {
        const qint64 line = index + 1;
        if (tolerances.empty() && lines1[index] != lines2[index]) {
            count(counts, Difference::Text, line);
            ++counts.differing;
        } else if (!tolerances.empty()) {
            counts.differing +=
                countLine(counts, lines1[index], lines2[index], tolerances, part, line);
        }
    }
    counts.lines[Difference::Length] = std::abs(static_cast<qint64>(lines1.size() - lines2.size()));
    if (lines1.size() != lines2.size())
        counts.first[Difference::Length] = common + 1;
    return counts;
}

/// The tolerance that lets \a column pass.
inline std::optional<double> sufficientOf(const Column &column, double tolerance)
{
    if (column.invalid > 0 || std::isinf(column.largestOfAll))
        return {};
    if (tolerance < 0 || column.largestOfAll == 0)
        return tolerance;
    return PlainCompare::numberOf(QString::fromStdString(Talmo::toleranceFor(column.largestOfAll)));
}

inline std::string told(const std::optional<double> &number)
{
    return number ? QString::number(*number, 'g', 17).toStdString() : "none";
}

inline std::string told(double number)
{
    return told(std::optional<double>(number));
}

/// The counts as a text, to be compared with that of a survey.
inline std::string told(const Counts &counts, const std::vector<double> &tolerances)
{
    std::ostringstream text;
    text << counts.differing << " lines\n";
    for (size_t kind = 1; kind < counts.lines.size(); ++kind)
        text << kind << ": " << counts.lines[kind] << " from " << counts.first[kind] << '\n';
    for (size_t index = 0; index < counts.columns.size(); ++index) {
        const Column &column = counts.columns[index];
        text << column.lines << " from " << column.firstLine << ", " << told(column.largest)
             << " on " << column.largestLine << ", " << told(column.relative) << " on "
             << column.relativeLine << ", " << column.invalid << " invalid, "
             << told(sufficientOf(column, tolerances[index])) << '\n';
    }
    return text.str();
}

inline std::string told(const Talmo::Survey &survey)
{
    std::ostringstream text;
    text << survey.differingLines << " lines\n";
    for (size_t kind = 1; kind < survey.kinds.size(); ++kind)
        text << kind << ": " << survey.kinds[kind].lines << " from " << survey.kinds[kind].firstLine
             << '\n';
    for (const Talmo::ColumnSurvey &column : survey.columns) {
        text << column.lines << " from " << column.firstLine << ", " << told(column.largest)
             << " on " << column.largestLine << ", " << told(column.largestRelative) << " on "
             << column.largestRelativeLine << ", " << column.invalid << " invalid, "
             << told(column.sufficient) << '\n';
    }
    return text.str();
}

} // namespace PlainSurvey
