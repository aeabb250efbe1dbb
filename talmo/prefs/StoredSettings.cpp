#include "StoredSettings.h"

#include "DiskFile.h"
#include "PreferenceRows.h"
#include "SettingsFile.h"
#include "SettingsStore.h"
#include "regularFile.h"

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace Talmo
{

QStringList declaredKeys()
{
    QStringList keys;
    for (const PreferenceRow &row : preferenceRows)
        keys += QLatin1String(row.key);
    return keys;
}

const PreferenceRow *declaredPreference(const QString &key)
{
    const auto *const found = std::find_if(std::begin(preferenceRows), std::end(preferenceRows),
        [&key](const PreferenceRow &row) { return key == QLatin1String(row.key); });
    return found == std::end(preferenceRows) ? nullptr : found;
}

QString userSettings()
{
    return settingsFiles().constFirst();
}

QString problemOfReadingSettings()
{
    QString problem = settingsProblem();
    if (problem.isNull() && access(systemName(userSettings()), R_OK) != 0 && errno == EACCES)
        problem = QStringLiteral("cannot read the settings '%1': %2")
                      .arg(userSettings(), reasonOf(EACCES));
    return problem;
}

StoredSettings::StoredSettings()
    : reason(problemOfReadingSettings())
{
    QString same;
    store.reset(SettingsStore::open(same));
}

StoredSettings::~StoredSettings() = default;

bool StoredSettings::isStored(const QString &key) const
{
    return store->contains(key);
}

QString StoredSettings::value(const QString &key) const
{
    const PreferenceRow *const row = declaredPreference(key);
    const QString usual = row == nullptr ? QString() : QString::fromLatin1(row->defaultValue);
    return store->value(key, usual).toString();
}

QStringList StoredSettings::keys() const
{
    return store->allKeys();
}

} // namespace Talmo
