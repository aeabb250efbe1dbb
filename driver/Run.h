#pragma once

#include "Result.h"
#include "RunDirectory.h"
#include "Script.h"

#include <QString>

namespace Talmo
{

/// Of which runs the directory stays.
enum class KeptDirectory { OfFailure, Always };

/// One script with one simulation program, or with none.
class Run
{
public:
    /// The run of \a script for \a program; an empty name stands for none. The script must live
    /// as long as this object.
    Run(Script &script, const QString &program);

    /// What reports call the run: "test1", or "test1(sim1)".
    const QString &name() const { return ownName; }

    /// Makes the run in a directory of its own below the current one, its name and ".dir". Prints
    /// what the script asks for, and the trace.
    Result make();

    /// Completes \a result, and removes the directory of a run that passed, unless Debug is above 0
    /// or \a kept says that it stays. To be called once, when what became of the run has been
    /// reported: that must not wait for a large directory.
    void finish(Result &result, KeptDirectory kept = KeptDirectory::OfFailure);

private:
    Script &script;
    QString program;
    QString ownName;
    QString directoryName;
    RunDirectory directory;
};

} // namespace Talmo
