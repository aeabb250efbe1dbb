#include "SettingsFaults.h"

#include <QLockFile>
#include <QProcess>
#include <QSysInfo>

#include <sys/sysmacros.h>
#include <unistd.h>

// Something else stands in the place of the settings, or of the lock under which they are saved.

class SettingsPlace : public SettingsFaults
{
protected:
    /// Runs the test. Expects that it passes, for sim1 alone, that the driver says \a why it does
    /// not save the settings, and that it does not save them.
    void expectNotSaved(const QByteArray &why)
    {
        const QByteArray before = read(settings);
        const Outcome outcome = run({"test1"});
        QByteArray printed = preamble("test1") + "test1(sim1): heading\n" + summary(0, 1);
        printed.insert(printed.indexOf('\n') + 1, "***Preferences not saved: " + why + "\n");
        EXPECT_EQ(outcome.output, printed);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(read(settings), before);
    }

    /// Makes something of this \a kind at \a path, and the folders above it. The \a kind is not
    /// that of an ordinary file; a device is the null device. Returns false if the system refuses.
    bool make(const QString &path, mode_t kind) const
    {
        QDir().mkpath(QFileInfo(path).path());
        return mknod(qPrintable(path), kind | 0666U, makedev(1, 3)) == 0;
    }
};

TEST_F(SettingsPlace, ADirectoryInThePlaceOfTheFileStays)
{
    QDir().mkpath(settings + "/inner");
    expectPass();
    EXPECT_EQ(filesOfSettings(), onlyTheFile);
    EXPECT_EQ(
        QDir(settings).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList({"inner"}));
}

TEST_F(SettingsPlace, AFolderWhoseNameIsNoTextDoesNotHideTheSettings)
{
    const QByteArray home = work.toUtf8() + "/J\xF6rg";
    const struct {
        QByteArray variable;
        QByteArray folder;
    } rows[] = {{"HOME='" + home + "'", "/.config"}, {"XDG_CONFIG_HOME='" + home + "/x'", "/x"}};
    for (const auto &[variable, configFolder] : rows) {
        SCOPED_TRACE(variable.toStdString());
        const QByteArray place = home + configFolder + "/Brelund, Inc.";
        const QByteArray start =
            "unset XDG_CONFIG_HOME; " + variable + " exec '" + driver.toUtf8() + "' test1";
        const auto run = [&](const QByteArray &before) {
            write("start", before + start + '\n'); // an argument would have to be valid text
            return runProcess("/bin/sh", {"start"}, environment, work);
        };
        const Outcome outcome = run("mkdir -p '" + place + "'\n>'" + place + "/Talmo.conf'\n");
        EXPECT_TRUE(outcome.output.startsWith("***talmo_test: cannot read the settings '"));
        EXPECT_TRUE(outcome.output.endsWith("': the name of their folder is not UTF-8\n"));
        EXPECT_EQ(outcome.output.count('\n'), 1);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(run("rm '" + place + "/Talmo.conf'\n").status, 0); // now no settings are missed
    }
}

TEST_F(SettingsPlace, ALinkStaysALink)
{
    const QString target = folder.filePath("dotfiles");
    write(target, someSettings);
    configured = QStringList({"sim1"});
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_TRUE(QFile::link(target, settings));
    expectPass();
    EXPECT_EQ(QFile::symLinkTarget(settings), target);
    EXPECT_EQ(stored().size(), 75);
}

TEST_F(SettingsPlace, ADeviceInThePlaceOfTheFileStays)
{
    const QString device = folder.filePath("device");
    if (!make(device, S_IFCHR))
        GTEST_SKIP() << "only root may make a device";
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_TRUE(QFile::link(device, settings));
    const ino_t made = statusOf(device).st_ino;
    expectPass();
    EXPECT_TRUE(S_ISCHR(statusOf(device).st_mode));
    EXPECT_EQ(statusOf(device).st_ino, made);
    EXPECT_EQ(QFile::symLinkTarget(settings), device);
    EXPECT_EQ(filesOfSettings(), onlyTheFile);

    ASSERT_EQ(rename(qPrintable(device), qPrintable(settings)), 0); // now there is no link
    expectPass();
    EXPECT_EQ(statusOf(settings).st_ino, made);
}

TEST_F(SettingsPlace, ALinkToADirectoryLeavesBothAlone)
{
    const QString target = folder.filePath("directory");
    QDir().mkpath(target);
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_TRUE(QFile::link(target, settings));
    expectPass();
    EXPECT_EQ(QFile::symLinkTarget(settings), target);
    EXPECT_EQ(filesOfSettings(), onlyTheFile);
    EXPECT_TRUE(QDir(target).isEmpty());
}

TEST_F(SettingsPlace, AFileThatRootSavesKeepsItsOwner)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root saves what is another's";
    const QString target = folder.filePath("dotfiles");
    for (const QString &file : {settings, target}) {
        SCOPED_TRACE(file.toStdString());
        writeSettings(someSettings, {"sim1"});
        if (file == target) {
            ASSERT_EQ(rename(qPrintable(settings), qPrintable(target)), 0);
            ASSERT_TRUE(QFile::link(target, settings));
        }
        ASSERT_EQ(chown(qPrintable(file), 1234, 4321), 0);
        setMode(file, 02640);
        expectPass();
        EXPECT_EQ(stored().size(), 75);
        EXPECT_EQ(statusOf(file).st_uid, 1234U);
        EXPECT_EQ(statusOf(file).st_gid, 4321U);
        EXPECT_EQ(statusOf(file).st_mode, S_IFREG | 02640U);
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
        EXPECT_EQ(QFileInfo(settings).isSymLink(), file == target);
    }
}

TEST_F(SettingsPlace, WhatQtWouldWaitForIsNotRead)
{
    const struct {
        mode_t kind;
        QByteArray why;
    } rows[] = {{S_IFIFO, "it is a pipe"}, {S_IFSOCK, "it is a socket"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.why.toStdString());
        ASSERT_TRUE(make(settings, row.kind));
        expectRefusal(settings, row.why);
        EXPECT_EQ(statusOf(settings).st_mode & S_IFMT, row.kind);

        const QString target = folder.filePath("target");
        ASSERT_EQ(rename(qPrintable(settings), qPrintable(target)), 0);
        ASSERT_TRUE(QFile::link(target, settings));
        expectRefusal(settings, row.why);
        EXPECT_EQ(statusOf(target).st_mode & S_IFMT, row.kind);
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
        QFile::remove(settings);
        QFile::remove(target);
    }
    ASSERT_TRUE(QFile::link(settings, settings));
    expectRefusal(settings, "Too many levels of symbolic links");
}

TEST_F(SettingsPlace, EveryFileThatQtReadsIsLookedAt)
{
    environment["XDG_CONFIG_DIRS"] = folder.filePath("system1") + ':' + folder.filePath("system2");
    for (const char *const name : {"config/Brelund, Inc..conf", "system1/Brelund, Inc./Talmo.conf",
             "system1/Brelund, Inc..conf", "system2/Brelund, Inc./Talmo.conf",
             "system2/Brelund, Inc..conf"}) {
        const QString file = folder.filePath(name);
        ASSERT_TRUE(make(file, S_IFIFO));
        expectRefusal(file, "it is a pipe");
        QFile::remove(file);
    }
    environment.remove("XDG_CONFIG_HOME");
    const QString inHome = folder.filePath(".config/Brelund, Inc./Talmo.conf");
    ASSERT_TRUE(make(inHome, S_IFIFO));
    expectRefusal(inHome, "it is a pipe");
}

TEST_F(SettingsPlace, ALockOfADeadProcessIsTaken)
{
    QProcess dead;
    dead.start("true", QStringList());
    const qint64 pid = dead.processId();
    ASSERT_TRUE(dead.waitForFinished());
    writeSettings(someSettings, {"sim1"});
    write(settings + ".lock",
        QByteArray::number(pid) + "\ntalmo_test\n" + QSysInfo::machineHostName().toUtf8() + "\n");
    expectPass();
    EXPECT_EQ(stored().size(), 75);
    EXPECT_EQ(filesOfSettings(), onlyTheFile);
}

TEST_F(SettingsPlace, ALockThatNobodyHoldsIsTaken)
{
    const QString lock = settings + ".lock";
    for (const char *const touch : {"true", "touch -d '1 hour ago'"}) {
        SCOPED_TRACE(touch);
        writeSettings(someSettings, {"sim1"});
        write(lock, ""); // its process was killed before it wrote its name there
        ASSERT_EQ(std::system(qPrintable(touch + QString(" '%1'").arg(lock))), 0);
        expectPass();
        EXPECT_EQ(stored().size(), 75);
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
    }
}

TEST_F(SettingsPlace, ALockThatALiveProcessHoldsIsLeftToIt)
{
    writeSettings(someSettings, {"sim1"});
    QLockFile lock(settings + ".lock");
    ASSERT_TRUE(lock.tryLock());
    expectPass();
    EXPECT_EQ(read(settings), someSettings);
    EXPECT_EQ(filesOfSettings(), QStringList({"Talmo.conf", "Talmo.conf.lock"}));
    lock.unlock();
    expectPass();
    EXPECT_EQ(stored().size(), 75);
}

TEST_F(SettingsPlace, WhatIsNoLockIsNotWaitedFor)
{
    writeSettings(someSettings, {"sim1"});
    const QString lock = settings + ".lock";
    const QString ofLock = lock + ".rmlock";
    for (const QString &file : {lock, ofLock}) {
        for (const mode_t kind : {mode_t(S_IFIFO), mode_t(S_IFSOCK)}) {
            ASSERT_TRUE(make(file, kind));
            expectNotSaved("'" + file.toUtf8() + "' is in the way");
            EXPECT_EQ(statusOf(file).st_mode & S_IFMT, kind);
            QFile::remove(file);
        }
        ASSERT_TRUE(QFile::link(folder.filePath("nothing"), file));
        expectNotSaved("'" + file.toUtf8() + "' is in the way");
        QFile::remove(file);
        QDir().mkpath(file);
        expectNotSaved("'" + file.toUtf8() + "' is in the way");
        EXPECT_TRUE(QDir().rmdir(file));
    }
    expectPass();
    EXPECT_EQ(stored().size(), 75);
}

TEST_F(SettingsPlace, ALockThatMayNotBeOpenedIsNotWaitedFor)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may open anything, and cannot be kept from it here";
    writeSettings(someSettings, {"sim1"});
    write(settings + ".lock", "");
    setMode(settings + ".lock", 0);
    expectNotSaved("'" + settings.toUtf8() + ".lock' is in the way");
}
