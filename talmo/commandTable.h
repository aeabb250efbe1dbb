#pragma once

#include <QStringList>

#include <vector>

namespace Talmo
{

/// How every command of talmo ends.
enum ExitStatus {
    AllIsWell = 0,
    AtFault = 1,   ///< the tests or the input are
    WrongCall = 2, ///< nothing was done, and nothing written
};

/// A command of talmo: "talmo NAME ...".
struct CommandRow {
    const char *name;
    const char *help; ///< what it does, in one line
    /// Does it, with what follows the name on the command line, and returns the exit status.
    int (*perform)(const QStringList &arguments);
};

/// All commands, in the order in which the help lists them.
const std::vector<CommandRow> &commandTable();

/// Does what \a arguments, all that follows "talmo", ask for. Returns the exit status.
int performCommand(const QStringList &arguments);

// The commands, each in a file of its own.
int blessCommand(const QStringList &arguments);
int checkCommand(const QStringList &arguments);
int cleanCommand(const QStringList &arguments);
int convertCommand(const QStringList &arguments);
int diffCommand(const QStringList &arguments);
int doctorCommand(const QStringList &arguments);
int evalCommand(const QStringList &arguments);
int expandCommand(const QStringList &arguments);
int lintCommand(const QStringList &arguments);
int listCommand(const QStringList &arguments);
int newCommand(const QStringList &arguments);
int runCommand(const QStringList &arguments);
int mergeCommand(const QStringList &arguments);
int prefsCommand(const QStringList &arguments);
int reportCommand(const QStringList &arguments);
int unitsCommand(const QStringList &arguments);

} // namespace Talmo
