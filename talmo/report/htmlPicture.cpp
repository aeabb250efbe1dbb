// The pictures of a comparison: the columns that are farthest apart.

#include "htmlSections.h"

#include "DiskFile.h"
#include "plot.h"
#include "regularFile.h"

#include <QBuffer>
#include <QFile>

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr size_t mostCurves = 2;                             ///< columns of a comparison
constexpr qint64 largestPictured = qint64{64} * 1000 * 1000; ///< bytes of a file
constexpr int pictureWidth = 720;

/// The columns that exceed their tolerance most, in their order.
std::vector<size_t> picturedColumns(const Survey &survey)
{
    std::vector<size_t> columns;
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        if (survey.columns[index].lines > 0)
            columns.push_back(index + 1);
    }
    const auto excess = [&survey](size_t column) {
        const ColumnSurvey &numbers = survey.columns[column - 1];
        return numbers.largest / std::max(numbers.tolerance, 1e-300);
    };
    std::stable_sort(columns.begin(), columns.end(),
        [&excess](size_t one, size_t other) { return excess(one) > excess(other); });
    columns.resize(std::min(columns.size(), mostCurves));
    std::sort(columns.begin(), columns.end());
    return columns;
}

/// Whether the file \a name is there and not too large for a picture; what is no regular file is
/// left to the picture to tell.
bool isPicturable(const QString &name)
{
    QFile file;
    const QByteArray path = systemName(name);
    return path.isNull() || !openRegular(file, path) || file.size() <= largestPictured;
}

QString pathIn(const QString &directory, const QString &file)
{
    return file.startsWith(QLatin1Char('/')) ? file : directory + QLatin1Char('/') + file;
}

} // namespace

void writePictures(const FailedComparison &comparison, const QString &directory, PageBudget &budget,
    HtmlWriter &html)
{
    PlotRequest request;
    request.file1 = pathIn(directory, comparison.file1);
    request.file2 = pathIn(directory, comparison.file2);
    request.columns = picturedColumns(comparison.survey);
    request.tolerances = comparison.tolerances;
    request.names = comparison.survey.names;
    request.width = pictureWidth;
    if (request.columns.empty() || !isPicturable(request.file1) || !isPicturable(request.file2))
        return;
    QBuffer picture;
    picture.open(QIODevice::WriteOnly);
    QString problem;
    if (!writePlotElement(request, comparison.file1, comparison.file2, picture, problem)) {
        html.element("p", QStringLiteral("There is no picture: ") + problem, {{"class", "note"}});
        return;
    }
    if (!budget.take(picture.size())) {
        html.element("p", "There is no picture: the page would be too large.", {{"class", "note"}});
        return;
    }
    openScrolling(html, "figure", QStringLiteral("Pictures of the columns"));
    html.insert(picture.data());
    html.close();
}

} // namespace Talmo
