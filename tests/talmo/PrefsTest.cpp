// talmo prefs

#include "CompanionTest.h"
#include "SettingsLock.h"
#include "changeSettingsText.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>

#include <memory>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

class PrefsTest : public CompanionTest
{
protected:
    /// Runs "talmo prefs" with \a arguments.
    Outcome prefs(const QStringList &arguments) { return run(QStringList("prefs") + arguments); }

    /// Expects that "talmo prefs" with \a arguments changes the settings to \a text, silently.
    void expectChange(const QStringList &arguments, const QByteArray &text)
    {
        expectSuccess(QStringList("prefs") + arguments, "");
        EXPECT_EQ(read(settings), text);
        EXPECT_EQ(filesOfSettings(), QStringList("Talmo.conf"));
        EXPECT_EQ(
            QDir(temporary).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    }

    /// Expects that "talmo prefs" with \a arguments says \a errors, ends with \a status, and leaves
    /// everything as it is.
    void expectFailure(const QStringList &arguments, const QByteArray &errors, int status)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const QStringList before = everything();
        const Outcome outcome = prefs(arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(everything(), before);
    }

    void expectValue(const QString &key, const QByteArray &value)
    {
        expectSuccess({"prefs", "get", key}, value + '\n');
    }

    QStringList filesOfSettings() const
    {
        return QFileInfo(settings).dir().entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    /// Starts "talmo prefs" with each of \a calls at once, and waits for all. Returns how each has
    /// ended.
    std::vector<Outcome> startAll(const std::vector<QStringList> &calls)
    {
        std::vector<std::unique_ptr<QProcess>> processes;
        for (const QStringList &call : calls) {
            processes.push_back(std::make_unique<QProcess>());
            startProcess(*processes.back(), driver, QStringList("prefs") + call, environment, work);
        }
        std::vector<Outcome> outcomes;
        for (const auto &process : processes)
            outcomes.push_back(outcomeOf(*process));
        return outcomes;
    }

    struct stat statusOf(const QString &path) const
    {
        struct stat status = {};
        EXPECT_EQ(stat(qPrintable(path), &status), 0) << path.toStdString();
        return status;
    }

    const QByteArray someSettings = "[General]\nIconSize=64\nmine=kept\n";
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
    const char *const values[] = {
        "",
        " ",
        " a ",
        "a, b",
        "\"",
        "\\",
        "\\n",
        "a\nb",
        "\r",
        "\t",
        "a;b#c",
        "=",
        "[x]",
        "%41",
        "@@",
        "@Invalid()",
        "@ByteArray(x)",
        "-5",
        "-h5",
        "größe",
        "\0011",
#if QT_VERSION_MAJOR >= 6 // Qt 5 does not read characters beyond U+FFFF back, and they are refused
        "\xF0\x9F\x98\x80",
#endif
        "true",
        "1e5"
    };
    for (const char *const value : values) {
        SCOPED_TRACE(value);
        expectSuccess({"prefs", "set", "Root", value}, "");
        expectValue("Root", value);
        QSettings store(settings, QSettings::IniFormat);
#if QT_VERSION_MAJOR < 6
        store.setIniCodec("UTF-8");
#endif
        store.sync();
        EXPECT_EQ(store.value("Root").toString(), value);
        QFile::remove(settings);
    }
}

TEST_F(PrefsTest, RefusesWhatWouldNotBeReadBack)
{
    write(settings, someSettings);
    expectWrongCall(
        {"prefs", "set", "Root", "@"}, "talmo: prefs set: no preference can have the value '@'\n");
    EXPECT_EQ(read(settings), someSettings);
    // Qt reads the mark that begins what follows an escaped character as one of byte order.
    const QString value = QString::fromUtf8("\x0F\xEF\xBB\xBF"
                                            "C");
    QSettings trial(folder.filePath("trial"), QSettings::IniFormat);
    trial.setValue("Root", value);
    trial.sync();
    const bool isReadBack = prefs({"set", "Root", value}).status == 0;
    EXPECT_EQ(prefs({"get", "Root"}).output == value.toUtf8() + '\n', isReadBack);
    if (!isReadBack) {
        expectWrongCall({"prefs", "set", "Root", value},
            "talmo: prefs set: the value of 'Root' would not be read back as it was written\n");
        EXPECT_EQ(read(settings), someSettings);
    }
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

TEST_F(PrefsTest, ChangesTheLineOfTheKeyAndNothingElse)
{
    const struct {
        QByteArray before;
        QStringList call;
        QByteArray after;
    } rows[] = {
        {"; mine\n# too\n[General]\n; icons\nIconSize=48\n<<<<\nx=\xE4\n", {"set", "IconSize", "5"},
            "; mine\n# too\n[General]\n; icons\nIconSize=5\n<<<<\nx=\xE4\n"},
        {"[a]\nIconSize=1\n[general]\nx=1\n\n[b]\nIconSize=2\n", {"set", "IconSize", "5"},
            "[a]\nIconSize=1\n[general]\nx=1\nIconSize=5\n\n[b]\nIconSize=2\n"},
        {"[a]\nIconSize=1\n", {"set", "IconSize", "5"},
            "[General]\nIconSize=5\n\n[a]\nIconSize=1\n"},
        {"x=1", {"set", "IconSize", "5"}, "x=1\nIconSize=5\n"},
        {"[General]\nx=1\n[a]\nb=1\n[General]\ny=1\n", {"set", "IconSize", "5"},
            "[General]\nx=1\nIconSize=5\n[a]\nb=1\n[General]\ny=1\n"},
        {"\xEF\xBB\xBF[General]\r\nx=1\r\n", {"set", "IconSize", "5"},
            "\xEF\xBB\xBF[General]\r\nx=1\r\nIconSize=5\r\n"},
        {"[General]\n IconSize = 1 ; x\nIconSize=2\ny=1\n", {"set", "IconSize", "5"},
            "[General]\nIconSize=5\ny=1\n"},
        {"[General]\nIconSize=1\n; x\n[a]\nb=1\n[General]\nIconSize=2\n", {"unset", "IconSize"},
            "[General]\n; x\n[a]\nb=1\n[General]\n"},
        {"IconSize=1\n", {"unset", "IconSize"}, ""},
        {"[General]\nIconSize=1\n", {"set", "IconSize", "1"}, "[General]\nIconSize=1\n"},
        {"[General]\nIconSizes=1\nIconSize.x=2\n", {"unset", "IconSize"},
            "[General]\nIconSizes=1\nIconSize.x=2\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.before.toStdString());
        write(settings, row.before);
        expectChange(row.call, row.after);
    }
}

TEST_F(PrefsTest, LeavesToQtWhatIsNotWrittenPlainly)
{
    const struct {
        QByteArray before;
        QStringList call;
        QByteArray after;
    } rows[] = {
        {"[General]\nIconSize=1\\\n2\ny=1\n", {"set", "IconSize", "5"},
            "[General]\nIconSize=5\ny=1\n"},
        {"[General]\nIconSize=\"a\nb\"\ny=1\n", {"unset", "IconSize"}, "[General]\ny=1\n"},
        {"[General]\n%49conSize=1\ny=1\n", {"unset", "IconSize"}, "[General]\ny=1\n"},
        {"[General]\nx=\"\nIconSize=1\n\"\n", {"set", "IconSize", "5"},
            "[General]\nIconSize=5\nx=\"\\nIconSize=1\\n\"\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.before.toStdString());
        write(settings, row.before);
        expectChange(row.call, row.after);
    }
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

TEST_F(PrefsTest, ListsProgramsAndWhereThePathLeads)
{
    addProgram("sim1", "");
    addProgram("sim2", "");
    write("../other/sim2", "");
    QFile::setPermissions(folder.filePath("other/sim2"), QFile::ReadOwner | QFile::ExeOwner);
    ASSERT_TRUE(QFile::link(programs + "/sim1", folder.filePath("other/sim1"))); // the same file
    const QString other = QDir(folder.filePath("other")).absolutePath();
    environment["PATH"] = programs + ":.:" + other + ":" + programs + ":/usr/bin:/bin";
    configure({"sim1", "", "a longer name", "none", "sim2", "test", "sim1"});
    const Outcome outcome = prefs({"programs"});
    const QByteArray first = programs.toUtf8();
    EXPECT_EQ(outcome.output,
        "1  sim1           " + first + "/sim1\n" +
            "3  a longer name  the shell does not take this for the name of a program\n"
            "4  none           not found in the PATH\n"
            "5  sim2           " +
            first + "/sim2 (also " + other.toUtf8() + "/sim2)\n" +
            "6  test           the shell does not take this for the name of a program\n"
            "7  sim1           " +
            first + "/sim1 (configured twice, so each of its runs is made twice)\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 1);
    configure({"sim2"});
    EXPECT_EQ(prefs({"programs"}).status, 0);
}

TEST_F(PrefsTest, AddsProgramsWhereThereIsRoom)
{
    for (int number = 1; number <= 9; ++number)
        addProgram(QString("sim%1").arg(number), "");
    configure({"sim1", "", "sim3"});
    expectChange({"programs", "add", "sim2"},
        "[General]\nSimProgram1.name=sim1\nSimProgram2.name=sim2\nSimProgram3.name=sim3\n");
    for (int number = 4; number <= 9; ++number)
        expectSuccess({"prefs", "programs", "add", QString("sim%1").arg(number)}, "");
    expectWrongCall({"prefs", "programs", "add", "sim10"},
        "talmo: prefs programs: nine programs are configured, and there can be no more; remove one "
        "before\n");
    expectSuccess({"prefs", "programs", "remove", "sim5"}, "");
    const Outcome outcome = prefs({"programs", "add", "sim10"});
    EXPECT_EQ(
        outcome.errors, "talmo: prefs programs: 'sim10' is configured, but not in the PATH\n");
    EXPECT_EQ(outcome.status, 0);
    expectValue("SimProgram5.name", "sim10");
}

TEST_F(PrefsTest, RemovesAProgramWithWhatBelongsToIt)
{
    const QByteArray before = "[General]\nSimProgram1.name=a\nSimProgram1.path=/a\n"
                              "SimProgram1.simdef=x\nSimProgram2.name=b\nSimProgram2.path=/b\n"
                              "SimProgram3.name=a\n";
    write(settings, before);
    expectChange({"programs", "remove", "a"},
        "[General]\nSimProgram1.name=\nSimProgram1.path=\nSimProgram1.simdef=\n"
        "SimProgram2.name=b\nSimProgram2.path=/b\nSimProgram3.name=\n");
    expectWrongCall({"prefs", "programs", "remove", "a"},
        "talmo: prefs programs: the program 'a' is not configured\n");
}

TEST_F(PrefsTest, RefusesWhatCannotBeAProgram)
{
    const struct {
        const char *name;
        QByteArray sentence;
    } rows[] = {
        {"", "a program needs a name"},
        {"bin/sim", "the name of the program 'bin/sim' has a '/'; the PATH must lead to the "
                    "program"},
        {"@", "the name of the program '@' has an '@'"},
        {"sim 1", "the name of the program 'sim 1' is no plain word for the shell"},
        {"$x", "the name of the program '$x' is no plain word for the shell"},
        {"..", "the name of the program '..' is no plain word for the shell"},
        {"test", "the shell has a command 'test' of its own, so it would not start the program of "
                 "that name"},
        {"sim1", "the program 'sim1' is configured already"},
    };
    configure({"sim1"});
    const QByteArray before = read(settings);
    for (const auto &row : rows)
        expectWrongCall({"prefs", "programs", "add", row.name},
            "talmo: prefs programs: " + row.sentence + '\n');
    EXPECT_EQ(read(settings), before);
    QFile::remove(settings);
    QDir().rmdir(QFileInfo(settings).path());
    expectWrongCall({"prefs", "programs", "remove", "sim1"},
        "talmo: prefs programs: the program 'sim1' is not configured\n");
}

TEST_F(PrefsTest, SettingsThatCannotBeReadAreLeftAlone)
{
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_EQ(mkfifo(qPrintable(settings), 0600), 0);
    const QByteArray sentence =
        ": cannot read the settings '" + settings.toUtf8() + "': it is a pipe\n";
    for (const char *const call : {"list", "get Root", "set Root x", "unset Root", "programs",
             "programs add x", "programs remove x"}) {
        const QStringList words = QString(call).split(' ');
        expectWrongCall(
            QStringList("prefs") + words, "talmo: prefs " + words[0].toUtf8() + sentence);
    }
    expectSuccess({"prefs", "path"}, settings.toUtf8() + '\n');
}

TEST_F(PrefsTest, SettingsThatMayNotBeReadAreNotTakenForEmpty)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may read anything, and cannot be kept from it here";
    write(settings, someSettings);
    ASSERT_EQ(chmod(qPrintable(settings), 0200), 0);
    for (const char *const call : {"list", "get Root", "set Root x", "programs"}) {
        const QStringList words = QString(call).split(' ');
        expectWrongCall(QStringList("prefs") + words,
            "talmo: prefs " + words[0].toUtf8() + ": cannot read the settings '" +
                settings.toUtf8() + "': Permission denied\n");
    }
    ASSERT_EQ(chmod(qPrintable(settings), 0600), 0);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, SaysThatItMayNotSave)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write anywhere, and cannot be kept from it here";
    write(settings, someSettings);
    const QString place = QFileInfo(settings).path();
    const QByteArray sentence =
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': Permission denied\n";
    const struct {
        mode_t folderMode;
        mode_t fileMode;
    } rows[] = {{0700, 0400}, {0500, 0600}, {0500, 0400}};
    for (const auto &row : rows) {
        ASSERT_EQ(chmod(qPrintable(settings), row.fileMode), 0);
        ASSERT_EQ(chmod(qPrintable(place), row.folderMode), 0);
        expectFailure({"set", "Root", "x"}, sentence, 1);
        EXPECT_EQ(read(settings), someSettings);
    }
    ASSERT_EQ(chmod(qPrintable(place), 0700), 0);
    QFile::remove(settings);
    QDir().rmdir(place);
    const QString above = QFileInfo(place).path();
    ASSERT_EQ(chmod(qPrintable(above), 0500), 0);
    expectFailure({"set", "Root", "x"}, sentence, 1);
    ASSERT_EQ(chmod(qPrintable(above), 0700), 0);
}

TEST_F(PrefsTest, WhatIsNoFileStaysAsItIs)
{
    QDir().mkpath(settings + "/inner");
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': Is a directory\n", 1);
    QDir(settings).removeRecursively();
    ASSERT_TRUE(QFile::link("/dev/null", settings));
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': It is no regular file\n", 1);
    QDir(folder.filePath("config")).removeRecursively();
    write(folder.filePath("config"), "mine\n"); // a file in the place of the folder
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': Not a directory\n", 1);
}

TEST_F(PrefsTest, AFullDiskLeavesTheSettingsAsTheyAre)
{
    addProgram("full", "ulimit -f 0\nexec " + driver.toUtf8() + " \"$@\"\n"); // no file can grow
    driver = QDir(programs).filePath("full");
    write(settings, someSettings);
    const Outcome outcome = prefs({"set", "Root", "x"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "talmo: prefs set: cannot write '" + settings.toUtf8() +
                                  "': the lock '" + settings.toUtf8() +
                                  ".lock' cannot be written; is the disk full?\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(read(settings), someSettings);
    EXPECT_EQ(filesOfSettings(), QStringList("Talmo.conf"));
}

TEST_F(PrefsTest, AFolderForTrialsThatIsMissingIsSaid)
{
    write(settings, someSettings);
    environment["TMPDIR"] = folder.filePath("missing");
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write files in '" + environment["TMPDIR"].toUtf8() + "'\n", 1);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, ALinkStaysALinkAndTheFileKeepsOwnerAndMode)
{
    const QString target = folder.filePath("dotfiles");
    write(target, someSettings);
    ASSERT_EQ(chmod(qPrintable(target), 0640), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(qPrintable(target), 1234, 4321), 0);
    }
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_TRUE(QFile::link(target, settings));
    const struct stat before = statusOf(target);
    expectChange({"set", "IconSize", "5"}, "[General]\nIconSize=5\nmine=kept\n");
    EXPECT_EQ(QFile::symLinkTarget(settings), target);
    EXPECT_EQ(statusOf(target).st_mode, before.st_mode);
    EXPECT_EQ(statusOf(target).st_uid, before.st_uid);
    EXPECT_EQ(statusOf(target).st_gid, before.st_gid);
}

TEST_F(PrefsTest, DoesNotTakeAFileFromItsOwner)
{
    write(settings, someSettings);
    ASSERT_EQ(chmod(qPrintable(settings), 0666), 0);
    const QString places[] = {folder.path(), work, programs, temporary, QFileInfo(settings).path(),
        folder.filePath("config")};
    for (const QString &place : places) {
        if (chown(qPrintable(place), 1234, 4321) != 0)
            GTEST_SKIP() << "only root can give a folder to another user";
    }
    addProgram("asOther",
        "exec setpriv --reuid=1234 --regid=4321 --clear-groups " + driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath("asOther");
    if (run({"--version"}).status != 0)
        GTEST_SKIP() << "another user may not start talmo";
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': It belongs to another user\n",
        1);
    EXPECT_EQ(read(settings), someSettings);
    ASSERT_EQ(chown(qPrintable(settings), 1234, 4321), 0);
    EXPECT_EQ(prefs({"set", "Root", "x"}).status, 0);
}

TEST_F(PrefsTest, WaitsForTheLockAndGivesUp)
{
    write(settings, someSettings);
    SettingsLock lock(settings);
    ASSERT_EQ(lock.take(0), SettingsLock::Taken);
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() +
            "': another process has had the lock '" + settings.toUtf8() + ".lock' for 10 seconds\n",
        1);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, DoesNotWaitLongerThanItsUser)
{
    write(settings, someSettings);
    SettingsLock lock(settings);
    ASSERT_EQ(lock.take(0), SettingsLock::Taken);
    const QStringList call = {"-s", "INT", "0.5", driver, "prefs", "set", "Root", "x"};
    const Outcome outcome = runProcess("/usr/bin/timeout", call, environment, work);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, ""); // it has not given up by itself
    EXPECT_EQ(outcome.status, 124);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, SaysWhatIsInTheWayOfTheLock)
{
    write(settings, someSettings);
    QDir().mkpath(settings + ".lock");
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': '" + settings.toUtf8() +
            ".lock' is in the way\n",
        1);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsTest, TwentyWritersAtOnceLoseNothing)
{
    write(settings, someSettings);
    const QStringList keys = {"Background", "CircleSides", "Root", "LastSimulation", "Examples",
        "DefaultLibrary", "Library1.dir", "Library2.dir", "Library3.dir", "Library4.dir",
        "Library5.dir", "Library6.dir", "Library7.dir", "Library8.dir", "Library9.dir",
        "Calculator1", "Calculator2", "Calculator3", "Calculator4", "RecentFile10"};
    std::vector<QStringList> calls;
    for (const QString &key : keys)
        calls.push_back({"set", key, "value of " + key});
    for (const Outcome &outcome : startAll(calls)) {
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
    }
    QSettings store(settings, QSettings::IniFormat);
    EXPECT_EQ(store.allKeys().size(), 22);
    for (const QString &key : keys)
        EXPECT_EQ(store.value(key).toString(), "value of " + key);
    EXPECT_EQ(store.value("IconSize"), "64");
    EXPECT_EQ(store.value("mine"), "kept");
    EXPECT_EQ(filesOfSettings(), QStringList("Talmo.conf"));
}

TEST_F(PrefsTest, NineProgramsAddedAtOnceAreAllThere)
{
    std::vector<QStringList> calls;
    QStringList expected;
    for (int number = 1; number <= 9; ++number) {
        expected += QString("sim%1").arg(number);
        addProgram(expected.last(), "");
        calls.push_back({"programs", "add", expected.last()});
    }
    for (const Outcome &outcome : startAll(calls)) {
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
    }
    QSettings store(settings, QSettings::IniFormat);
    QStringList names;
    for (int number = 1; number <= 9; ++number)
        names += store.value(QString("SimProgram%1.name").arg(number)).toString();
    names.sort();
    EXPECT_EQ(names, expected);
}

TEST_F(PrefsTest, TheDriverFindsWhatWasSet)
{
    addProgram("sim1", "");
    expectSuccess({"prefs", "programs", "add", "sim1"}, "");
    configured = QStringList("sim1");
    write("test1", "=heading\n=simprogram *\n=run $simProgram\n");
    EXPECT_EQ(
        runDriver({"test1"}).output, preamble("test1") + "test1(sim1): heading\n" + summary(0, 1));
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
