#include "diffOutput.h"
#include "diffWords.h"
#include "surveyJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace Talmo
{

namespace
{

/// The first block that is not the same; null if there is none.
QJsonValue blocksOf(const std::optional<BlockParting> &parting)
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
    QJsonObject document = membersOf(result.survey);
    document[QStringLiteral("file1")] = textOrNull(request.file1);
    document[QStringLiteral("file2")] = textOrNull(request.file2);
    document[QStringLiteral("agree")] = result.agree();
    document[QStringLiteral("message")] =
        textOrNull(messageOf(result, request.file1, request.file2));
    document[QStringLiteral("reason")] = reasonOf(result);
    document[QStringLiteral("blocks")] = blocksOf(result.parting);
    document[QStringLiteral("compare")] = textOrNull(readyLineOf(result));
    return QJsonDocument(document).toJson();
}

} // namespace Talmo
