#pragma once

#include "Needs.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// A script of a suite. Its text is not kept: whoever runs it opens it again.
struct SuiteScript {
    QString name;    ///< of its file
    QByteArray path; ///< absolute, as the system takes it
    QString heading; ///< without its "="
    Needs needs;
    bool startsPrograms = true; ///< it holds a "=run"
};

/// A run that the driver would make, or a script that it would find no program for.
struct PlannedRun {
    QString name;    ///< "test1", or "test1(sim1)"
    size_t script;   ///< index into Suite::scripts
    QString program; ///< empty: the script runs without one
    bool isSkipped;  ///< no program applies; then name is that of the script
};

/// Which runs of which scripts a user asks for.
struct Selection {
    QStringList filters;           ///< wildcards as the driver has them; none: test*
    QStringList runs;              ///< names of runs; none: all
    QStringList labels;            ///< runs that have at least one of them; none: all
    QStringList excludedLabels;    ///< and none of these
    bool isOfDistribution = false; ///< from the distribution, not from the current directory
};

/// The scripts of a directory and the runs to make of them, in the driver's order.
struct Suite {
    QByteArray folder; ///< absolute: where the scripts are
    QByteArray work;   ///< absolute: the current directory, where the runs are made
    std::vector<SuiteScript> scripts;
    std::vector<PlannedRun> runs;

    /// Finds the runs that \a selection asks for, with the programs \a configured. All that is
    /// wrong comes back in \a problems, a sentence each; the suite is usable only if there is none.
    static Suite find(
        const Selection &selection, const QStringList &configured, QStringList &problems);
};

} // namespace Talmo
