#include "junitReport.h"

#include "JUnit.h"
#include "findings.h"

namespace Talmo
{

namespace
{

/// \a comparison of \a run in one line.
QString lineOf(const RunRecord &run, const FailedComparison &comparison)
{
    const QString worst = worstOf(comparison);
    return run.script + QLatin1Char(':') + QString::number(comparison.line) + QStringLiteral(": ") +
           comparison.message + (worst.isEmpty() ? QString() : QStringLiteral("; ") + worst);
}

} // namespace

bool writeJUnitReport(const Report &report, QIODevice &device, QString & /*problem*/)
{
    RunResults results = report.results;
    for (const FailedRun &failure : report.failures) {
        RunRecord &run = results.runs[failure.run];
        QStringList lines;
        for (const FailedComparison &comparison : failure.inspection.comparisons)
            lines += lineOf(run, comparison);
        if (!failure.inspection.obstacle.isNull())
            lines += failure.inspection.obstacle;
        for (const QString &line : lines) {
            if (!run.details.contains(line)) // the results may be those of such a report
                run.details += line;
        }
    }
    return writeJUnit(results, device);
}

} // namespace Talmo
