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

constexpr size_t mostCurves = 2; ///< columns of a comparison
constexpr qint64 aMegabyte = 1000000;
constexpr qint64 largestPictured = 64 * aMegabyte; ///< of a file
constexpr int pictureWidth = 720;

/// The columns that differ; those that exceed their tolerance most come first.
std::vector<size_t> differingColumns(const Survey &survey)
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
    return columns;
}

/// Why the file \a name is not drawn; null if it may be. What is no regular file is left to the
/// picture to tell.
QString objectionTo(const QString &name)
{
    QFile file;
    const QByteArray path = systemName(name);
    if (path.isNull() || !openRegular(file, path) || file.size() <= largestPictured)
        return {};
    return QStringLiteral("'%1' is larger than %2 MB")
        .arg(name, QString::number(largestPictured / aMegabyte)); // at once: a name may hold a "%2"
}

QString pathIn(const QString &directory, const QString &file)
{
    return file.startsWith(QLatin1Char('/')) ? file : directory + QLatin1Char('/') + file;
}

/// Which file of \a comparison is not any more what was compared, by the names that \a request has
/// for them; null if none.
QString changeOf(const PlotRequest &request, const FailedComparison &comparison)
{
    const struct {
        const QString &name;
        const std::optional<FileState> &before;
    } files[] = {{request.file1, comparison.state1}, {request.file2, comparison.state2}};
    for (const auto &file : files) {
        if (file.before && !(file.before == stateOf(file.name)))
            return QStringLiteral("'%1' was changed since it was compared").arg(file.name);
    }
    return {};
}

/// Draws the picture that \a request asks for into \a picture. Returns why there is none; null if
/// there is one.
QString draw(const PlotRequest &request, const FailedComparison &comparison, QBuffer &picture)
{
    for (const QString &name : {request.file1, request.file2}) {
        if (QString objection = objectionTo(name); !objection.isNull())
            return objection;
    }
    QString problem;
    picture.open(QIODevice::WriteOnly);
    writePlotElement(request, comparison.file1, comparison.file2, picture, problem);
    // Only when it is drawn: a file may have been changed meanwhile, too.
    return problem.isNull() ? changeOf(request, comparison) : problem;
}

} // namespace

bool hasPictures(const FailedComparison &comparison)
{
    return !differingColumns(comparison.survey).empty();
}

void writePictures(const FailedComparison &comparison, const QString &directory, PageBudget &budget,
    HtmlWriter &html)
{
    const std::vector<size_t> columns = differingColumns(comparison.survey);
    if (columns.empty())
        return;
    const size_t drawn = std::min(columns.size(), mostCurves);
    PlotRequest request;
    request.file1 = pathIn(directory, comparison.file1);
    request.file2 = pathIn(directory, comparison.file2);
    request.columns.assign(columns.begin(), columns.begin() + static_cast<std::ptrdiff_t>(drawn));
    std::sort(request.columns.begin(), request.columns.end());
    request.tolerances = comparison.tolerances;
    request.names = comparison.survey.names;
    request.width = pictureWidth;
    QBuffer picture;
    const QString problem = draw(request, comparison, picture);
    if (!problem.isNull()) {
        html.element(
            "p", QStringLiteral("There is no picture: %1.").arg(problem), {{"class", "note"}});
        return;
    }
    if (!budget.take(picture.size()))
        return writeTooLarge(QStringLiteral("There is no picture"), html);
    openScrolling(html, "figure", QStringLiteral("Pictures of the columns"));
    html.insert(picture.data());
    html.close();
    if (drawn < columns.size())
        html.element("p",
            countOf(static_cast<qint64>(columns.size() - drawn), "other column") +
                QLatin1String(
                    columns.size() - drawn == 1 ? " that differs is" : " that differ are") +
                QStringLiteral(" not drawn."),
            {{"class", "pale"}});
}

} // namespace Talmo
