#pragma once

#include "Observation.h"

#include <QByteArray>

namespace Talmo
{

/// Whether files can be made in the folder \a path, and how much room there is. \a advice is for a
/// folder in which they cannot be made.
Observations examineFolder(const QString &subject, const QByteArray &path, const QString &advice);

/// What the file system has in the folder \a path: a problem if less than 1 MB is free, or if it
/// takes no more files; a note if less than 100 MB is free.
Observation examineRoom(const QString &subject, const QByteArray &path);

/// Why no files can be made in the folder \a path, in the words of the system; null if they can.
QString problemOfFolder(const QByteArray &path);

/// How many scripts "test*" are in the folder \a path, or \a ifNone; and what is passed over.
Observations examineScripts(
    const QString &subject, const QByteArray &path, const Observation &ifNone);

} // namespace Talmo
