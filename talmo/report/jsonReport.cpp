#include "jsonReport.h"

#include "counts.h"
#include "findings.h"
#include "surveyJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <vector>

namespace Talmo
{

namespace
{

/// The first member; Qt writes members in the order of their names.
constexpr char beginning[] = "{\n    \"about\": \"talmo report 1\",";

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

/// What the comparison of two files shows; null if they agree, or were not compared.
QJsonValue differencesOf(const Survey &survey)
{
    return survey.first ? QJsonValue(membersOf(survey)) : QJsonValue();
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
        {QStringLiteral("differences"), differencesOf(comparison.survey)},
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
