#pragma once

#include "RecordFolder.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// A file that is replaced as a whole.
struct FileChange {
    QByteArray path; ///< absolute
    QByteArray before;
    QByteArray after;
};

// What "talmo bless" has replaced is kept in the folder .talmo/blessed, a folder for each time,
// until it is brought back. \a folder must be locked.

/// Keeps what \a changes replace, and then replaces it. False if that fails; \a problem then says
/// why. Files that were replaced before stay so, and can be brought back; if there are none,
/// nothing is kept.
bool replaceFiles(const RecordFolder &folder, const QByteArray &suite,
    const std::vector<FileChange> &changes, QString &problem);

/// Brings back what the latest replaceFiles has replaced; \a names are the files, as the user knows
/// them, but for those that are as they were before already. False if that is not possible, for the
/// reasons \a problems; unless a disk is full, nothing was changed then.
bool bringBack(
    const RecordFolder &folder, const QByteArray &suite, QStringList &names, QStringList &problems);

/// The name of the file \a path for the user: below \a suite, if it is there.
QString nameBelow(const QByteArray &suite, const QByteArray &path);

/// What the file \a path holds, which must be a regular file and no link. False if it cannot be
/// read; \a problem then says why.
bool readFile(const QByteArray &path, QByteArray &text, QString &problem);

} // namespace Talmo
