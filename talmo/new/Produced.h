#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace Talmo
{

/// A file that was found in the directory of a run.
struct Produced {
    QString name;        ///< below the directory; as it can be shown, if no script can name it
    bool isNamed = true; ///< a script can
    QByteArray text;     ///< what is in it; null if it cannot be named or read
    QString obstacle;    ///< why a script cannot name or carry it; null if nothing is known yet
};

/// The size in bytes from which on a file is too large for a script.
constexpr qint64 largestText = qint64{10} * 1024 * 1024;

/// Reads the regular file \a path, which is in the system's own bytes. Returns why that is not
/// possible, in a few words, also if it is too large for a script; null if it is.
QString readText(const QByteArray &path, QByteArray &text);

/// All that is in \a directory and in the directories in it, but for these, sorted by name. Links
/// are not followed.
std::vector<Produced> producedIn(const QString &directory);

} // namespace Talmo
