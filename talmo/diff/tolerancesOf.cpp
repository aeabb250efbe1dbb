// Which columns are compared, and how. The rule behind all of it: never compare less than somebody
// who did not read the manual would believe.

#include "DiffRequest.h"
#include "talmo/Numbers.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// The tolerance of a column that is not compared.
QString notCompared()
{
    return QStringLiteral("-1");
}

/// The columns of one item of --columns: a number, a name, or a range of numbers; none, and a
/// sentence in \a problem, if there are no such columns.
std::vector<size_t> columnsOfItem(const QString &item, const Head &head, QString &problem)
{
    const QStringList ends = item.split(QLatin1Char('-'));
    bool isNumber1 = false;
    bool isNumber2 = false;
    ends.first().toUInt(&isNumber1);
    ends.last().toUInt(&isNumber2);
    const bool isRange = ends.size() == 2 && isNumber1 && isNumber2;
    const size_t first = columnOf(isRange ? ends[0] : item, head.names, head.columns, problem);
    const size_t last = isRange ? columnOf(ends[1], head.names, head.columns, problem) : first;
    if (first == 0 || last == 0)
        return {};
    if (last < first)
        problem = QStringLiteral("the range %1 ends before it begins").arg(item);
    std::vector<size_t> columns;
    for (size_t column = first; column <= last; ++column)
        columns.push_back(column);
    return columns;
}

/// The columns that \a request chooses, in its order.
std::vector<size_t> chosenColumns(const DiffRequest &request, const Head &head, QString &problem)
{
    std::vector<size_t> chosen;
    for (const QString &item : request.columns) {
        const std::vector<size_t> columns = columnsOfItem(item, head, problem);
        if (columns.empty())
            return {};
        for (const size_t column : columns) {
            if (std::find(chosen.begin(), chosen.end(), column) != chosen.end()) {
                problem = QStringLiteral("--columns has column %1 twice").arg(column);
                return {};
            }
            chosen.push_back(column);
        }
    }
    return chosen;
}

/// The texts of the tolerances of the columns that --columns chooses.
QStringList textsOfChosen(const DiffRequest &request, const Head &head, QString &problem)
{
    const std::vector<size_t> chosen = chosenColumns(request, head, problem);
    if (chosen.empty())
        return {};
    const auto given = static_cast<size_t>(request.tolerances.size());
    if (given > 0 && given != chosen.size()) {
        problem = QStringLiteral("--columns chooses %1 columns, but there are %2 tolerances")
                      .arg(QString::number(chosen.size()), QString::number(given));
        return {};
    }
    QStringList texts;
    for (size_t column = *std::max_element(chosen.begin(), chosen.end()); column > 0; --column)
        texts += notCompared();
    for (size_t index = 0; index < chosen.size(); ++index)
        texts[static_cast<int>(chosen[index] - 1)] =
            given > 0 ? request.tolerances[static_cast<int>(index)] : QStringLiteral("0");
    return texts;
}

/// The texts of the tolerances before --tolerance is looked at.
QStringList textsOf(const DiffRequest &request, const Head &head, QString &problem)
{
    if (!request.columns.isEmpty())
        return textsOfChosen(request, head, problem);
    if (!request.tolerances.isEmpty())
        return request.tolerances;
    QStringList texts;
    for (size_t column = 0; column < head.columns; ++column)
        texts += QStringLiteral("0");
    return texts;
}

/// Puts what --tolerance says into \a texts; false, and a sentence in \a problem, if it is wrong.
bool applyColumnTolerances(
    QStringList &texts, const DiffRequest &request, const Head &head, QString &problem)
{
    QStringList seen;
    for (const QString &item : request.columnTolerances) {
        const auto sign = item.lastIndexOf(QLatin1Char('='));
        const size_t column = columnOf(item.left(sign), head.names, head.columns, problem);
        if (column == 0)
            return false;
        const QString number = QString::number(column);
        const auto index = static_cast<int>(column - 1);
        if (index >= texts.size() || (!request.columns.isEmpty() && texts[index] == notCompared() &&
                                         !seen.contains(number))) {
            problem =
                QStringLiteral("--tolerance is about column %1, which is not compared").arg(number);
            return false;
        }
        if (seen.contains(number)) {
            problem = QStringLiteral("--tolerance is about column %1 twice").arg(number);
            return false;
        }
        seen += number;
        texts[index] = item.mid(sign + 1);
    }
    return true;
}

} // namespace

std::optional<Tolerances> tolerancesOf(
    const DiffRequest &request, const Head &head, QString &problem)
{
    Tolerances tolerances;
    if (!request.comparesNumbers)
        return tolerances;
    const bool isAsCompare = request.isPlain() && request.columns.isEmpty() &&
                             request.columnTolerances.isEmpty() && !request.tolerances.isEmpty();
    if (head.columns == 0 && !isAsCompare) {
        problem = QStringLiteral("there is no line with data to compare");
        return {};
    }
    tolerances.texts = textsOf(request, head, problem);
    if (!problem.isNull() || !applyColumnTolerances(tolerances.texts, request, head, problem))
        return {};
    for (const QString &text : tolerances.texts) {
        double value = 0;
        toNumber(text.toStdString(), value); // it was checked with the call
        tolerances.values.push_back(value);
    }
    const auto isCompared = [](double value) { return value >= 0; };
    if (!isAsCompare &&
        std::none_of(tolerances.values.begin(), tolerances.values.end(), isCompared)) {
        problem = QStringLiteral("all tolerances are negative, so no column is compared");
        return {};
    }
    return tolerances;
}

} // namespace Talmo
