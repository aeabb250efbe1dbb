// talmo merge: joins the result files of the shards of a suite.

#include "CommandLine.h"
#include "JUnit.h"
#include "commandTable.h"
#include "counts.h"
#include "messages.h"
#include "shards.h"

#include <QBuffer>
#include <QFile>

#include <cstdio>

namespace Talmo
{

namespace
{

void say(const QString &sentence)
{
    std::fprintf(stderr, "talmo: merge: %s\n", qPrintable(sentence));
}

/// Reads the files \a names. What is wrong with them comes back in \a problems.
std::vector<ShardFile> readShards(const QStringList &names, QStringList &problems)
{
    std::vector<ShardFile> shards;
    for (const QString &name : names) {
        shards.push_back({name, {}});
        QString problem;
        if (!readJUnitFile(
                QFile::encodeName(name), SystemOut::Kept, shards.back().results, problem))
            problems += QStringLiteral("merge: ") + problem;
    }
    return shards;
}

/// \a sentence as something that was not run, so that whoever reads the file alone sees it, too.
RunRecord recordOf(const QString &sentence, int number)
{
    RunRecord record;
    record.name = QStringLiteral("talmo merge %1").arg(number);
    record.script = QStringLiteral("talmo merge");
    record.message = sentence;
    return record;
}

void printFailures(const RunResults &results)
{
    for (const RunRecord &run : results.runs) {
        if (run.state == RunState::Failed || run.state == RunState::NotRun)
            std::puts(failureLine(QFile::encodeName(run.name), run.message));
    }
}

/// Writes \a results to the file \a name, or to standard output if that is empty.
bool write(const RunResults &results, const QString &name)
{
    QString problem;
    if (!name.isEmpty()) {
        const bool isWritten = writeJUnitFile(results, name, problem);
        if (!isWritten)
            say(problem);
        return isWritten;
    }
    QBuffer document;
    document.open(QIODevice::WriteOnly);
    writeJUnit(results, document);
    std::fwrite(document.data(), 1, static_cast<size_t>(document.size()), stdout);
    return true; // main says if that is not so
}

/// Says what is wrong with \a merged, on standard error and in the results themselves, and with
/// \a isSummarized prints which runs failed, and the counts, on standard output.
void report(MergedResults &merged, bool isSummarized)
{
    const Counts counts = countsOf(merged.results.runs);
    if (isSummarized) {
        printFailures(merged.results);
        std::puts(qPrintable(sentenceOf(counts)));
    } else if (counts.failed + counts.notRun > 0) {
        say(sentenceOf(counts));
    }
    if (counts.skipped == counts.all())
        merged.problems += QStringLiteral("no run was made");
    int number = 0;
    for (const QString &problem : merged.problems) {
        say(problem);
        merged.results.runs.push_back(recordOf(problem, ++number));
    }
}

} // namespace

int mergeCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("merge"),
        QStringLiteral(
            "Joins the result files of all shards of a suite into one.\n\n"
            "The exit status is 1 if a run failed or none was made, and if a shard or a "
            "run is\nmissing or there twice. The joined file is written all the same, and "
            "says so."));
    const QString output = QStringLiteral("output");
    line.addOption({{QStringLiteral("o"), output},
        QStringLiteral(
            "Writes FILE, and what failed and the counts to standard output. Without it, "
            "the joined file goes to standard output."),
        QStringLiteral("FILE")});
    line.addPositionalArgument(QStringLiteral("FILE"),
        QStringLiteral("What talmo run --shard I/N --junit FILE has written."),
        QStringLiteral("FILE..."));
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    if (line.positionalArguments().isEmpty())
        return line.refuse(QStringLiteral("a FILE is missing"));
    const QString target = line.value(output);
    if (line.isSet(output) && !problemOfResultFile(target).isNull())
        return line.refuse(problemOfResultFile(target));
    QStringList problems;
    const std::vector<ShardFile> shards = readShards(line.positionalArguments(), problems);
    if (!problems.isEmpty())
        return wrongCall(problems);
    MergedResults merged = joinShards(shards);
    report(merged, /*isSummarized=*/line.isSet(output));
    const bool isWritten = write(merged.results, target);
    return isWritten && countsOf(merged.results.runs).areWell() ? AllIsWell : AtFault;
}

} // namespace Talmo
