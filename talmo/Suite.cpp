// A suite that machines run must never pass by accident. So whatever the user asked for and cannot
// have is a problem, and all problems are found before the first run: the scripts are opened here,
// by the same code that opens them for a run. A run that the driver would make several times is
// made once.

#include "Suite.h"

#include "JUnit.h"
#include "Known.h"
#include "Run.h"
#include "Script.h"
#include "ScriptFolder.h"
#include "messages.h"
#include "xmlText.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

QString words(const char *ofSystem)
{
    return QString::fromLocal8Bit(ofSystem);
}

/// True if \a character stands for others in a filter.
bool isSpecial(QChar character)
{
    return character == '*' || character == '?' || character == '[';
}

/// True if \a name can be one line of a list, and the system and a report have the same name.
bool isUsable(const QString &name)
{
    const bool isControlled = std::any_of(name.begin(), name.end(),
        [](QChar character) { return character.category() == QChar::Other_Control; });
    return !isControlled && QFile::decodeName(QFile::encodeName(name)) == name &&
           xmlText(name) == name;
}

/// \a name, of a file, as text; bytes that are no text as \xHH.
QString shown(const QByteArray &name)
{
    QString text = QFile::decodeName(name);
    if (QFile::encodeName(text) == name)
        return text;
    QString escaped;
    for (const char byte : name) {
        constexpr uchar lastOfAscii = 0x7F;
        const auto value = static_cast<uchar>(byte);
        escaped += value > lastOfAscii ? QStringLiteral("\\x%1").arg(value, 2, 16)
                                       : QString(QLatin1Char(byte));
    }
    return escaped;
}

/// Whether a command line of \a script is a "=run", or may become one when the name of a program
/// stands in it.
bool startsPrograms(const Script &script)
{
    // Most scripts are not walked through. No line of a file that a script holds begins with "=".
    const std::string_view text = script.text();
    for (const std::string_view line : {"\n=run ", "\n=run\t", "\n=run\n"}) {
        if (text.find(line) != std::string_view::npos)
            return true;
    }
    const auto holds = [text](
                           const char *part) { return text.find(part) != std::string_view::npos; };
    if (!holds("=run") && !holds("$simProgram"))
        return false;
    const std::vector<ScriptLine> lines = script.lines();
    return std::any_of(lines.begin(), lines.end(), [](const ScriptLine &line) {
        return line.isCommand() && (line.words[0] == QLatin1String("=run") ||
                                       line.words[0].contains(QLatin1String("$simProgram")));
    });
}

/// Collects what a suite consists of.
class Finder
{
public:
    Finder(const Selection &itsSelection, const QStringList &itsPrograms, QStringList &itsProblems)
        : selection(itsSelection)
        , programs(itsPrograms)
        , problems(itsProblems)
        , chosenNames(selection.runs.begin(), selection.runs.end())
    {
    }

    Suite find();

private:
    /// What is known of a file.
    enum class Kind { Script, Own, Wrong };

    bool findFolders();
    void select(const QString &filter);
    Kind kindOf(const QString &name, bool isNamed);
    Kind open(const QString &name, bool isNamed);
    void plan(Script &script);
    void add(const PlannedRun &run);
    void checkPassedOver();
    void checkSelection();
    bool isChosen(const PlannedRun &run) const;

    const Selection &selection;
    const QStringList &programs;
    QStringList &problems;
    const std::set<QString> chosenNames; // of runs; there may be as many as runs
    ScriptFolder files;
    std::map<QString, Kind> kinds;         // by the name of the file
    std::map<QString, size_t> scriptOfRun; // by the name of the run
    Suite suite;
};

/// Finds out where the scripts are and where the runs are made, and lists the scripts.
bool Finder::findFolders()
{
    suite.work = workingDirectory();
    if (suite.work.isNull()) {
        problems +=
            QStringLiteral("the working directory has no name: ") + words(std::strerror(errno));
        return false;
    }
    suite.folder = selection.isOfDistribution ? distributionDirectory() : suite.work;
    if (files.list(selection.isOfDistribution ? suite.folder : "."))
        return true;
    problems += QStringLiteral("cannot list the scripts in '%1': %2")
                    .arg(shown(suite.folder), words(files.error()));
    return false;
}

/// Adds the scripts that \a filter selects, with their runs.
void Finder::select(const QString &filter)
{
    const auto passedOver = files.passedOver().size();
    QStringList names;
    if (!files.select(filter, names)) {
        problems += QStringLiteral("cannot find out which scripts match '%1' in '%2': %3")
                        .arg(filter, shown(suite.folder), words(files.error()));
        return;
    }
    const bool isNamed = std::none_of(filter.begin(), filter.end(), isSpecial);
    bool isEmpty = files.passedOver().size() == passedOver;
    for (const QString &name : std::as_const(names))
        isEmpty = kindOf(name, isNamed) == Kind::Own && isEmpty;
    if (isEmpty) {
        const bool isPath = filter.contains(QLatin1Char('/'));
        problems += QStringLiteral("the filter '%1' matches nothing in '%2'%3")
                        .arg(filter, shown(suite.folder),
                            isPath ? QStringLiteral(", because of its '/'") : QString());
    }
}

/// The kind of the file \a name, which is added to the suite if it is a new script. A file of ours
/// is no script; where the user names it so, that is wrong.
Finder::Kind Finder::kindOf(const QString &name, bool isNamed)
{
    const auto known = kinds.find(name);
    if (known != kinds.end() && !(known->second == Kind::Own && isNamed))
        return known->second;
    return kinds[name] = open(name, isNamed);
}

Finder::Kind Finder::open(const QString &name, bool isNamed)
{
    if (!isUsable(name)) {
        problems += QStringLiteral(
            "%1: a name with control characters, or with others that XML cannot carry, "
            "cannot be handled")
                        .arg(name);
        return Kind::Wrong;
    }
    const QByteArray folder = suite.folder == "/" ? QByteArray() : suite.folder;
    const QByteArray path = folder + '/' + QFile::encodeName(name);
    struct stat status = {};
    // A device or a FIFO, to which a link leads, may have no end, or may be read only once.
    if (stat(path, &status) == 0 && !S_ISREG(status.st_mode)) {
        problems += QStringLiteral("%1: it is no regular file").arg(name);
        return Kind::Wrong;
    }
    Script script;
    const bool canRun = script.open(path);
    if (!isNamed && isOwnFile(name, script.text()))
        return Kind::Own;
    if (!canRun) {
        problems += name + QStringLiteral(": ") + script.problem();
        return Kind::Wrong;
    }
    Needs needs;
    readNeeds(script, needs, problems);
    suite.scripts.push_back({name, path, script.description(), needs, startsPrograms(script)});
    plan(script);
    return Kind::Script;
}

/// Adds the runs of \a script, the latest one of the suite.
void Finder::plan(Script &script)
{
    const size_t index = suite.scripts.size() - 1;
    QStringList applicable = programsFor(script, programs);
    applicable.removeDuplicates();
    if (applicable.isEmpty())
        add({script.name(), index, QString(), true});
    for (const QString &program : std::as_const(applicable))
        add({Run(script, program).name(), index, program, false});
}

void Finder::add(const PlannedRun &run)
{
    const QString &script = suite.scripts[run.script].name;
    if (!isUsable(run.name))
        problems +=
            QStringLiteral("%1: the name of its run '%2' cannot be handled").arg(script, run.name);
    const auto [place, isNew] = scriptOfRun.emplace(run.name, run.script);
    if (!isNew)
        problems += QStringLiteral("%1: a run of it and one of '%2' would share the directory '%3'")
                        .arg(script, suite.scripts[place->second].name, run.directory());
    suite.runs.push_back(run);
}

/// Says which files match a filter, but could not be selected.
void Finder::checkPassedOver()
{
    std::set<QByteArray> told; // several filters may match the same one
    for (const PassedOver &file : files.passedOver()) {
        if (told.insert(file.name).second)
            problems += shown(file.name) + QStringLiteral(": ") + words(file.reason);
    }
}

/// Says which of the names and labels that the user asks for do not exist.
void Finder::checkSelection()
{
    for (const QString &run : selection.runs) {
        if (scriptOfRun.count(run) == 0)
            problems +=
                QStringLiteral("there is no run '%1' in '%2'").arg(run, shown(suite.folder));
    }
    for (const QString &label : selection.labels) {
        const auto hasLabel = [&label](const SuiteScript &script) {
            return script.needs.labels.contains(label);
        };
        if (std::none_of(suite.scripts.begin(), suite.scripts.end(), hasLabel))
            problems += QStringLiteral("no script in '%1' has the label '%2'")
                            .arg(shown(suite.folder), label);
    }
}

bool Finder::isChosen(const PlannedRun &run) const
{
    const QStringList &own = suite.scripts[run.script].needs.labels;
    const auto isOwn = [&own](const QString &label) { return own.contains(label); };
    const auto isAnyOwn = [&isOwn](const QStringList &labels) {
        return std::any_of(labels.begin(), labels.end(), isOwn);
    };
    return (selection.runs.isEmpty() || chosenNames.count(run.name) != 0) &&
           (selection.labels.isEmpty() || isAnyOwn(selection.labels)) &&
           !isAnyOwn(selection.excludedLabels);
}

Suite Finder::find()
{
    if (!findFolders())
        return suite;
    const QStringList usual(QStringLiteral("test*"));
    for (const QString &filter : selection.filters.isEmpty() ? usual : selection.filters)
        select(filter);
    checkPassedOver();
    checkSelection();
    std::vector<PlannedRun> chosen;
    std::copy_if(suite.runs.begin(), suite.runs.end(), std::back_inserter(chosen),
        [this](const PlannedRun &run) { return isChosen(run); });
    suite.runs = std::move(chosen);
    if (suite.runs.empty() && problems.isEmpty())
        problems += QStringLiteral("the labels leave no run in '%1'").arg(shown(suite.folder));
    return std::move(suite);
}

} // namespace

Suite Suite::find(const Selection &selection, const QStringList &configured, QStringList &problems)
{
    return Finder(selection, configured, problems).find();
}

QString filterFor(const QString &script)
{
    QString filter;
    for (const QChar character : script)
        filter += isSpecial(character) ? QStringLiteral("[%1]").arg(character) : QString(character);
    return filter;
}

bool isOwnFile(const QString &name, std::string_view text)
{
    return isResultFile(text) || name == QLatin1String(knownFileName);
}

QString skipReason()
{
    return words(skipLine(QByteArray()).mid(2)); // behind the name and its colon
}

} // namespace Talmo
