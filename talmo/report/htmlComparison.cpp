// What "=compare" says, and what "talmo diff" would: of the first few comparisons that fail,
// columns, lines (htmlLines.cpp) and pictures (htmlPicture.cpp); of the others, how far they are
// off.

#include "htmlSections.h"

#include "diffWords.h"
#include "findings.h"
#include "wording.h"

#include <QStringList>

#include <algorithm>
#include <iterator>

namespace Talmo
{

namespace
{

constexpr size_t mostInFull = 3;   ///< comparisons of a run
constexpr size_t mostPictured = 2; ///< comparisons of a run
constexpr size_t mostListed = 500; ///< comparisons of a run
constexpr size_t mostColumns = 16; ///< rows of a table; of more, only those that differ

QString sufficientOf(const ColumnSurvey &column)
{
    return column.sufficient ? exactly(*column.sufficient) : QStringLiteral("none");
}

/// Which lines are wrong, behind "1 line" or "2 lines", in the order of Difference::Kind.
const char *const kindWords[] = {
    nullptr,
    "that only one file has",
    "with different texts",
    "with a comment in one file only",
    "with too few columns",
    "with a word that is no number",
    "with numbers too far apart",
};
static_assert(std::size(kindWords) == Difference::Value + 1);

QString sentenceOf(const Survey &survey)
{
    QStringList parts;
    for (size_t kind = Difference::Length; kind <= Difference::Value; ++kind) {
        const KindSurvey &lines = survey.kinds[kind];
        if (lines.lines > 0)
            parts += QStringLiteral("%1 %2, the first on line %3")
                         .arg(countOf(lines.lines, "line"), QLatin1String(kindWords[kind]),
                             grouped(lines.firstLine));
    }
    const QString lengths =
        survey.lengths.lines1 == survey.lengths.lines2
            ? countOf(survey.lengths.lines1, "line")
            : QStringLiteral("%1 and %2")
                  .arg(grouped(survey.lengths.lines1), countOf(survey.lengths.lines2, "line"));
    return QStringLiteral("Of %1, %2 %3: ")
               .arg(lengths, grouped(survey.differingLines),
                   QLatin1String(survey.differingLines == 1 ? "differs" : "differ")) +
           parts.join(QStringLiteral("; ")) + QLatin1Char('.');
}

QString commandOf(const FailedComparison &comparison)
{
    QString command = QStringLiteral("=compare %1 %2").arg(comparison.file1, comparison.file2);
    for (const double tolerance : comparison.tolerances)
        command += QLatin1Char(' ') + exactly(tolerance);
    return command;
}

/// The columns that are shown in a table; all if they are few.
std::vector<size_t> shownColumns(const Survey &survey)
{
    std::vector<size_t> shown;
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        if (survey.columns.size() <= mostColumns || survey.columns[index].lines > 0)
            shown.push_back(index);
    }
    shown.resize(std::min(shown.size(), 4 * mostColumns));
    return shown;
}

class Comparison
{
public:
    Comparison(const FailedComparison &what, PageBudget &someBudget, HtmlWriter &writer)
        : comparison(what)
        , survey(what.survey)
        , budget(someBudget)
        , html(writer)
    {
    }

    void write();

private:
    void writeColumns();
    void writeColumn(size_t index);
    void writeSuggestion();
    void writeGrowth();

    const FailedComparison &comparison;
    const Survey &survey;
    PageBudget &budget;
    HtmlWriter &html;
};

void Comparison::write()
{
    html.open("h4");
    html.element("code", commandOf(comparison));
    html.text(QStringLiteral(" on line %1").arg(comparison.line));
    if (comparison.isReported)
        html.text(", which ended the run");
    html.close();
    if (!comparison.isReported)
        html.element("p", comparison.message);
    if (survey.unreadable != 0 || !survey.first)
        return;
    html.element("p", sentenceOf(survey));
    writeColumns();
    writeLines(comparison, budget, html);
    writeSuggestion();
    writeGrowth();
}

void Comparison::writeColumns()
{
    const std::vector<size_t> shown = shownColumns(survey);
    if (shown.empty())
        return;
    const bool hasNames = !survey.names.isEmpty();
    openScrolling(html, "div", QStringLiteral("Columns"));
    html.open("table");
    html.open("thead");
    html.open("tr");
    html.element("th", "Column", {{"scope", "col"}, {"class", "number"}});
    if (hasNames)
        html.element("th", "Name", {{"scope", "col"}});
    for (const char *const title : {"Tolerance", "Lines that differ", "First", "Largest difference",
             "on line", "Largest relative", "on line", "Would do"})
        html.element("th", title, {{"scope", "col"}, {"class", "number"}});
    html.close();
    html.close();
    html.open("tbody");
    for (const size_t index : shown)
        writeColumn(index);
    html.close();
    html.close();
    html.close();
    if (shown.size() < survey.columns.size())
        html.element("p",
            QStringLiteral("%1 not shown.")
                .arg(countOf(
                    static_cast<qint64>(survey.columns.size() - shown.size()), "other column")),
            {{"class", "pale"}});
}

void Comparison::writeColumn(size_t index)
{
    const ColumnSurvey &column = survey.columns[index];
    const bool differs = column.lines > 0;
    const bool isCompared = column.tolerance >= 0;
    const auto lineOf = [](qint64 line) { return line > 0 ? grouped(line) : QString(); };
    html.open("tr");
    html.element("th", QString::number(index + 1), {{"scope", "row"}, {"class", "number"}});
    if (!survey.names.isEmpty())
        html.element("td", survey.names.value(static_cast<int>(index)), {{"class", "name"}});
    const QString cells[] = {
        isCompared ? exactly(column.tolerance) : QStringLiteral("not compared"),
        isCompared ? grouped(column.lines) : QString(),
        lineOf(column.firstLine),
        column.largestLine > 0 ? roughly(column.largest) : QString(),
        lineOf(column.largestLine),
        column.largestRelativeLine > 0 ? roughly(column.largestRelative) : QString(),
        lineOf(column.largestRelativeLine),
        differs ? sufficientOf(column) : QString(),
    };
    for (const QString &cell : cells)
        html.element("td", cell, {{"class", "number"}});
    html.close();
}

/// The command that would pass.
void Comparison::writeSuggestion()
{
    if (!survey.toleranceHelps() || survey.columns.empty())
        return;
    QString command = QStringLiteral("=compare %1 %2").arg(comparison.file1, comparison.file2);
    for (const ColumnSurvey &column : survey.columns)
        command += QLatin1Char(' ') +
                   (column.tolerance < 0 ? exactly(column.tolerance) : sufficientOf(column));
    html.open("p");
    html.text("This would pass: ");
    html.element("code", command);
    html.close();
}

/// Whether tolerances would have to grow much, as "talmo diff" says it.
void Comparison::writeGrowth()
{
    DiffResult result;
    result.survey = survey;
    if (const QString growth = growthOf(result); !growth.isNull())
        html.element("p", growth + QLatin1Char('.'), {{"class", "note"}});
}

/// A row for \a comparison, if it finds room.
bool writeRow(const FailedComparison &comparison, PageBudget &budget, HtmlWriter &html)
{
    constexpr qint64 markup = 120;
    const QString files = comparison.file1 + QLatin1Char(' ') + comparison.file2;
    const QString worst = worstOf(comparison);
    if (!budget.takeRow(markup + files.size() + worst.size() + comparison.message.size()))
        return false;
    html.open("tr");
    html.element("th", QString::number(comparison.line), {{"scope", "row"}, {"class", "number"}});
    html.element("td", files, {{"class", "name"}});
    html.element("td", worst);
    html.element(
        "td", comparison.message + QLatin1String(comparison.isReported ? " (ended the run)" : ""));
    html.close();
    return true;
}

/// The first of the comparisons that fail, a row each.
void writeOverview(
    const std::vector<FailedComparison> &comparisons, PageBudget &budget, HtmlWriter &html)
{
    html.element("h4", countOf(static_cast<qint64>(comparisons.size()), "comparison") +
                           QStringLiteral(" that fail"));
    openScrolling(html, "div", QStringLiteral("Comparisons that fail"));
    html.open("table");
    html.open("thead");
    html.open("tr");
    html.element("th", "Line", {{"scope", "col"}, {"class", "number"}});
    for (const char *const title : {"Files", "Worst", "Message"})
        html.element("th", title, {{"scope", "col"}});
    html.close();
    html.close();
    html.open("tbody");
    size_t listed = 0;
    while (listed < std::min(comparisons.size(), mostListed) &&
           writeRow(comparisons[listed], budget, html))
        ++listed;
    html.close();
    html.close();
    html.close();
    if (listed < comparisons.size())
        html.element("p",
            QStringLiteral(
                "%1 more of them are not listed here; talmo report --format json has all.")
                .arg(grouped(static_cast<qint64>(comparisons.size() - listed))),
            {{"class", "note"}});
}

/// Says how many of \a all comparisons are not among the \a shown ones.
void writeLeftOut(size_t all, size_t shown, HtmlWriter &html)
{
    if (shown == all)
        return;
    const auto left = static_cast<qint64>(all - shown);
    const QString what = countOf(left, shown == 0 ? "comparison" : "other comparison") +
                         QLatin1String(left == 1 ? " that fails is" : " that fail are") +
                         QStringLiteral(" not shown in full");
    if (shown < mostInFull)
        return writeTooLarge(what, html);
    html.element("p",
        what + QStringLiteral("; talmo diff shows each of them in the directory of the run."),
        {{"class", "note"}});
}

} // namespace

void writeComparisons(const FailedRun &failure, PageBudget &budget, HtmlWriter &html)
{
    const std::vector<FailedComparison> &comparisons = failure.inspection.comparisons;
    std::vector<const FailedComparison *> order;
    order.reserve(comparisons.size());
    for (const FailedComparison &comparison : comparisons)
        order.push_back(&comparison);
    std::stable_partition(order.begin(), order.end(),
        [](const FailedComparison *comparison) { return comparison->isReported; });
    if (comparisons.size() > 1)
        writeOverview(comparisons, budget, html);
    constexpr qint64 table = 2000;
    size_t shown = 0;
    while (shown < std::min(order.size(), mostInFull) && budget.take(table)) {
        const FailedComparison &comparison = *order[shown];
        Comparison(comparison, budget, html).write();
        ++shown;
        if (shown <= mostPictured)
            writePictures(comparison, failure.directory, budget, html);
        else if (hasPictures(comparison))
            html.element("p",
                QStringLiteral(
                    "There is no picture: only the first %1 comparisons of a run have some.")
                    .arg(mostPictured),
                {{"class", "note"}});
    }
    writeLeftOut(comparisons.size(), shown, html);
}

} // namespace Talmo
