#include "diffPlot.h"

#include "plot.h"
#include "saving.h"

#include <QIODevice>

namespace Talmo
{

namespace
{

/// The columns that have numbers that differ.
std::vector<size_t> differingColumns(const Survey &survey)
{
    std::vector<size_t> columns;
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        const ColumnSurvey &column = survey.columns[index];
        if (column.lines > column.invalid)
            columns.push_back(index + 1);
    }
    return columns;
}

} // namespace

bool savePlot(const DiffResult &result, QString &problem)
{
    const DiffRequest &request = result.request;
    PlotRequest plot;
    plot.file1 = request.file1;
    plot.file2 = request.file2;
    plot.columns = differingColumns(result.survey);
    plot.tolerances = result.tolerances.values;
    plot.names = result.survey.names;
    plot.x = result.plotX;
    plot.open = [&request](LineReader &lines, const QString &name) {
        return openPrepared(lines, name, request.preparation);
    };
    if (plot.columns.empty()) {
        problem = QStringLiteral("no column of numbers differs, so '%1' was not written")
                      .arg(request.plot);
        return false;
    }
    QString obstacle;
    const auto write = [&](QIODevice &device) { return writePlot(plot, device, obstacle); };
    if (saveFile(request.plot, write, problem))
        return true;
    if (!obstacle.isNull())
        problem = obstacle;
    return false;
}

} // namespace Talmo
