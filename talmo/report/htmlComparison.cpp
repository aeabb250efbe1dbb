// What "=compare" says, and what "talmo diff" would: of the first few comparisons that fail,
// columns, lines and pictures; of the others, how far they are off.

#include "htmlSections.h"

#include "DiskFile.h"
#include "findings.h"
#include "plot.h"
#include "regularFile.h"
#include "utf8.h"
#include "wording.h"

#include <QBuffer>
#include <QFile>
#include <QStringList>

#include <algorithm>
#include <iterator>

namespace Talmo
{

namespace
{

constexpr size_t mostInFull = 3;   ///< comparisons of a run
constexpr size_t mostPictured = 2; ///< comparisons of a run
constexpr size_t mostCurves = 2;   ///< columns of a comparison
constexpr size_t mostListed = 500; ///< comparisons of a run
constexpr size_t mostColumns = 16; ///< rows of a table; of more, only those that differ
constexpr size_t mostLines = 8;
constexpr qint64 largestPictured = qint64{64} * 1000 * 1000; ///< bytes of a file
constexpr int pictureWidth = 720;
constexpr int longestWord = 80;
constexpr int longestLine = 200;

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
    void writePictures(const QString &directory);

private:
    void writeColumns();
    void writeColumn(size_t index);
    void writeLines();
    void writeLine(const QString &label, const QByteArray &text, const DifferingLine &line);
    void writeSuggestion();
    std::vector<size_t> picturedColumns() const;

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
    writeLines();
    writeSuggestion();
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

/// A line, or a part of one, whose words are separate.
struct LinePart {
    QStringList words;
    int first = 0; ///< the number of the first word, from 0
    bool isCut = false;
};

/// \a text, or of a long one what is around the word \a column, from 1.
LinePart partOf(const QByteArray &text, size_t column)
{
    constexpr int before = 4;
    constexpr int after = 8;
    LinePart part;
    const QString line = decodedBytes(text);
    part.words = line.simplified().split(QLatin1Char(' '));
    if (line.size() <= longestLine)
        return part;
    part.isCut = true;
    part.first = std::max(0, static_cast<int>(column) - 1 - before);
    part.words = part.words.mid(part.first, before + 1 + after);
    for (QString &word : part.words) {
        if (word.size() > longestWord)
            word = word.left(longestWord) + QChar(0x2026);
    }
    return part;
}

void Comparison::writeLine(const QString &label, const QByteArray &text, const DifferingLine &line)
{
    html.element("span", label.leftJustified(10), {{"class", "pale"}});
    if (text.isNull()) {
        html.element("em", "no such line\n");
        return;
    }
    const LinePart part = partOf(text, line.columns.empty() ? 1 : line.columns.front());
    if (part.first > 0)
        html.text(QStringLiteral("\u2026 "));
    if (line.columns.empty())
        html.open("mark");
    for (int index = 0; index < part.words.size(); ++index) {
        const auto column = static_cast<size_t>(part.first) + static_cast<size_t>(index) + 1;
        const bool differs = std::binary_search(line.columns.begin(), line.columns.end(), column);
        if (index > 0)
            html.text("  ");
        if (differs)
            html.element("mark", part.words[index]);
        else
            html.text(part.words[index]);
    }
    if (line.columns.empty())
        html.close();
    html.text(part.isCut ? QStringLiteral(" \u2026\n") : QStringLiteral("\n"));
}

void Comparison::writeLines()
{
    const size_t count = std::min(survey.firstLines.size(), mostLines);
    if (count == 0 || !budget.take(static_cast<qint64>(count) * 2 * longestLine))
        return;
    html.element("p", QStringLiteral("The first lines that differ, of '%1' (1) and '%2' (2):")
                          .arg(comparison.file1, comparison.file2));
    html.open("pre", {{"class", "lines"}, {"tabindex", "0"}, {"aria-label", "Lines that differ"}});
    for (size_t index = 0; index < count; ++index) {
        const DifferingLine &line = survey.firstLines[index];
        writeLine(QStringLiteral("%1 (1)").arg(line.line), line.text1, line);
        writeLine(QStringLiteral("(2)").rightJustified(
                      static_cast<int>(QString::number(line.line).size()) + 4),
            line.text2, line);
    }
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

/// The columns that exceed their tolerance most, in their order.
std::vector<size_t> Comparison::picturedColumns() const
{
    std::vector<size_t> columns;
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        if (survey.columns[index].lines > 0)
            columns.push_back(index + 1);
    }
    const auto excess = [this](size_t column) {
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

void Comparison::writePictures(const QString &directory)
{
    PlotRequest request;
    request.file1 = pathIn(directory, comparison.file1);
    request.file2 = pathIn(directory, comparison.file2);
    request.columns = picturedColumns();
    request.tolerances = comparison.tolerances;
    request.names = survey.names;
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

/// All comparisons that fail, a row each.
void writeOverview(const std::vector<FailedComparison> &comparisons, HtmlWriter &html)
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
    for (size_t index = 0; index < std::min(comparisons.size(), mostListed); ++index) {
        const FailedComparison &comparison = comparisons[index];
        html.open("tr");
        html.element(
            "th", QString::number(comparison.line), {{"scope", "row"}, {"class", "number"}});
        html.element(
            "td", comparison.file1 + QLatin1Char(' ') + comparison.file2, {{"class", "name"}});
        html.element("td", worstOf(comparison));
        html.element("td",
            comparison.message + QLatin1String(comparison.isReported ? " (ended the run)" : ""));
        html.close();
    }
    html.close();
    html.close();
    html.close();
    if (comparisons.size() > mostListed)
        html.element("p", QStringLiteral("%1 more.")
                              .arg(grouped(static_cast<qint64>(comparisons.size() - mostListed))));
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
        writeOverview(comparisons, html);
    for (size_t index = 0; index < std::min(order.size(), mostInFull); ++index) {
        if (!budget.take(2000))
            return;
        Comparison comparison(*order[index], budget, html);
        comparison.write();
        if (index < mostPictured)
            comparison.writePictures(failure.directory);
    }
}

} // namespace Talmo
