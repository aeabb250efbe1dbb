#pragma once

#include <QByteArray>
#include <QString>

namespace Talmo
{

// The lines in which the driver reports, without their ends, as bytes in the user's encoding.

/// That a run of \a name, of a script with \a heading, passed.
QByteArray passLine(const QString &name, const QString &heading);

/// That the run or the script \a name failed.
QByteArray failureLine(const QByteArray &name, const QString &message);

/// That the script \a path applies to none of the programs.
QByteArray skipLine(const QByteArray &path);

/// Whether \a pattern, a regular expression as that of "=ignore", matches anywhere in \a message.
bool matchesMessage(const QString &pattern, const QString &message);

} // namespace Talmo
