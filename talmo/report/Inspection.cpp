// A run ends with the first command that fails. We walk its script once more, and ask those
// commands that only judge what is there; of the others we only know what they might have said. The
// line that failed is known by the record, or else it is the first one that says the same now.
//
// A comparison before that line agreed in the run. If it does not now, a later command has written
// to its files, and that is no failure.

#include "Inspection.h"

#include "CommandWalk.h"
#include "DiskFile.h"
#include "Remains.h"
#include "commands.h"
#include "compare.h"

#include <QDir>
#include <QHash>

#include <algorithm>
#include <new>
#include <optional>

#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace Talmo
{

namespace
{

/// A command that fails, or of which nobody knows.
struct Step {
    qint64 line;
    bool isJudged; ///< its message is what it says now; otherwise it may have ended the run
    QString message;
    std::optional<FailedComparison> comparison; ///< without its survey
    bool hasTolerances = false;                 ///< of the comparison: they are numbers
    /// The last line before the comparison that writes one of its files; 0 if none does.
    qint64 written = 0;
};

/// Whether a comparison can read \a name without harm. What a device or a FIFO gives depends on the
/// moment, may take forever, and may have no end.
bool isReadable(const QString &name)
{
    struct stat status = {};
    if (stat(systemName(name), &status) != 0)
        return true; // it fails at once
    const bool isNothing = S_ISCHR(status.st_mode) && status.st_rdev == makedev(1, 3); // /dev/null
    return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode) || isNothing;
}

/// Whether \a command can be asked again.
bool isJudging(const Command &command, const Invocation &invocation)
{
    if (command.handler != compareCommand)
        return command.effect == Effect::None;
    return isReadable(invocation.words[1]) && isReadable(invocation.words[2]);
}

/// Adds to \a step the comparison of \a invocation, which has failed.
void addComparison(const Invocation &invocation, Step &step)
{
    FailedComparison comparison;
    comparison.line = step.line;
    comparison.file1 = invocation.words[1];
    comparison.file2 = invocation.words[2];
    comparison.message = invocation.error;
    step.hasTolerances = readTolerances(invocation.words, comparison.tolerances);
    if (!step.hasTolerances)
        comparison.tolerances.clear();
    step.comparison = comparison;
}

/// Walks a script in the directory that a run has left.
class Inspector
{
public:
    Inspector(const RunRecord &itsRun, Script &script)
        : run(itsRun)
        , lines(script.linesToRun())
        , walk(lines, run.program)
    {
    }

    /// Asks all commands. Returns those that fail, and those that may have ended the run.
    std::vector<Step> steps();

private:
    void ask(Invocation &invocation);
    void judge(const Command *command, Invocation &invocation);
    void noteFile(const Invocation &invocation);
    bool mayHaveEnded(const Invocation &invocation) const;

    const RunRecord &run;
    ScriptReader &lines;
    CommandWalk walk;
    std::vector<Step> found;
    QHash<QString, qint64> written; ///< the last line that writes a file, by its path
};

std::vector<Step> Inspector::steps()
{
    if (platformName.isEmpty())
        platformName = platformOfThisBuild();
    while (std::optional<Invocation> invocation = walk.next())
        ask(*invocation);
    return std::move(found);
}

void Inspector::ask(Invocation &invocation)
{
    const Command *const command = commandToPerform(invocation);
    if (command == nullptr || isJudging(*command, invocation)) {
        judge(command, invocation);
        return;
    }
    if (mayHaveEnded(invocation))
        found.push_back({walk.line(), false, run.message, {}});
    noteFile(invocation);
    if (command->following == FollowingLines::AreBody)
        lines.readUntil("=");
    walk.settle(invocation); // what it says of the command means nothing
}

/// Notes which file \a invocation would write, if it says so.
void Inspector::noteFile(const Invocation &invocation)
{
    const QString &name = invocation.words[0];
    if (name == QLatin1String("=file") || name == QLatin1String("=testbeam"))
        written[QDir::cleanPath(invocation.words[1])] = walk.line();
}

/// Has \a command judge what is there. If it is null, its line is wrong.
void Inspector::judge(const Command *command, Invocation &invocation)
{
    if (command != nullptr)
        command->handler(invocation);
    walk.settle(invocation);
    if (invocation.error.isNull())
        return;
    Step step = {walk.line(), true, invocation.error, {}};
    if (command != nullptr && command->handler == compareCommand)
        addComparison(invocation, step);
    for (int word = 1; step.comparison && word <= 2; ++word)
        step.written =
            std::max(step.written, written.value(QDir::cleanPath(invocation.words[word]), 0));
    found.push_back(step);
}

/// Whether \a invocation, which is not performed again, may have said why the run failed.
bool Inspector::mayHaveEnded(const Invocation &invocation) const
{
    if (run.message.isEmpty()) // nobody says why
        return false;
    const bool isComparison = invocation.words[0] == QLatin1String("=compare");
    const bool mayFail = isComparison ? run.message.contains(invocation.words[1])
                                      : mayFailWith(invocation, run.message);
    QString success;
    applyExpectation(success, walk.expectation());
    QString failure = mayFail ? run.message : QString();
    applyExpectation(failure, walk.expectation());
    return success == run.message || failure == run.message;
}

/// The step that ended the run, as far as that is certain; null otherwise.
const Step *endOf(const RunRecord &run, const std::vector<Step> &steps)
{
    const auto saysIt = [&run](const Step &step) { return step.message == run.message; };
    const auto first = std::find_if(steps.begin(), steps.end(), saysIt);
    if (first == steps.end())
        return nullptr;
    // One that only may have said it counts if there is no other.
    const bool isCertain = first->isJudged || std::none_of(first + 1, steps.end(), saysIt);
    return isCertain ? &*first : nullptr;
}

/// Whether both files of the comparison \a step are there as it would find them: no command from
/// the line \a end on writes them, which was not performed.
bool areThere(const Step &step, qint64 end)
{
    return existsOnDisk(step.comparison->file1) && existsOnDisk(step.comparison->file2) &&
           (end == 0 || step.written < end);
}

/// Compares the files of \a comparison to their ends. Empty if one cannot be read.
Survey surveyOf(const FailedComparison &comparison, size_t keptLines)
{
    LineReader file1;
    LineReader file2;
    if (!file1.open(comparison.file1) || !file2.open(comparison.file2))
        return {};
    Survey survey = surveyOf(file1, file2, comparison.tolerances, keptLines);
    return survey.unreadable == 0 ? survey : Survey();
}

/// The comparisons of \a steps that fail, from the line that ended the run on, or from the first
/// one that may have. Behind it a file that is missing is none that the run has made.
std::vector<FailedComparison> comparisonsOf(
    const RunRecord &run, const std::vector<Step> &steps, qint64 end, size_t keptLines)
{
    const auto mayBeEnd = std::find_if(steps.begin(), steps.end(),
        [&run](const Step &step) { return step.message == run.message; });
    const qint64 begin = end == 0 && mayBeEnd != steps.end() ? mayBeEnd->line : end;
    std::vector<FailedComparison> comparisons;
    for (const Step &step : steps) {
        if (!step.comparison || step.line < begin || (step.line != end && !areThere(step, begin)))
            continue;
        comparisons.push_back(*step.comparison);
        FailedComparison &comparison = comparisons.back();
        comparison.isReported = step.line == end && step.message == run.message;
        // Who reads the files once more can see then whether they are still the same.
        comparison.state1 = stateOf(comparison.file1);
        comparison.state2 = stateOf(comparison.file2);
        if (step.hasTolerances)
            comparison.survey = surveyOf(comparison, keptLines);
    }
    return comparisons;
}

/// Walks the script of \a run over what it has left. Returns why that tells nothing; null if it
/// does.
QString look(const RunRecord &run, Remains &remains, size_t keptLines, Inspection &inspection)
{
    const std::vector<Step> steps = Inspector(run, remains.script).steps();
    const Step *const end = endOf(run, steps);
    if (!remains.areProven() && (end == nullptr || !end->isJudged))
        return QStringLiteral("Nobody knows whether the directory '%1' and the script '%2' are "
                              "still those of the run")
            .arg(run.directory, run.script);
    if (inspection.line == 0 && end != nullptr)
        inspection.line = end->line;
    inspection.comparisons = comparisonsOf(run, steps, inspection.line, keptLines);
    return remains.problemMeanwhile();
}

} // namespace

Inspection inspect(const RunRecord &run, const QByteArray &suiteDirectory, size_t keptLines)
{
    Inspection inspection;
    Remains remains(run, suiteDirectory);
    inspection.obstacle = remains.open();
    if (remains.isScriptProven())
        inspection.line = run.line;
    if (!inspection.obstacle.isNull())
        return inspection;
    try {
        inspection.obstacle = look(run, remains, keptLines, inspection);
    } catch (const std::bad_alloc &) {
        inspection.obstacle = QStringLiteral("There is not enough memory to look at it");
    }
    if (!inspection.obstacle.isNull())
        inspection.comparisons.clear();
    return inspection;
}

} // namespace Talmo
