// talmo prefs programs

#include "PrefsFixture.h"

#include <QFile>
#include <QSettings>

namespace
{

class PrefsProgramsTest : public PrefsFixture
{
};

} // namespace

TEST_F(PrefsProgramsTest, ListsProgramsAndWhereThePathLeads)
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

TEST_F(PrefsProgramsTest, AddsProgramsWhereThereIsRoom)
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

TEST_F(PrefsProgramsTest, RemovesAProgramWithWhatBelongsToIt)
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

TEST_F(PrefsProgramsTest, RefusesWhatCannotBeAProgram)
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

TEST_F(PrefsProgramsTest, NineProgramsAddedAtOnceAreAllThere)
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

TEST_F(PrefsProgramsTest, TheDriverFindsWhatWasSet)
{
    addProgram("sim1", "");
    expectSuccess({"prefs", "programs", "add", "sim1"}, "");
    configured = QStringList("sim1");
    write("test1", "=heading\n=simprogram *\n=run $simProgram\n");
    EXPECT_EQ(
        runDriver({"test1"}).output, preamble("test1") + "test1(sim1): heading\n" + summary(0, 1));
}
