// talmo prefs programs: which simulation programs are configured, and where they are.

#include "programs.h"

#include "CommandLine.h"
#include "Programs.h"
#include "SimPrograms.h"
#include "StoredSettings.h"
#include "changeUserSettings.h"
#include "configuredPrograms.h"
#include "details.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace Talmo
{

namespace
{

/// The numbers of the programs \a name of \a settings; of the free ones if it is empty.
std::vector<int> numbersOf(const QString &name, const StoredSettings &settings)
{
    std::vector<int> numbers;
    for (int number = 1; number <= mostSimPrograms; ++number) {
        if (settings.value(simProgramKey(number, "name")) == name)
            numbers.push_back(number);
    }
    return numbers;
}

/// Why \a name cannot be added to whatever is configured, as a sentence; null if it can.
QString problemOfName(const QString &name)
{
    if (name.contains(QLatin1Char('/')))
        return QStringLiteral("the name of the program '%1' has a '/'; the PATH must lead to the "
                              "program")
            .arg(name);
    if (name.contains(QLatin1Char('@')))
        return QStringLiteral("the name of the program '%1' has an '@'").arg(name);
    return problemOfProgramName(name);
}

int report(const CommandLine &line, ExitStatus status, const QString &problem)
{
    if (!problem.isNull())
        line.refuse(problem);
    return status;
}

int add(const CommandLine &line, const QString &name)
{
    QString problem = problemOfName(name);
    if (!problem.isNull())
        return line.refuse(problem);
    const auto decide = [&name](const StoredSettings &settings, QString &reason) {
        std::vector<SettingsChange> changes;
        const std::vector<int> known = numbersOf(name, settings);
        const std::vector<int> free = numbersOf(QString(), settings);
        if (!known.empty())
            reason = QStringLiteral("the program '%1' is configured already").arg(name);
        else if (free.empty())
            reason = QStringLiteral("nine programs are configured, and there can be no more; "
                                    "remove one before");
        else
            changes.push_back({simProgramKey(free.front(), "name"), name});
        return changes;
    };
    const ExitStatus status = changeUserSettings(decide, problem);
    if (status == AllIsWell && placesInPath(name).isEmpty())
        std::fprintf(stderr, "talmo: prefs programs: '%s' is configured, but not in the PATH\n",
            qPrintable(name));
    return report(line, status, problem);
}

int remove(const CommandLine &line, const QString &name)
{
    if (name.isEmpty())
        return line.refuse(QStringLiteral("a program needs a name"));
    const auto decide = [&name](const StoredSettings &settings, QString &reason) {
        std::vector<SettingsChange> changes;
        const std::vector<int> numbers = numbersOf(name, settings);
        if (numbers.empty())
            reason = QStringLiteral("the program '%1' is not configured").arg(name);
        // What belongs to the program must not come to belong to the next one of this number. The
        // values may be those of the system-wide file, so it would not do to remove the keys.
        for (const int number : numbers) {
            for (const char *const what : {"name", "path", "simdef"}) {
                const QString key = simProgramKey(number, what);
                if (!settings.value(key).isEmpty())
                    changes.push_back({key, QString()});
            }
        }
        return changes;
    };
    QString problem;
    const ExitStatus status = changeUserSettings(decide, problem);
    return report(line, status, problem);
}

/// \a program as a line, its name in \a width columns.
QString lineOf(const ConfiguredProgram &program, int width)
{
    QString text = QStringLiteral("%1  %2  ")
                       .arg(program.number)
                       .arg(shown(program.name).leftJustified(width, QLatin1Char(' ')));
    text += program.problem.isNull() ? shown(program.places.constFirst()) : program.problem;
    if (!program.remark.isNull())
        text += QStringLiteral(" (%1)").arg(shown(program.remark));
    return text;
}

int list(const CommandLine &line)
{
    const StoredSettings settings;
    if (!settings.problem().isNull())
        return line.refuse(settings.problem());
    const std::vector<ConfiguredProgram> programs = configuredPrograms(settings);
    int width = 0;
    for (const ConfiguredProgram &program : programs)
        width = std::max(width, static_cast<int>(shown(program.name).size()));
    bool isWell = true;
    for (const ConfiguredProgram &program : programs) {
        std::printf("%s\n", lineOf(program, width).toUtf8().constData());
        isWell = isWell && program.problem.isNull();
    }
    return isWell ? AllIsWell : AtFault;
}

} // namespace

int programsCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("prefs programs"),
        QStringLiteral(
            "Prints the simulation programs that are configured: number, name and where the PATH\n"
            "leads to it. 'add' configures one more, 'remove' configures it no longer.\n\n"
            "The exit status is 1 if runs for one of them could not be started."));
    line.addPositionalArgument(QStringLiteral("action"),
        QStringLiteral("What is to be done; without it, the programs are listed."),
        QStringLiteral("[add NAME | remove NAME]"));
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    const QStringList words = line.positionalArguments();
    if (words.isEmpty())
        return list(line);
    const bool isToAdd = words[0] == QLatin1String("add");
    if (!isToAdd && words[0] != QLatin1String("remove"))
        return line.refuse(
            QStringLiteral("it takes 'add NAME' or 'remove NAME', not '%1'").arg(words[0]));
    if (words.size() != 2)
        return line.refuse(QStringLiteral("'%1' takes one NAME").arg(words[0]));
    return isToAdd ? add(line, words[1]) : remove(line, words[1]);
}

} // namespace Talmo
