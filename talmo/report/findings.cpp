#include "findings.h"

#include "details.h"
#include "wording.h"

#include <cmath>
#include <limits>

namespace Talmo
{

namespace
{

/// How many times its tolerance \a column is apart.
double excessOf(const ColumnSurvey &column)
{
    if (column.tolerance > 0)
        return column.largest / column.tolerance;
    return column.largest > 0 ? std::numeric_limits<double>::infinity() : 0;
}

/// The column of \a survey that is farthest beyond its tolerance; null if no numbers differ.
const ColumnSurvey *worstColumn(const Survey &survey)
{
    const ColumnSurvey *worst = nullptr;
    for (const ColumnSurvey &column : survey.columns) {
        if (column.largestLine == 0)
            continue;
        const bool isWorse =
            worst == nullptr || excessOf(column) > excessOf(*worst) ||
            (excessOf(column) == excessOf(*worst) && column.largest > worst->largest);
        if (isWorse)
            worst = &column;
    }
    return worst;
}

QString linesThatDiffer(const Survey &survey)
{
    QString text = survey.differingLines == 1
                       ? QStringLiteral("1 line differs")
                       : QStringLiteral("%1 lines differ").arg(survey.differingLines);
    const qint64 missing = std::abs(survey.lengths.lines1 - survey.lengths.lines2);
    if (missing > 0)
        text += QStringLiteral(", and %1 has %2 more")
                    .arg(survey.lengths.lines1 > survey.lengths.lines2
                             ? QStringLiteral("the first file")
                             : QStringLiteral("the second file"))
                    .arg(missing);
    return text;
}

} // namespace

QString worstOf(const FailedComparison &comparison)
{
    const Survey &survey = comparison.survey;
    if (!survey.first)
        return {};
    QString text = linesThatDiffer(survey);
    const ColumnSurvey *const column = worstColumn(survey);
    if (column == nullptr)
        return text;
    const auto index = static_cast<int>(column - survey.columns.data());
    QString name = QString::number(index + 1);
    if (index < survey.names.size())
        name += QStringLiteral(" (%1)").arg(shown(survey.names[index]));
    text += QStringLiteral("; column ") + name;
    text += QStringLiteral(" by up to %1 on line %2")
                .arg(roughly(column->largest))
                .arg(column->largestLine);
    if (column->tolerance > 0)
        text += QStringLiteral(", %1 times its tolerance").arg(roughly(excessOf(*column)));
    return text;
}

} // namespace Talmo
