#pragma once

#include "talmo/Flaw.h"

/// Whether \a flaw, if it is one, has its place in \a text.
inline bool hasPlace(const Talmo::Flaw &flaw, const QString &text)
{
    if (flaw.what.isEmpty())
        return flaw.position == 0 && flaw.length == 0 && flaw.kind == Talmo::Flaw::Kind::None;
    return flaw.position >= 0 && flaw.length >= 0 && flaw.position + flaw.length <= text.size();
}

/// Whether \a report is what may be printed of a text with \a flaw: of one without, nothing but
/// that its units do not fit together, and what follows from that.
inline bool isReportOf(const Talmo::Flaw &flaw, const QString &report)
{
    if (!flaw.what.isEmpty())
        return !flaw.isReported || !report.isEmpty();
    const QString first = report.section('\n', 0, 0);
    return report.isEmpty() || first.contains("Units Conversion Error") ||
           first.contains("Units conversion error") || first.contains("Invalid units");
}
