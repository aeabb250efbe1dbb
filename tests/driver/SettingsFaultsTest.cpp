#include "SettingsFaults.h"

#include <QProcess>

#include <memory>
#include <random>

// Settings that may not be saved or read, that are damaged or too large, and many drivers that
// start at once.

TEST_F(SettingsFaults, WhatMayNotBeChangedStaysAsItIs)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write anywhere, and cannot be kept from it here";
    writeSettings(someSettings, {"sim1"});
    const QString ofSettings = QFileInfo(settings).path();
    const struct {
        mode_t folderMode;
        mode_t fileMode;
    } rows[] = {{0700, 0400}, {0500, 0600}, {0500, 0400}};
    for (const auto &row : rows) {
        setMode(settings, row.fileMode);
        setMode(ofSettings, row.folderMode);
        expectPass();
        EXPECT_EQ(read(settings), someSettings);
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
    }
    setMode(ofSettings, 0700);
    setMode(settings, 0600);
    expectPass();
    EXPECT_EQ(stored().size(), 75);
}

TEST_F(SettingsFaults, WhatMayNotBeReadIsNotReplaced)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may read anything, and cannot be kept from it here";
    writeSettings(someSettings, {});
    const QString ofSettings = QFileInfo(settings).path();
    for (const mode_t mode : {0000U, 0200U}) {
        setMode(settings, mode);
        expectPass();
        setMode(settings, 0600);
        EXPECT_EQ(read(settings), someSettings);
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
    }
    setMode(ofSettings, 0);
    expectPass();
    setMode(ofSettings, 0700);
    EXPECT_EQ(read(settings), someSettings);
}

TEST_F(SettingsFaults, AFolderThatMayNotBeMadeIsNoFailure)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write anywhere, and cannot be kept from it here";
    const QString config = environment["XDG_CONFIG_HOME"];
    QDir().mkpath(config);
    setMode(config, 0500);
    expectPass();
    EXPECT_TRUE(QDir(config).isEmpty());
}

TEST_F(SettingsFaults, WhatCanBeReadOfADamagedFileIsKept)
{
    QByteArray bytes; // all bytes except the quote
    for (int byte = 0; byte < 256; ++byte)
        bytes += byte == '"' ? ' ' : static_cast<char>(byte);
    const QByteArray name1 = "SimProgram1.name=sim1\n";
    const QByteArray name2 = "SimProgram2.name=sim2\n";
    const struct {
        QByteArray text;
        QStringList names;
    } rows[] = {
        {"", {}},
        {"\n\n\n", {}},
        {"[General", {}},
        {"]\n[\n=\n==\n%\n%z=\n[]\n", {}},
        {QByteArray(10000, '\0'), {}},
        {QByteArray(10000, '\xFF'), {}},
        {name1, {"sim1"}}, // there is no section
        {"[General]\n" + name1, {"sim1"}},
        {"[General]\r\n" + name1.chopped(1) + "\r\n", {"sim1"}},
        {"\xEF\xBB\xBF[General]\n" + name1, {"sim1"}},
        {"[General]\n<<<<<<< mine\n" + name1 + "=======\n>>>>>>> theirs\n", {"sim1"}},
        {"[General]\nSimProgram1.name=old\n" + name1, {"sim1"}}, // the later one counts
        {"[General]\n" + name1 + "SimProgram2.na", {"sim1"}},    // the end is missing
        {"[General]\nSimProgram1.name=\"sim1\n" + name2, {"sim1\nSimProgram2.name=sim2\n"}},
        {"[General]\nSimProgram1.name=@Invalid()\nSimProgram2.name=@ByteArray(sim2)\n", {"sim2"}},
        {"[General]\nSimProgram1.name=\xE4 1\n", {QString::fromUtf8("\xEF\xBF\xBD 1")}},
        {bytes + "\n[General]\n" + name1, {"sim1"}},
        {"[General]\n" + name1 + bytes, {"sim1"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        writeSettings(row.text, row.names);
        expectPass();
        QStringList names;
        const QMap<QString, QString> values = stored();
        for (int n = 1; n <= 9; ++n)
            names += values.value(QString("SimProgram%1.name").arg(n), "missing");
        names.removeAll("");
        EXPECT_EQ(names, row.names);
        EXPECT_EQ(values.value("IconSize"), "48");
        EXPECT_EQ(values.value("RecentFile10", "missing"), "");
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
    }
}

TEST_F(SettingsFaults, NoiseIsMendedByTheFirstStart)
{
    std::mt19937 random(1);
    QByteArray noise;
    while (noise.size() < 200000)
        noise += static_cast<char>(random());
    writeSettings(noise, {});
    expectPass();
    const QByteArray mended = read(settings);
    EXPECT_GE(stored().size(), 74);
    expectPass();
    EXPECT_EQ(read(settings), mended);
}

TEST_F(SettingsFaults, AHundredThousandKeysAreKept)
{
    QMap<QString, QString> expected;
    QByteArray text = "[General]\nSimProgram1.name=sim1\n";
    for (int n = 0; n < 50000; ++n) {
        text += "key" + QByteArray::number(n) + "=value " + QByteArray::number(n) + "\n";
        expected[QString("key%1").arg(n)] = QString("value %1").arg(n);
    }
    for (int n = 0; n < 50000; ++n) {
        text += "[group" + QByteArray::number(n) + "]\nkey=" + QByteArray::number(n) + "\n";
        expected[QString("group%1/key").arg(n)] = QString::number(n);
    }
    writeSettings(text, {"sim1"});
    expectPass();
    QMap<QString, QString> values = stored();
    EXPECT_EQ(values.size(), 100074);
    EXPECT_EQ(values.value("SimProgram1.name"), "sim1");
    EXPECT_EQ(values.value("IconSize"), "48");
    for (auto value = expected.cbegin(); value != expected.cend(); ++value)
        ASSERT_EQ(values.value(value.key()), value.value());
    const QByteArray written = read(settings);
    expectPass();
    EXPECT_TRUE(read(settings) == written);
}

TEST_F(SettingsFaults, FilesUpTo64MiBAreRead)
{
    const qint64 limit = 64 << 20;
    writeSettings(someSettings, {"sim1"});
    ASSERT_TRUE(QFile::resize(settings, limit + 1));
    expectRefusal(settings, "it is larger than 64 MiB");
    EXPECT_EQ(statusOf(settings).st_size, limit + 1);
    ASSERT_TRUE(QFile::resize(settings, limit));
    expectPass();
    EXPECT_EQ(stored().value("mine"), "kept");
}

TEST_F(SettingsFaults, WhatDoesNotFitIntoMemoryIsNotRead)
{
    if (isSanitized)
        GTEST_SKIP() << "memory cannot be limited here";
    writeSettings(someSettings, {});
    limitMemory();
    ASSERT_TRUE(QFile::resize(settings, 3LL << 30));
    expectRefusal(settings, "it is larger than 64 MiB");
    ASSERT_TRUE(QFile::resize(settings, 10 << 20));
    expectRefusal(settings, "there is not enough memory");
    EXPECT_EQ(statusOf(settings).st_size, 10 << 20);
}

TEST_F(SettingsFaults, AFullDiskLeavesTheFileAsItIs)
{
    addProgram("full", "ulimit -f 0\nexec " + driver.toUtf8() + " \"$@\"\n"); // no file can grow
    driver = QDir(programs).filePath("full");
    expectPass();
    EXPECT_EQ(filesOfSettings(), QStringList());
    writeSettings(someSettings, {"sim1"});
    expectPass();
    EXPECT_EQ(read(settings), someSettings);
    EXPECT_EQ(filesOfSettings(), onlyTheFile);
}

TEST_F(SettingsFaults, WithoutAHomeTheSettingsAreLookedForAtTheRoot)
{
    environment.remove("XDG_CONFIG_HOME");
    settings = "/.config/Brelund, Inc./Talmo.conf";
    // The driver sees a root directory that is read-only and has no settings.
    if (!mountPrivately("mount --bind \"$work\" \"$work\"\n"
                        "mount -o remount,bind,ro /\n"
                        "test ! -e /.config || mount -t tmpfs none /.config\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    for (const char *home : {"", "unset"}) {
        SCOPED_TRACE(home);
        environment["HOME"] = home;
        if (*home != '\0')
            environment.remove("HOME");
        expectPass();
    }
}

TEST_F(SettingsFaults, WithAPlaceForTheSettingsAHomeIsNotNeeded)
{
    environment.remove("HOME");
    expectPass();
    EXPECT_EQ(stored().size(), 74);
}

TEST_F(SettingsFaults, FortyFirstStartsAtOnceLoseNothing)
{
    for (const QByteArray &before : {QByteArray(), someSettings}) {
        SCOPED_TRACE(before.toStdString());
        QFile::remove(settings);
        if (!before.isEmpty())
            writeSettings(before, {"sim1"});
        std::unique_ptr<QProcess> drivers[40];
        const auto directory = [](size_t n) { return QString("../work%1").arg(n); };
        for (size_t n = 0; n < std::size(drivers); ++n) {
            write(directory(n) + "/test1", "=heading\n=file out\nx\n=run true\n");
            drivers[n] = std::make_unique<QProcess>();
            startProcess(*drivers[n], driver, {"test1"}, environment,
                QDir::cleanPath(work + '/' + directory(n)));
        }
        const QString own = work;
        for (size_t n = 0; n < std::size(drivers); ++n) {
            QProcess &process = *drivers[n];
            EXPECT_TRUE(process.waitForFinished(waitingTime));
            EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
            EXPECT_EQ(process.exitCode(), 0);
            EXPECT_EQ(process.readAllStandardError(), "");
            work = QDir::cleanPath(own + '/' + directory(n));
            EXPECT_EQ(process.readAllStandardOutput(),
                preamble("test1") + "test1: heading\n" + summary(0, 1));
            EXPECT_EQ(entries(), QStringList({"test1"}));
            work = own;
        }
        const QMap<QString, QString> values = stored();
        EXPECT_EQ(values.size(), before.isEmpty() ? 74 : 75);
        EXPECT_EQ(values.value("SimProgram1.name"), before.isEmpty() ? "" : "sim1");
        EXPECT_EQ(values.value("mine"), before.isEmpty() ? "" : "kept");
        EXPECT_EQ(values.value("IconSize"), "48");
        EXPECT_EQ(filesOfSettings(), onlyTheFile);
    }
}
