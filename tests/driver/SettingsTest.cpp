#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSettings>

#include <csignal>

#include <sys/stat.h>

namespace
{

/// Tells a file from another one that was written in its place.
struct FileIdentity {
    ino_t inode = 0;
    timespec modified = {};

    explicit FileIdentity(const QString &path)
    {
        struct stat status = {};
        EXPECT_EQ(stat(qPrintable(path), &status), 0);
        inode = status.st_ino;
        modified = status.st_mtim;
    }
    bool operator==(const FileIdentity &other) const
    {
        return inode == other.inode && modified.tv_sec == other.modified.tv_sec &&
               modified.tv_nsec == other.modified.tv_nsec;
    }
};

class Settings : public DriverTest
{
protected:
    QByteArray settingsText() const
    {
        QFile file(settings);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    /// Starts another program of the product, which prints the values of \a keys.
    Outcome openSettings(const QStringList &keys) const
    {
        return runProcess(OPEN_SETTINGS, keys, environment, work);
    }

    /// What Qt alone reads from the settings, for each key that a program can ask for.
    QHash<QString, QStringList> valuesInFile() const
    {
        QSettings file(settings, QSettings::IniFormat);
#if QT_VERSION_MAJOR < 6
        file.setIniCodec("UTF-8");
#endif
        QHash<QString, QStringList> values;
        const QStringList keys = file.allKeys();
        for (const QString &key : keys) {
            if (!key.isEmpty() && !key.startsWith('/')) // as "=1" and "[]" make them
                values[key] = file.value(key).toStringList();
        }
        return values;
    }
};

} // namespace

TEST_F(Settings, TheFirstStartWritesEveryKeyWithItsDefault)
{
    EXPECT_EQ(run({}).status, 0);
    const QSettings file(settings, QSettings::IniFormat);
    EXPECT_EQ(file.allKeys().size(), 74);
    EXPECT_EQ(file.value("IconSize"), "48");
    EXPECT_EQ(file.value("DrawTrackMinLength"), "1mm");
    EXPECT_EQ(file.value("SimProgram9.simdef", "missing"), "");
    EXPECT_EQ(file.value("RecentFile10", "missing"), "");
}

TEST_F(Settings, EveryProgramOfTheProductFillsTheFile)
{
    const Outcome outcome = openSettings({"SimProgram3.name", "IconSize"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "Preferences loaded from '" + settings.toUtf8() + "'\n\n48\n");
    EXPECT_EQ(QSettings(settings, QSettings::IniFormat).allKeys().size(), 74);
}

TEST_F(Settings, AProgramThatUsesNoPreferenceOpensTheFileToo)
{
    const Outcome outcome = runProcess(NAMES_NOTHING, {}, environment, work);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "Preferences loaded from '" + settings.toUtf8() + "'\nmain\n");
    EXPECT_FALSE(QFile::exists(settings)); // without an application object nothing is saved
}

TEST_F(Settings, AProgramHasTheDefaultsIfNothingCanBeRead)
{
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_EQ(mkfifo(qPrintable(settings), 0600), 0);
    const Outcome outcome = openSettings({"SimProgram3.name", "IconSize"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "\n48\n"); // the defaults; no settings were loaded
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(Settings, TheSystemsFileSuppliesWhatTheUsersLacks)
{
    const QString userFile = settings;
    settings = folder.filePath("system/Brelund, Inc./Talmo.conf");
    configure({"everyone's", "unseen"});
    settings = userFile;
    environment["XDG_CONFIG_DIRS"] = folder.filePath("system");
    write(settings, "[General]\nSimProgram2.name=mine\n");
    configured = QStringList({"everyone's", "mine"});
    write("test1", "=heading\n=simprogram *\n");
    expectRun({"test1"}, "test1", "test1(everyone's): heading\ntest1(mine): heading\n", 0, 1);

    const QStringList keys = QSettings(settings, QSettings::IniFormat).allKeys();
    EXPECT_EQ(keys.size(), 73);
    EXPECT_FALSE(keys.contains("SimProgram1.name"));
}

TEST_F(Settings, LaterStartsWriteNothing)
{
    run({});
    const FileIdentity written(settings);
    const QByteArray text = settingsText();
    run({});
    openSettings({"IconSize"});
    EXPECT_TRUE(FileIdentity(settings) == written);
    EXPECT_EQ(settingsText(), text);
}

TEST_F(Settings, StoredValuesAreNeverOverwritten)
{
    configure({"sim1"});
    QFile file(settings);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("IconSize=\nBackground=white\nUnknown=kept\n\n[Group]\nkey=too\n");
    file.close();
    EXPECT_EQ(run({}).status, 0);

    const QSettings store(settings, QSettings::IniFormat);
    EXPECT_EQ(store.allKeys().size(), 76);
    EXPECT_EQ(store.value("IconSize", "missing"), "");
    EXPECT_EQ(store.value("Background"), "white");
    EXPECT_EQ(store.value("SimProgram1.name"), "sim1");
    EXPECT_EQ(store.value("Unknown"), "kept");
    EXPECT_EQ(store.value("Group/key"), "too");
    EXPECT_EQ(store.value("CircleSides"), "36");
}

TEST_F(Settings, AValueCountsAndStaysHoweverItIsWritten)
{
    const struct {
        QByteArray text;
        QByteArray iconSize;
    } rows[] = {
        {"", "48"},
        {"IconSize=1\n", "1"}, // without a section
        {"[General]\r\nIconSize=50\r\n", "50"},
        {"\xEF\xBB\xBF[General]\nIconSize=50\n", "50"},
        {"[General]\nBackground=\nIconSize=\n", ""},
        {"; x\n# y\n[General]\nIconSize=5 ; z\n", "5"},
        {"[General\nIconSize\n=1\n[]\nk=1\n", "48"},
        {"[General]\n%49conSize=1\n%U00e9=2\na\\b=3\n", "1"},
        {"[General]\nIconSize=1\nIconSize=2\n[General]\nIconSize=3\n", "3"},
        {"[General]\nIconSize=\"a,b\"\nBackground=a\\,b\\n\\x41\n", "a,b"},
        {"[General]\nRoot=@\nExamples=@@\n", "48"}, // what no program can read stays, too
        {"[General]\nIconSize=caf\xC3\xA9\n", "caf\xC3\xA9"},
        {"[General]\nIconSize=caf\xE9 1\n", "caf\xEF\xBF\xBD 1"},
        {"[General]\nTheirs=1\n\n[Window]\ngeometry=@ByteArray(\\x1\\xd9\\xd0)\n"
         "size=@Size(3 4)\nlist=a, b, \"c,d\"\n",
            "48"},
        {"[x]\nv=@Variant(\\0\\0\\0\\n\\0\\0\\0\\x2\\0x)\nr=@Rect(1 2 3 4)\np=@Point(1 2)\n"
         "i=@Invalid()\ns=@String(x)\n",
            "48"},
        {"[files]\n1\\name=a\nsize=1\n", "48"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        write(settings, row.text);
        const QHash<QString, QStringList> before = valuesInFile();
        const Outcome outcome = openSettings({"IconSize"});
        EXPECT_EQ(outcome.output.split('\n').value(1), row.iconSize);
        const QHash<QString, QStringList> after = valuesInFile();
        for (auto value = before.begin(); value != before.end(); ++value)
            EXPECT_EQ(after.value(value.key(), {"missing"}), value.value())
                << value.key().toStdString();
        for (const char *const key : {"IconSize", "DrawTrackMinLength", "Root", "RecentFile10"})
            EXPECT_TRUE(after.contains(key)) << key;
    }
}

TEST_F(Settings, AStoredAtEndsTheDriver)
{
    configure({"@"});
    const Outcome outcome = run({});
    EXPECT_EQ(outcome.signal, SIGABRT); // the exception is not caught
    EXPECT_EQ(outcome.output, "Preferences loaded from '" + settings.toUtf8() +
                                  "'\ntalmo_test: executing tests in '" + work.toUtf8() + "'\n");
}

TEST_F(Settings, AnUnwritableStoreIsNotReported)
{
    // A plain file stands where the folder of the settings should be.
    const QString config = environment["XDG_CONFIG_HOME"];
    QFile file(config);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    write("test1", "=heading\n");
    const Outcome outcome = run({"test1"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.output, preamble("test1") + "test1: heading\n" + summary(0, 1));
    EXPECT_TRUE(QFileInfo(config).isFile());
}

TEST_F(Settings, TheStoreIsInTheHomeWithoutAConfigVariable)
{
    environment.remove("XDG_CONFIG_HOME");
    settings = folder.filePath(".config/Brelund, Inc./Talmo.conf");
    write("test1", "=heading\n");
    EXPECT_EQ(run({"test1"}).output, preamble("test1") + "test1: heading\n" + summary(0, 1));
    EXPECT_EQ(QSettings(settings, QSettings::IniFormat).allKeys().size(), 74);
}

TEST_F(Settings, ANameWithBlanksAndLettersOfAnyScriptSurvives)
{
    configure({QString::fromUtf8("größe 2")});
    write("test1", "=heading\n=simprogram *\n=echo $simProgram\n");
    EXPECT_EQ(run({"test1"}).output,
        preamble("test1") + QByteArray("größe 2\ntest1(größe 2): heading\n") + summary(0, 1));
}
