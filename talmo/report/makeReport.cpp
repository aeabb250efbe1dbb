#include "makeReport.h"

#include "Script.h"
#include "Suite.h"
#include "digests.h"
#include "scriptPlaces.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <utility>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

/// A regular expression of CMake that matches \a text alone.
QString patternOf(const QString &text)
{
    QString pattern;
    for (const QChar character : text) {
        if (QStringLiteral(R"(.[]()*+?^$|\)").contains(character))
            pattern += QLatin1Char('\\');
        pattern += character;
    }
    return QLatin1Char('^') + pattern + QLatin1Char('$');
}

/// \a name as an argument that is no option.
QString argumentOf(const QString &name)
{
    const bool isLikeOption = name.startsWith(QLatin1Char('-'));
    return (isLikeOption ? QStringLiteral("-- ") : QString()) + shellWord(name);
}

/// The options that give \a programs again, each with a blank before it.
QString optionsFor(const QStringList &programs)
{
    QString options;
    for (const QString &program : programs)
        options += QStringLiteral(" --program ") + shellWord(program);
    return options;
}

/// The command by which \a run of a source of this \a kind is made again, for \a programs.
QString rerunOf(
    const RunRecord &run, SourceKind kind, const QByteArray &place, const QStringList &programs)
{
    const QString folder = shellWord(QFile::decodeName(place));
    const QString filter = argumentOf(filterFor(run.script));
    switch (kind) {
    case SourceKind::CTest:
        return QStringLiteral("ctest --output-on-failure -R ") + shellWord(patternOf(run.name));
    case SourceKind::Driver:
        return QStringLiteral("cd %1 && talmo_test %2").arg(folder, filter);
    case SourceKind::TalmoRun:
        break;
    }
    const std::vector<QByteArray> places = scriptPlaces(place, run.script);
    const bool isOfSuite = places.empty() || places[0].startsWith(place + '/');
    const QString options =
        (isOfSuite ? QString() : QStringLiteral(" --distribution")) + optionsFor(programs);
    // As one substitution: a name may hold a "%1".
    return QStringLiteral("talmo run -C %1%2 --run %3 %4")
        .arg(folder, options, shellWord(run.name), filter);
}

/// The text of the script of \a run, in its own bytes; null if it is not there or was changed.
QByteArray textOf(const RunRecord &run, const QByteArray &place)
{
    for (const QByteArray &path : scriptPlaces(place, run.script)) {
        struct stat status = {};
        Script script;
        if (stat(path, &status) != 0 || !S_ISREG(status.st_mode) || !script.open(path))
            continue;
        const std::string_view text = script.text();
        if (run.scriptDigest.isEmpty() || digestOfScript(script) == run.scriptDigest)
            return QByteArray(text.data(), static_cast<int>(text.size()));
    }
    return {};
}

} // namespace

Report makeReport(Source source, const QByteArray &suiteDirectory)
{
    Report report;
    for (size_t index = 0; index < source.results.runs.size(); ++index) {
        const RunRecord &run = source.results.runs[index];
        if (run.state != RunState::Failed)
            continue;
        const bool hasPlace = !source.places.empty() && !source.places[index].isNull();
        const QByteArray place = hasPlace ? source.places[index] : suiteDirectory;
        FailedRun failure;
        failure.run = index;
        if (run.script.isEmpty())
            failure.inspection.obstacle = QStringLiteral("It is no run of talmo");
        else
            failure.inspection = inspect(run, place, keptDifferingLines);
        if (!run.directory.isEmpty())
            failure.directory = QFile::decodeName(place) + QLatin1Char('/') + run.directory;
        failure.scriptText = textOf(run, place);
        failure.rerun = rerunOf(run, source.kind, place, source.results.programs);
        report.failures.push_back(std::move(failure));
    }
    report.source = source.description;
    report.results = std::move(source.results);
    return report;
}

QString shellWord(const QString &text)
{
    static const QRegularExpression plain(
        QStringLiteral("^[A-Za-z0-9_./,:@%+-][A-Za-z0-9_./,:@%+=-]*$"));
    if (plain.match(text).hasMatch())
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QStringLiteral("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

} // namespace Talmo
