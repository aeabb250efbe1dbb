#pragma once

#include "RunRecord.h"
#include "Survey.h"

#include <QByteArray>
#include <QString>

#include <QtGlobal>

#include <vector>

namespace Talmo
{

/// A "=compare" of a run that fails, judged once more with the files that the run has left.
struct FailedComparison {
    qint64 line = 0; ///< the number of the script's line, from 1
    QString file1;   ///< as the script names it, "$simProgram" replaced
    QString file2;
    std::vector<double> tolerances;
    QString message;         ///< what "=compare" says
    bool isReported = false; ///< this is the one that ended the run
    Survey survey;           ///< empty if a file cannot be read; the message then says so
};

/// What the directory that a run has left tells about its failure.
struct Inspection {
    /// Why it cannot tell: the directory has gone, another run is at work in it, or it or the
    /// script was changed since. A sentence; null if it can.
    QString obstacle;
    qint64 line = 0; ///< the script's line that failed, from 1; 0 if that was not found out
    std::vector<FailedComparison> comparisons; ///< in the order of the script
};

/// Walks the script of \a run, which failed, over the directory that it has left below
/// \a suiteDirectory, and judges every "=compare" whose failure nothing expects, also those behind
/// the line that ended the run, as far as their files are there. Of each, \a keptLines differing
/// lines are kept. Nothing is run, written or removed.
Inspection inspect(const RunRecord &run, const QByteArray &suiteDirectory, size_t keptLines);

} // namespace Talmo
