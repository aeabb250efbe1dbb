// talmo diff: two files side by side, to their ends.

#include "CommandLine.h"
#include "DiffOptions.h"
#include "commandTable.h"
#include "comparison.h"
#include "diffOutput.h"
#include "diffPlot.h"

#include <cstdio>
#include <new>

namespace Talmo
{

namespace
{

int refuse(const QString &sentence)
{
    return wrongCall(QStringLiteral("diff: ") + sentence);
}

int perform(const DiffRequest &request)
{
    DiffResult result;
    result.request = request;
    const QString problem = compare(result);
    if (!problem.isNull())
        return refuse(problem);
    const QByteArray output = request.isJson ? jsonOf(result) : textOf(result, styleOfOutput());
    std::fwrite(output.constData(), 1, static_cast<size_t>(output.size()), stdout);
    QString obstacle;
    if (!request.plot.isNull() && !savePlot(result, obstacle))
        std::fprintf(stderr, "talmo: diff: %s\n", qPrintable(obstacle));
    return result.agree() ? AllIsWell : AtFault;
}

} // namespace

int diffCommand(const QStringList &arguments)
{
    int status = WrongCall;
    const std::optional<DiffRequest> request = diffRequestOf(arguments, status);
    if (!request)
        return status;
    try {
        return perform(*request);
    } catch (const std::bad_alloc &) {
        return refuse(QStringLiteral("there is not enough memory for this"));
    }
}

} // namespace Talmo
