// The user's settings, and the simulation programs that they name.

#include "DiskFile.h"
#include "PreferenceRows.h"
#include "ScriptFolder.h"
#include "SettingsFile.h"
#include "SettingsLock.h"
#include "StoredSettings.h"
#include "changeUserSettings.h"
#include "configuredPrograms.h"
#include "details.h"
#include "examinations.h"
#include "folder.h"
#include "nearest.h"

#include <QFileInfo>

#include <unistd.h>

namespace Talmo
{

namespace
{

const QString ofSettings = QStringLiteral("settings");

/// What keeps everybody from the lock of the settings \a name; nothing if nothing does.
Observations examineLockOf(const QString &name)
{
    const QString obstacle = SettingsLock::obstacleTo(name);
    if (obstacle.isNull())
        return {};
    return {{Observation::Problem, ofSettings,
        QStringLiteral("'%1' cannot be saved: '%2' is in the way")
            .arg(shown(name), shown(obstacle)),
        QStringLiteral("remove that")}};
}

/// The link \a name, which leads to nothing.
Observation examineDanglingLink(const QString &name)
{
    const QString text =
        QStringLiteral("'%1' is a link to '%2', which does not exist, so all preferences have "
                       "their defaults")
            .arg(shown(name), shown(QFileInfo(name).symLinkTarget()));
    const QString problem = problemOfSavingSettings();
    if (problem.isNull())
        return {Observation::Ok, ofSettings, text, QString()};
    return {Observation::Note, ofSettings, text + QStringLiteral(", and they cannot be saved"),
        QStringLiteral("make the folder that it leads to, or remove the link")};
}

/// The file \a name, which does not exist.
Observations examineMissing(const QString &name)
{
    Observations observations = {{Observation::Ok, ofSettings,
        QStringLiteral("'%1' does not exist yet, so all preferences have their defaults")
            .arg(shown(name)),
        QString()}};
    QString folder = QFileInfo(name).path();
    while (!QFileInfo::exists(folder) && folder != QFileInfo(folder).path())
        folder = QFileInfo(folder).path();
    const QString problem = problemOfFolder(systemName(folder));
    if (!problem.isNull())
        observations.push_back({Observation::Note, ofSettings,
            QStringLiteral("they cannot be saved: '%1': %2").arg(shown(folder), problem),
            QStringLiteral("set XDG_CONFIG_HOME to a folder in which you may write")});
    return observations;
}

/// The file \a name, which can be read.
Observation examineFile(const QString &name)
{
    const QString path = QStringLiteral("'%1'").arg(shown(name));
    if (!isOrdinaryOrMissing(name))
        return {Observation::Note, ofSettings,
            path + QStringLiteral(" is no file, so it counts as empty"),
            QStringLiteral("remove it if that is not meant")};
    const QString problem = problemOfSavingSettings();
    if (!problem.isNull())
        return {Observation::Note, ofSettings,
            path + QStringLiteral(" can be read only: ") + problem,
            QStringLiteral("change its permissions if 'talmo prefs' is to save")};
    const Observations ofLock = examineLockOf(name);
    if (!ofLock.empty())
        return ofLock.front();
    return {
        Observation::Ok, ofSettings, path + QStringLiteral(" can be read and written"), QString()};
}

/// The system's own files of settings that are read, too.
void examineOthers(Observations &observations)
{
    for (const QString &name : settingsFiles().mid(1)) {
        if (QFileInfo::exists(name))
            observations.push_back({Observation::Note, ofSettings,
                QStringLiteral("what is missing is taken from '%1'").arg(shown(name)), QString()});
    }
}

/// What programs cannot use, and keys that are probably misspelled.
void examineValues(const StoredSettings &settings, Observations &observations)
{
    const QStringList declared = declaredKeys();
    for (const QString &key : declared) {
        if (settings.value(key) == QLatin1String("@"))
            observations.push_back({Observation::Problem, ofSettings,
                QStringLiteral("'%1' is '@', at which programs end").arg(key),
                QStringLiteral("talmo prefs unset %1").arg(key)});
    }
    for (const QString &key : settings.keys()) {
        const QString nearest = nearestName(key, declared);
        if (!declared.contains(key) && !nearest.isNull())
            observations.push_back({Observation::Note, ofSettings,
                QStringLiteral("'%1' is no preference").arg(shown(key)),
                QStringLiteral("did you mean %1?").arg(nearest)});
    }
}

/// The file \a name of settings, whatever it is.
Observations observationsOf(const QString &name)
{
    if (QFileInfo::exists(name))
        return {examineFile(name)};
    Observations observations = QFileInfo(name).isSymLink()
                                    ? Observations{examineDanglingLink(name)}
                                    : examineMissing(name);
    const Observations ofLock = examineLockOf(name);
    observations.insert(observations.end(), ofLock.begin(), ofLock.end());
    return observations;
}

Observation observationOf(const ConfiguredProgram &program)
{
    const QString subject = QStringLiteral("program ") + shown(program.name);
    if (!program.problem.isNull())
        return {Observation::Problem, subject, program.problem,
            QStringLiteral("mend that, or 'talmo prefs programs remove %1'")
                .arg(shown(program.name))};
    const QString place = shown(program.places.constFirst());
    if (program.remark.isNull())
        return {Observation::Ok, subject, place, QString()};
    return {Observation::Note, subject, QStringLiteral("%1, %2").arg(place, shown(program.remark)),
        QStringLiteral("make sure that this is meant")};
}

} // namespace

Observations examineSettings()
{
    const StoredSettings settings;
    const QString name = userSettings();
    if (!settings.problem().isNull())
        return {{Observation::Problem, ofSettings, shown(settings.problem()),
            QStringLiteral("mend the file, or move it away")}};
    Observations observations = observationsOf(name);
    examineOthers(observations);
    examineValues(settings, observations);
    return observations;
}

Observations examinePrograms()
{
    const StoredSettings settings;
    if (workingDirectory().isNull() && chdir("/") != 0) // without one, the shell would complain
        return {};
    if (!settings.problem().isNull())
        return {}; // the settings are a problem, and nothing is known of programs
    Observations observations;
    for (const ConfiguredProgram &program : configuredPrograms(settings))
        observations.push_back(observationOf(program));
    if (observations.empty())
        observations.push_back({Observation::Note, QStringLiteral("programs"),
            QStringLiteral("no simulation program is configured"),
            QStringLiteral("'talmo prefs programs add NAME' configures one")});
    return observations;
}

} // namespace Talmo
