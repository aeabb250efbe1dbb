#pragma once

#include "Report.h"

#include <QIODevice>
#include <QString>

namespace Talmo
{

/// Writes the results of \a report as "talmo run" does (JUnit.h). The details of a run that failed
/// have a line for each of its comparisons that fail, with the worst value, or say why nobody
/// knows.
bool writeJUnitReport(const Report &report, QIODevice &device, QString &problem);

} // namespace Talmo
