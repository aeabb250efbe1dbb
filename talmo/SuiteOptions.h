#pragma once

#include "CommandLine.h"
#include "Suite.h"

#include <QByteArray>

namespace Talmo
{

// The options that commands about a suite have in common, and what they lead to.

/// Adds -C, --program, --run, --label, --exclude-label, --distribution and FILTER to \a line.
void addSuiteOptions(CommandLine &line);

/// The suite that the user means, and the programs that were given for it.
class ChosenSuite
{
public:
    ChosenSuite() = default;
    ChosenSuite(const ChosenSuite &) = delete;
    ChosenSuite &operator=(const ChosenSuite &) = delete;
    ~ChosenSuite(); ///< removes the folder that was put before the PATH

    /// Goes to the directory of -C and finds the suite that \a line, which was read, asks for.
    /// False if that is not possible; the reasons were printed.
    bool find(const CommandLine &line);

    Suite suite;

private:
    QByteArray programFolder; ///< with the programs given by a path; null if there are none
};

} // namespace Talmo
