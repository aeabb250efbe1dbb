// talmo prefs: how the settings are saved, and what keeps it from that.

#include "PrefsFixture.h"
#include "SettingsLock.h"

#include <QFile>
#include <QSettings>

#include <sys/stat.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

class PrefsSavingTest : public PrefsFixture
{
};

} // namespace

TEST_F(PrefsSavingTest, SettingsThatCannotBeReadAreLeftAlone)
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

TEST_F(PrefsSavingTest, SettingsThatMayNotBeReadAreNotTakenForEmpty)
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

TEST_F(PrefsSavingTest, SaysThatItMayNotSave)
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

TEST_F(PrefsSavingTest, WhatIsNoFileStaysAsItIs)
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

TEST_F(PrefsSavingTest, WhatIsSetAlreadyIsNotWrittenAgain)
{
    write(settings, someSettings);
    const struct stat before = statusOf(settings);
    expectChange({"set", "IconSize", "64"}, someSettings);
    expectChange({"unset", "Root"}, someSettings);
    EXPECT_EQ(statusOf(settings).st_ino, before.st_ino);
    expectChange({"set", "IconSize", "65"}, "[General]\nIconSize=65\nmine=kept\n");
    EXPECT_NE(statusOf(settings).st_ino, before.st_ino);
}

TEST_F(PrefsSavingTest, AFullDiskLeavesTheSettingsAsTheyAre)
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

TEST_F(PrefsSavingTest, AFolderForTrialsThatIsMissingIsSaid)
{
    write(settings, someSettings);
    environment["TMPDIR"] = folder.filePath("missing");
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write files in '" + environment["TMPDIR"].toUtf8() + "'\n", 1);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsSavingTest, ALinkStaysALinkAndTheFileKeepsOwnerAndMode)
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

TEST_F(PrefsSavingTest, DoesNotTakeAFileFromItsOwner)
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

TEST_F(PrefsSavingTest, WaitsForTheLockAndGivesUp)
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

TEST_F(PrefsSavingTest, DoesNotWaitLongerThanItsUser)
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

TEST_F(PrefsSavingTest, SaysWhatIsInTheWayOfTheLock)
{
    write(settings, someSettings);
    QDir().mkpath(settings + ".lock");
    expectFailure({"set", "Root", "x"},
        "talmo: prefs set: cannot write '" + settings.toUtf8() + "': '" + settings.toUtf8() +
            ".lock' is in the way\n",
        1);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(PrefsSavingTest, TwentyWritersAtOnceLoseNothing)
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
