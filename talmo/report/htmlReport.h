#pragma once

#include "Report.h"

#include <QString>

#include <string_view>

class QIODevice;

namespace Talmo
{

/// Writes \a report as one page of HTML, which needs nothing else, and is readable without scripts.
/// It reads the files that failing comparisons were about, for their pictures. False, with a
/// null \a problem, if \a device cannot be written: whoever opened it knows why.
bool writeHtml(const Report &report, QIODevice &device, QString &problem);

/// Whether the file that begins with \a head is such a page.
bool isHtmlReport(std::string_view head);

} // namespace Talmo
