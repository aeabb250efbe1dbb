#pragma once

#include "Report.h"

#include <QString>

class QIODevice;

namespace Talmo
{

/// Writes \a report as one page of HTML, which needs nothing else, and is readable without scripts.
/// It reads the files that failing comparisons were about, for their pictures. False, with a
/// null \a problem, if \a device cannot be written: whoever opened it knows why.
bool writeHtml(const Report &report, QIODevice &device, QString &problem);

} // namespace Talmo
