// The section of a run that failed, from the reason to what the program printed.

#include "htmlSections.h"

#include "counts.h"
#include "outputText.h"
#include "utf8.h"

#include <QStringList>

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr int longestLine = 400;

QString cut(const QString &line)
{
    return line.size() > longestLine ? line.left(longestLine) + QChar(0x2026) : line;
}

void writeSentences(const QStringList &sentences, HtmlWriter &html)
{
    if (sentences.isEmpty())
        return;
    html.open("ul");
    for (const QString &sentence : sentences)
        html.element("li", sentence);
    html.close();
}

/// What is known besides the reason: labels, time, attempts.
QString factsOf(const RunRecord &run)
{
    QStringList facts;
    if (!run.labels.isEmpty())
        facts += QStringLiteral("labels: ") + run.labels.join(QStringLiteral(", "));
    if (run.seconds > 0)
        facts += QStringLiteral("took ") + durationOf(run.seconds);
    if (run.attempts > 1)
        facts += QStringLiteral("%1 attempts").arg(run.attempts);
    if (!run.directory.isEmpty())
        facts += QStringLiteral("kept in ") + run.directory;
    return facts.join(QStringLiteral("; "));
}

/// One line of a script, with its number. \a isFailing marks it.
void writeScriptLine(int number, const QString &line, bool isFailing, HtmlWriter &html)
{
    if (isFailing)
        html.open("span", {{"class", "at"}});
    html.element("span", QString::number(number).rightJustified(5) + QStringLiteral("  "),
        {{"class", "pale"}});
    if (isFailing) {
        html.element("strong", cut(line));
        html.element("span", QStringLiteral("   \u2190 failed"), {{"class", "pale"}});
        html.close();
    } else {
        html.text(cut(line));
    }
    html.text("\n");
}

/// The heading of the script, and the lines around the one that failed.
void writeScript(
    const FailedRun &failure, const RunRecord &run, PageBudget &budget, HtmlWriter &html)
{
    constexpr int before = 10;
    constexpr int after = 5;
    constexpr int atTheBeginning = 3;
    if (failure.scriptText.isNull())
        return;
    const auto failing = static_cast<int>(failure.inspection.line); // 0: not certain
    const QList<QByteArray> lines = failure.scriptText.split('\n');
    const auto count = static_cast<int>(lines.size()) - (lines.last().isEmpty() ? 1 : 0);
    const int from = std::max(failing > 0 ? failing - before : 1, 1);
    const int to = std::min(failing > 0 ? failing + after : before + after, count);
    if (!budget.take(qint64{60} * (to - from + 1 + atTheBeginning)))
        return writeTooLarge(QStringLiteral("The script is not shown"), html);
    html.element("h4", QStringLiteral("Script ") + run.script);
    html.open("pre", {{"class", "script"}, {"tabindex", "0"}, {"aria-label", "Script"}});
    const int beginning = std::min(atTheBeginning, from - 1);
    for (int number = 1; number <= to; ++number) {
        if (number == beginning + 1 && number < from) {
            html.element("span", QStringLiteral("    \u22EE\n"), {{"class", "pale"}});
            number = from;
        }
        writeScriptLine(number, decodedBytes(lines[number - 1]), number == failing, html);
    }
    if (to < count)
        html.element("span", QStringLiteral("    \u22EE  %1 in all\n").arg(countOf(count, "line")),
            {{"class", "pale"}});
    html.close();
}

/// The end of what \a run has printed.
void writeOutput(const RunRecord &run, PageBudget &budget, HtmlWriter &html)
{
    constexpr int mostLines = 60;
    constexpr int mostCharacters = 6000;
    const QString output = run.systemOut.isNull() ? outputText(run) : run.systemOut;
    if (output.trimmed().isEmpty())
        return;
    QString end = output.right(mostCharacters);
    if (end.size() < output.size() && end.contains(QLatin1Char('\n')))
        end = end.section(QLatin1Char('\n'), 1);
    if (end.count(QLatin1Char('\n')) > mostLines)
        end = end.section(QLatin1Char('\n'), -mostLines - 1);
    if (!budget.take(end.size()))
        return writeTooLarge(QStringLiteral("The output is not shown"), html);
    html.element("h4", end.size() < output.size() ? "The end of the output" : "Output");
    html.preformatted(end, {{"class", "output"}, {"tabindex", "0"}, {"aria-label", "Output"}});
}

} // namespace

void writeFailure(const FailedRun &failure, const RunResults &results, const QString &id,
    PageBudget &budget, HtmlWriter &html)
{
    const RunRecord &run = results.runs[failure.run];
    const QString title = id + QStringLiteral("-title");
    html.open("section", {{"class", "failure"}, {"id", id}, {"aria-labelledby", title}});
    html.open("h3", {{"id", title}});
    html.element("span", run.name, {{"class", "name"}});
    if (!run.heading.isEmpty()) {
        html.text(" ");
        html.element("span", run.heading, {{"class", "pale"}});
    }
    html.close();
    html.element("p", run.message.isEmpty() ? QStringLiteral("No reason is known.") : run.message,
        {{"class", "reason"}});
    writeSentences(run.details + run.remarks, html);
    if (!failure.inspection.obstacle.isEmpty())
        html.element("p",
            QStringLiteral("The directory of the run cannot tell more: %1.")
                .arg(failure.inspection.obstacle),
            {{"class", "note"}});
    const QString facts = factsOf(run);
    if (!facts.isEmpty())
        html.element("p", facts, {{"class", "pale"}});
    writeScript(failure, run, budget, html);
    writeComparisons(failure, budget, html);
    writeOutput(run, budget, html);
    if (!failure.rerun.isEmpty()) {
        html.element("h4", "To run it again");
        html.preformatted(
            failure.rerun, {{"tabindex", "0"}, {"aria-label", "Command that runs it again"}});
    }
    html.close();
}

} // namespace Talmo
