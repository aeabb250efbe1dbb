#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

class QIODevice;

namespace Talmo
{

/// That the file \a name cannot be written, and the \a reason, as a sentence.
QString cannotWrite(const QString &name, const QString &reason);

/// Writes the file \a name, whole or not at all, with what \a write puts into the device. A link is
/// followed, and a file that is there keeps its permissions. False if that fails; \a problem then
/// says why, and the file is as it was.
bool saveFile(const QString &name, const std::function<bool(QIODevice &)> &write, QString &problem);

/// Why saveFile could not write \a name, as a sentence; null if it could. Nothing is written.
QString problemOfSaving(const QString &name);

/// Writes the file \a name in the directory that is open as \a folder, whole or not at all, and no
/// matter what the path of the directory leads to by now. What has the name is replaced, also a
/// link. False if that fails; \a reason then says why, in the words of the system. Of two processes
/// only one may do this in the same directory at a time.
bool saveFileIn(int folder, const QByteArray &name, const std::function<bool(QIODevice &)> &write,
    QString &reason);

/// The name that a file has there until it is whole.
constexpr char unfinishedName[] = "unfinished";

} // namespace Talmo
