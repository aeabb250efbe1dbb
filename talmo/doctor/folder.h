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

/// What keeps the folder \a path from being read or used, in the words of the system, and as a
/// sentence about it; text is null if nothing does.
QString problemOfFolder(const QByteArray &path);

/// The scripts "test*" in the folder \a path: how many there are, none is a observation \a ifNone.
Observations examineScripts(
    const QString &subject, const QByteArray &path, const Observation &ifNone);

} // namespace Talmo
