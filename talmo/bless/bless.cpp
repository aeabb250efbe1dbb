// "talmo bless". Everything that can be in the way is found out first, for all references; then
// what is replaced is kept, and only then files are written. One file is written once, also if it
// is a script with several references.

#include "BlessedFolder.h"
#include "CommandLine.h"
#include "Proposal.h"
#include "RecordFolder.h"
#include "Records.h"
#include "ScriptFolder.h"
#include "SuiteOptions.h"
#include "commandTable.h"
#include "interruption.h"
#include "replaceBodies.h"
#include "talmo/Numbers.h"
#include "texts.h"
#include "uncommitted.h"
#include "wording.h"

#include <QFile>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace Talmo
{

namespace
{

const QString applyOption = QStringLiteral("apply");
const QString onlyOption = QStringLiteral("only");
const QString fromOption = QStringLiteral("from");
const QString outsideOption = QStringLiteral("outside");
const QString forceOption = QStringLiteral("force");
const QString undoOption = QStringLiteral("undo");

void addOptions(CommandLine &line)
{
    addFolderOption(line);
    line.addOptions({
        {applyOption, QStringLiteral("Replaces the references; otherwise nothing is changed.")},
        {onlyOption, QStringLiteral("Takes the reference FILE only, as the script names it."),
            QStringLiteral("FILE")},
        {fromOption,
            QStringLiteral("Takes the outputs of PROGRAM where programs give different ones."),
            QStringLiteral("PROGRAM")},
        {outsideOption, QStringLiteral("Replaces references outside of the suite's directory, "
                                       "too.")},
        {forceOption, QStringLiteral("Replaces files with changes that are not committed to git, "
                                     "too.")},
        {undoOption, QStringLiteral("Brings back what the latest --apply has replaced.")},
    });
    line.addPositionalArgument(QStringLiteral("run"),
        QStringLiteral("Takes these runs, or all of these scripts; all that failed, if not given."),
        QStringLiteral("[RUN...]"));
}

QString differing(qint64 lines)
{
    return counted(lines, "line") + QLatin1String(lines == 1 ? " differs" : " differ");
}

class BlessCommand
{
public:
    explicit BlessCommand(const CommandLine &itsLine)
        : line(itsLine)
    {
    }

    int perform();

private:
    QString problemOfOptions() const;
    bool lock();
    bool readResults();
    bool checkRuns();
    bool checkFrom();
    int undo();
    int bless();
    void sayRefused() const;
    void checkGit();
    bool plan(std::vector<FileChange> &changes);
    int show() const;
    int apply();

    const CommandLine &line;
    BlessRequest request;
    RunResults latest;
    RecordFolder folder;
    Proposals proposals;
};

/// Where the reference of \a proposal is, for the user.
QString placeOf(const Proposal &proposal, const QByteArray &suite)
{
    const QString file = nameBelow(suite, proposal.reference.path);
    return proposal.reference.line == 0
               ? file
               : QStringLiteral("%1:%2: %3")
                     .arg(file, QString::number(proposal.reference.line), proposal.name);
}

std::string numberAsText(double number)
{
    std::string text;
    appendNumber(text, number); // printf's would depend on the locale
    return text;
}

/// Prints how far the new text of \a proposal is from the old one.
void printDifference(const Proposal &proposal)
{
    const bool isFirst = proposal.isOutputFirst;
    const Survey survey = surveyOfTexts(isFirst ? proposal.after : proposal.before,
        isFirst ? proposal.before : proposal.after, proposal.tolerances);
    std::printf("    %s", qPrintable(differing(survey.differingLines)));
    const Lengths &lengths = survey.lengths;
    if (lengths.lines1 != lengths.lines2)
        std::printf(", %lld lines become %lld",
            static_cast<long long>(isFirst ? lengths.lines2 : lengths.lines1),
            static_cast<long long>(isFirst ? lengths.lines1 : lengths.lines2));
    std::puts("");
    for (size_t index = 0; index < survey.columns.size(); ++index) {
        const ColumnSurvey &column = survey.columns[index];
        if (column.lines == 0)
            continue;
        const QString name = survey.names.value(static_cast<int>(index));
        std::printf("    column %zu%s: %s, at most by %s (line %lld), relatively %s\n", index + 1,
            name.isEmpty() ? "" : qPrintable(QStringLiteral(" (%1)").arg(name)),
            qPrintable(differing(column.lines)), numberAsText(column.largest).c_str(),
            static_cast<long long>(column.largestLine),
            numberAsText(column.largestRelative).c_str());
    }
}

QString BlessCommand::problemOfOptions() const
{
    const auto isSet = [this](const QString &option) { return line.isSet(option); };
    const bool isMore = isSet(applyOption) || isSet(onlyOption) || isSet(fromOption) ||
                        isSet(outsideOption) || isSet(forceOption) ||
                        !line.positionalArguments().isEmpty();
    if (isSet(undoOption) && isMore)
        return QStringLiteral("--undo brings back all that the latest --apply has replaced, and "
                              "takes nothing else but -C");
    if (isSet(forceOption) && !isSet(applyOption))
        return QStringLiteral("--force makes sense with --apply only");
    return {};
}

/// Locks the records, as a run does, so that no run is at work in the suite. False if that fails,
/// which was said.
bool BlessCommand::lock()
{
    QString problem;
    if (folder.lock(request.suite, problem) == RecordFolder::Ours)
        return true;
    line.refuse(problem);
    return false;
}

bool BlessCommand::readResults()
{
    QString problem;
    const auto reading = Records::readLatest(request.suite, SystemOut::PassedOver, latest, problem);
    if (reading == Records::Reading::Absent)
        problem = QStringLiteral("there are no results of 'talmo run' in '%1'")
                      .arg(QFile::decodeName(request.suite));
    if (reading != Records::Reading::Read)
        line.refuse(problem);
    return reading == Records::Reading::Read;
}

/// Whether the runs that the user names have failed; says of each that has not.
bool BlessCommand::checkRuns()
{
    bool areAll = true;
    for (const QString &name : std::as_const(request.runs)) {
        const auto isIt = [&name](const RunRecord &run) {
            return run.name == name || run.script == name;
        };
        const auto hasFailed = [&isIt](const RunRecord &run) {
            return isIt(run) && run.state == RunState::Failed;
        };
        const auto &runs = latest.runs;
        if (std::any_of(runs.begin(), runs.end(), hasFailed))
            continue;
        const bool isThere = std::any_of(runs.begin(), runs.end(), isIt);
        line.refuse((isThere ? QStringLiteral("'%1' did not fail in the latest results")
                             : QStringLiteral("there is no run '%1' in the latest results"))
                        .arg(name));
        areAll = false;
    }
    return areAll;
}

/// Whether a run of the program that the user chooses has failed, so that there is an output of it;
/// otherwise says so.
bool BlessCommand::checkFrom()
{
    const auto isIt = [this](const RunRecord &run) {
        return run.state == RunState::Failed && request.wants(run) && run.program == request.from;
    };
    if (request.from.isNull() || std::any_of(latest.runs.begin(), latest.runs.end(), isIt))
        return true;
    const QString ofThese =
        request.runs.isEmpty() ? QString() : QStringLiteral(" that was asked for");
    line.refuse(QStringLiteral("no run of '%1'%2 has failed in the latest results")
                    .arg(request.from, ofThese));
    return false;
}

int BlessCommand::undo()
{
    RecordFolder present;
    QString problem;
    const RecordFolder::State state = present.open(request.suite, problem);
    if (state != RecordFolder::Ours)
        return line.refuse(state == RecordFolder::Absent
                               ? QStringLiteral("nothing was blessed that could be brought back")
                               : problem);
    if (!lock())
        return WrongCall;
    noteInterruptions(); // from here on all or nothing
    QStringList names;
    QStringList problems;
    bringBack(folder, request.suite, names, problems);
    for (const QString &name : std::as_const(names))
        std::printf("brought back '%s'\n", qPrintable(name));
    for (const QString &sentence : std::as_const(problems))
        line.refuse(sentence);
    if (names.isEmpty() && problems.isEmpty()) // the user has edited them, or git has
        std::puts("nothing had to be brought back: all is as it was before the latest --apply");
    return problems.isEmpty() ? AllIsWell : AtFault;
}

void BlessCommand::sayRefused() const
{
    for (const QString &sentence : proposals.refused)
        line.refuse(sentence);
}

/// Refuses what would replace changes that git does not have.
void BlessCommand::checkGit()
{
    std::set<QByteArray> paths;
    for (const Proposal &proposal : proposals.accepted)
        paths.insert(proposal.reference.path);
    const std::map<QByteArray, QString> problems = problemsOfUncommitted(paths);
    std::vector<Proposal> accepted;
    for (const Proposal &proposal : proposals.accepted) {
        const QByteArray &path = proposal.reference.path;
        const auto problem = problems.find(path);
        if (problem == problems.end())
            accepted.push_back(proposal);
        else
            proposals.refused +=
                QStringLiteral("%1: '%2' cannot be replaced: %3; --force replaces "
                               "it all the same")
                    .arg(proposal.run, nameBelow(request.suite, path), problem->second);
    }
    proposals.accepted = accepted;
}

/// Finds out what the files to be replaced will hold. False if one cannot be replaced, which was
/// said.
bool BlessCommand::plan(std::vector<FileChange> &changes)
{
    std::map<QByteArray, std::map<qint64, QByteArray>> texts;
    for (const Proposal &proposal : proposals.accepted)
        texts[proposal.reference.path][proposal.reference.line] = proposal.after;
    for (const auto &[path, bodies] : texts) {
        FileChange change;
        change.path = path;
        QString problem;
        bool isPlanned = readFile(path, change.before, problem);
        if (isPlanned && bodies.begin()->first == 0)
            change.after = bodies.begin()->second;
        else if (isPlanned)
            isPlanned = replaceBodies(change.before, bodies, change.after, problem);
        if (!isPlanned) {
            line.refuse(problem);
            return false;
        }
        changes.push_back(change);
    }
    return true;
}

/// Shows what would change.
int BlessCommand::show() const
{
    for (const Proposal &proposal : proposals.accepted) {
        const QString place = placeOf(proposal, request.suite);
        const QString origin = QStringLiteral("%1: %2").arg(proposal.run, proposal.output);
        QByteArray difference;
        QString problem;
        if (!unifiedDiff(proposal.before, place, proposal.after, origin, difference, problem)) {
            line.refuse(problem);
            return AtFault;
        }
        std::fwrite(difference.constData(), 1, static_cast<size_t>(difference.size()), stdout);
        std::printf("\n'%s' would become '%s' of %s:\n", qPrintable(place),
            qPrintable(proposal.output), qPrintable(proposal.run));
        printDifference(proposal);
        for (const QString &remark : proposal.remarks)
            std::printf("    %s\n", qPrintable(remark));
        std::puts("");
    }
    const auto count = static_cast<qint64>(proposals.accepted.size());
    std::printf("%s would change; 'talmo bless --apply' replaces what can be replaced\n",
        qPrintable(counted(count, "reference")));
    return proposals.refused.isEmpty() ? AllIsWell : AtFault;
}

int BlessCommand::apply()
{
    std::vector<FileChange> changes;
    if (!plan(changes))
        return AtFault;
    noteInterruptions(); // from here on all or nothing
    QString problem;
    if (!replaceFiles(folder, request.suite, changes, problem)) {
        line.refuse(problem);
        return AtFault;
    }
    for (const Proposal &proposal : proposals.accepted) {
        std::printf("'%s' is now '%s' of %s\n", qPrintable(placeOf(proposal, request.suite)),
            qPrintable(proposal.output), qPrintable(proposal.run));
        for (const QString &remark : proposal.remarks)
            std::printf("    %s\n", qPrintable(remark));
    }
    return proposals.refused.isEmpty() ? AllIsWell : AtFault;
}

int BlessCommand::bless()
{
    // Otherwise each comparison would seem to fail.
    if (!TextFile("room").isWritten())
        return line.refuse(QStringLiteral("there is no room for temporary files"));
    proposals = proposalsOf(latest.runs, request);
    if (line.isSet(applyOption) && !line.isSet(forceOption))
        checkGit();
    std::fflush(stdout);
    sayRefused();
    if (!proposals.accepted.empty())
        return line.isSet(applyOption) ? apply() : show();
    if (!proposals.refused.isEmpty())
        return AtFault;
    if (!request.only.isNull())
        return line.refuse(
            QStringLiteral("no comparison that failed has the reference '%1'").arg(request.only));
    std::puts("nothing is to be blessed: no run has failed in the latest results");
    return AllIsWell;
}

int BlessCommand::perform()
{
    QString problem = problemOfOptions();
    if (!problem.isNull() || !enterFolder(line, problem))
        return line.refuse(problem);
    request.suite = workingDirectory();
    if (request.suite.isNull())
        return line.refuse(QStringLiteral("the working directory has no name"));
    if (line.isSet(undoOption))
        return undo();
    request.runs = line.positionalArguments();
    request.allowsOutside = line.isSet(outsideOption);
    if (line.isSet(onlyOption))
        request.only = line.value(onlyOption);
    if (line.isSet(fromOption))
        request.from = line.value(fromOption);
    if (!readResults() || (line.isSet(applyOption) && !lock()))
        return WrongCall;
    return checkRuns() && checkFrom() ? bless() : WrongCall;
}

} // namespace

int blessCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("bless"),
        QStringLiteral("Makes the outputs that failing comparisons of the latest run have found "
                       "different their new references. Without --apply it only shows them."));
    addOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    return BlessCommand(line).perform();
}

} // namespace Talmo
