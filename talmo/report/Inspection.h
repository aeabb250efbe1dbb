#pragma once

#include "FileState.h"
#include "RunRecord.h"
#include "Survey.h"

#include <QByteArray>
#include <QString>

#include <QtGlobal>

#include <optional>
#include <vector>

namespace Talmo
{

/// A "=compare" of a run that fails, judged once more with the files that the run has left.
struct FailedComparison {
    qint64 line = 0; ///< the number of the script's line, from 1
    QString file1;   ///< as the script names it, "$simProgram" replaced
    QString file2;
    std::optional<FileState> state1; ///< of file1 before it was compared; none if nobody knows
    std::optional<FileState> state2; ///< the same of file2
    std::vector<double> tolerances;
    /// What "=compare" says, or that it should have failed, as "=ignore" demands; then the files
    /// agree.
    QString message;
    bool isReported = false; ///< this is the one that ended the run
    Survey survey; ///< empty if there is nothing to compare, as the message says: a file cannot be
                   ///< read, or a tolerance is no number; \a tolerances are then empty, too
};

/// What the directory that a run has left tells about its failure.
struct Inspection {
    /// Why it cannot tell: the directory has gone, another run is at work in it, or it, the script
    /// or a reference was changed since; or the record does not say so, and what it reports is not
    /// found there. A sentence without a full stop; there are no comparisons then. Null if it can.
    QString obstacle;
    /// The script's line that failed, from 1, if that is certain and the script is still the same;
    /// else 0.
    qint64 line = 0;
    std::vector<FailedComparison> comparisons; ///< in the order of the script
};

/// Walks the script of \a run, which failed, over the directory that it has left below
/// \a suiteDirectory, an absolute path. From the line that ended the run on, it judges every
/// "=compare" whose failure nothing expects; behind that line those whose files are there. If the
/// line is not certain, it begins at the first one that may be it. Of each, \a keptLines differing
/// lines are kept. Nothing is run, written or removed.
///
/// The process goes to the directory of the run meanwhile, and comes back.
Inspection inspect(const RunRecord &run, const QByteArray &suiteDirectory, size_t keptLines);

} // namespace Talmo
