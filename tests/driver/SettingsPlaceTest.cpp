#include "SettingsFaults.h"

#include <QProcess>
#include <QSysInfo>

// What stands in the place of the settings, or of the lock under which they are saved.

class SettingsPlace : public SettingsFaults
{
};

TEST_F(SettingsPlace, ADirectoryInThePlaceOfTheFileStays)
{
    QDir().mkpath(settings + "/inner");
    expectPass();
    EXPECT_EQ(filesOfSettings(), onlyTheFile);
    EXPECT_EQ(
        QDir(settings).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList({"inner"}));
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
