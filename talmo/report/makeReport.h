#pragma once

#include "Report.h"
#include "Source.h"

#include <QByteArray>

namespace Talmo
{

/// How many differing lines of each comparison a report keeps.
constexpr size_t keptDifferingLines = 10;

/// A report about \a source. The runs that failed are looked at in \a suiteDirectory, an absolute
/// path, or where the source says that they were made.
Report makeReport(Source source, const QByteArray &suiteDirectory);

/// \a text as one word for a shell.
QString shellWord(const QString &text);

} // namespace Talmo
