// talmo lint: finds mistakes in scripts without running anything.

#include "Script.h"
#include "ScriptFolder.h"
#include "SuiteOptions.h"
#include "commandTable.h"
#include "details.h"
#include "inspect.h"
#include "lintFormats.h"
#include "regularFile.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <map>
#include <new>

namespace Talmo
{

namespace
{

const QString formatOption = QStringLiteral("format");
const QString checksOption = QStringLiteral("checks");

/// A script to look at.
struct ScriptPlace {
    QByteArray path;      ///< as the user or the folder names it
    bool isNamed = false; ///< by the user
};

/// The folder in \a path, without the last "/"; "." if there is none.
QByteArray folderOf(const QByteArray &path)
{
    const auto slash = path.lastIndexOf('/');
    return slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.left(slash);
}

/// The files beside scripts.
class Neighbours
{
public:
    /// The names of other files in the folder of \a path that differ from its name in case only.
    /// None if the folder cannot be listed.
    QStringList sameNames(const QByteArray &path)
    {
        const QByteArray folder = folderOf(path);
        const auto [place, isNew] = folders.try_emplace(folder);
        if (isNew)
            place->second.isListed = place->second.files.list(folder);
        const QString name = QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
        QStringList names;
        if (!place->second.isListed || !place->second.files.select(filterFor(name), names))
            return {};
        names.removeAll(name);
        return names;
    }

private:
    struct Folder {
        ScriptFolder files;
        bool isListed = false;
    };
    std::map<QByteArray, Folder> folders; // by path
};

/// The scripts to look at, and what was found about files that no run can use.
struct ChosenScripts {
    std::vector<ScriptPlace> places;
    QStringList unusable; ///< a sentence for each file that is no script because of its name
};

/// The scripts that the driver would run without a filter, as far as they can be read.
ChosenScripts usualScripts(bool isOfDistribution, QStringList &problems)
{
    ChosenScripts chosen;
    const QByteArray folder = isOfDistribution ? distributionDirectory() : QByteArray(".");
    ScriptFolder files;
    QStringList names;
    if (!files.list(folder) || !files.select(QStringLiteral("test*"), names)) {
        problems += QStringLiteral("cannot list the scripts in '%1': %2")
                        .arg(shown(folder), QString::fromLocal8Bit(files.error()));
        return {};
    }
    for (const PassedOver &file : files.passedOver()) {
        const bool isNamedInText = QFile::encodeName(QFile::decodeName(file.name)) == file.name;
        (isNamedInText ? problems : chosen.unusable) +=
            QStringLiteral("%1: %2").arg(shown(file.name), QString::fromLocal8Bit(file.reason));
    }
    const QByteArray before = isOfDistribution ? folder + '/' : QByteArray();
    for (const QString &name : std::as_const(names))
        chosen.places.push_back({before + QFile::encodeName(name)});
    return chosen;
}

/// Looks at scripts, one after the other.
class Linter
{
public:
    explicit Linter(const QStringList &itsPrograms)
        : programs(itsPrograms)
    {
    }

    /// Looks at the script \a place. False, with a reason in \a problem, if it cannot be read.
    bool look(const ScriptPlace &place, QString &problem);

    std::vector<ScriptMistakes> results; ///< of all scripts

private:
    const QStringList &programs;
    Neighbours neighbours;
};

bool Linter::look(const ScriptPlace &place, QString &problem)
{
    QFile file;
    const bool isOpened = openRegular(file, place.path); // what is no file may have no end
    const int error = errno;
    Script script;
    if (isOpened)
        script.open(place.path);
    if (!script.wasRead()) {
        const QString reason = isOpened ? script.problem() : reasonOf(error);
        problem = QStringLiteral("cannot read '%1': %2").arg(shown(place.path), reason);
        return false;
    }
    if (!place.isNamed && isOwnFile(script.name(), script.text()))
        return true;
    const Surroundings surroundings{
        programs, folderOf(place.path), neighbours.sameNames(place.path)};
    results.push_back({place.path, inspectScript(script, surroundings)});
    return true;
}

int printChecks()
{
    for (const Check &check : checkTable())
        std::printf("%-16s  %s\n", check.name, check.explanation);
    return AllIsWell;
}

const LintFormat *formatOf(const QString &name)
{
    const auto &formats = lintFormats();
    const auto found = std::find_if(formats.begin(), formats.end(),
        [&name](const LintFormat &format) { return name == QLatin1String(format.name); });
    return found == formats.end() ? nullptr : &*found;
}

void addOptions(CommandLine &line)
{
    addFolderOption(line);
    addProgramOption(line);
    addDistributionOption(line);
    line.addOptions({
        {formatOption,
            QStringLiteral("Prints the findings as text (the default), as gcc prints warnings, or "
                           "as json."),
            QStringLiteral("FORMAT"), QStringLiteral("text")},
        {checksOption, QStringLiteral("Lists the checks, and looks at nothing.")},
    });
    line.addPositionalArgument(QStringLiteral("script"),
        QStringLiteral("Looks at this script; without any, at the scripts test*."),
        QStringLiteral("[SCRIPT...]"));
}

/// The scripts that \a line asks for.
ChosenScripts chosenScripts(const CommandLine &line, QStringList &problems)
{
    const QStringList named = line.positionalArguments();
    if (!named.isEmpty() && isOfDistribution(line))
        problems += QStringLiteral("--distribution takes no SCRIPT");
    if (named.isEmpty())
        return usualScripts(isOfDistribution(line), problems);
    ChosenScripts chosen;
    for (const QString &path : named)
        chosen.places.push_back({QFile::encodeName(path), true});
    return chosen;
}

/// What became of looking at all scripts.
struct Outcome {
    std::vector<ScriptMistakes> scripts;
    bool areFilesUnusable = false; ///< which was said
};

/// Looks at all scripts that \a line asks for. None if that is not possible; the reasons were
/// printed.
std::optional<Outcome> lookAtAll(const CommandLine &line)
{
    QStringList problems;
    QString problem;
    GivenPrograms given;
    if (!enterFolder(line, problem)) {
        line.refuse(problem);
        return {};
    }
    const QStringList programs = chosenPrograms(line, given, problems);
    Linter linter(programs);
    const ChosenScripts chosen = chosenScripts(line, problems);
    for (const ScriptPlace &place : chosen.places) {
        if (!linter.look(place, problem))
            problems += problem;
    }
    if (problems.isEmpty() && chosen.unusable.isEmpty() && linter.results.empty())
        problems += QStringLiteral("there are no scripts 'test*' here");
    for (const QString &sentence : problems + chosen.unusable)
        line.refuse(sentence);
    if (!problems.isEmpty())
        return {};
    return Outcome{std::move(linter.results), !chosen.unusable.isEmpty()};
}

} // namespace

int lintCommand(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("lint"), QStringLiteral("Finds mistakes in scripts, and runs nothing."));
    addOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    if (line.isSet(checksOption))
        return printChecks();
    const LintFormat *const format = formatOf(line.value(formatOption));
    if (format == nullptr)
        return line.refuse(QStringLiteral("unknown format '%1'; there are text, gcc and json")
                               .arg(line.value(formatOption)));
    const std::optional<Outcome> findings = lookAtAll(line);
    if (!findings)
        return WrongCall;
    const std::vector<ScriptMistakes> &results = findings->scripts;
    const QByteArray text = format->write(results);
    std::fwrite(text.constData(), 1, static_cast<size_t>(text.size()), stdout);
    const bool isWell = std::all_of(results.begin(), results.end(),
        [](const ScriptMistakes &script) { return script.mistakes.empty(); });
    return isWell && !findings->areFilesUnusable ? AllIsWell : AtFault;
}

} // namespace Talmo
