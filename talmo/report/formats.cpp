#include "formats.h"

#include "JUnit.h"
#include "htmlReport.h"
#include "jsonReport.h"
#include "junitReport.h"
#include "markdown.h"

#include <algorithm>

namespace Talmo
{

const std::vector<ReportFormat> &reportFormats()
{
    static const std::vector<ReportFormat> rows = {
        {"html", ".html", writeHtml, isHtmlReport},
        {"markdown", ".md", writeMarkdown, isMarkdownReport},
        {"junit", ".xml", writeJUnitReport, isResultFile},
        {"json", ".json", writeJson, isJsonReport},
    };
    return rows;
}

const ReportFormat *formatOfName(const QString &name)
{
    const auto &rows = reportFormats();
    const auto found = std::find_if(rows.begin(), rows.end(),
        [&name](const ReportFormat &row) { return name == QLatin1String(row.name); });
    return found == rows.end() ? nullptr : &*found;
}

const ReportFormat *formatOfFile(const QString &name)
{
    const auto &rows = reportFormats();
    const auto found = std::find_if(rows.begin(), rows.end(), [&name](const ReportFormat &row) {
        return name.endsWith(QLatin1String(row.ending), Qt::CaseInsensitive);
    });
    return found == rows.end() ? nullptr : &*found;
}

} // namespace Talmo
