#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

class Script;
struct SuiteScript;

// SHA-256, in hexadecimal digits: by them we later know what has changed.

/// Of the text of \a script, which is open.
QByteArray digestOfScript(const Script &script);

/// Of the names of \a scripts, in their order, and of what is in their files. What cannot be read,
/// or is no regular file, counts as a file without a text.
QByteArray digestOfScripts(const std::vector<SuiteScript> &scripts);

/// Of the files outside \a runDirectory that \a script compares with when it runs there with
/// \a program: of the names in its "=compare" lines, and what the files hold. The directory need
/// not exist. Files that are missing, and those that are no regular files, do not count. Empty if
/// none does.
QByteArray digestOfReferences(
    const Script &script, const QString &program, const QByteArray &runDirectory);

/// Of what is in the directory \a path: names, types, sizes, times of the last change, targets of
/// links; no file is read. It does not follow links, does not enter other file systems, and stops
/// after \a mostEntries. Empty if there is no such directory.
QByteArray digestOfDirectory(const QByteArray &path, int mostEntries = 100000);

/// Of \a names, those of the runs of a suite in their order.
QByteArray digestOfNames(const QStringList &names);

} // namespace Talmo
