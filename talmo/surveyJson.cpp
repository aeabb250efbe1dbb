#include "surveyJson.h"

#include "utf8.h"

#include <QJsonArray>

#include <cmath>

namespace Talmo
{

namespace
{

/// What a kind of difference is called.
struct KindRow {
    const char *name;
    Difference::Kind kind;
};

constexpr KindRow kindRows[] = {
    {"missing", Difference::Length},
    {"text", Difference::Text},
    {"comments", Difference::CommentMismatch},
    {"tooFewColumns", Difference::TooFewColumns},
    {"noNumbers", Difference::InvalidData},
    {"values", Difference::Value},
};

QJsonObject objectOf(const Survey &survey, size_t index)
{
    const ColumnSurvey &column = survey.columns[index];
    const auto position = static_cast<int>(index);
    return {
        {QStringLiteral("column"), static_cast<qint64>(index + 1)},
        {QStringLiteral("name"),
            position < survey.names.size() ? textOrNull(survey.names[position]) : QJsonValue()},
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

QJsonArray columnsOf(const Survey &survey)
{
    QJsonArray columns;
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        if (survey.columns[index].tolerance >= 0)
            columns += objectOf(survey, index);
    }
    return columns;
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

/// What stands on a line of a file; null if it has none.
QJsonValue textOf(const QByteArray &line)
{
    return line.isNull() ? QJsonValue() : QJsonValue(decodedBytes(line));
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
            {QStringLiteral("text1"), textOf(line.text1)},
            {QStringLiteral("text2"), textOf(line.text2)},
            {QStringLiteral("columns"), columns},
        };
    }
    return lines;
}

} // namespace

QJsonObject membersOf(const Survey &survey)
{
    return {
        {QStringLiteral("lines1"), survey.lengths.lines1},
        {QStringLiteral("lines2"), survey.lengths.lines2},
        {QStringLiteral("differingLines"), survey.differingLines},
        {QStringLiteral("columns"), columnsOf(survey)},
        {QStringLiteral("kinds"), kindsOf(survey)},
        {QStringLiteral("firstLines"), linesOf(survey)},
    };
}

QJsonValue valueOf(const LinePlaces &places)
{
    const auto number = [](qint64 line) { return line > 0 ? QJsonValue(line) : QJsonValue(); };
    if (places.line1 == 0 && places.line2 == 0)
        return {};
    return QJsonArray{number(places.line1), number(places.line2)};
}

QJsonValue valueOf(double number)
{
    return std::isfinite(number) ? QJsonValue(number) : QJsonValue(QStringLiteral("infinite"));
}

QJsonValue textOrNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(decodedBytes(text.toUtf8()));
}

} // namespace Talmo
