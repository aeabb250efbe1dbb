#pragma once

#include "Proposal.h"
#include "RunView.h"
#include "carrying.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// One comparison that fails, and what it proposes.
struct Candidate {
    const RunView *view;
    const RunComparison *comparison;
    const ComparedText *reference;
    const ComparedText *output;
    bool isWanted; ///< the user asks for it

    const RunRecord &run() const { return *view->run; }

    /// What the reference would hold.
    QByteArray text() const
    {
        return reference->reference->line > 0 ? bodyOf(output->text) : output->text;
    }
};

/// All that propose something for the same reference.
using CandidateGroup = std::vector<Candidate>;

/// What the failing comparisons of \a views, the runs that failed, propose, also those of runs that
/// the user does not ask for: they may use the same references. \a refused gets why those that are
/// asked for propose nothing. The candidates point into the views.
std::vector<CandidateGroup> candidatesOf(
    const std::vector<RunView> &views, const BlessRequest &request, QStringList &refused);

/// "RUN, line N" of the \a line of the script of \a run.
QString placeOf(const RunRecord &run, qint64 line);

/// Why something of \a run cannot be blessed, for the user; \a line is 0 if no line is meant.
QString refusalOf(const RunRecord &run, qint64 line, const QString &reason);

} // namespace Talmo
