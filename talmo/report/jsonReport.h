#pragma once

#include "Report.h"

#include <QIODevice>
#include <QString>

#include <string_view>

namespace Talmo
{

/// Writes all of \a report as one JSON document. docs/report.md says what stands where.
bool writeJson(const Report &report, QIODevice &device, QString &problem);

/// Whether a file that begins with \a head was written so.
bool isJsonReport(std::string_view head);

} // namespace Talmo
