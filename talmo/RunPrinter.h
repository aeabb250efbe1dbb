#pragma once

#include "Crew.h"
#include "RunRecord.h"
#include "Suite.h"

#include <QString>

#include <utility>
#include <vector>

namespace Talmo
{

/// Tells on standard output what becomes of the runs of a suite. Colour, and a counter below the
/// lines, are only for a terminal, and never if the environment has NO_COLOR.
class RunPrinter
{
public:
    /// \a total runs are to be made. \a isVerbose: what passing runs print is shown, too.
    RunPrinter(size_t total, bool isVerbose);

    /// A run has ended: what it printed, the driver's line, and what that leaves out.
    void ended(const RunRecord &record);

    /// The script that \a path names applies to none of the programs.
    void skipped(const QByteArray &path);

    /// Whether there is a counter.
    bool counts() const { return isTerminal; }

    /// Renews the counter; \a atWork are the names of the runs at work.
    void count(const QStringList &atWork);

    /// The end: what failed and was not run, what took longest, what was left behind, the counts.
    void sumUp(const RunResults &results, const Suite &suite,
        const std::vector<std::pair<size_t, LeftBehind>> &leftBehind);

private:
    void hideCounter();
    QByteArray coloured(const QByteArray &text, const char *colour) const;

    size_t total;
    bool isVerbose;
    bool isTerminal;
    size_t done = 0;
    size_t failures = 0;
};

} // namespace Talmo
