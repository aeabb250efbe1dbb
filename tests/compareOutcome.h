#pragma once

#include "firstDifference.h"
#include "talmo/Numbers.h"

#include <QString>
#include <QStringList>

/// \a difference in the words of PlainCompare::outcome.
inline QString described(const Talmo::Difference &difference)
{
    static const char *const problems[] = {"", "have different lengths", "differ at line %1",
        "comment mismatch, line %1", "too few columns, line %1",
        "invalid data on line %1, column %2", "differ on line %1, column %2"};
    QString text = problems[difference.kind];
    if (difference.line > 0)
        text = text.arg(difference.line);
    if (difference.column > 0)
        text = text.arg(difference.column);
    return text;
}

/// What the driver's code finds when it compares two files, in the words of PlainCompare::outcome.
inline QString compareOutcome(
    const QString &name1, const QString &name2, const QStringList &toleranceWords)
{
    std::vector<double> tolerances;
    for (const QString &word : toleranceWords) {
        double tolerance = 0;
        if (!Talmo::toNumber(word.toStdString(), tolerance))
            return "Invalid =compare column tolerance";
        tolerances.push_back(tolerance);
    }
    Talmo::LineReader file1;
    Talmo::LineReader file2;
    if (!file1.open(name1) || !file2.open(name2))
        return "Cannot read file";
    const Talmo::Difference difference = firstDifference(file1, file2, tolerances);
    return file1.failed() || file2.failed() ? "Cannot read file" : described(difference);
}

/// All differences that the walk over two files finds, in the words of PlainCompare::differences.
inline QStringList allDifferences(
    const QString &name1, const QString &name2, const std::vector<double> &tolerances)
{
    Talmo::LineReader file1;
    Talmo::LineReader file2;
    if (!file1.open(name1) || !file2.open(name2))
        return {"Cannot read file"};
    QStringList all;
    Talmo::forEachDifference(file1, file2, tolerances,
        [&all](const Talmo::Difference &difference, const Talmo::LinePair &) {
            all.append(described(difference));
            return Talmo::Walk::GoesOn;
        });
    return all;
}
