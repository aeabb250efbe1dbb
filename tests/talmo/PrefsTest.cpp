// talmo prefs: its calls, and what they print.

#include "PrefsFixture.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

namespace
{

class PrefsTest : public PrefsFixture
{
};

} // namespace

TEST_F(PrefsTest, ListsAllPreferencesInTheOrderOfTheirDeclarations)
{
    write(settings, "[General]\nIconSize=64\nRoot=\"/opt/a, b\"\nExamples=one\\ntwo\nmine=x\n");
    const Outcome outcome = prefs({"list"});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
    const QList<QByteArray> lines = outcome.output.split('\n');
    ASSERT_EQ(lines.size(), 1 + 74 + 1);
    const char *const first[] = {
        "KEY                     VALUE       DEFAULT  SYNOPSIS",
        "IconSize                64          48       The size of icons (pixels).",
        "Background              black       black    The background color in the Viewer.",
    };
    for (int number = 0; number < 3; ++number)
        EXPECT_EQ(lines[number], first[number]);
    EXPECT_EQ(lines[5],
        "Root                    /opt/a, b   ''       The directory of Root (ROOTSYS "
        "- restart needed after change).");
    EXPECT_EQ(lines[9],
        "Examples                one\\x0atwo  ''       Installation directory for Examples.");
    EXPECT_EQ(lines[74], "RecentFile10            ''          ''       Recent filename number 10.");
}

TEST_F(PrefsTest, ListsThemAsJson)
{
    write(settings, "[General]\nIconSize=64\n");
    const QJsonObject whole =
        QJsonDocument::fromJson(run({"prefs", "list", "--json"}).output).object();
    EXPECT_EQ(whole["format"], 1);
    EXPECT_EQ(whole["path"], settings);
    const QJsonArray preferences = whole["preferences"].toArray();
    ASSERT_EQ(preferences.size(), 74);
    const QJsonObject iconSize = {{"key", "IconSize"}, {"value", "64"}, {"default", "48"},
        {"stored", true}, {"synopsis", "The size of icons (pixels)."}};
    EXPECT_EQ(preferences[0].toObject(), iconSize);
    EXPECT_EQ(preferences[1].toObject()["value"], "black");
    EXPECT_EQ(preferences[1].toObject()["stored"], false);
}

TEST_F(PrefsTest, ReadingMakesNoSettings)
{
    const QStringList before = everything();
    expectValue("IconSize", "48");
    expectValue("Root", "");
    expectSuccess({"prefs", "path"}, settings.toUtf8() + '\n');
    expectSuccess({"prefs", "programs"}, "");
    expectSuccess({"prefs", "unset", "IconSize"}, "");
    EXPECT_EQ(everything(), before);
}

TEST_F(PrefsTest, TheFirstValueMakesTheFileForTheUserAlone)
{
    expectChange({"set", "IconSize", "64"}, "[General]\nIconSize=64\n");
    EXPECT_EQ(statusOf(settings).st_mode & 07777U, 0600U);
    EXPECT_EQ(statusOf(QFileInfo(settings).path()).st_mode & 07777U, 0700U);
    expectValue("IconSize", "64");
    expectChange({"unset", "IconSize"}, "[General]\n");
    expectValue("IconSize", "48");
}

TEST_F(PrefsTest, ValuesComeBackAsTheyWereWritten)
{
    const char *const values[] = {"", " ", " a ", "a, b", "\"", "\\", "\\n", "a\nb", "\r", "\t",
        "a;b#c", "=", "[x]", "%41", "@@", "@Invalid()", "@ByteArray(x)", "-5", "-h5", "größe",
        "\0011", "a\xEF\xBB\xBF", "true", "1e5"};
    for (const char *const value : values) {
        SCOPED_TRACE(value);
        expectSuccess({"prefs", "set", "Root", value}, "");
        expectValue("Root", value);
        QFile::remove(settings);
    }
}

TEST_F(PrefsTest, RefusesWhatWouldNotBeReadBack)
{
    write(settings, someSettings);
    expectFailure(
        {"set", "Root", "@"}, "talmo: prefs set: no preference can have the value '@'\n", 2);
    const QString mark = QChar(0xFEFF); // Qt drops it where a text begins
    expectFailure({"set", "Root", mark + "C"},
        "talmo: prefs set: the value of 'Root' would not be read back as it was written\n", 2);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, HelpIsNoValue)
{
    for (const char *const action : {"list", "get", "set", "unset", "path", "programs"}) {
        for (const char *const option : {"--help", "-h"}) {
            const Outcome outcome = prefs({action, option});
            EXPECT_TRUE(outcome.output.startsWith(QByteArray("Usage: talmo prefs ") + action))
                << outcome.output.toStdString();
            EXPECT_EQ(outcome.errors, "");
            EXPECT_EQ(outcome.status, 0);
        }
    }
    expectSuccess({"prefs", "set", "Root", "--", "--help"}, "");
    expectValue("Root", "--help");
}

TEST_F(PrefsTest, CommentsStay)
{
    write(settings, "; mine\rIconSize=32 ; this, too\r");
    expectValue("IconSize", "32");
    expectChange({"set", "IconSize", "64"}, "; mine\rIconSize=64 ; this, too\r");
    expectValue("IconSize", "64");
    expectChange({"unset", "IconSize"}, "; mine\r; this, too\r");
}

TEST_F(PrefsTest, RefusesKeysThatAreNotDeclared)
{
    write(settings, someSettings);
    const struct {
        QStringList call;
        QByteArray sentence;
    } rows[] = {
        {{"get", "Iconsize"}, "'Iconsize' (did you mean IconSize?)"},
        {{"set", "IcnSize", "5"}, "'IcnSize' (did you mean IconSize?)"},
        {{"unset", "mine"}, "'mine'"},
        {{"get", ""}, "''"},
        {{"set", "SimProgram10.name", "x"}, "'SimProgram10.name' (did you mean SimProgram1.name?)"},
        {{"set", "General/IconSize", "5"}, "'General/IconSize'"},
    };
    for (const auto &row : rows) {
        const QByteArray sentence =
            "there is no preference " + row.sentence + "; 'talmo prefs list' lists them\n";
        expectWrongCall(QStringList("prefs") + row.call,
            "talmo: prefs " + row.call[0].toUtf8() + ": " + sentence);
    }
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, RefusesOtherWrongCalls)
{
    const QByteArray all = "it takes one of list, get, set, unset, path, programs";
    const struct {
        QStringList call;
        QByteArray sentence;
    } rows[] = {
        {{}, ": " + all},
        {{"lst"}, ": " + all + ", not 'lst' (did you mean list?)"},
        {{"--json"}, ": unknown option 'json'"},
        {{"list", "x"}, " list: it takes no arguments"},
        {{"path", "x"}, " path: it takes no arguments"},
        {{"get"}, " get: it takes KEY, and nothing else"},
        {{"get", "Root", "x"}, " get: it takes KEY, and nothing else"},
        {{"get", "--all"}, " get: unknown option 'all'"},
        {{"set", "Root"}, " set: it takes KEY and VALUE, and nothing else"},
        {{"set", "Root", "a", "b"}, " set: it takes KEY and VALUE, and nothing else"},
        {{"programs", "ad", "x"}, " programs: it takes 'add NAME' or 'remove NAME', not 'ad'"},
        {{"programs", "add"}, " programs: 'add' takes one NAME"},
        {{"programs", "remove", "a", "b"}, " programs: 'remove' takes one NAME"},
    };
    for (const auto &row : rows)
        expectWrongCall(QStringList("prefs") + row.call, "talmo: prefs" + row.sentence + '\n');
}

TEST_F(PrefsTest, TakesWhatIsMissingFromTheSystemsFile)
{
    environment["XDG_CONFIG_DIRS"] = folder.filePath("system");
    write(folder.filePath("system/Brelund, Inc./Talmo.conf"),
        "[General]\nSimProgram1.name=everyone's\nSimProgram1.path=/opt\nIconSize=1\n");
    expectValue("IconSize", "1");
    expectChange({"set", "IconSize", "5"}, "[General]\nIconSize=5\n");
    expectChange({"unset", "IconSize"}, "[General]\n");
    expectValue("IconSize", "1");
    addProgram("sim", "");
    expectChange({"programs", "add", "sim"}, "[General]\nSimProgram2.name=sim\n");
    expectChange({"programs", "remove", "everyone's"},
        "[General]\nSimProgram2.name=sim\nSimProgram1.name=\nSimProgram1.path=\n");
    expectSuccess({"prefs", "programs"}, "2  sim  " + programs.toUtf8() + "/sim\n");
}

TEST_F(PrefsTest, TheCommandsOfTheManualWork)
{
    addProgram("tracker", "");
    QFile manual(MANUAL_OF_PREFS);
    ASSERT_TRUE(manual.open(QIODevice::ReadOnly));
    int count = 0;
    for (const QByteArray &line : manual.readAll().split('\n')) {
        if (!line.startsWith("    talmo "))
            continue;
        SCOPED_TRACE(line.toStdString());
        const QString command = QString::fromUtf8(line).section('#', 0, 0).simplified();
        const Outcome outcome = run(command.split(' ').mid(1));
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
        ++count;
    }
    EXPECT_EQ(count, 8);
}
