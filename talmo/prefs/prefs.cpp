// talmo prefs: the user's settings. Each of its commands is a row of a table, and a function that
// gets what follows the row's name.

#include "CommandLine.h"
#include "PreferenceRows.h"
#include "StoredSettings.h"
#include "changeUserSettings.h"
#include "commandTable.h"
#include "details.h"
#include "nearest.h"
#include "programs.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <optional>

namespace Talmo
{

namespace
{

const QString keyArgument = QStringLiteral("KEY");
const QString valueArgument = QStringLiteral("VALUE");

/// Reads \a arguments of \a line, the \a names; each of them must be there. Returns an exit status
/// if nothing is left to do, which was said.
std::optional<int> readWords(
    CommandLine &line, const QStringList &arguments, const QStringList &names)
{
    for (const QString &name : names)
        line.addPositionalArgument(name, QString());
    const auto isHelp = [](const QString &argument) {
        return argument == QLatin1String("--help") || argument == QLatin1String("-h");
    };
    // A value may begin with "-".
    const bool hasValue = names.contains(valueArgument);
    const std::optional<int> status = line.read(
        arguments, [&](const QString &argument) { return hasValue && !isHelp(argument); });
    if (status || line.positionalArguments().size() == names.size())
        return status;
    return line.refuse(names.isEmpty() ? QStringLiteral("it takes no arguments")
                                       : QStringLiteral("it takes %1, and nothing else")
                                             .arg(names.join(QStringLiteral(" and "))));
}

/// The sentence about \a key, which is not declared; null if it is.
QString problemOfKey(const QString &key)
{
    if (declaredPreference(key) != nullptr)
        return {};
    return QStringLiteral("there is no preference '%1'%2; 'talmo prefs list' lists them")
        .arg(key, suggestion(key, declaredKeys()));
}

void printJson(const StoredSettings &settings)
{
    QJsonArray preferences;
    for (const PreferenceRow &row : preferenceRows) {
        const QString key = QLatin1String(row.key);
        preferences.append(QJsonObject{
            {QStringLiteral("key"), key},
            {QStringLiteral("value"), settings.value(key)},
            {QStringLiteral("default"), QLatin1String(row.defaultValue)},
            {QStringLiteral("stored"), settings.isStored(key)},
            {QStringLiteral("synopsis"), QLatin1String(row.synopsis)},
        });
    }
    const QJsonObject whole = {
        {QStringLiteral("format"), 1},
        {QStringLiteral("path"), userSettings()},
        {QStringLiteral("preferences"), preferences},
    };
    std::fputs(QJsonDocument(whole).toJson().constData(), stdout);
}

/// \a text for a column: in one line, and to be seen if it is empty.
QString cell(const QString &text)
{
    return text.isEmpty() ? QStringLiteral("''") : shown(text);
}

void printTable(const StoredSettings &settings)
{
    constexpr size_t columns = 3; // without the last one
    std::vector<std::array<QString, columns + 1>> lines = {{QStringLiteral("KEY"),
        QStringLiteral("VALUE"), QStringLiteral("DEFAULT"), QStringLiteral("SYNOPSIS")}};
    for (const PreferenceRow &row : preferenceRows) {
        const QString key = QLatin1String(row.key);
        lines.push_back({key, cell(settings.value(key)), cell(QLatin1String(row.defaultValue)),
            QLatin1String(row.synopsis)});
    }
    std::array<int, columns> widths = {};
    for (const auto &line : lines) {
        for (size_t column = 0; column < columns; ++column)
            widths[column] = std::max(widths[column], static_cast<int>(line[column].size()));
    }
    for (const auto &line : lines) {
        QString text;
        for (size_t column = 0; column < columns; ++column)
            text += line[column].leftJustified(widths[column] + 2, QLatin1Char(' '));
        std::printf("%s\n", (text + line[columns]).toUtf8().constData());
    }
}

int listPreferences(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("prefs list"),
        QStringLiteral("Prints all preferences: key, value, default, and what it means."));
    const QString json = QStringLiteral("json");
    line.addOption({json, QStringLiteral("Prints the same as JSON.")});
    if (const std::optional<int> status = readWords(line, arguments, {}))
        return *status;
    const StoredSettings settings;
    if (!settings.problem().isNull())
        return line.refuse(settings.problem());
    if (line.isSet(json))
        printJson(settings);
    else
        printTable(settings);
    return AllIsWell;
}

int getPreference(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("prefs get"),
        QStringLiteral("Prints the value of the preference KEY: what is stored, or its default."));
    if (const std::optional<int> status = readWords(line, arguments, {keyArgument}))
        return *status;
    const QString key = line.positionalArguments().constFirst();
    const QString problem = problemOfKey(key);
    if (!problem.isNull())
        return line.refuse(problem);
    const StoredSettings settings;
    if (!settings.problem().isNull())
        return line.refuse(settings.problem());
    const QByteArray bytes = settings.value(key).toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
    return AllIsWell;
}

/// Makes \a change, and says on behalf of \a line what keeps it from that.
int makeOneChange(const CommandLine &line, const SettingsChange &change)
{
    QString problem = problemOfKey(change.key);
    if (!problem.isNull())
        return line.refuse(problem);
    const ExitStatus status =
        changeUserSettings([&change](const StoredSettings &,
                               QString &) { return std::vector<SettingsChange>{change}; },
            problem);
    if (!problem.isNull())
        line.refuse(problem);
    return status;
}

int setPreference(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("prefs set"),
        QStringLiteral("Stores VALUE as the value of the preference KEY."));
    if (const std::optional<int> status = readWords(line, arguments, {keyArgument, valueArgument}))
        return *status;
    const QStringList words = line.positionalArguments();
    if (words[1] == QLatin1String("@"))
        return line.refuse(QStringLiteral("no preference can have the value '@'"));
    return makeOneChange(line, {words[0], words[1]});
}

int unsetPreference(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("prefs unset"),
        QStringLiteral(
            "Removes what is stored for the preference KEY, which has its default then."));
    if (const std::optional<int> status = readWords(line, arguments, {keyArgument}))
        return *status;
    return makeOneChange(line, {line.positionalArguments().constFirst(), {}});
}

int printPath(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("prefs path"),
        QStringLiteral("Prints where the settings are, whether the file exists or not."));
    if (const std::optional<int> status = readWords(line, arguments, {}))
        return *status;
    std::printf("%s\n", userSettings().toUtf8().constData());
    return AllIsWell;
}

// name, what follows it, what it does, function
const struct {
    const char *name;
    const char *words;
    const char *help;
    int (*perform)(const QStringList &arguments);
} actions[] = {
    {"list", "[--json]", "prints all preferences", listPreferences},
    {"get", "KEY", "prints the value of one", getPreference},
    {"set", "KEY VALUE", "stores a value", setPreference},
    {"unset", "KEY", "removes what is stored", unsetPreference},
    {"path", "", "prints where the settings are", printPath},
    {"programs", "[add NAME | remove NAME]", "lists or changes the simulation programs",
        programsCommand},
};

QString descriptionOfActions()
{
    QString text = QStringLiteral("Prints and changes the user's settings.\n\n");
    for (const auto &action : actions) {
        const QString call =
            QLatin1String(action.name) + QLatin1Char(' ') + QLatin1String(action.words);
        text += QStringLiteral("  %1 %2\n").arg(call, -34).arg(QLatin1String(action.help));
    }
    return text + QStringLiteral("\n'talmo prefs ACTION --help' tells more about one.");
}

} // namespace

int prefsCommand(const QStringList &arguments)
{
    const auto *const action = std::find_if(std::begin(actions), std::end(actions),
        [&](const auto &row) { return arguments.value(0) == QLatin1String(row.name); });
    if (action != std::end(actions))
        return action->perform(arguments.mid(1));
    CommandLine line(QStringLiteral("prefs"), descriptionOfActions());
    line.addPositionalArgument(
        QStringLiteral("action"), QString(), QStringLiteral("ACTION [ARGUMENT...]"));
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    QStringList names;
    for (const auto &row : actions)
        names += QLatin1String(row.name);
    const QString given = line.positionalArguments().value(0);
    return line.refuse(
        given.isEmpty()
            ? QStringLiteral("it takes one of %1").arg(names.join(QStringLiteral(", ")))
            : QStringLiteral("it takes one of %1, not '%2'%3")
                  .arg(names.join(QStringLiteral(", ")), given, suggestion(given, names)));
}

} // namespace Talmo
