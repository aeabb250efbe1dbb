// A comment on a merge request: what failed and since when, in tables. What comes from scripts,
// files and programs stands in <code>, where GitHub and GitLab look for no mentions, references and
// links, and every character that could mean something is written as its number.

#include "markdown.h"

#include "counts.h"
#include "details.h"
#include "findings.h"
#include "pageText.h"

#include <QSet>

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr char beginning[] = "<!-- talmo report -->\n";

class MarkdownWriter
{
public:
    explicit MarkdownWriter(const Report &itsReport)
        : report(itsReport)
        , runs(itsReport.results.runs)
    {
    }

    QString text();

private:
    void addHead();
    void addVersions();
    void addChanges();
    void addList(const QString &what, const QStringList &names);
    void addSlower();
    void addFailures();
    void addFailure(const FailedRun &failure);
    QString sinceWhen(const QString &run) const;
    void addComparisons();
    void addNotRun();
    void addReruns();

    const Report &report;
    const std::vector<RunRecord> &runs;
    QString out;
};

/// Whether the character of \a text at \a index may stand as it is within <code>. A point and a
/// colon may be part of an address.
bool isPlain(const QString &text, int index)
{
    static const QString plain = QStringLiteral(" ,;()'/+-=\"");
    constexpr ushort firstBeyondAscii = 128;
    const QChar character = text[index];
    if (character == QLatin1Char('.'))
        return text.mid(std::max(index - 3, 0), 3)
                   .compare(QLatin1String("www"), Qt::CaseInsensitive) != 0;
    if (character == QLatin1Char(':'))
        return index + 1 == text.size() || text[index + 1] != QLatin1Char('/');
    return character.unicode() >= firstBeyondAscii || character.isLetterOrNumber() ||
           plain.contains(character);
}

/// Whether a character that takes two units begins at \a index of \a text.
bool isPair(const QString &text, int index)
{
    return text[index].isHighSurrogate() && index + 1 < text.size() &&
           text[index + 1].isLowSurrogate();
}

/// The script and the line that failed, as far as it is known.
QString placeOf(const RunRecord &run, const Inspection &inspection)
{
    const qint64 line = inspection.line > 0 ? inspection.line : run.line;
    return line > 0 ? QStringLiteral("%1:").arg(run.script) + QString::number(line) : run.script;
}

QString MarkdownWriter::text()
{
    out = QLatin1String(beginning);
    addHead();
    addVersions();
    addChanges();
    addFailures();
    addComparisons();
    addNotRun();
    addReruns();
    return out;
}

void MarkdownWriter::addHead()
{
    const Counts counts = countsOf(runs);
    const double seconds = report.results.seconds > 0 ? report.results.seconds : -1; // not known
    out += QStringLiteral("**%1**\n\n").arg(sentenceOf(counts, seconds));
    out += markdownCode(report.source) + QLatin1Char('\n');
    QStringList facts;
    if (!report.results.started.isEmpty())
        facts += QStringLiteral("started ") + markdownCode(report.results.started);
    if (!report.results.host.isEmpty())
        facts += QStringLiteral("on ") + markdownCode(report.results.host);
    if (!report.results.interruption.isEmpty())
        facts += QStringLiteral("interrupted by ") + markdownCode(report.results.interruption);
    if (!facts.isEmpty())
        out += facts.join(QStringLiteral(", ")) + QLatin1Char('\n');
}

void MarkdownWriter::addVersions()
{
    if (!report.versions.empty())
        out += QLatin1String("\n| program | version |\n|---|---|\n");
    for (const ProgramVersion &program : report.versions)
        out += QStringLiteral("| %1 | %2 |\n")
                   .arg(markdownCode(program.program), markdownCode(program.version));
}

void MarkdownWriter::addChanges()
{
    if (!report.changes)
        return;
    const Changes &changes = *report.changes;
    const auto before = out.size();
    addList(QStringLiteral("newly failing"), changes.newlyFailing);
    addList(QStringLiteral("newly passing"), changes.newlyPassing);
    addList(QStringLiteral("still failing"), changes.stillFailing);
    addList(QStringLiteral("new"), changes.added);
    addList(QStringLiteral("gone"), changes.gone);
    addSlower();
    const bool isChanged = out.size() > before;
    out.insert(before, QStringLiteral("\n### Changes\n\nCompared with %1%2\n")
                           .arg(markdownCode(changes.old),
                               isChanged ? QStringLiteral("\n\n| | runs | which |\n|---|---|---|")
                                         : QStringLiteral(": none")));
}

void MarkdownWriter::addList(const QString &what, const QStringList &names)
{
    constexpr int most = 20;
    if (names.isEmpty())
        return;
    QStringList shownNames;
    for (const QString &name : names.mid(0, most))
        shownNames += markdownCode(name);
    QString list = shownNames.join(QStringLiteral(", "));
    if (names.size() > most)
        list += QStringLiteral(" and %1 more").arg(names.size() - most);
    out += QStringLiteral("| %1 | %2 | %3 |\n").arg(what, QString::number(names.size()), list);
}

void MarkdownWriter::addSlower()
{
    QStringList list;
    for (const Changes::Slower &run : report.changes->slower)
        list += QStringLiteral("%1 (%2, before %3)")
                    .arg(markdownCode(run.run), durationOf(run.now), durationOf(run.before));
    if (!list.isEmpty())
        out += QStringLiteral("| slower | %1 | %2 |\n")
                   .arg(QString::number(list.size()), list.join(QStringLiteral(", ")));
}

/// Whether the failure of \a run is new; empty if there is nothing to compare with.
QString MarkdownWriter::sinceWhen(const QString &run) const
{
    if (!report.changes)
        return {};
    if (report.changes->newlyFailing.contains(run))
        return QStringLiteral("**failure is new**");
    return report.changes->added.contains(run) ? QStringLiteral("run is new")
                                               : QStringLiteral("as before");
}

void MarkdownWriter::addFailures()
{
    if (report.failures.empty())
        return;
    out += QLatin1String("\n### Failed\n\n| run | where | reason | |\n|---|---|---|---|\n");
    for (const FailedRun &failure : report.failures)
        addFailure(failure);
}

void MarkdownWriter::addFailure(const FailedRun &failure)
{
    const RunRecord &run = runs[failure.run];
    const Inspection &inspection = failure.inspection;
    QString more = sinceWhen(run.name);
    const auto compared = inspection.comparisons.size();
    if (compared > 1)
        more += QStringLiteral("%1%2 comparisons fail")
                    .arg(more.isEmpty() ? QString() : QStringLiteral("; "))
                    .arg(compared);
    if (!inspection.obstacle.isNull())
        more +=
            (more.isEmpty() ? QString() : QStringLiteral("; ")) + markdownCode(inspection.obstacle);
    out += QStringLiteral("| %1 | %2 | %3 | %4 |\n")
               .arg(markdownCode(run.name), markdownCode(placeOf(run, inspection)),
                   markdownCode(shown(run.message)), more);
}

/// All comparisons that fail, in a part that is folded up.
void MarkdownWriter::addComparisons()
{
    size_t count = 0;
    for (const FailedRun &failure : report.failures)
        count += failure.inspection.comparisons.size();
    if (count == 0)
        return;
    out += QStringLiteral("\n<details><summary>All comparisons that fail: %1</summary>\n\n"
                          "| run | where | message | worst |\n|---|---|---|---|\n")
               .arg(count);
    for (const FailedRun &failure : report.failures) {
        const RunRecord &run = runs[failure.run];
        for (const FailedComparison &comparison : failure.inspection.comparisons)
            out +=
                QStringLiteral("| %1 | %2 | %3 | %4 |\n")
                    .arg(markdownCode(run.name),
                        markdownCode(
                            run.script + QLatin1Char(':') + QString::number(comparison.line)),
                        markdownCode(shown(comparison.message)), markdownCode(worstOf(comparison)));
    }
    out += QLatin1String("\n</details>\n");
}

/// What was not run or skipped, and why, each reason once.
void MarkdownWriter::addNotRun()
{
    QStringList reasons;
    std::vector<QStringList> names;
    for (const RunRecord &run : runs) {
        if (run.state != RunState::NotRun && run.state != RunState::Skipped)
            continue;
        auto index = reasons.indexOf(run.message);
        if (index < 0) {
            index = reasons.size();
            reasons += run.message;
            names.emplace_back();
        }
        names[static_cast<size_t>(index)] += run.name;
    }
    if (!reasons.isEmpty())
        out +=
            QLatin1String("\n### Skipped or not run\n\n| reason | runs | which |\n|---|---|---|\n");
    for (size_t index = 0; index < names.size(); ++index)
        addList(markdownCode(shown(reasons[static_cast<int>(index)])), names[index]);
}

void MarkdownWriter::addReruns()
{
    if (report.failures.empty())
        return;
    out += QLatin1String("\n<details><summary>Commands that make them again</summary>\n\n");
    for (const FailedRun &failure : report.failures)
        out += QStringLiteral("- %1\n").arg(markdownCode(failure.rerun));
    out += QLatin1String("\n</details>\n");
}

} // namespace

bool writeMarkdown(const Report &report, QIODevice &device, QString & /*problem*/)
{
    const QByteArray bytes = MarkdownWriter(report).text().toUtf8();
    return device.write(bytes) == bytes.size();
}

bool isMarkdownReport(std::string_view head)
{
    return head.substr(0, sizeof beginning - 1) == beginning;
}

QString markdownCode(const QString &text)
{
    if (text.isEmpty())
        return {};
    QString code = QStringLiteral("<code>");
    for (int index = 0; index < static_cast<int>(text.size()); ++index) {
        const QChar unit = text[index];
        const bool hasTwoUnits = isPair(text, index);
        const char32_t character =
            hasTwoUnits ? QChar::surrogateToUcs4(unit, text[index + 1]) : unit.unicode();
        if (isHidden(character))
            code += QLatin1String("&#92;") + escaped(character).mid(1);
        else if (hasTwoUnits)
            code.append(unit).append(text[index + 1]);
        else if (isPlain(text, index))
            code += unit;
        else
            code += QStringLiteral("&#%1;").arg(unit.unicode());
        index += hasTwoUnits ? 1 : 0;
    }
    return code + QStringLiteral("</code>");
}

} // namespace Talmo
