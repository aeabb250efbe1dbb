#pragma once

#include "RunRecord.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace Talmo
{

/// A reference: a text that a script holds, or a file outside of the run's directory.
struct Reference {
    QByteArray path; ///< of the file to write: the script, or the file itself
    qint64 line = 0; ///< of the script: where its "=file" stands, from 1; 0: it is a file
    bool operator<(const Reference &other) const
    {
        return path == other.path ? line < other.line : path < other.path;
    }
    bool operator==(const Reference &other) const
    {
        return path == other.path && line == other.line;
    }
};

/// One of the two files of a "=compare".
struct ComparedText {
    QString name;                       ///< as the script has it, "$simProgram" replaced
    std::optional<Reference> reference; ///< if the script or the suite provides it
    QByteArray text;                    ///< what it holds
    /// Why it can neither be a reference that is replaced nor an output that replaces one, in a few
    /// words; null if it can.
    QString obstacle;
};

/// A "=compare" of a run, as far as the run has come, and behind that as far as nothing that was
/// not done matters.
struct RunComparison {
    qint64 line = 0; ///< of the script, from 1
    ComparedText file1;
    ComparedText file2;
    std::vector<double> tolerances;
    std::optional<QString> expectedFailure; ///< the pattern of the "=ignore" before it
    bool mayBeBlessed = false; ///< it is the one that ended the run, or comes behind it

    /// Whether \a reference is one of the two files.
    bool involves(const Reference &reference) const;

    /// Whether the script is content with the comparison as it is.
    bool holds() const { return holdsWith({}, {}); }

    /// Whether the script is content with the comparison if \a reference holds \a text.
    bool holdsWith(const Reference &reference, const QByteArray &text) const;
};

/// What a run that failed compares.
struct RunView {
    const RunRecord *run = nullptr;
    QString obstacle; ///< why nothing of it can be blessed, in a sentence; null if something can
    std::vector<RunComparison> comparisons;
    qint64 notReached = 0; ///< the line of a command that was not performed, so that comparisons
                           ///< behind it are not known; 0 if there is none
};

/// Looks at what \a run, which failed in the suite of \a suiteDirectory, has left. The record must
/// live as long as the view.
RunView viewOf(const RunRecord &run, const QByteArray &suiteDirectory);

} // namespace Talmo
