#pragma once

#include "RunRecord.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// The results of one shard, and the file that they were read from.
struct ShardFile {
    QString name;
    RunResults results;
};

/// What several shards come to together.
struct MergedResults {
    RunResults results;   ///< of the runs that are there, in the order of the whole list
    QStringList problems; ///< why that is not the whole list, each once; a sentence each
};

/// Joins \a files, of which there is at least one. Results that were not divided are the only shard
/// of their list. Where a shard is there twice, its first file counts.
MergedResults joinShards(const std::vector<ShardFile> &files);

} // namespace Talmo
