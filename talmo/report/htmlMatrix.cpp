// A row for each script, a column for each program of these, and one for runs without a program.
// Scripts with a failure come first. The others are folded: there may be thousands.

#include "htmlSections.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace Talmo
{

namespace
{

struct Row {
    QString script;
    QString heading;
    std::vector<const RunRecord *> runs;
    bool hasFailed = false;
};

/// What became of \a run, in a word and a class of the style sheet.
struct End {
    const char *word;
    const char *kind;
};

End endOf(const RunRecord &run)
{
    switch (run.state) {
    case RunState::Passed:
        return run.isFlaky() ? End{"flaky", "flaky"} : End{"passed", "passed"};
    case RunState::Failed:
        return {"failed", "failed"};
    case RunState::Known:
        return {"known", "known"};
    case RunState::Skipped:
        return {"skipped", "skipped"};
    case RunState::NotRun:
        return {"not run", "notrun"};
    }
    return {"", ""};
}

/// The script of \a run as its name has it: ctest has "suite.test1(sim1)" for "test1", and tests
/// without a script.
QString scriptIn(const RunRecord &run)
{
    const QString program = QLatin1Char('(') + run.program + QLatin1Char(')');
    const bool hasProgram = !run.program.isEmpty() && run.name.endsWith(program);
    return hasProgram ? run.name.left(run.name.size() - program.size()) : run.name;
}

std::vector<Row> rowsOf(const std::vector<RunRecord> &runs)
{
    std::vector<Row> rows;
    QHash<QString, size_t> indices;
    for (const RunRecord &run : runs) {
        const QString script = scriptIn(run);
        const auto known = indices.constFind(script);
        const size_t index = known == indices.constEnd() ? rows.size() : *known;
        if (index == rows.size()) {
            indices.insert(script, index);
            rows.push_back({script, run.heading, {}, false});
        }
        rows[index].runs.push_back(&run);
        if (run.state == RunState::Failed || run.state == RunState::NotRun)
            rows[index].hasFailed = true;
    }
    return rows;
}

/// The programs that occur in \a rows, in the order of the runs. A null one stands for runs without
/// a program.
QStringList programsOf(const std::vector<Row> &rows)
{
    QStringList programs;
    QSet<QString> known;
    for (const Row &row : rows) {
        for (const RunRecord *const run : row.runs) {
            if (run->state == RunState::Skipped || known.contains(run->program))
                continue;
            known.insert(run->program);
            programs += run->program;
        }
    }
    return programs;
}

/// The message of the first run in \a row that failed; of a long one the beginning.
QString reasonOf(const Row &row)
{
    constexpr int most = 160;
    for (const RunRecord *const run : row.runs) {
        if (run->state != RunState::Failed && run->state != RunState::NotRun)
            continue;
        return run->message.size() > most ? run->message.left(most) + QChar(0x2026) : run->message;
    }
    return {};
}

/// A table of some of the scripts.
class Matrix
{
public:
    Matrix(const std::vector<Row> &someRows, const SectionIds &someSections, HtmlWriter &writer)
        : rows(someRows)
        , programs(programsOf(someRows))
        , sections(someSections)
        , html(writer)
    {
    }

    void write(const char *label, bool isOfFailures);

private:
    void writeHead(bool isOfFailures);
    void writeRow(const Row &row);
    void writeCell(const Row &row, const QString &program);
    void writeEnd(const RunRecord &run);

    const std::vector<Row> &rows;
    const QStringList programs;
    const SectionIds &sections;
    HtmlWriter &html;
};

void Matrix::write(const char *label, bool isOfFailures)
{
    openScrolling(html, "div", QLatin1String(label));
    html.open("table", {{"class", "matrix"}});
    writeHead(isOfFailures);
    html.open("tbody");
    for (const Row &row : rows)
        writeRow(row);
    html.close();
    html.close();
    html.close();
}

void Matrix::writeHead(bool isOfFailures)
{
    html.open("thead");
    html.open("tr");
    html.element("th", "Script", {{"scope", "col"}});
    for (const QString &program : programs) {
        html.open("th", {{"scope", "col"}});
        if (program.isEmpty())
            html.text("no program");
        else
            html.element("span", program, {{"class", "name"}});
        html.close();
    }
    if (isOfFailures)
        html.element("th", "Reason", {{"scope", "col"}});
    html.close();
    html.close();
}

void Matrix::writeRow(const Row &row)
{
    html.open("tr");
    html.open("th", {{"scope", "row"}});
    html.element("span", row.script, {{"class", "name"}});
    if (!row.heading.isEmpty()) {
        html.text(" ");
        html.element("span", row.heading, {{"class", "heading"}});
    }
    html.close();
    const bool isSkipped = std::all_of(row.runs.begin(), row.runs.end(),
        [](const RunRecord *run) { return run->state == RunState::Skipped; });
    if (isSkipped) {
        html.element("td", "skipped",
            {{"class", "skipped"},
                {"colspan", QString::number(std::max<qint64>(programs.size(), 1))}});
    } else {
        for (const QString &program : programs)
            writeCell(row, program);
    }
    if (row.hasFailed)
        html.element("td", reasonOf(row), {{"class", "why"}});
    html.close();
}

void Matrix::writeCell(const Row &row, const QString &program)
{
    bool isFirst = true;
    html.open("td");
    for (const RunRecord *const run : row.runs) {
        if (run->program != program || run->state == RunState::Skipped)
            continue;
        if (!isFirst)
            html.text(", ");
        writeEnd(*run);
        isFirst = false;
    }
    html.close();
}

void Matrix::writeEnd(const RunRecord &run)
{
    const End end = endOf(run);
    const QString id = sections.value(run.name);
    if (run.state == RunState::Failed && !id.isNull())
        html.element("a", end.word, {{"class", end.kind}, {"href", QLatin1Char('#') + id}});
    else
        html.element("span", end.word, {{"class", end.kind}});
}

} // namespace

void writeMatrix(const Report &report, const SectionIds &sections, HtmlWriter &html)
{
    std::vector<Row> failed = rowsOf(report.results.runs);
    const auto middle = std::stable_partition(
        failed.begin(), failed.end(), [](const Row &row) { return row.hasFailed; });
    const std::vector<Row> others(middle, failed.end());
    failed.erase(middle, failed.end());
    html.open("section", {{"aria-labelledby", "runs"}});
    html.element("h2", "Scripts and programs", {{"id", "runs"}});
    html.open("div", {{"id", "filter"}});
    html.close();
    if (!failed.empty())
        Matrix(failed, sections, html).write("Scripts with a failure", /*isOfFailures=*/true);
    if (!others.empty()) {
        html.open("details", {{"id", "others"}});
        html.element("summary", countOf(static_cast<qint64>(others.size()), "script") +
                                    QStringLiteral(" without a failure"));
        Matrix(others, sections, html).write("Scripts without a failure", /*isOfFailures=*/false);
        html.close();
    }
    html.close();
}

} // namespace Talmo
