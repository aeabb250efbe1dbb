#pragma once

#include "Report.h"

#include <QIODevice>
#include <QString>

#include <string_view>
#include <vector>

namespace Talmo
{

/// A format that a report can have.
struct ReportFormat {
    const char *name;
    const char *ending; ///< of the names of its files
    /// Puts a report into \a device, which is open. False if that fails; \a problem then says why,
    /// unless it is the device.
    bool (*write)(const Report &report, QIODevice &device, QString &problem);
    bool (*isOurs)(std::string_view head); ///< whether a file with this beginning is such a report
};

/// All of them; the first one is taken if nothing says otherwise.
const std::vector<ReportFormat> &reportFormats();

/// The format \a name; null if there is none.
const ReportFormat *formatOfName(const QString &name);

/// The format that the name of the file \a name tells by its ending; null if it tells none.
const ReportFormat *formatOfFile(const QString &name);

} // namespace Talmo
