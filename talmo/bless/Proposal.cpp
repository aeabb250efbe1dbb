// Each failing comparison proposes its output for its reference. Several may do so for one: then
// one of the outputs must satisfy all comparisons with this reference, also those that agree now.
// Of a run that passed nobody knows the output any more; so if it uses the reference for another
// program, the user has to choose.

#include "Proposal.h"

#include "Candidates.h"
#include "Script.h"
#include "scriptPlaces.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <map>

namespace Talmo
{

namespace
{

/// Where a suite and one of its scripts are.
struct BlessPlace {
    QByteArray suite;
    QByteArray script;
};

/// \a text, of a line of the script of \a run, as the run has it.
QString named(const RunRecord &run, const QString &text)
{
    return QDir::cleanPath(text.split(QStringLiteral("$simProgram")).join(run.program));
}

/// What a "=compare" of \a run means by \a name: a text in its \a script, or a file that is there.
std::vector<Reference> meantBy(
    const QString &name, const RunRecord &run, const Script &script, const BlessPlace &place)
{
    std::vector<Reference> references;
    for (const FileBody &body : script.bodies()) {
        if (named(run, body.name) == name)
            references.push_back({place.script, body.line});
    }
    const QString folder = QFile::decodeName(place.suite) + QLatin1Char('/') + run.name;
    const QString path =
        QDir::isAbsolutePath(name) ? name : QDir::cleanPath(folder + QLatin1Char('/') + name);
    const QString real = QFileInfo(path).canonicalFilePath();
    if (!real.isEmpty())
        references.push_back({QFile::encodeName(real), 0});
    return references;
}

/// What \a run compares with, by its script and whether it has left anything or not.
std::vector<Reference> referencesOf(const RunRecord &run, const QByteArray &suite)
{
    const std::vector<QByteArray> places = scriptPlaces(suite, run.script);
    Script script;
    if (places.empty() || !script.open(places[0]))
        return {};
    std::vector<Reference> references;
    for (const ScriptLine &line : script.lines()) {
        if (line.words.value(0) != QLatin1String("=compare"))
            continue;
        for (const QString &word : line.words.mid(1, 2)) {
            for (const Reference &meant :
                meantBy(named(run, word), run, script, {suite, places[0]}))
                references.push_back(meant);
        }
    }
    return references;
}

class Judge
{
public:
    Judge(const std::vector<RunRecord> &itsRuns, const BlessRequest &itsRequest)
        : runs(itsRuns)
        , request(itsRequest)
    {
    }

    Proposals judge();

private:
    void look();
    bool uses(const RunRecord &run, const Candidate &candidate);
    void refuseAll(const CandidateGroup &group, const QString &reason);
    void decide(const CandidateGroup &group);
    bool choose(const CandidateGroup &group, CandidateGroup &chosen);
    QString problemOfOthers(const CandidateGroup &group, QStringList &remarks);
    QString problemOf(
        const Candidate &candidate, const CandidateGroup &group, QStringList &remarks) const;
    void accept(const Candidate &candidate, const QStringList &remarks);

    const std::vector<RunRecord> &runs;
    const BlessRequest &request;
    std::vector<RunView> views;
    std::map<const RunRecord *, std::vector<Reference>> used; ///< as far as it was asked for
    Proposals result;
};

/// Looks at all runs that failed, also those that the user does not ask for: they may use the same
/// references.
void Judge::look()
{
    views.reserve(runs.size()); // candidates point into them
    for (const RunRecord &run : runs) {
        if (run.state == RunState::Failed)
            views.push_back(viewOf(run, request.suite));
    }
}

/// Whether \a run compares with the reference of \a candidate. A text in a script is for that
/// script alone.
bool Judge::uses(const RunRecord &run, const Candidate &candidate)
{
    const Reference &reference = *candidate.reference->reference;
    if (reference.line > 0 && run.script != candidate.run().script)
        return false;
    auto found = used.find(&run);
    if (found == used.end())
        found = used.emplace(&run, referencesOf(run, request.suite)).first;
    const std::vector<Reference> &all = found->second;
    return std::find(all.begin(), all.end(), reference) != all.end();
}

void Judge::refuseAll(const CandidateGroup &group, const QString &reason)
{
    for (const Candidate &candidate : group) {
        if (candidate.isWanted)
            result.refused += refusalOf(candidate.run(), candidate.comparison->line,
                QStringLiteral("'%1' cannot be replaced: %2")
                    .arg(candidate.reference->name, reason));
    }
}

/// The candidates of \a group out of which one may be taken. False if there is none.
bool Judge::choose(const CandidateGroup &group, CandidateGroup &chosen)
{
    const auto isAlone = [](const Candidate &candidate) {
        return candidate.run().program.isEmpty();
    };
    const bool isChoice =
        !request.from.isNull() && !std::all_of(group.begin(), group.end(), isAlone);
    std::copy_if(
        group.begin(), group.end(), std::back_inserter(chosen), [&](const Candidate &candidate) {
            return candidate.isWanted && (!isChoice || candidate.run().program == request.from);
        });
    const auto isWanted = [](const Candidate &candidate) { return candidate.isWanted; };
    if (chosen.empty() && std::any_of(group.begin(), group.end(), isWanted))
        refuseAll(
            group, QStringLiteral("no run of '%1' that was asked for has another output for it")
                       .arg(request.from));
    return !chosen.empty();
}

/// Why runs that propose nothing for the reference of \a group are in the way; null if they are
/// not. Adds to \a remarks what the user should know of them.
QString Judge::problemOfOthers(const CandidateGroup &group, QStringList &remarks)
{
    const Candidate &first = group[0];
    for (const RunRecord &run : runs) {
        const auto isOf = [&run](const Candidate &candidate) { return &candidate.run() == &run; };
        const bool counts = run.state == RunState::Passed || run.state == RunState::NotRun ||
                            run.state == RunState::Failed;
        if (!counts || std::any_of(group.begin(), group.end(), isOf) || !uses(run, first))
            continue;
        const QString did = run.state == RunState::Passed   ? QStringLiteral("passed with it")
                            : run.state == RunState::Failed ? QStringLiteral("failed otherwise")
                                                            : QStringLiteral("was not run");
        const bool isSameScript = run.script == first.run().script;
        if (isSameScript && request.from.isNull())
            return QStringLiteral("'%1' %2, so nobody knows whether both programs agree; choose "
                                  "one by --from PROGRAM")
                .arg(run.name, did);
        remarks += QStringLiteral("'%1' uses it, too, and %2").arg(run.name, did);
    }
    return {};
}

/// Why the output of \a candidate does not satisfy all comparisons with its reference; null if it
/// does. Adds to \a remarks what is not satisfied, but does not matter.
QString Judge::problemOf(
    const Candidate &candidate, const CandidateGroup &group, QStringList &remarks) const
{
    const Reference &reference = *candidate.reference->reference;
    const QByteArray text = candidate.text();
    for (const RunView &view : views) {
        for (const RunComparison &other : view.comparisons) {
            if (!other.involves(reference))
                continue;
            const auto isIt = [&other](const Candidate &its) { return its.comparison == &other; };
            const auto its = std::find_if(group.begin(), group.end(), isIt);
            // One that does not hold now, and proposes nothing, was satisfied in the run, before
            // its files were written once more.
            if ((its == group.end() && !other.holds()) || other.holdsWith(reference, text))
                continue;
            const QString place = placeOf(*view.run, other.line);
            const bool isSameScript = view.run->script == candidate.run().script;
            const bool isOtherProgram =
                isSameScript && view.run->program != candidate.run().program;
            const bool isChosen = isOtherProgram && !request.from.isNull();
            if (isChosen || (!isSameScript && !request.wants(*view.run)))
                remarks += QStringLiteral("%1 will not agree with it").arg(place);
            else if (isOtherProgram)
                return QStringLiteral("'%1' and '%2' give different outputs; choose one by --from "
                                      "PROGRAM")
                    .arg(candidate.run().program, view.run->program);
            else
                return QStringLiteral("the comparison of %1 would fail with '%2' instead")
                    .arg(place, candidate.output->name);
        }
    }
    return {};
}

void Judge::accept(const Candidate &candidate, const QStringList &remarks)
{
    Proposal proposal;
    proposal.reference = *candidate.reference->reference;
    proposal.name = candidate.reference->name;
    proposal.run = candidate.run().name;
    proposal.script = candidate.run().script;
    proposal.output = candidate.output->name;
    proposal.before = candidate.reference->text;
    proposal.after = candidate.text();
    proposal.tolerances = candidate.comparison->tolerances;
    proposal.isOutputFirst = candidate.output == &candidate.comparison->file1;
    proposal.remarks = remarks;
    if (candidate.view->notReached > 0)
        proposal.remarks += QStringLiteral("the run did not come to line %1, so comparisons behind "
                                           "it may still fail")
                                .arg(candidate.view->notReached);
    result.accepted.push_back(proposal);
}

/// Accepts one candidate of \a group, or refuses them all.
void Judge::decide(const CandidateGroup &group)
{
    CandidateGroup chosen;
    if (!choose(group, chosen))
        return;
    QStringList remarks;
    QString reason = problemOfOthers(group, remarks);
    if (!reason.isNull()) {
        refuseAll(chosen, reason);
        return;
    }
    for (const Candidate &candidate : chosen) {
        QStringList own = remarks;
        const QString problem = problemOf(candidate, group, own);
        if (problem.isNull()) {
            accept(candidate, own);
            return;
        }
        if (reason.isNull())
            reason = problem;
    }
    refuseAll(chosen, reason);
}

Proposals Judge::judge()
{
    look();
    for (const CandidateGroup &group : candidatesOf(views, request, result.refused))
        decide(group);
    return std::move(result);
}

} // namespace

bool BlessRequest::wants(const RunRecord &run) const
{
    return runs.isEmpty() || runs.contains(run.name) || runs.contains(run.script);
}

Proposals proposalsOf(const std::vector<RunRecord> &runs, const BlessRequest &request)
{
    return Judge(runs, request).judge();
}

} // namespace Talmo
