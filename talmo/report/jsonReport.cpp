#include "jsonReport.h"

#include "counts.h"
#include "findings.h"
#include "kindRows.h"
#include "utf8.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <vector>

namespace Talmo
{

namespace
{

/// The first member; Qt writes members in the order of their names.
constexpr char beginning[] = "{\n    \"about\": \"talmo report 1\",";

/// JSON has no numbers without end.
QJsonValue valueOf(double number)
{
    return std::isfinite(number) ? QJsonValue(number) : QJsonValue(QStringLiteral("infinite"));
}

QJsonValue textOrNull(const QString &text)
{
    return text.isNull() ? QJsonValue() : QJsonValue(QString::fromUtf8(text.toUtf8()));
}

QJsonValue lineOrNull(qint64 line)
{
    return line > 0 ? QJsonValue(line) : QJsonValue();
}

QJsonArray arrayOf(const QStringList &texts)
{
    QJsonArray array;
    for (const QString &text : texts)
        array += textOrNull(text);
    return array;
}

template <typename Element, typename Convert>
QJsonArray arrayOf(const std::vector<Element> &elements, Convert convert)
{
    QJsonArray array;
    for (const Element &element : elements)
        array += convert(element);
    return array;
}

QJsonObject objectOf(const Counts &counts)
{
    const auto number = [](size_t count) { return static_cast<qint64>(count); };
    return {
        {QStringLiteral("all"), number(counts.all())},
        {QStringLiteral("passed"), number(counts.passed)},
        {QStringLiteral("failed"), number(counts.failed)},
        {QStringLiteral("known"), number(counts.known)},
        {QStringLiteral("flaky"), number(counts.flaky)},
        {QStringLiteral("skipped"), number(counts.skipped)},
        {QStringLiteral("notRun"), number(counts.notRun)},
    };
}

QString wordOf(RunState state)
{
    switch (state) {
    case RunState::Passed:
        return QStringLiteral("passed");
    case RunState::Failed:
        return QStringLiteral("failed");
    case RunState::Known:
        return QStringLiteral("known");
    case RunState::Skipped:
        return QStringLiteral("skipped");
    case RunState::NotRun:
        break;
    }
    return QStringLiteral("not run");
}

QJsonObject objectOf(const RunRecord &run)
{
    return {
        {QStringLiteral("name"), textOrNull(run.name)},
        {QStringLiteral("script"), textOrNull(run.script)},
        {QStringLiteral("program"), textOrNull(run.program)},
        {QStringLiteral("heading"), textOrNull(run.heading)},
        {QStringLiteral("labels"), arrayOf(run.labels)},
        {QStringLiteral("state"), wordOf(run.state)},
        {QStringLiteral("message"), textOrNull(run.message)},
        {QStringLiteral("knownPattern"), textOrNull(run.knownPattern)},
        {QStringLiteral("line"), lineOrNull(run.line)},
        {QStringLiteral("details"), arrayOf(run.details)},
        {QStringLiteral("remarks"), arrayOf(run.remarks)},
        {QStringLiteral("directory"), textOrNull(run.directory)},
        {QStringLiteral("seconds"), valueOf(run.seconds)},
        {QStringLiteral("attempts"), run.attempts},
    };
}

QJsonArray columnsOf(const Survey &survey)
{
    QJsonArray columns;
    for (int index = 0; index < static_cast<int>(survey.columns.size()); ++index) {
        const ColumnSurvey &column = survey.columns[static_cast<size_t>(index)];
        columns += QJsonObject{
            {QStringLiteral("column"), index + 1},
            {QStringLiteral("name"),
                index < survey.names.size() ? textOrNull(survey.names[index]) : QJsonValue()},
            {QStringLiteral("tolerance"), valueOf(column.tolerance)},
            {QStringLiteral("lines"), column.lines},
            {QStringLiteral("first"), lineOrNull(column.firstLine)},
            {QStringLiteral("largest"), valueOf(column.largest)},
            {QStringLiteral("largestAt"), lineOrNull(column.largestLine)},
            {QStringLiteral("largestRelative"), valueOf(column.largestRelative)},
            {QStringLiteral("largestRelativeAt"), lineOrNull(column.largestRelativeLine)},
            {QStringLiteral("invalid"), column.invalid},
            {QStringLiteral("sufficient"),
                column.sufficient ? valueOf(*column.sufficient) : QJsonValue()},
        };
    }
    return columns;
}

QJsonObject kindsOf(const Survey &survey)
{
    QJsonObject kinds;
    for (const KindRow &row : kindRows) {
        const KindSurvey &kind = survey.kinds[row.kind];
        kinds[QLatin1String(row.name)] = QJsonObject{
            {QStringLiteral("lines"), kind.lines},
            {QStringLiteral("first"), lineOrNull(kind.firstLine)},
        };
    }
    return kinds;
}

/// What stands on a line of a file; null if it has none.
QJsonValue textOf(const QByteArray &line)
{
    return line.isNull() ? QJsonValue() : QJsonValue(decodedBytes(line));
}

QJsonObject objectOf(const DifferingLine &line)
{
    return {
        {QStringLiteral("line"), line.line},
        {QStringLiteral("text1"), textOf(line.text1)},
        {QStringLiteral("text2"), textOf(line.text2)},
        {QStringLiteral("columns"),
            arrayOf(line.columns, [](size_t column) { return static_cast<qint64>(column); })},
    };
}

/// What the comparison of two files shows; null if they agree, or were not compared.
QJsonValue valueOf(const Survey &survey)
{
    if (!survey.first)
        return {};
    return QJsonObject{
        {QStringLiteral("lines1"), survey.lengths.lines1},
        {QStringLiteral("lines2"), survey.lengths.lines2},
        {QStringLiteral("differingLines"), survey.differingLines},
        {QStringLiteral("columns"), columnsOf(survey)},
        {QStringLiteral("kinds"), kindsOf(survey)},
        {QStringLiteral("firstLines"),
            arrayOf(survey.firstLines, [](const DifferingLine &line) { return objectOf(line); })},
    };
}

QJsonObject objectOf(const FailedComparison &comparison)
{
    const QString worst = worstOf(comparison);
    return {
        {QStringLiteral("line"), comparison.line},
        {QStringLiteral("file1"), textOrNull(comparison.file1)},
        {QStringLiteral("file2"), textOrNull(comparison.file2)},
        {QStringLiteral("tolerances"),
            arrayOf(comparison.tolerances, [](double tolerance) { return valueOf(tolerance); })},
        {QStringLiteral("message"), textOrNull(comparison.message)},
        {QStringLiteral("isReported"), comparison.isReported},
        {QStringLiteral("worst"), worst.isEmpty() ? QJsonValue() : QJsonValue(worst)},
        {QStringLiteral("differences"), valueOf(comparison.survey)},
    };
}

QJsonObject objectOf(const FailedRun &failure, const RunRecord &run)
{
    const Inspection &inspection = failure.inspection;
    return {
        {QStringLiteral("run"), textOrNull(run.name)},
        {QStringLiteral("obstacle"), textOrNull(inspection.obstacle)},
        {QStringLiteral("line"), lineOrNull(inspection.line)},
        {QStringLiteral("comparisons"),
            arrayOf(inspection.comparisons,
                [](const FailedComparison &comparison) { return objectOf(comparison); })},
        {QStringLiteral("rerun"), textOrNull(failure.rerun)},
        {QStringLiteral("output"), textOrNull(run.systemOut)},
    };
}

QJsonObject objectOf(const Changes &changes)
{
    const auto slower = [](const Changes::Slower &run) {
        return QJsonObject{
            {QStringLiteral("run"), textOrNull(run.run)},
            {QStringLiteral("before"), valueOf(run.before)},
            {QStringLiteral("now"), valueOf(run.now)},
        };
    };
    return {
        {QStringLiteral("old"), textOrNull(changes.old)},
        {QStringLiteral("newlyFailing"), arrayOf(changes.newlyFailing)},
        {QStringLiteral("newlyPassing"), arrayOf(changes.newlyPassing)},
        {QStringLiteral("stillFailing"), arrayOf(changes.stillFailing)},
        {QStringLiteral("new"), arrayOf(changes.added)},
        {QStringLiteral("gone"), arrayOf(changes.gone)},
        {QStringLiteral("slower"), arrayOf(changes.slower, slower)},
    };
}

QJsonObject objectOf(const ProgramVersion &program)
{
    return {
        {QStringLiteral("program"), textOrNull(program.program)},
        {QStringLiteral("version"), textOrNull(program.version)},
    };
}

} // namespace

bool writeJson(const Report &report, QIODevice &device, QString & /*problem*/)
{
    const RunResults &results = report.results;
    QJsonArray failures;
    for (const FailedRun &failure : report.failures)
        failures += objectOf(failure, results.runs[failure.run]);
    const QJsonObject document = {
        {QStringLiteral("about"), QStringLiteral("talmo report 1")},
        {QStringLiteral("source"), textOrNull(report.source)},
        {QStringLiteral("suite"), textOrNull(results.suite)},
        {QStringLiteral("host"), textOrNull(results.host)},
        {QStringLiteral("started"), textOrNull(results.started)},
        {QStringLiteral("seconds"), valueOf(results.seconds)},
        {QStringLiteral("interruption"), textOrNull(results.interruption)},
        {QStringLiteral("counts"), objectOf(countsOf(results.runs))},
        {QStringLiteral("versions"),
            arrayOf(
                report.versions, [](const ProgramVersion &program) { return objectOf(program); })},
        {QStringLiteral("changes"), report.changes ? objectOf(*report.changes) : QJsonValue()},
        {QStringLiteral("runs"),
            arrayOf(results.runs, [](const RunRecord &run) { return objectOf(run); })},
        {QStringLiteral("failures"), failures},
    };
    const QByteArray bytes = QJsonDocument(document).toJson();
    return device.write(bytes) == bytes.size();
}

bool isJsonReport(std::string_view head)
{
    return head.substr(0, sizeof beginning - 1) == beginning;
}

} // namespace Talmo
