// The declared preferences, at the end of this file, are objects constructed before main. The first
// of them opens the store; each adds its default if the store lacks it. Nothing here saves: the
// store posts itself an event at its first change and saves when that is delivered. A console
// program has no event loop, so the event is delivered once, as soon as there is an application
// object to deliver it. A start that adds nothing posts nothing and so writes nothing.

#include "talmo/Preferences.h"

#include "PreferenceRows.h"
#include "SettingsFile.h"
#include "SettingsStore.h"
#include "talmo/Console.h"
#include "talmo/StartupGuard.h"

#include <QCoreApplication>
#include <QEvent>

namespace Talmo
{

QSettings *Preferences::qsettings = nullptr;
QString Preferences::problem;
QTimer *Preferences::deferTimer = nullptr;
QHash<QString, QString> Pref::synopsis;

namespace
{

/// Makes the store save what the declarations have added.
void deliverPendingSave()
{
    QCoreApplication::sendPostedEvents(Preferences::qsettings, QEvent::UpdateRequest);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(deliverPendingSave)

void Preferences::init()
{
    if (qsettings != nullptr)
        return;
    QCoreApplication::setOrganizationName(QLatin1String(settingsOrganization));
    QCoreApplication::setOrganizationDomain(QStringLiteral("brelund.com"));
    QCoreApplication::setApplicationName(QLatin1String(settingsApplication));
    QCoreApplication::setApplicationVersion(QStringLiteral("beta.7"));
    qsettings = SettingsStore::open(problem);
    if (problem.isNull())
        Console::printf("Preferences loaded from '%s'\n", qPrintable(qsettings->fileName()));
}

QString Preferences::get(QString key)
{
    startupGuard();
    QString value = qsettings->value(key, QStringLiteral("@")).toString();
    if (value == QLatin1String("@"))
        throw QStringLiteral("INTERNAL ERROR: Invalid Preferences name '%1'").arg(key);
    return value;
}

Pref::Pref(QString name, QString defaultValue, QString synopsisText)
{
    Preferences::init();
    if (!Preferences::qsettings->contains(name))
        Preferences::qsettings->setValue(name, defaultValue);
    synopsis[name] = synopsisText;
}

#define DECLARE(object, key, defaultValue, synopsis) Pref object(key, defaultValue, synopsis);
TALMO_PREFERENCES(DECLARE)
#undef DECLARE

} // namespace Talmo
