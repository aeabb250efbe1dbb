#include "commandTable.h"

#include "CommandLine.h"

#include <algorithm>
#include <cstdio>

namespace Talmo
{

namespace
{

int helpCommand(const QStringList &arguments);

const CommandRow *commandOfName(const QString &name)
{
    const auto &rows = commandTable();
    const auto found = std::find_if(rows.begin(), rows.end(),
        [&name](const CommandRow &row) { return name == QLatin1String(row.name); });
    return found == rows.end() ? nullptr : &*found;
}

int unknownCommand(const QString &name)
{
    return wrongCall(
        QStringLiteral("unknown command '%1'; 'talmo help' lists the commands").arg(name));
}

int printCommands()
{
    std::puts("Usage: talmo COMMAND [ARGUMENT...]\n\nCommands:");
    for (const CommandRow &row : commandTable())
        std::printf("  %-8s %s\n", row.name, row.help);
    std::puts(
        "\n'talmo help COMMAND' tells more about one.\n"
        "The exit status is 0 if all is well, 1 if the tests or the input are at fault, and 2 if\n"
        "the call is wrong; then nothing was done or written.");
    return AllIsWell;
}

/// help [COMMAND]
int helpCommand(const QStringList &arguments)
{
    if (arguments.isEmpty())
        return printCommands();
    const CommandRow *const row = commandOfName(arguments[0]);
    if (row == nullptr)
        return unknownCommand(arguments[0]);
    if (arguments.size() > 1)
        return wrongCall(QStringLiteral("help: it takes one command"));
    return row->perform == helpCommand ? printCommands() : row->perform({QStringLiteral("--help")});
}

} // namespace

const std::vector<CommandRow> &commandTable()
{
    static const std::vector<CommandRow> rows = {
        {"list", "names the runs of a suite", listCommand},
        {"run", "makes the runs of a suite and reports", runCommand},
        {"merge", "joins the results of the shards of a suite", mergeCommand},
        {"diff", "compares two files to their ends and tells how they differ", diffCommand},
        {"report", "tells what failed, why, and what has changed", reportCommand},
        {"bless", "makes new references of what failed", blessCommand},
        {"new", "writes a script that tests what a command does", newCommand},
        {"lint", "finds mistakes in scripts without running anything", lintCommand},
        {"eval", "evaluates expressions with units", evalCommand},
        {"convert", "rewrites the numbers with units in texts in other units", convertCommand},
        {"expand", "replaces the references to macros in texts", expandCommand},
        {"prefs", "prints and changes the user's settings", prefsCommand},
        {"doctor", "tells what a bug report needs, and what is wrong here", doctorCommand},
        {"units", "lists the units and tells what they are worth", unitsCommand},
        {"check", "names the mistakes in texts with expressions and macros", checkCommand},
        {"clean", "removes the directories that failed runs have left", cleanCommand},
        {"help", "tells what the commands do", helpCommand},
    };
    return rows;
}

int performCommand(const QStringList &arguments)
{
    if (arguments.isEmpty())
        return wrongCall(QStringLiteral("a command is missing; 'talmo help' lists the commands"));
    const QString &name = arguments[0];
    if (name == QLatin1String("--help") || name == QLatin1String("-h"))
        return helpCommand(arguments.mid(1));
    if (name == QLatin1String("--version") && arguments.size() == 1) {
        std::puts("talmo " TALMO_VERSION);
        return AllIsWell;
    }
    const CommandRow *const row = commandOfName(name);
    return row == nullptr ? unknownCommand(name) : row->perform(arguments.mid(1));
}

} // namespace Talmo
