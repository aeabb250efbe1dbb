#pragma once

#include "Report.h"

#include <QIODevice>
#include <QString>

#include <string_view>

namespace Talmo
{

/// Writes \a report as Markdown for a comment on a merge request, as GitHub and GitLab show it.
bool writeMarkdown(const Report &report, QIODevice &device, QString &problem);

/// Whether a file that begins with \a head was written so.
bool isMarkdownReport(std::string_view head);

/// \a text as code within a line or a cell of a table. Nothing in it means anything: no markup, no
/// mention, no reference and no link.
QString markdownCode(const QString &text);

} // namespace Talmo
