#pragma once

#include "Needs.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string_view>
#include <vector>

namespace Talmo
{

/// A script of a suite. Its text is not kept: whoever runs it opens it again.
struct SuiteScript {
    QString name;    ///< of its file
    QByteArray path; ///< absolute, as the system takes it
    QString heading; ///< without its "="
    Needs needs;
    bool startsPrograms = true; ///< it holds a "=run", or a command that may become one
};

/// A run that the driver would make, or a script that it would find no program for.
struct PlannedRun {
    QString name;    ///< "test1", or "test1(sim1)"
    size_t script;   ///< index into Suite::scripts
    QString program; ///< empty: the script runs without one
    bool isSkipped;  ///< no program applies; then name is that of the script

    /// The name of the run's directory, below Suite::work; a skipped script makes none.
    QString directory() const { return name + QStringLiteral(".dir"); }
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
    QByteArray folder;                ///< absolute: where the scripts are
    QByteArray work;                  ///< absolute: the current directory, where the runs are made
    std::vector<SuiteScript> scripts; ///< all that the filters select
    std::vector<PlannedRun> runs;     ///< those that were asked for, each once

    /// Finds the runs that \a selection asks for, with the programs \a configured. Everything that
    /// is wrong is appended to \a problems, a sentence each; without any, there is a run at least.
    static Suite find(
        const Selection &selection, const QStringList &configured, QStringList &problems);
};

/// A filter that selects the script of this name, and no others but those whose names differ from
/// it only in case.
QString filterFor(const QString &script);

/// True if the file \a name, with this \a text, is one that talmo keeps beside the scripts: its
/// list of known failures, or a report that it wrote.
bool isOwnFile(const QString &name, std::string_view text);

/// Why a script that applies to no program is skipped, in the driver's words.
QString skipReason();

} // namespace Talmo
