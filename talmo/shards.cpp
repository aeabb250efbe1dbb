// The run k of a list, counted from 0, belongs to shard k % N + 1. So the runs of all shards, taken
// one from each in turn, are the list again, and its digest, which stands in each file, must come
// out. What is missing is found before, so that it can be said what that is.

#include "shards.h"

#include "digests.h"

#include <QDateTime>
#include <QHash>

#include <algorithm>
#include <map>

namespace Talmo
{

namespace
{

constexpr int mostMissing = 100; ///< shards that are told one by one

/// Results that were not divided are shard 1 of 1.
int shardOf(const RunResults &results)
{
    return std::max(results.shard, 1);
}

int shardsOf(const RunResults &results)
{
    return std::max(results.shards, 1);
}

/// How many runs of the list belong to shard \a shard.
qint64 runsOfShard(int shard, int shards, qint64 runsInAll)
{
    return runsInAll < shard ? 0 : (runsInAll - shard) / shards + 1;
}

class Merger
{
public:
    explicit Merger(const std::vector<ShardFile> &theFiles)
        : files(theFiles)
        , first(theFiles[0].results)
    {
    }

    MergedResults merge();

private:
    QString partName(int shard) const;
    bool areOfOneList();
    void compareSuites();
    void sortShards();
    void findMissingShards();
    void findMissingRuns();
    void findRepeatedRuns();
    void joinRuns();
    void joinHeads();

    const std::vector<ShardFile> &files;
    const RunResults &first;
    std::map<int, const ShardFile *> shards;
    MergedResults merged;
};

/// The shard \a shard, as a sentence has it.
QString Merger::partName(int shard) const
{
    return QStringLiteral("shard %1/%2").arg(shard).arg(shardsOf(first));
}

MergedResults Merger::merge()
{
    if (areOfOneList()) {
        compareSuites();
        sortShards();
        findMissingShards();
        findMissingRuns();
    } else { // so the numbers of the shards mean nothing
        int number = 0;
        for (const ShardFile &file : files)
            shards[++number] = &file;
    }
    joinHeads();
    joinRuns();
    findRepeatedRuns();
    return merged;
}

/// Says which files are not of the same list as the first one. Returns false if there are any.
bool Merger::areOfOneList()
{
    for (const ShardFile &file : files) {
        const RunResults &results = file.results;
        if (shardsOf(results) != shardsOf(first))
            merged.problems += QStringLiteral("'%1' is one of %2 shards, '%3' one of %4")
                                   .arg(files[0].name)
                                   .arg(shardsOf(first))
                                   .arg(file.name)
                                   .arg(shardsOf(results));
        else if (results.listDigest != first.listDigest || results.runsInAll != first.runsInAll)
            merged.problems += QStringLiteral("'%1' and '%2' are of different lists of runs")
                                   .arg(files[0].name, file.name);
    }
    return merged.problems.isEmpty();
}

/// Says in which files the scripts are others than in the first one.
void Merger::compareSuites()
{
    for (const ShardFile &file : files) {
        if (file.results.suiteDigest != first.suiteDigest)
            merged.problems +=
                QStringLiteral("the suites differ: '%1' and '%2' are of other scripts")
                    .arg(files[0].name, file.name);
    }
}

void Merger::sortShards()
{
    for (const ShardFile &file : files) {
        const ShardFile *&known = shards[shardOf(file.results)];
        if (known == nullptr)
            known = &file;
        else
            merged.problems += QStringLiteral("%1 is there twice: '%2' and '%3'")
                                   .arg(partName(shardOf(file.results)), known->name, file.name);
        if (!file.results.interruption.isEmpty())
            merged.problems += QStringLiteral("%1 was interrupted by %2")
                                   .arg(partName(shardOf(file.results)), file.results.interruption);
    }
}

void Merger::findMissingShards()
{
    int missing = 0;
    const int all = shardsOf(first);
    for (int shard = 1; shard <= all && missing < mostMissing; ++shard) {
        if (shards.count(shard) > 0)
            continue;
        ++missing;
        merged.problems += QStringLiteral("%1 is missing, with %2 runs")
                               .arg(partName(shard))
                               .arg(runsOfShard(shard, all, first.runsInAll));
    }
    const int more = all - static_cast<int>(shards.size()) - missing;
    if (more > 0)
        merged.problems += QStringLiteral("%1 more shards are missing").arg(more);
}

void Merger::findMissingRuns()
{
    for (const auto &[shard, file] : shards) {
        const qint64 expected = runsOfShard(shard, shardsOf(first), first.runsInAll);
        const auto there = static_cast<qint64>(file->results.runs.size());
        if (there != expected)
            merged.problems += QStringLiteral("%1 has %2 runs, but '%3' holds %4")
                                   .arg(partName(shard))
                                   .arg(expected)
                                   .arg(file->name)
                                   .arg(there);
    }
}

/// Takes one run from each shard in turn.
void Merger::joinRuns()
{
    size_t most = 0;
    for (const auto &[shard, file] : shards)
        most = std::max(most, file->results.runs.size());
    for (size_t turn = 0; turn < most; ++turn) {
        for (const auto &[shard, file] : shards) {
            if (turn < file->results.runs.size())
                merged.results.runs.push_back(file->results.runs[turn]);
        }
    }
    QStringList names;
    for (const RunRecord &run : merged.results.runs)
        names += run.name;
    if (merged.problems.isEmpty() && digestOfNames(names) != first.listDigest)
        merged.problems += QStringLiteral("the runs are not those of the list");
}

void Merger::findRepeatedRuns()
{
    QHash<QString, QString> fileOf;
    for (const auto &[shard, file] : shards) {
        for (const RunRecord &run : file->results.runs) {
            if (fileOf.contains(run.name))
                merged.problems +=
                    QStringLiteral("the run '%1' is there twice, in '%2' and in '%3'")
                        .arg(run.name, fileOf[run.name], file->name);
            fileOf[run.name] = file->name;
        }
    }
}

/// What is said of all runs together: from the first beginning to the last end.
void Merger::joinHeads()
{
    merged.results = first;
    merged.results.runs.clear();
    merged.results.shard = 0;
    merged.results.shards = 0;
    QStringList hosts;
    QDateTime end;
    for (const auto &[shard, file] : shards) {
        const RunResults &results = file->results;
        hosts += results.host;
        if (results.programs != merged.results.programs)
            merged.results.programs.clear(); // their machines have them in different places
        const QDateTime begun = QDateTime::fromString(results.started, Qt::ISODate);
        const QDateTime ended = begun.addMSecs(static_cast<qint64>(results.seconds * 1000));
        if (begun < QDateTime::fromString(merged.results.started, Qt::ISODate))
            merged.results.started = results.started;
        end = end.isValid() ? std::max(end, ended) : ended;
    }
    hosts.removeDuplicates();
    merged.results.host = hosts.join(QStringLiteral(", "));
    const QDateTime begin = QDateTime::fromString(merged.results.started, Qt::ISODate);
    merged.results.seconds = static_cast<double>(begin.msecsTo(end)) / 1000;
}

} // namespace

MergedResults joinShards(const std::vector<ShardFile> &files)
{
    return Merger(files).merge();
}

} // namespace Talmo
