#include "SettingsStore.h"

#include "SettingsFile.h"

#include <QEvent>

namespace Talmo
{

SettingsStore::SettingsStore(const QString &fileName)
    : QSettings(fileName, QSettings::IniFormat)
    , isUsable(false)
{
}

SettingsStore *SettingsStore::open(QString &problem)
{
    problem = settingsProblem();
    if (!problem.isNull())
        return new SettingsStore(QStringLiteral("/dev/null/none")); // there cannot be such a file
    auto *const store = new SettingsStore;
#if QT_VERSION_MAJOR < 6
    store->setIniCodec("UTF-8"); // as Qt 6 has it, so that both read the same file alike
#endif
    return store;
}

bool SettingsStore::event(QEvent *event)
{
    if (event->type() != QEvent::UpdateRequest)
        return QSettings::event(event);
    if (!isUsable)
        return true; // Qt takes the request for one that is still to be met, and never asks again
    return QSettings::event(event);
}

} // namespace Talmo
