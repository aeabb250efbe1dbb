#pragma once

#include "RunView.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// What the user asks "talmo bless" for.
struct BlessRequest {
    QByteArray suite; ///< its directory
    QStringList runs; ///< names of runs or of scripts; none: all that failed
    QString only;     ///< the reference to replace, as the script names it; null: all
    QString from;     ///< the program whose outputs count; null: all must agree
    bool allowsOutside = false;

    /// Whether \a run is asked for.
    bool wants(const RunRecord &run) const;
};

/// A reference and the output that may take its place.
struct Proposal {
    Reference reference;
    QString name;                   ///< of the reference, as the script has it
    QString run;                    ///< that made the output
    QString script;                 ///< its name
    QString output;                 ///< the name of the output
    QByteArray before;              ///< what the reference holds
    QByteArray after;               ///< what it would hold
    std::vector<double> tolerances; ///< with which the two are compared
    bool isOutputFirst = true;      ///< the order in which they are
    QStringList remarks;            ///< what the user should know, a sentence each
};

/// All that can be blessed, and why something cannot.
struct Proposals {
    std::vector<Proposal> accepted; ///< each reference once
    QStringList refused;            ///< "RUN: reason", or "RUN, line N: reason"
};

/// Decides about the latest results of a suite, \a runs.
Proposals proposalsOf(const std::vector<RunRecord> &runs, const BlessRequest &request);

} // namespace Talmo
