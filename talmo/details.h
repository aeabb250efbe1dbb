#pragma once

#include "Result.h"
#include "Script.h"

#include <QString>
#include <QStringList>

namespace Talmo
{

/// What the message of \a result, of a run of \a script that failed, leaves out, a sentence each:
/// the script's line; how far two numbers are apart; how a program ended, and its last words. The
/// run's directory must still be there, below the current directory.
QStringList detailsOf(const Result &result, const Script &script);

/// \a text, or \a bytes that a program printed or a file holds, as text of one line: what cannot be
/// shown is escaped, and what is long is cut.
QString shown(const QString &text);
QString shown(const QByteArray &bytes);

} // namespace Talmo
