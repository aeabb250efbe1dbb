// The declared preferences, at the end of this file, are objects constructed before main. The first
// of them opens the store; each adds its default if the store lacks it. Nothing here saves: the
// store posts itself an event at its first change and saves when that is delivered. A console
// program has no event loop, so the event is delivered once, as soon as there is an application
// object to deliver it. A start that adds nothing posts nothing and so writes nothing.

#include "talmo/Preferences.h"

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

// clang-format off
// One declaration per line: object, key, default, synopsis.
Pref size      ("IconSize",               "48",    "The size of icons (pixels).");
Pref bkgnd     ("Background",             "black", "The background color in the Viewer.");
Pref circle    ("CircleSides",            "36",    "The number of lines to divide a circle for tessellation.");
Pref usebc     ("UseBeamlineCoordinates", "0",     "Use beamline coordinates when dragging from a Library.");
Pref root      ("Root",                   "",      "The directory of Root (ROOTSYS - restart needed after change).");
Pref last      ("LastSimulation",         "",      "The path of the last Simulation used.");
Pref limit     ("EventDrawTrackLimit",    "100",   "The maximum number of tracks to draw PER EVENT.");
Pref minLength ("DrawTrackMinLength",     "1mm",   "The minimum length of tracks to draw.");
Pref examples  ("Examples",               "",      "Installation directory for Examples.");
Pref defaultLib("DefaultLibrary",         "",      "Path to the default Library directory.");

// The numbered families, complete and in order. Every default is empty.
#define LIB_DIR(n)     Pref lib##n##dir ("Library" #n ".dir",       "", "Path to the Library" #n " directory.")
#define LIB_URL(n)     Pref lib##n##url ("Library" #n ".url",       "", "The URL for Library" #n ".")
#define PROGRAM(n)     Pref p##n##name  ("SimProgram" #n ".name",   "", "The name of simulation program " #n ".")
#define PATH(n)        Pref p##n##path  ("SimProgram" #n ".path",   "", "The path of the executable for simulation program " #n ".")
#define SIMDEF(n)      Pref p##n##simdef("SimProgram" #n ".simdef", "", "The simdef for simulation program " #n ".")
#define CALCULATOR(n)  Pref calc##n     ("Calculator" #n,           "", "The path for Calculator program " #n ".")
#define RECENT_FILE(n) Pref recentFile##n("RecentFile" #n,          "", "Recent filename number " #n ".")
#define ONE_TO_NINE(declare) \
    declare(1); declare(2); declare(3); declare(4); declare(5); \
    declare(6); declare(7); declare(8); declare(9)
ONE_TO_NINE(LIB_DIR);
ONE_TO_NINE(LIB_URL);
ONE_TO_NINE(PROGRAM);
ONE_TO_NINE(PATH);
ONE_TO_NINE(SIMDEF);
ONE_TO_NINE(CALCULATOR);
ONE_TO_NINE(RECENT_FILE);
RECENT_FILE(10);
#undef ONE_TO_NINE
#undef RECENT_FILE
#undef CALCULATOR
#undef SIMDEF
#undef PATH
#undef PROGRAM
#undef LIB_URL
#undef LIB_DIR
// clang-format on

} // namespace Talmo
