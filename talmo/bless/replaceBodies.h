#pragma once

#include <QByteArray>
#include <QString>

#include <QtGlobal>

#include <map>

namespace Talmo
{

struct FileBody;

/// What a run writes for \a body: its text, with a newline at the end.
QByteArray textOf(const FileBody &body);

/// What a script's file holds when the texts of some files in it are replaced, and everything else
/// stays as it is. \a content is all of the file as it is, and \a bodies the new texts (carrying.h)
/// by the number of their "=file" line. Lines of a text end as the "=file" line does. False if that
/// cannot be done; \a problem then says why, and nothing has to be undone.
bool replaceBodies(const QByteArray &content, const std::map<qint64, QByteArray> &bodies,
    QByteArray &replaced, QString &problem);

} // namespace Talmo
