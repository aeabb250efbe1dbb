// To save, Qt takes the lock "Talmo.conf.lock", writes a new file and renames it. It would wait for
// the lock without end and would replace whatever has the file's name, and the new file would
// belong to the user who runs the program. So we first look at the file and try to take the lock,
// and afterwards we give the new file to the owner of the old one.

#include "SettingsStore.h"

#include "Ownership.h"
#include "SettingsFile.h"
#include "SettingsLock.h"
#include "talmo/Console.h"

#include <QEvent>

namespace Talmo
{

namespace
{

constexpr int longestWait = 1500; ///< milliseconds

/// True if the file \a name can be saved now. If not, prints what is in the way of its lock. Prints
/// nothing about a device or a directory, which the user has put in the place of the file, and
/// nothing about another process that has the lock, because it saves the same.
bool canBeSaved(const QString &name)
{
    if (!isOrdinaryOrMissing(name))
        return false;
    SettingsLock lock(name); // is given up at once, since Qt takes it again
    const SettingsLock::State state = lock.take(longestWait);
    if (state == SettingsLock::Obstructed)
        Console::printf(
            "***Preferences not saved: '%s' is in the way\n", qPrintable(lock.obstacle()));
    return state == SettingsLock::Taken || state == SettingsLock::Impossible;
}

} // namespace

SettingsStore::SettingsStore()
    : QSettings(QLatin1String(settingsOrganization), QLatin1String(settingsApplication))
{
}

SettingsStore::SettingsStore(const QString &fileName)
    : QSettings(fileName, QSettings::IniFormat)
    , isUsable(false)
{
}

SettingsStore *SettingsStore::open(QString &problem)
{
    problem = settingsProblem();
    if (!problem.isNull())
        return new SettingsStore(QStringLiteral("/dev/null/none")); // no such file can exist
    auto *const store = new SettingsStore;
#if QT_VERSION_MAJOR < 6
    store->setIniCodec("UTF-8"); // as in Qt 6, so that both read the same file alike
#endif
    return store;
}

bool SettingsStore::event(QEvent *event)
{
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    if (!isUsable || !canBeSaved(fileName()))
        return true; // Qt believes that the request is still waiting, and never asks again
    const Ownership ownership(fileName());
    return QSettings::event(event);
}

} // namespace Talmo
