#include "diffOutput.h"
#include "diffWords.h"
#include "kindRows.h"
#include "utf8.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>

namespace Talmo
{

namespace
{

/// JSON has no infinite numbers.
QJsonValue valueOf(double number)
{
    return std::isfinite(number) ? QJsonValue(number) : QJsonValue(QStringLiteral("infinite"));
}

/// The numbers of a line in the two files, or null.
QJsonValue valueOf(const LinePlaces &places)
{
    const auto number = [](qint64 line) { return line > 0 ? QJsonValue(line) : QJsonValue(); };
    if (places.line1 == 0 && places.line2 == 0)
        return {};
    return QJsonArray{number(places.line1), number(places.line2)};
}

QJsonValue textOrNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(text);
}

QJsonObject objectOf(const DiffResult &result, size_t index)
{
    const Survey &survey = result.survey;
    const ColumnSurvey &column = survey.columns[index];
    const auto position = static_cast<int>(index);
    return {
        {QStringLiteral("column"), static_cast<qint64>(index + 1)},
        {QStringLiteral("name"),
            position < survey.names.size() ? QJsonValue(survey.names[position]) : QJsonValue()},
        {QStringLiteral("tolerance"), valueOf(column.tolerance)},
        {QStringLiteral("lines"), column.lines},
        {QStringLiteral("first"), valueOf(column.firstPlaces)},
        {QStringLiteral("largest"), valueOf(column.largest)},
        {QStringLiteral("largestAt"), valueOf(column.largestPlaces)},
        {QStringLiteral("largestRelative"), valueOf(column.largestRelative)},
        {QStringLiteral("largestRelativeAt"), valueOf(column.largestRelativePlaces)},
        {QStringLiteral("invalid"), column.invalid},
        {QStringLiteral("sufficient"),
            column.sufficient ? valueOf(*column.sufficient) : QJsonValue()},
    };
}

QJsonArray columnsOf(const DiffResult &result)
{
    QJsonArray columns;
    for (size_t index = 0; index < result.survey.columns.size(); ++index) {
        if (result.survey.columns[index].tolerance >= 0)
            columns += objectOf(result, index);
    }
    return columns;
}

QJsonArray linesOf(const Survey &survey)
{
    QJsonArray lines;
    for (const DifferingLine &line : survey.firstLines) {
        QJsonArray columns;
        for (const size_t column : line.columns)
            columns += static_cast<qint64>(column);
        lines += QJsonObject{
            {QStringLiteral("at"), valueOf(line.places)},
            {QStringLiteral("text1"), decodedBytes(line.text1)},
            {QStringLiteral("text2"), decodedBytes(line.text2)},
            {QStringLiteral("columns"), columns},
        };
    }
    return lines;
}

QJsonObject kindsOf(const Survey &survey)
{
    QJsonObject kinds;
    for (const KindRow &row : kindRows) {
        const KindSurvey &kind = survey.kinds[row.kind];
        kinds[QLatin1String(row.name)] = QJsonObject{
            {QStringLiteral("lines"), kind.lines},
            {QStringLiteral("first"), valueOf(kind.firstPlaces)},
        };
    }
    return kinds;
}

/// The first block that is not the same; null if there is none.
QJsonValue valueOf(const std::optional<BlockParting> &parting)
{
    if (!parting)
        return {};
    const bool isInBoth = parting->lines1 >= 0;
    return QJsonObject{
        {QStringLiteral("block"), parting->number},
        {QStringLiteral("headings"), valueOf(parting->headings)},
        {QStringLiteral("lines"),
            isInBoth ? QJsonValue(QJsonArray{parting->lines1, parting->lines2}) : QJsonValue()},
    };
}

} // namespace

QByteArray jsonOf(const DiffResult &result)
{
    const DiffRequest &request = result.request;
    const Survey &survey = result.survey;
    const QJsonObject document = {
        {QStringLiteral("file1"), request.file1},
        {QStringLiteral("file2"), request.file2},
        {QStringLiteral("agree"), result.agree()},
        {QStringLiteral("message"), textOrNull(messageOf(result, request.file1, request.file2))},
        {QStringLiteral("reason"), reasonOf(result)},
        {QStringLiteral("lines1"), survey.lengths.lines1},
        {QStringLiteral("lines2"), survey.lengths.lines2},
        {QStringLiteral("differingLines"), survey.differingLines},
        {QStringLiteral("columns"), columnsOf(result)},
        {QStringLiteral("kinds"), kindsOf(survey)},
        {QStringLiteral("blocks"), valueOf(result.parting)},
        {QStringLiteral("firstLines"), linesOf(survey)},
        {QStringLiteral("compare"), textOrNull(readyLineOf(result))},
    };
    return QJsonDocument(document).toJson();
}

} // namespace Talmo
