// What is not about a single failure: how the runs changed, which are slow, and which did not
// count.

#include "htmlSections.h"

#include "counts.h"

#include <QMap>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace Talmo
{

namespace
{

constexpr int mostInSight = 40; ///< names; more of them are folded

/// \a names behind a \a title and their number; folded if they are many. Nothing if there are none.
void writeGroup(
    const QString &title, const QStringList &names, const SectionIds &sections, HtmlWriter &html)
{
    if (names.isEmpty())
        return;
    const bool isFolded = names.size() > mostInSight;
    html.open(isFolded ? "details" : "p");
    html.element(isFolded ? "summary" : "strong",
        QStringLiteral("%1: %2").arg(title, grouped(names.size())));
    for (const QString &name : names) {
        html.text(" \n");
        writeRunName(name, sections, html);
    }
    html.close();
}

void writeSlower(
    const std::vector<Changes::Slower> &runs, const SectionIds &sections, HtmlWriter &html)
{
    if (runs.empty())
        return;
    html.element("h3", "More than 1.5 times slower");
    openScrolling(html, "div", QStringLiteral("Slower runs"));
    html.open("table");
    html.open("thead");
    html.open("tr");
    html.element("th", "Run", {{"scope", "col"}});
    html.element("th", "Before", {{"scope", "col"}, {"class", "number"}});
    html.element("th", "Now", {{"scope", "col"}, {"class", "number"}});
    html.close();
    html.close();
    html.open("tbody");
    for (const Changes::Slower &run : runs) {
        html.open("tr");
        html.open("th", {{"scope", "row"}});
        writeRunName(run.run, sections, html);
        html.close();
        html.element("td", durationOf(run.before), {{"class", "number"}});
        html.element("td", durationOf(run.now), {{"class", "number"}});
        html.close();
    }
    html.close();
    html.close();
    html.close();
}

std::vector<const RunRecord *> slowestOf(const std::vector<RunRecord> &runs)
{
    constexpr size_t most = 15;
    std::vector<const RunRecord *> slowest;
    for (const RunRecord &run : runs) {
        if (run.seconds > 0)
            slowest.push_back(&run);
    }
    std::stable_sort(slowest.begin(), slowest.end(),
        [](const RunRecord *one, const RunRecord *other) { return one->seconds > other->seconds; });
    slowest.resize(std::min(slowest.size(), most));
    return slowest;
}

/// A row of a table: a run, and what is told about it.
struct RunRow {
    QString name;
    QStringList cells;
};

/// A table of runs below a \a title, with the columns \a columns behind the run's. Nothing if there
/// are none.
void writeTable(const char *title, const QStringList &columns, const std::vector<RunRow> &rows,
    const SectionIds &sections, HtmlWriter &html)
{
    if (rows.empty())
        return;
    html.element("h3", title);
    openScrolling(html, "div", QLatin1String(title));
    html.open("table");
    html.open("thead");
    html.open("tr");
    html.element("th", "Run", {{"scope", "col"}});
    for (const QString &column : columns)
        html.element("th", column, {{"scope", "col"}});
    html.close();
    html.close();
    html.open("tbody");
    for (const RunRow &row : rows) {
        html.open("tr");
        html.open("th", {{"scope", "row"}});
        writeRunName(row.name, sections, html);
        html.close();
        for (const QString &cell : row.cells)
            html.element("td", cell);
        html.close();
    }
    html.close();
    html.close();
    html.close();
}

/// The runs in \a state, by their message, since many have the same.
void writeByReason(const char *title, RunState state, const std::vector<RunRecord> &runs,
    const SectionIds &sections, HtmlWriter &html)
{
    QMap<QString, QStringList> names;
    for (const RunRecord &run : runs) {
        if (run.state == state)
            names[run.message] += run.name;
    }
    if (names.isEmpty())
        return;
    html.element("h3", title);
    for (auto reason = names.constBegin(); reason != names.constEnd(); ++reason)
        writeGroup(reason.key(), reason.value(), sections, html);
}

} // namespace

void writeChanges(const Changes &changes, const SectionIds &sections, HtmlWriter &html)
{
    const struct {
        const char *title;
        const QStringList &names;
    } groups[] = {
        {"Newly failing", changes.newlyFailing},
        {"Newly passing", changes.newlyPassing},
        {"Still failing", changes.stillFailing},
        {"New", changes.added},
        {"Gone", changes.gone},
    };
    html.open("section", {{"aria-labelledby", "changes"}});
    html.element("h2", "Changes", {{"id", "changes"}});
    html.element("p", QStringLiteral("Compared with ") + changes.old, {{"class", "pale"}});
    for (const auto &group : groups)
        writeGroup(QLatin1String(group.title), group.names, sections, html);
    writeSlower(changes.slower, sections, html);
    html.close();
}

void writeLists(const Report &report, const SectionIds &sections, HtmlWriter &html)
{
    const std::vector<RunRecord> &runs = report.results.runs;
    std::vector<RunRow> slowest;
    for (const RunRecord *const run : slowestOf(runs))
        slowest.push_back({run->name, {durationOf(run->seconds)}});
    std::vector<RunRow> known;
    std::vector<RunRow> flaky;
    for (const RunRecord &run : runs) {
        if (run.state == RunState::Known)
            known.push_back({run.name, {run.message, run.knownPattern}});
        if (run.isFlaky())
            flaky.push_back({run.name, {QString::number(run.attempts)}});
    }
    html.open("section", {{"aria-labelledby", "lists"}});
    html.element("h2", "Slowest, skipped and others", {{"id", "lists"}});
    writeTable("Slowest runs", {QStringLiteral("Took")}, slowest, sections, html);
    writeByReason("Skipped", RunState::Skipped, runs, sections, html);
    writeTable("Known failures", {QStringLiteral("Message"), QStringLiteral("Matches")}, known,
        sections, html);
    writeTable("Passed after being repeated", {QStringLiteral("Attempts")}, flaky, sections, html);
    writeByReason("Not run", RunState::NotRun, runs, sections, html);
    html.close();
}

} // namespace Talmo
