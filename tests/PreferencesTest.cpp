#include "talmo/Preferences.h"
#include "Printing.h"
#include "SettingsFile.h"
#include "talmo/Console.h"

#include <QCoreApplication>
#include <QSettings>

#include <gtest/gtest.h>

using Talmo::Pref;
using Talmo::Preferences;

namespace
{

struct Declaration {
    QString key;
    QString defaultValue;
    QString synopsis;
};

/// All 74 declarations; the numbered families are made by their rule.
QList<Declaration> declarations()
{
    QList<Declaration> all = {
        {"IconSize", "48", "The size of icons (pixels)."},
        {"Background", "black", "The background color in the Viewer."},
        {"CircleSides", "36", "The number of lines to divide a circle for tessellation."},
        {"UseBeamlineCoordinates", "0", "Use beamline coordinates when dragging from a Library."},
        {"Root", "", "The directory of Root (ROOTSYS - restart needed after change)."},
        {"LastSimulation", "", "The path of the last Simulation used."},
        {"EventDrawTrackLimit", "100", "The maximum number of tracks to draw PER EVENT."},
        {"DrawTrackMinLength", "1mm", "The minimum length of tracks to draw."},
        {"Examples", "", "Installation directory for Examples."},
        {"DefaultLibrary", "", "Path to the default Library directory."},
    };
    const struct {
        const char *key;
        const char *synopsis;
        int members;
    } families[] = {
        {"Library%1.dir", "Path to the Library%1 directory.", 9},
        {"Library%1.url", "The URL for Library%1.", 9},
        {"SimProgram%1.name", "The name of simulation program %1.", 9},
        {"SimProgram%1.path", "The path of the executable for simulation program %1.", 9},
        {"SimProgram%1.simdef", "The simdef for simulation program %1.", 9},
        {"Calculator%1", "The path for Calculator program %1.", 9},
        {"RecentFile%1", "Recent filename number %1.", 10},
    };
    for (const auto &family : families) {
        for (int n = 1; n <= family.members; ++n)
            all += {QString(family.key).arg(n), "", QString(family.synopsis).arg(n)};
    }
    return all;
}

} // namespace

TEST(Preferences, DeclaresItsKeysWithDefaultsAndSynopses)
{
    const QList<Declaration> all = declarations();
    ASSERT_EQ(all.size(), 74);
    EXPECT_EQ(Pref::synopsis.size(), 74);
    EXPECT_EQ(Preferences::qsettings->allKeys().size(), 74);
    for (const Declaration &declaration : all) {
        SCOPED_TRACE(declaration.key.toStdString());
        EXPECT_EQ(Preferences::get(declaration.key), declaration.defaultValue);
        EXPECT_EQ(Pref::synopsis.value(declaration.key), declaration.synopsis);
    }
}

TEST(Preferences, ASecondInitDoesNothing)
{
    const QSettings *const store = Preferences::qsettings;
    const QString printed = *Talmo::Console::initial;
    Preferences::init();
    EXPECT_EQ(Preferences::qsettings, store);
    EXPECT_EQ(*Talmo::Console::initial, printed);
    EXPECT_EQ(printed, "Preferences loaded from '" + store->fileName() + "'\n");
}

TEST(Preferences, TheStoreIsWhereTheSettingsAreLookedFor)
{
    EXPECT_EQ(Talmo::settingsFiles().value(0), Preferences::qsettings->fileName());
    EXPECT_EQ(Preferences::qsettings->fileName(), QSettings("Brelund, Inc.", "Talmo").fileName());
    EXPECT_TRUE(Preferences::problem.isNull());
}

TEST(Preferences, NamesTheProductOnTheApplicationObject)
{
    EXPECT_EQ(QCoreApplication::organizationName(), "Brelund, Inc.");
    EXPECT_EQ(QCoreApplication::organizationDomain(), "brelund.com");
    EXPECT_EQ(QCoreApplication::applicationName(), "Talmo");
    EXPECT_EQ(QCoreApplication::applicationVersion(), "beta.7");
    EXPECT_EQ(Preferences::deferTimer, nullptr);
}

TEST(Preferences, ADeclarationKeepsAStoredValue)
{
    Preferences::qsettings->setValue("Test.kept", "");
    const Pref kept("Test.kept", "default", "A test.");
    EXPECT_EQ(Preferences::get("Test.kept"), "");
    const Pref fresh("Test.fresh", "default", "Another test.");
    EXPECT_EQ(Preferences::get("Test.fresh"), "default");
    EXPECT_EQ(Pref::synopsis.value("Test.fresh"), "Another test.");

    for (const char *const key : {"Test.kept", "Test.fresh"}) {
        Preferences::qsettings->remove(key);
        Pref::synopsis.remove(key);
    }
}

TEST(Preferences, AKeyThatWasNeverDeclaredThrowsAString)
{
    for (const QString &key : {QString("Nobody"), QString("%1"), QString("IconSize ")}) {
        SCOPED_TRACE(key.toStdString());
        try {
            Preferences::get(key);
            ADD_FAILURE() << "no exception";
        } catch (const QString &message) {
            EXPECT_EQ(message, "INTERNAL ERROR: Invalid Preferences name '" + key + "'");
        }
    }
}

TEST(Preferences, TheStoredValueAtCountsAsAnInvalidName)
{
    Preferences::qsettings->setValue("Root", "@");
    EXPECT_THROW(Preferences::get("Root"), QString);
    Preferences::qsettings->setValue("Root", "@@");
    EXPECT_EQ(Preferences::get("Root"), "@@");
    Preferences::qsettings->setValue("Root", "");
}
