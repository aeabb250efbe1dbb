// talmo list: names the runs of a suite.

#include "SuiteOptions.h"
#include "commandTable.h"
#include "messages.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace Talmo
{

namespace
{

QJsonValue nullIf(bool isAbsent, const QJsonValue &value)
{
    return isAbsent ? QJsonValue() : value;
}

QJsonObject describe(const PlannedRun &run, const SuiteScript &script)
{
    const Needs &needs = script.needs;
    return {
        {QStringLiteral("name"), run.name},
        {QStringLiteral("script"), script.name},
        {QStringLiteral("path"), QFile::decodeName(script.path)},
        {QStringLiteral("program"), nullIf(run.program.isEmpty(), run.program)},
        {QStringLiteral("heading"), script.heading},
        {QStringLiteral("directory"), nullIf(run.isSkipped, run.directory())},
        {QStringLiteral("filter"), filterFor(script.name)},
        {QStringLiteral("skipped"), nullIf(!run.isSkipped, skipReason())},
        {QStringLiteral("labels"), QJsonArray::fromStringList(needs.labels)},
        {QStringLiteral("processors"), needs.processors},
        {QStringLiteral("timeout"), nullIf(needs.timeout == 0, needs.timeout)},
        {QStringLiteral("locks"), QJsonArray::fromStringList(needs.locks)},
        {QStringLiteral("serial"), needs.isSerial},
        {QStringLiteral("retries"), needs.retries},
        {QStringLiteral("known"), QJsonArray::fromStringList(needs.known)},
    };
}

/// \a suite as docs/suites.md describes it.
QByteArray documentOf(const Suite &suite)
{
    QJsonArray runs;
    for (const PlannedRun &run : suite.runs)
        runs.append(describe(run, suite.scripts[run.script]));
    const QJsonObject whole = {
        {QStringLiteral("format"), 1},
        {QStringLiteral("suite"), QFile::decodeName(suite.work)},
        {QStringLiteral("scripts"), QFile::decodeName(suite.folder)},
        {QStringLiteral("runs"), runs},
    };
    return QJsonDocument(whole).toJson();
}

void printNames(const Suite &suite)
{
    for (const PlannedRun &run : suite.runs) {
        const QByteArray name = QFile::encodeName(run.name);
        if (run.isSkipped)
            std::fprintf(stderr, "%s\n", skipLine(name).constData());
        else
            std::puts(name);
    }
}

} // namespace

int listCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("list"),
        QStringLiteral("Prints the names of the runs that would be made, one a line."));
    addSuiteOptions(line);
    const QString json = QStringLiteral("json");
    line.addOption({json, QStringLiteral("Prints all that is known of the runs, as JSON.")});
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    ChosenSuite chosen;
    if (!chosen.find(line, SuitePurpose::ToList))
        return WrongCall;
    if (line.isSet(json))
        std::fputs(documentOf(chosen.suite), stdout);
    else
        printNames(chosen.suite);
    return AllIsWell;
}

} // namespace Talmo
