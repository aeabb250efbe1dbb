// "talmo run". All that can be wrong is found out before the first run, and the lock of the records
// comes last, since it is the first thing that is written.

#include "CommandLine.h"
#include "JUnit.h"
#include "Known.h"
#include "Records.h"
#include "SuiteOptions.h"
#include "SuiteRun.h"
#include "commandTable.h"
#include "commands.h"
#include "counts.h"
#include "digests.h"
#include "interruption.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QSet>
#include <QSysInfo>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <thread>

namespace Talmo
{

namespace
{

/// What the command line asks for beyond the suite.
struct RunRequest {
    RunOptions options;
    QString junit; ///< the file to write; null: none
    int shard = 0; ///< from 1; 0: the suite is not divided
    int shards = 0;
    std::optional<int> skipStatus;
    bool rerunsFailed = false;
    bool records = true;
    bool writesKnown = false;
};

const QString jobs = QStringLiteral("jobs");
const QString timeout = QStringLiteral("timeout");
const QString rerunFailed = QStringLiteral("rerun-failed");
const QString repeat = QStringLiteral("repeat");
const QString stopOnFailure = QStringLiteral("stop-on-failure");
const QString keep = QStringLiteral("keep");
const QString verbose = QStringLiteral("verbose");
const QString shard = QStringLiteral("shard");
const QString junit = QStringLiteral("junit");
const QString noRecord = QStringLiteral("no-record");
const QString skipStatus = QStringLiteral("skip-status");
const QString writeKnown = QStringLiteral("write-known");

void addRunOptions(CommandLine &line)
{
    line.addOptions({
        {{QStringLiteral("j"), jobs},
            QStringLiteral("Makes up to <N> runs at once; the number of processors, if not given."),
            QStringLiteral("N")},
        {timeout, QStringLiteral("Ends a run after <SECONDS>, unless its script says otherwise."),
            QStringLiteral("SECONDS")},
        {rerunFailed,
            QStringLiteral("Makes the runs that failed last time, were not made, or are new.")},
        {repeat, QStringLiteral("Makes each run up to <N> times, until it fails."),
            QStringLiteral("N")},
        {stopOnFailure, QStringLiteral("Starts nothing after the first failure.")},
        {keep, QStringLiteral("Keeps the directories of passing runs, too.")},
        {{QStringLiteral("v"), verbose}, QStringLiteral("Shows what passing runs print, too.")},
        {shard, QStringLiteral("Makes the part <I> of <N> of the runs, and records nothing."),
            QStringLiteral("I/N")},
        {junit, QStringLiteral("Writes the results to <FILE>, as JUnit XML."),
            QStringLiteral("FILE")},
        {noRecord, QStringLiteral("Neither locks nor writes the folder .talmo.")},
        {skipStatus,
            QStringLiteral("Ends with the status <S> if the one run asked for is skipped."),
            QStringLiteral("S")},
        {writeKnown, QStringLiteral("Adds what failed to the file talmo.known.")},
    });
}

/// Reads \a text, "I/N", into \a request. False if it is not that.
bool readShard(const QString &text, RunRequest &request)
{
    const QStringList parts = text.split(QLatin1Char('/'));
    const std::optional<int> index = countOf(parts[0]);
    const std::optional<int> count = parts.size() == 2 ? countOf(parts[1]) : std::nullopt;
    if (!index || !count || *index > *count)
        return false;
    request.shard = *index;
    request.shards = *count;
    return true;
}

/// Reads the options with a value into \a request. Appends what is wrong to \a problems.
void readValues(const CommandLine &line, RunRequest &request, QStringList &problems)
{
    QString problem;
    request.options.processors =
        static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
    if (line.isSet(jobs))
        request.options.processors = line.count(jobs, problem).value_or(1);
    problems += problem;
    problem = QString();
    if (line.isSet(repeat))
        request.options.repetitions = line.count(repeat, problem).value_or(1);
    problems += problem;
    problem = QString();
    if (line.isSet(timeout))
        request.options.timeout = line.seconds(timeout, problem).value_or(0);
    problems += problem;
    if (line.isSet(shard) && !readShard(line.value(shard), request))
        problems += QStringLiteral("--shard takes I/N, with I from 1 to N, not '%1'")
                        .arg(line.value(shard));
    constexpr int largestStatus = 255;
    if (line.isSet(skipStatus)) {
        bool isNumber = false;
        request.skipStatus = line.value(skipStatus).toInt(&isNumber);
        if (!isNumber || *request.skipStatus < 0 || *request.skipStatus > largestStatus)
            problems += QStringLiteral("--skip-status takes a number from 0 to 255, not '%1'")
                            .arg(line.value(skipStatus));
    }
    problems.removeAll(QString());
}

/// Reads all options into \a request. Appends what is wrong to \a problems.
void readRequest(const CommandLine &line, RunRequest &request, QStringList &problems)
{
    readValues(line, request, problems);
    request.options.stopsOnFailure = line.isSet(stopOnFailure);
    request.options.keepsAll = line.isSet(keep);
    request.options.isVerbose = line.isSet(verbose);
    request.rerunsFailed = line.isSet(rerunFailed);
    request.records = !line.isSet(noRecord) && request.shard == 0;
    request.writesKnown = line.isSet(writeKnown);
    if (line.isSet(junit))
        request.junit = line.value(junit);
    if (request.writesKnown && request.shard > 0)
        problems += QStringLiteral("--write-known and --shard exclude each other: all shards would "
                                   "write one file");
    if (request.rerunsFailed && request.shard > 0)
        problems += QStringLiteral("--rerun-failed and --shard exclude each other: every machine "
                                   "would divide another list");
}

/// The names of the runs of \a suite.
QStringList namesOf(const Suite &suite)
{
    QStringList names;
    for (const PlannedRun &run : suite.runs)
        names += run.name;
    return names;
}

/// Leaves those runs in \a suite for which \a isMeant, given the index, says so.
template <typename Predicate>
void keepRuns(Suite &suite, Predicate isMeant)
{
    std::vector<PlannedRun> kept;
    for (size_t run = 0; run < suite.runs.size(); ++run) {
        if (isMeant(run))
            kept.push_back(suite.runs[run]);
    }
    suite.runs = std::move(kept);
}

/// "talmo run" from its options to its exit status.
class RunCommand
{
public:
    explicit RunCommand(const CommandLine &itsLine)
        : line(itsLine)
    {
    }

    int perform();

private:
    bool prepare(QStringList &problems);
    bool readKnown(QStringList &problems);
    bool openRecords();
    bool readLatest();
    void keepWhatIsToRerun(const QSet<QString> &wentWell, const QSet<QString> &wereSkipped);
    int make();
    bool save();
    int status() const;
    int refuseAll(const QStringList &sentences) const;

    const CommandLine &line;
    RunRequest request;
    ChosenSuite chosen;
    Known known;
    Records records;
    RunResults results;
    bool isAllSkipped = false;     ///< also in the other shards
    bool isNothingToRerun = false; ///< and what was asked for went well last time
};

int RunCommand::perform()
{
    QStringList problems;
    readRequest(line, request, problems);
    if (problems.isEmpty() && !chosen.find(line))
        return WrongCall;
    if (!problems.isEmpty() || !prepare(problems))
        return refuseAll(problems);
    if (!openRecords() || !readLatest())
        return WrongCall;
    return make();
}

/// Says each of \a sentences on standard error; returns the status of a wrong call.
int RunCommand::refuseAll(const QStringList &sentences) const
{
    for (const QString &sentence : sentences)
        line.refuse(sentence);
    return WrongCall;
}

/// Finds out, without writing anything, what is to be made. False if something is wrong.
bool RunCommand::prepare(QStringList &problems)
{
    Suite &suite = chosen.suite;
    if (!request.junit.isNull())
        problems += problemOfResultFile(request.junit);
    readKnown(problems);
    results.suite = QString::fromLocal8Bit(suite.work);
    results.host = QSysInfo::machineHostName();
    results.programs = chosen.givenPrograms();
    results.shard = request.shard;
    results.shards = request.shards;
    results.runsInAll = static_cast<qint64>(suite.runs.size());
    results.listDigest = digestOfNames(namesOf(suite));
    results.suiteDigest = request.shard > 0 ? digestOfScripts(suite.scripts) : QByteArray();
    isAllSkipped = std::all_of(
        suite.runs.begin(), suite.runs.end(), [](const PlannedRun &run) { return run.isSkipped; });
    if (request.shard > 0)
        keepRuns(suite, [this](size_t run) {
            return run % static_cast<size_t>(request.shards) ==
                   static_cast<size_t>(request.shard - 1);
        });
    problems.removeAll(QString());
    return problems.isEmpty();
}

/// Reads which failures are known.
bool RunCommand::readKnown(QStringList &problems)
{
    if (!known.read(chosen.suite.work, problems))
        return false;
    if (request.writesKnown)
        problems += known.problemOfWriting();
    for (const PlannedRun &run : chosen.suite.runs) {
        const QStringList patterns = known.patternsOf(run.name);
        if (!patterns.isEmpty())
            request.options.known[run.name] = patterns;
    }
    return true;
}

/// Locks the records. False if something is in the way, which was said.
bool RunCommand::openRecords()
{
    if (!request.records)
        return true;
    QString problem;
    switch (records.open(chosen.suite.work, problem)) {
    case Records::Opening::Opened:
        return true;
    case Records::Opening::NotWritable:
        std::fprintf(stderr, "talmo: run: nothing is recorded: %s\n", qPrintable(problem));
        return true;
    case Records::Opening::Refused:
        break;
    }
    line.refuse(problem);
    return false;
}

/// Reads what is known of earlier runs: how long they took, and which are to be made again. False
/// if that is needed and cannot be read, which is said.
bool RunCommand::readLatest()
{
    const bool isOrdered = request.options.processors > 1 && chosen.suite.runs.size() > 1;
    if (!isOrdered && !request.rerunsFailed)
        return true;
    RunResults latest;
    QString problem;
    const auto reading =
        records.isOpen()
            ? records.readLatest(SystemOut::PassedOver, latest, problem)
            : Records::readLatest(chosen.suite.work, SystemOut::PassedOver, latest, problem);
    if (reading == Records::Reading::Damaged && request.rerunsFailed) {
        line.refuse(problem);
        return false;
    }
    QSet<QString> wentWell;
    QSet<QString> wereSkipped;
    for (const RunRecord &run : latest.runs) {
        request.options.lastSeconds[run.name] = run.seconds;
        if (run.state == RunState::Skipped)
            wereSkipped.insert(run.name);
        else if (run.state != RunState::Failed && run.state != RunState::NotRun)
            wentWell.insert(run.name);
    }
    if (request.rerunsFailed)
        keepWhatIsToRerun(wentWell, wereSkipped);
    return true;
}

/// Leaves what is neither among the runs that \a wentWell nor among those that \a wereSkipped.
void RunCommand::keepWhatIsToRerun(const QSet<QString> &wentWell, const QSet<QString> &wereSkipped)
{
    Suite &suite = chosen.suite;
    const bool isAnyWell = std::any_of(suite.runs.begin(), suite.runs.end(),
        [&](const PlannedRun &run) { return !run.isSkipped && wentWell.contains(run.name); });
    keepRuns(suite, [&](size_t index) {
        const PlannedRun &run = suite.runs[index];
        return !(run.isSkipped ? wereSkipped : wentWell).contains(run.name);
    });
    if (!suite.runs.empty())
        return;
    // Nobody must take it for a success that everything was skipped.
    isNothingToRerun = isAnyWell;
    if (isAnyWell)
        std::puts("Nothing failed last time, and nothing is new.");
    else
        line.refuse(QStringLiteral("nothing failed last time, but all was skipped"));
}

int RunCommand::make()
{
    outliveFileSizeLimit();
    platformName = platformOfThisBuild();
    const QDateTime now = QDateTime::currentDateTime();
    results.started = now.toOffsetFromUtc(now.offsetFromUtc()).toString(Qt::ISODateWithMs);
    QElapsedTimer timer;
    timer.start();
    SuiteRun suiteRun(chosen.suite, request.options);
    results.runs = suiteRun.make();
    results.seconds = static_cast<double>(timer.elapsed()) * 1e-3;
    results.interruption = interruption();
    const bool isSaved = save();
    suiteRun.sumUp(results);
    return isSaved ? status() : AtFault;
}

/// Writes what was asked for. False if that fails, which is said.
bool RunCommand::save()
{
    QStringList problems;
    QString problem;
    if (!request.junit.isNull() && !writeJUnitFile(results, request.junit, problem))
        problems += problem;
    if (records.isOpen() && !records.save(results, problem))
        problems += problem;
    std::vector<Known::Failure> failures;
    for (const RunRecord &run : results.runs) {
        if (request.writesKnown && run.state == RunState::Failed && run.isOwn)
            failures.push_back({run.name, run.message});
    }
    if (!failures.empty())
        known.add(failures, problems);
    refuseAll(problems);
    return problems.isEmpty();
}

int RunCommand::status() const
{
    const std::vector<RunRecord> &runs = results.runs;
    if (request.skipStatus && runs.size() == 1 && runs[0].state == RunState::Skipped)
        return *request.skipStatus;
    const Counts counts = countsOf(runs);
    // A shard may be empty, or have nothing but skipped scripts, if others have more.
    const bool isRestOfShards = request.shard > 0 && counts.skipped == runs.size() && !isAllSkipped;
    return counts.areWell() || isRestOfShards || isNothingToRerun ? AllIsWell : AtFault;
}

} // namespace

int runCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("run"), QStringLiteral("Makes the runs of a suite."));
    addSuiteOptions(line);
    addRunOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    noteInterruptions();
    noteClosedPipes();
    return RunCommand(line).perform();
}

} // namespace Talmo
