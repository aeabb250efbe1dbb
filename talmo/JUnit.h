#pragma once

#include "RunRecord.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <string_view>

class QIODevice;

namespace Talmo
{

// Results as a JUnit XML file: what CI servers read, and what our own commands read again.
// docs/results.md says what stands where.

/// How much of what one run printed a result file holds: the beginning and the end, in bytes. Of
/// what is longer, the middle is left out, and a line says how many bytes that are.
constexpr qint64 outputBeginning = qint64{16} * 1024;
constexpr qint64 outputEnd = qint64{48} * 1024;

/// Writes \a results to \a device, which is open. The text of RunRecord::output and of the captures
/// is read from their files now, for runs that failed or are known to fail; a record that has a
/// systemOut gets that instead. What is no regular file any more is said to be missing. Characters
/// that XML cannot carry are replaced. False if \a device does not take it all.
bool writeJUnit(const RunResults &results, QIODevice &device);

/// Whether a file is a report that writeJUnit wrote, also if it was damaged later: \a text is all
/// of it, or its beginning, at least resultFileHead bytes.
bool isResultFile(std::string_view text);
constexpr size_t resultFileHead = 1000;

/// Writes \a results to the file \a name, whole or not at all. False if that fails, or if
/// problemOfResultFile has an objection; \a problem then says why.
bool writeJUnitFile(const RunResults &results, const QString &name, QString &problem);

/// Why no result file \a name could be written, as a sentence, before there is a result; null if it
/// could. So that nothing is lost, it may take the place of an empty file or a report of ours only,
/// not of what standard output or standard error go to, and not of the list of known failures.
/// Nothing is written.
QString problemOfResultFile(const QString &name);

/// What a reader wants of the text in "system-out".
enum class SystemOut {
    Kept,
    PassedOver, ///< quicker; RunRecord::systemOut stays null
};

/// Reads what writeJUnit wrote from \a device, which is open and named \a name in messages. All of
/// a record comes back but output and captures, whose text becomes systemOut; times are rounded to
/// milliseconds, and a character that XML cannot carry stays replaced. False if it is not such a
/// document; \a problem then begins with the name and, if known, the line: "results.xml:17: ".
bool readJUnit(QIODevice &device, const QString &name, SystemOut systemOut, RunResults &results,
    QString &problem);

/// Does the same, and keeps the text only of those runs by whose name \a isKept returns true.
bool readJUnit(QIODevice &device, const QString &name,
    const std::function<bool(const QString &run)> &isKept, RunResults &results, QString &problem);

/// Reads the file \a path as readJUnit does. The path is in the system's own bytes. Only a
/// regular file is read, so that nothing is waited for.
bool readJUnitFile(
    const QByteArray &path, SystemOut systemOut, RunResults &results, QString &problem);

} // namespace Talmo
