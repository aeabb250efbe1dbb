// talmo report: tells about the last run of a suite, or about a file with results.

#include "Changes.h"
#include "CommandLine.h"
#include "Records.h"
#include "ScriptFolder.h"
#include "SuiteOptions.h"
#include "commandTable.h"
#include "formats.h"
#include "makeReport.h"
#include "replacing.h"
#include "saving.h"
#include "scriptPlaces.h"
#include "versions.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <vector>

namespace Talmo
{

namespace
{

const QString outputOption = QStringLiteral("output");
const QString formatOption = QStringLiteral("format");
const QString compareOption = QStringLiteral("compare");
const QString versionOption = QStringLiteral("version");

QString namesOfFormats()
{
    QStringList names;
    for (const ReportFormat &row : reportFormats())
        names += QLatin1String(row.name);
    return names.join(QStringLiteral(", "));
}

void addReportOptions(CommandLine &line)
{
    addFolderOption(line);
    line.addOption({compareOption,
        QStringLiteral("Tells what has changed since OLD, a file as RESULT may be one. Without it, "
                       "since the run before, if the last run is reported and one is kept."),
        QStringLiteral("OLD")});
    line.addOption({{QStringLiteral("o"), outputOption},
        QStringLiteral("Writes FILE instead of standard output."), QStringLiteral("FILE")});
    line.addOption({formatOption,
        QStringLiteral("Writes FORMAT: %1. Without it, the ending of FILE tells, or else it is %2.")
            .arg(namesOfFormats(), QLatin1String(reportFormats()[0].name)),
        QStringLiteral("FORMAT")});
    line.addOption(
        {versionOption, QStringLiteral("Asks the programs of the runs for their versions, by "
                                       "'PROGRAM --version'.")});
    line.addPositionalArgument(QStringLiteral("RESULT"),
        QStringLiteral("A JUnit file of talmo or of ctest, or what talmo_test has printed; the "
                       "last talmo run by default."),
        QStringLiteral("[RESULT]"));
}

void say(const QString &sentence)
{
    std::fprintf(stderr, "talmo: report: %s\n", qPrintable(sentence));
}

bool isOurs(std::string_view head)
{
    const auto &rows = reportFormats();
    return std::any_of(
        rows.begin(), rows.end(), [head](const ReportFormat &row) { return row.isOurs(head); });
}

/// Tells which scripts are still there.
class Scripts
{
public:
    /// Looks for them in \a suite and where the runs of \a now and \a old were made.
    Scripts(const QByteArray &suite, const Source &now, const Source &old)
        : folders{suite}
    {
        for (const Source *const source : {&now, &old})
            std::copy_if(source->places.begin(), source->places.end(), std::back_inserter(folders),
                [](const QByteArray &place) { return !place.isNull(); });
        std::sort(folders.begin(), folders.end());
        folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
        const std::vector<RunRecord> &runs = now.results.runs;
        isSuiteHere = std::any_of(
            runs.begin(), runs.end(), [this](const RunRecord &run) { return isFound(run.script); });
    }

    /// Whether \a script is there, as far as anybody knows: the suite may be on another machine,
    /// and a test of somebody else has none.
    bool mayBeThere(const QString &script) const
    {
        return script.isEmpty() || !isSuiteHere || isFound(script);
    }

private:
    bool isFound(const QString &script) const
    {
        return std::any_of(folders.begin(), folders.end(),
            [&script](const QByteArray &folder) { return !scriptPlaces(folder, script).empty(); });
    }

    std::vector<QByteArray> folders;
    bool isSuiteHere = false;
};

/// "talmo report" from its options to its exit status.
class ReportCommand
{
public:
    explicit ReportCommand(const CommandLine &itsLine)
        : line(itsLine)
    {
    }

    int perform();

private:
    bool prepare(QString &problem);
    bool readNow(QString &problem);
    bool readLastRun(QString &problem);
    bool readOld(QString &problem);
    bool write(const Report &report) const;

    const CommandLine &line;
    const ReportFormat *format = nullptr;
    QByteArray suite; ///< the directory that is looked at
    Source now;
    std::optional<Source> old;
};

int ReportCommand::perform()
{
    QString problem;
    if (!prepare(problem) || !readNow(problem) || !readOld(problem))
        return line.refuse(problem);
    if (line.isSet(outputOption))
        say(now.description);
    std::optional<Changes> changes;
    if (old) {
        const Scripts scripts(suite, now, *old);
        changes = changesBetween(old->results, now.results,
            [&scripts](const QString &script) { return scripts.mayBeThere(script); });
        changes->old = old->description;
    }
    Report report = makeReport(std::move(now), suite);
    report.changes = std::move(changes);
    if (line.isSet(versionOption))
        report.versions = versionsOf(report.results);
    return write(report) ? AllIsWell : AtFault;
}

/// Finds out what is asked for, and whether it can be written.
bool ReportCommand::prepare(QString &problem)
{
    if (line.positionalArguments().size() > 1) {
        problem = QStringLiteral("it takes one RESULT");
        return false;
    }
    if (!enterFolder(line, problem))
        return false;
    const QString name = line.value(formatOption);
    const QString target = line.value(outputOption);
    format = line.isSet(formatOption) ? formatOfName(name) : formatOfFile(target);
    if (format == nullptr && line.isSet(formatOption)) {
        problem = QStringLiteral("there is no format '%1', but %2").arg(name, namesOfFormats());
        return false;
    }
    if (format == nullptr)
        format = &reportFormats()[0];
    if (line.isSet(outputOption))
        problem = problemOfReplacing(target, isOurs, QStringLiteral("a report"));
    return problem.isNull();
}

/// Reads the results to report.
bool ReportCommand::readNow(QString &problem)
{
    suite = workingDirectory();
    if (line.positionalArguments().isEmpty())
        return readLastRun(problem);
    if (!readSource(line.positionalArguments()[0], SystemOut::Kept, now, problem))
        return false;
    const QFileInfo place(now.results.suite);
    if (!line.isSet(QStringLiteral("C")) && place.isAbsolute() && place.isDir())
        suite = QFile::encodeName(place.absoluteFilePath());
    return true;
}

bool ReportCommand::readLastRun(QString &problem)
{
    std::vector<QByteArray> names;
    auto reading = Records::invocations(suite, names, problem);
    if (reading == Records::Reading::Read)
        reading = Records::readInvocation(suite, names[0], SystemOut::Kept, now.results, problem);
    if (reading == Records::Reading::Absent)
        problem = QStringLiteral("no talmo run was recorded in '%1'").arg(QFile::decodeName(suite));
    now.description = QStringLiteral("The last talmo run in '%1'").arg(QFile::decodeName(suite));
    return reading == Records::Reading::Read;
}

/// Reads the results to compare with, if there are any.
bool ReportCommand::readOld(QString &problem)
{
    Source source;
    if (line.isSet(compareOption)) {
        if (!readSource(line.value(compareOption), SystemOut::PassedOver, source, problem))
            return false;
    } else if (line.positionalArguments().isEmpty() &&
               readBefore(now.results, suite, source.results, problem)) {
        source.description = QStringLiteral("the run of ") + source.results.started;
    } else {
        if (!problem.isNull()) // nobody asked for it
            say(QStringLiteral("nothing is compared: ") + problem);
        problem = QString();
        return true;
    }
    old = std::move(source);
    return true;
}

/// Writes \a report to where it is wanted. False if that fails, which is said.
bool ReportCommand::write(const Report &report) const
{
    QString problem;
    const auto put = [&](QIODevice &device) { return format->write(report, device, problem); };
    if (line.isSet(outputOption)) {
        const QString target = line.value(outputOption);
        QString saving = problemOfReplacing(target, isOurs, QStringLiteral("a report"));
        if (saving.isNull() && saveFile(target, put, saving))
            return true;
        say(problem.isNull() ? saving : cannotWrite(target, problem));
        return false;
    }
    QBuffer document;
    document.open(QIODevice::WriteOnly);
    if (!put(document)) {
        say(problem);
        return false;
    }
    std::fwrite(document.data(), 1, static_cast<size_t>(document.size()), stdout);
    return true; // main says if that is not so
}

} // namespace

int reportCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("report"),
        QStringLiteral("Tells about the last run of a suite: what failed, why, and what has "
                       "changed.\n\nThe exit status is 0 if the report was made, also if it tells "
                       "of failures."));
    addReportOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    return ReportCommand(line).perform();
}

} // namespace Talmo
