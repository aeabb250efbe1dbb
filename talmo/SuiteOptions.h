#pragma once

#include "CommandLine.h"
#include "Programs.h"
#include "Suite.h"

namespace Talmo
{

// The options that commands about a suite have in common, and what they lead to.

/// Adds -C, --program, --run, --label, --exclude-label, --distribution and FILTER to \a line.
void addSuiteOptions(CommandLine &line);

/// Adds -C alone to \a line, for a command that does not choose runs.
void addFolderOption(CommandLine &line);

/// Adds --program and --distribution to \a line.
void addProgramOption(CommandLine &line);
void addDistributionOption(CommandLine &line);

/// The names of the programs for which \a line, which was read, wants runs: those of --program,
/// which \a given then holds, or else those that are configured. What is wrong is appended to \a
/// problems.
QStringList chosenPrograms(const CommandLine &line, GivenPrograms &given, QStringList &problems);

/// Whether \a line has --distribution.
bool isOfDistribution(const CommandLine &line);

/// Goes to the directory of -C, if \a line, which was read, has one. False, with a reason in
/// \a problem, if that fails.
bool enterFolder(const CommandLine &line, QString &problem);

/// What a suite is found for.
enum class SuitePurpose {
    ToRun,  ///< the programs that were given come first in the PATH
    ToList, ///< nothing is changed
};

/// The suite that the user means, and the programs that were given for it.
class ChosenSuite
{
public:
    /// Goes to the directory of -C and finds the suite that \a line, which was read, asks for.
    /// False if that is not possible; the reasons were printed.
    bool find(const CommandLine &line, SuitePurpose purpose = SuitePurpose::ToRun);

    /// The programs that were given, as GivenPrograms::texts().
    QStringList givenPrograms() const { return programs.texts(); }

    Suite suite;

private:
    GivenPrograms programs; // for its folder in the PATH, which it removes
};

} // namespace Talmo
