// The page from its head to its foot. What the parts look like is in pageStyle.cpp.

#include "htmlReport.h"

#include "HtmlWriter.h"
#include "counts.h"
#include "htmlSections.h"
#include "pageStyle.h"
#include "plotStyle.h"

#include <QCryptographicHash>
#include <QFileInfo>
#include <QLocale>

namespace Talmo
{

namespace
{

/// The expression by which a page allows just this \a content of a style or script element.
QString allowed(const QByteArray &content)
{
    return QStringLiteral("'sha256-") +
           QString::fromLatin1(
               QCryptographicHash::hash(content, QCryptographicHash::Sha256).toBase64()) +
           QLatin1Char('\'');
}

QString titleOf(const Counts &counts)
{
    if (counts.all() == 0)
        return QStringLiteral("No runs");
    if (counts.failed > 0)
        return QStringLiteral("%1 of %2 failed")
            .arg(grouped(static_cast<qint64>(counts.failed)),
                countOf(static_cast<qint64>(counts.all()), "run"));
    if (counts.notRun > 0)
        return countOf(static_cast<qint64>(counts.notRun), "run") + QStringLiteral(" not made");
    return counts.areWell() ? QStringLiteral("No run failed") : QStringLiteral("No run was made");
}

void writeHead(const QString &title, HtmlWriter &html)
{
    const QByteArray style = QByteArray(pageRules) + plotRules;
    html.open("head");
    html.voidElement("meta", {{"charset", "utf-8"}});
    html.voidElement("meta", {{"name", "generator"}, {"content", "talmo report"}});
    html.voidElement("meta",
        {{"http-equiv", "Content-Security-Policy"},
            {"content", QStringLiteral("default-src 'none'; base-uri 'none'; form-action 'none'; "
                                       "style-src %1; script-src %2")
                            .arg(allowed(style), allowed(pageScript))}});
    html.voidElement(
        "meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
    html.voidElement("meta", {{"name", "referrer"}, {"content", "no-referrer"}});
    html.element("title", title);
    html.open("style");
    html.insert(style);
    html.close();
    html.close();
}

void writeCounts(const Counts &counts, HtmlWriter &html)
{
    const struct {
        const char *word;
        const char *kind;
        size_t count;
    } rows[] = {
        {"failed", "failed", counts.failed},
        {"not run", "notrun", counts.notRun},
        {"passed", "passed", counts.passed},
        {"known", "known", counts.known},
        {"flaky", "flaky", counts.flaky},
        {"skipped", "skipped", counts.skipped},
    };
    html.open("ul", {{"class", "counts"}});
    for (const auto &row : rows)
        html.element("li",
            grouped(static_cast<qint64>(row.count)) + QLatin1Char(' ') + QLatin1String(row.word),
            {{"class", row.count > 0 ? row.kind : "none"}});
    html.close();
}

/// \a text, but so much of a long one that what fails is still in sight.
QString cut(const QString &text)
{
    constexpr int most = 200;
    return text.size() > most ? text.left(most) + QChar(0x2026) : text;
}

void writeFact(const char *name, const QString &value, HtmlWriter &html)
{
    if (value.isEmpty())
        return;
    html.element("dt", name);
    html.element("dd", cut(value));
}

/// How the runs differ from the earlier ones, in a line.
QString summaryOf(const Changes &changes)
{
    const struct {
        const char *words;
        qint64 count;
    } rows[] = {
        {"newly failing", changes.newlyFailing.size()},
        {"newly passing", changes.newlyPassing.size()},
        {"still failing", changes.stillFailing.size()},
        {"new", changes.added.size()},
        {"gone", changes.gone.size()},
        {"slower", static_cast<qint64>(changes.slower.size())},
    };
    QStringList parts;
    for (const auto &row : rows) {
        if (row.count > 0)
            parts += grouped(row.count) + QLatin1Char(' ') + QLatin1String(row.words);
    }
    return parts.isEmpty() ? QStringLiteral("nothing changed") : parts.join(QStringLiteral(", "));
}

QString timeOf(const RunResults &results)
{
    QString started = results.started;
    const int middle = static_cast<int>(started.indexOf(QLatin1Char('T')));
    if (middle > 0)
        started[middle] = QLatin1Char(' ');
    const QString took = durationOf(results.seconds);
    return started.isEmpty() ? took : started + QStringLiteral(", took ") + took;
}

void writeFacts(const Report &report, HtmlWriter &html)
{
    const RunResults &results = report.results;
    html.open("dl", {{"class", "facts"}});
    writeFact("Suite", results.suite, html);
    writeFact("Started", timeOf(results), html);
    writeFact("Machine", results.host, html);
    if (results.shard > 0)
        writeFact("Shard",
            QStringLiteral("%1 of %2, %3 in all")
                .arg(QString::number(results.shard), QString::number(results.shards),
                    countOf(results.runsInAll, "run")),
            html);
    if (!results.interruption.isEmpty())
        writeFact("Interrupted", QStringLiteral("by ") + results.interruption, html);
    writeFact("Taken from", report.source, html);
    for (const ProgramVersion &version : report.versions) {
        html.open("dt");
        html.element("span", cut(version.program), {{"class", "name"}});
        html.close();
        html.element("dd", cut(version.version));
    }
    if (report.changes) {
        html.open("dt");
        html.element("a", "Changes", {{"href", "#changes"}});
        html.close();
        html.element("dd", QStringLiteral("%1, compared with %2")
                               .arg(summaryOf(*report.changes), cut(report.changes->old)));
    }
    html.close();
}

void writeLinks(const Report &report, HtmlWriter &html)
{
    html.open("nav", {{"aria-label", "Parts of this page"}});
    html.element("a", "Scripts and programs", {{"href", "#runs"}});
    if (report.changes)
        html.element("a", "Changes", {{"href", "#changes"}});
    if (!report.failures.empty())
        html.element("a", "Failures", {{"href", "#failures"}});
    html.element("a", "Slowest, skipped and others", {{"href", "#lists"}});
    html.close();
}

SectionIds sectionsOf(const Report &report)
{
    SectionIds sections;
    for (size_t index = 0; index < report.failures.size(); ++index)
        sections.insert(report.results.runs[report.failures[index].run].name, sectionId(index));
    return sections;
}

void writeFailures(const Report &report, HtmlWriter &html)
{
    if (report.failures.empty())
        return;
    PageBudget budget;
    html.open("section", {{"aria-labelledby", "failures"}});
    html.element("h2", "Failures", {{"id", "failures"}});
    for (size_t index = 0; index < report.failures.size() && !html.hasError(); ++index)
        writeFailure(report.failures[index], report.results, sectionId(index), budget, html);
    html.close();
}

void writeBody(const Report &report, const QString &title, HtmlWriter &html)
{
    const SectionIds sections = sectionsOf(report);
    html.open("body");
    html.open("header");
    html.element("h1", title);
    writeCounts(countsOf(report.results.runs), html);
    writeFacts(report, html);
    writeLinks(report, html);
    html.close();
    html.open("main");
    writeMatrix(report, sections, html);
    if (report.changes)
        writeChanges(*report.changes, sections, html);
    writeFailures(report, html);
    writeLists(report, sections, html);
    html.close();
    html.open("script");
    html.insert(pageScript);
    html.close();
    html.close();
}

} // namespace

QString sectionId(size_t failure)
{
    return QStringLiteral("f%1").arg(failure + 1);
}

QString grouped(qint64 count)
{
    QLocale locale = QLocale::c();
    locale.setNumberOptions(QLocale::DefaultNumberOptions); // "1,234"
    return locale.toString(count);
}

QString countOf(qint64 count, const char *what)
{
    return grouped(count) + QLatin1Char(' ') + QLatin1String(what) +
           QLatin1String(count == 1 ? "" : "s");
}

void writeTooLarge(const QString &what, HtmlWriter &html)
{
    html.element("p", what + QStringLiteral(": the page would be too large."), {{"class", "note"}});
}

void openScrolling(HtmlWriter &html, const char *element, const QString &label)
{
    html.open(element,
        {{"class", "scroll"}, {"tabindex", "0"}, {"role", "group"}, {"aria-label", label}});
}

void writeRunName(const QString &name, const SectionIds &sections, HtmlWriter &html)
{
    const QString id = sections.value(name);
    if (id.isNull())
        html.element("span", name, {{"class", "name"}});
    else
        html.element("a", name, {{"class", "name"}, {"href", QLatin1Char('#') + id}});
}

bool isHtmlReport(std::string_view head)
{
    constexpr size_t enough = 500;
    return head.substr(0, enough).find(R"(<meta name="generator" content="talmo report")") !=
           std::string_view::npos;
}

bool writeHtml(const Report &report, QIODevice &device, QString &problem)
{
    problem.clear();
    const QString title = titleOf(countsOf(report.results.runs));
    const QString suite = QFileInfo(report.results.suite).fileName();
    HtmlWriter html(device);
    html.open("html", {{"lang", "en"}});
    writeHead(suite.isEmpty() ? title : suite + QStringLiteral(": ") + title, html);
    writeBody(report, title, html);
    html.close();
    html.text("\n");
    return !html.hasError();
}

} // namespace Talmo
