#include "CompanionTest.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>
#include <unistd.h>

// talmo list, as a user calls it.

namespace
{

class ListTest : public CompanionTest
{
protected:
    /// What the JSON of the suite says of each run under \a key.
    QJsonArray valuesOf(const QString &key, const QStringList &arguments = {})
    {
        const Outcome outcome = run(QStringList({"list", "--json"}) + arguments);
        EXPECT_EQ(outcome.status, 0);
        QJsonArray values;
        const QJsonArray runs = QJsonDocument::fromJson(outcome.output)["runs"].toArray();
        for (const QJsonValue described : runs)
            values.append(described[key]);
        return values;
    }
};

} // namespace

TEST_F(ListTest, NamesTheRunsInTheDriversOrder)
{
    configure({"sim2", "sim1"});
    write("test2", "=two\n");
    write("Test1", "=one\n=simprogram sim*\n");
    write("other", "=other\n");
    expectSuccess({"list"}, "Test1(sim2)\nTest1(sim1)\ntest2\n");
    expectSuccess({"list", "other", "TEST?", "*"}, "other\nTest1(sim2)\nTest1(sim1)\ntest2\n");
}

TEST_F(ListTest, TellsOfSkippedScriptsOnStandardError)
{
    configure({"sim1"});
    write("test1", "=one\n=simprogram sim2\n");
    expectSuccess({"list"}, "", "test1: No applicable SimPrograms\n");
    write("test2", "=two\n");
    write("test3", "=three\n=simprogram\n");
    expectSuccess({"list"}, "test2\n",
        "test1: No applicable SimPrograms\ntest3: No applicable SimPrograms\n");
    expectSuccess({"list", "--run", "test3"}, "", "test3: No applicable SimPrograms\n");
    expectSuccess({"list", "--program", "sim2=/bin/ls"}, "test1(sim2)\ntest2\n",
        "test3: No applicable SimPrograms\n");
}

TEST_F(ListTest, MakesAndChangesNothing)
{
    write("test1", "=one\n=simprogram *\n=run $simProgram\n");
    write("test1.dir/leftover", "");
    const QStringList before = everything(); // without a folder of settings
    EXPECT_EQ(before, QStringList({"programs/", "tmp/", "work/", "work/test1", "work/test1.dir/",
                          "work/test1.dir/leftover"}));
    expectSuccess({"list"}, "", "test1: No applicable SimPrograms\n");
    addProgram("sim1", "touch started\n");
    environment["TMPDIR"] = "/nowhere"; // no folder for programs is made
    expectSuccess({"list", "--program", "sim1=../programs"}, "test1(sim1)\n");
    EXPECT_EQ(everything(), QStringList({"programs/", "programs/sim1", "tmp/", "work/",
                                "work/test1", "work/test1.dir/", "work/test1.dir/leftover"}));
    configure({"sim1"});
    const QStringList configuredHome = everything();
    const QByteArray content = read(settings);
    expectSuccess({"list"}, "test1(sim1)\n");
    EXPECT_EQ(everything(), configuredHome);
    EXPECT_EQ(read(settings), content);
}

TEST_F(ListTest, WorksInAnotherDirectory)
{
    write("test1", "=here\n");
    write("suite/inner/test2", "=there\n=simprogram *\n");
    write("suite/inner/sim", "#!/bin/sh\n");
    ASSERT_EQ(chmod(qPrintable(work + "/suite/inner/sim"), 0700), 0);
    expectSuccess({"list", "-C", "suite/inner", "--program", "sim2=sim"}, "test2(sim2)\n");
    expectSuccess({"list", "-C", work + "/suite/inner", "--program=sim2=./sim"}, "test2(sim2)\n");
    expectSuccess({"list", "-Csuite", "-C", "inner", "--program", "sim=."}, "test2(sim)\n");
    expectSuccess({"list", "-C", "suite", "-C", "..", "-C", "."}, "test1\n");
    const QByteArray cannot = "talmo: list: cannot go to the directory ";
    expectWrongCall({"list", "-C", "none"}, cannot + "'none': No such file or directory\n");
    expectWrongCall({"list", "-C", "test1"}, cannot + "'test1': Not a directory\n");
    expectWrongCall({"list", "-C", ""}, cannot + "'': No such file or directory\n");
    expectWrongCall({"list", "-C", "suite", "-C", "suite", "none"},
        cannot + "'suite': No such file or directory\n");
}

TEST_F(ListTest, TakesTheProgramsThatAreGivenInsteadOfTheConfiguredOnes)
{
    configure({"sim1", "sim2"});
    addProgram("sim3", "");
    addProgram("sim1", "");
    write("test1", "=one\n=simprogram sim*\n");
    expectSuccess({"list"}, "test1(sim1)\ntest1(sim2)\n");
    expectSuccess({"list", "--program", "sim3"}, "test1(sim3)\n");
    expectSuccess({"list", "--program", "sim3", "--program", "sim1=" + programs},
        "test1(sim3)\ntest1(sim1)\n");
    expectWrongCall(
        {"list", "--program", "sim2"}, "talmo: list: the program 'sim2' is not in the PATH\n");
}

TEST_F(ListTest, PicksByNameAndLabel)
{
    write("test1", "=one\n# talmo: labels slow\n");
    write("test2", "=two\n# talmo: labels slow mpi\n");
    write("test3", "=three\n");
    expectSuccess({"list", "--run", "test3", "--run=test1"}, "test1\ntest3\n");
    expectSuccess({"list", "--label", "slow"}, "test1\ntest2\n");
    expectSuccess({"list", "--label", "mpi", "--label", "slow"}, "test1\ntest2\n");
    expectSuccess({"list", "--exclude-label", "mpi", "--exclude-label", "none"}, "test1\ntest3\n");
    expectSuccess({"list", "--label", "slow", "--exclude-label", "mpi"}, "test1\n");
    expectWrongCall({"list", "--label", "slow", "--run", "test3"},
        "talmo: list: the labels leave no run in '" + work.toUtf8() + "'\n");
}

TEST_F(ListTest, TakesTheDistributionOnlyIfItIsAskedFor)
{
    const QByteArray nothing =
        "talmo: list: the filter 'test*' matches nothing in '" + work.toUtf8() + "'\n";
    expectWrongCall({"list"}, nothing);
    const Outcome outcome = run({"list", "--distribution"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.startsWith("test01_text_compare\n")) << outcome.output.toStdString();
    expectSuccess({"list", "--distribution", "test0[13]*"}, "test01_text_compare\ntest03_run\n");
    write("test1", "=one\n");
    expectSuccess({"list"}, "test1\n");
    expectSuccess({"list", "--distribution", "TEST03*"}, "test03_run\n");
    const Outcome described = run({"list", "--distribution", "--json", "test03*"});
    const QJsonDocument document = QJsonDocument::fromJson(described.output);
    const QString scripts = QDir(DISTRIBUTION).canonicalPath();
    EXPECT_EQ(document["suite"].toString(), work);
    EXPECT_EQ(document["scripts"].toString(), scripts);
    EXPECT_EQ(document["runs"][0]["path"].toString(), scripts + "/test03_run");
}

TEST_F(ListTest, TwoDashesEndTheOptions)
{
    write("-x", "=dash\n");
    write("--json", "=json\n");
    expectSuccess({"list", "--", "-x", "--json"}, "-x\n--json\n");
    expectSuccess({"list", "*x"}, "-x\n");
}

TEST_F(ListTest, AWrongCallIsRefused)
{
    write("test1", "=one\n");
    const struct {
        QStringList arguments;
        const char *sentence;
    } rows[] = {
        {{"-x"}, "unknown option 'x'"},
        {{"--runs", "test1"}, "unknown option 'runs'"},
        {{"--json=1"}, "unexpected value after '--json'"},
        {{"--run"}, "missing value after '--run'"},
        {{"--label"}, "missing value after '--label'"},
        {{"--exclude-label"}, "missing value after '--exclude-label'"},
        {{"--program"}, "missing value after '--program'"},
        {{"-C"}, "missing value after '-C'"},
        {{"--program", ""}, "a program needs a name"},
        {{"--program", "test"}, "the shell has a command 'test' of its own, so it would not start "
                                "the program of that name"},
    };
    for (const auto &row : rows)
        expectWrongCall(
            QStringList("list") + row.arguments, "talmo: list: " + QByteArray(row.sentence) + "\n");
}

TEST_F(ListTest, AllThatIsWrongIsToldAtOnce)
{
    write("test1", "=one\n# talmo: nonsense\n");
    write("test2", "no heading\n");
    write("te\nst", "=three\n");
    const QByteArray folderName = work.toUtf8();
    expectWrongCall({"list", "--program", "none", "--program", "if", "--run", "a\x1b[0mb",
                        "--label", "l", "t*", "x\ny"},
        "talmo: list: the program 'none' is not in the PATH\n"
        "talmo: list: the shell has a command 'if' of its own, so it would not start the program "
        "of "
        "that name\n"
        "talmo: list: te\\x0ast: a name with control characters, or with others that XML cannot "
        "carry, cannot be handled\n"
        "talmo: list: test1:2: unknown word 'nonsense' behind 'talmo:'\n"
        "talmo: list: test2: Invalid test file\n"
        "talmo: list: the filter 'x\\x0ay' matches nothing in '" +
            folderName +
            "'\n"
            "talmo: list: there is no run 'a\\x1b[0mb' in '" +
            folderName +
            "'\n"
            "talmo: list: no script in '" +
            folderName + "' has the label 'l'\n");
}

TEST_F(ListTest, SettingsThatCannotBeReadAreAnErrorUnlessProgramsAreGiven)
{
    write("test1", "=one\n");
    QDir().mkpath(QFileInfo(settings).path());
    ASSERT_EQ(mkfifo(qPrintable(settings), 0600), 0);
    expectWrongCall({"list"},
        "talmo: list: cannot read the settings '" + settings.toUtf8() + "': it is a pipe\n");
    expectSuccess({"list", "--program", "ls"}, "test1\n");
}

TEST_F(ListTest, AScriptThatMayNotBeReadIsAnError)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "permissions cannot be made to hold for root";
    write("test1", "=one\n");
    write("test2", "=two\n");
    ASSERT_EQ(chmod(qPrintable(work + "/test2"), 0), 0);
    expectWrongCall({"list"}, "talmo: list: test2: Permission denied\n");
    expectWrongCall({"list", "--run", "test1"}, "talmo: list: test2: Permission denied\n");
    expectSuccess({"list", "test1"}, "test1\n");
    ASSERT_EQ(chmod(qPrintable(work), 0300), 0);
    const Outcome outcome = run({"list"});
    ASSERT_EQ(chmod(qPrintable(work), 0700), 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
        "talmo: list: cannot list the scripts in '" + work.toUtf8() + "': Permission denied\n");
    EXPECT_EQ(outcome.status, 2);
}

TEST_F(ListTest, DescribesTheRunsAsJson)
{
    configure({"sim1"});
    write("test[1]*?", "=A \"heading\" with \xC3\xA4 and \xFF\n=simprogram sim*\n"
                       "# talmo: processors 4\n# talmo: timeout 600\n# talmo: labels slow mpi\n"
                       "# talmo: lock disk\n# talmo: serial\n# talmo: retry 2\n"
                       "# talmo: known ^a \\(b\\)$\n# talmo: known c\n");
    write("test2", "=\n=simprogram none\n");
    QByteArray document = R"json({
    "format": 1,
    "runs": [
        {
            "directory": null,
            "filter": "test2",
            "heading": "",
            "known": [
            ],
            "labels": [
            ],
            "locks": [
            ],
            "name": "test2",
            "path": "FOLDER/test2",
            "processors": 1,
            "program": null,
            "retries": 0,
            "script": "test2",
            "serial": false,
            "skipped": "No applicable SimPrograms",
            "timeout": null
        },
        {
            "directory": "test[1]*?(sim1).dir",
            "filter": "test[[]1][*][?]",
            "heading": "A \"heading\" with LETTER and REPLACEMENT",
            "known": [
                "^a \\(b\\)$",
                "c"
            ],
            "labels": [
                "slow",
                "mpi"
            ],
            "locks": [
                "disk"
            ],
            "name": "test[1]*?(sim1)",
            "path": "FOLDER/test[1]*?",
            "processors": 4,
            "program": "sim1",
            "retries": 2,
            "script": "test[1]*?",
            "serial": true,
            "skipped": null,
            "timeout": 600
        }
    ],
    "scripts": "FOLDER",
    "suite": "FOLDER"
}
)json";
    document.replace("FOLDER", work.toUtf8());
    document.replace("LETTER", "\xC3\xA4");
    document.replace("REPLACEMENT", "\xEF\xBF\xBD");
    expectSuccess({"list", "--json"}, document);
}

TEST_F(ListTest, TheFilterInTheJsonSelectsTheScript)
{
    const QStringList names = {"test1", "a*b", "a?b", "axb", "[a]", "a[b]c", "a]b", "a\\b", "a\\[b",
        "[[]", "[*]", "-x", "(a|b)", "a{1}", "^a$", "a b", QString::fromUtf8("\u00e4\u65e5"),
        "[!a]", "[^a]", "a.b", "*", "?", "["};
    for (const QString &name : names)
        write(name, "=heading\n");
    const QJsonArray scripts = valuesOf("script", {"*"});
    const QJsonArray filters = valuesOf("filter", {"*"});
    ASSERT_EQ(scripts.size(), names.size());
    for (int index = 0; index < scripts.size(); ++index)
        expectSuccess(
            {"list", "--", filters[index].toString()}, scripts[index].toString().toUtf8() + "\n");
}

TEST_F(ListTest, TheJsonIsUtf8WhateverTheDirectoryIsCalled)
{
    addProgram(
        "inStrangePlace", "folder=$(printf 'J\\366rg')\nmkdir -p \"$folder\"\ncd \"$folder\"\n"
                          "echo '=heading' >test1\nexec '" +
                              driver.toUtf8() + "' \"$@\"\n");
    driver = programs + "/inStrangePlace";
    expectSuccess({"list"}, "test1\n");
    const Outcome outcome = run({"list", "--json"});
    EXPECT_EQ(QString::fromUtf8(outcome.output).toUtf8(), outcome.output);
    const QJsonDocument document = QJsonDocument::fromJson(outcome.output);
    EXPECT_EQ(document["suite"].toString(), work + "/J" + QChar(0xFFFD) + "rg");
    const QByteArray place = work.toUtf8() + "/J\xF6rg"; // which Qt would not find
    EXPECT_EQ(unlink(place + "/test1"), 0);
    EXPECT_EQ(rmdir(place), 0);
}

TEST_F(ListTest, ManyRunsNeedLittle)
{
    configure({"sim1", "sim2"});
    for (int n = 0; n < 500; ++n)
        write("test" + QString::number(1000 + n), "=heading\n=simprogram *\n");
    QByteArray names;
    QStringList picked = {"list"};
    for (int n = 0; n < 500; ++n) {
        const QByteArray name = "test" + QByteArray::number(1000 + n);
        names += name + "(sim1)\n" + name + "(sim2)\n";
        picked += {"--run", name + "(sim1)", "--run", name + "(sim2)"};
    }
    expectSuccess({"list"}, names);
    expectSuccess(picked, names);
}

TEST_F(ListTest, HelpIsPrinted)
{
    const Outcome outcome = run({"list", "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(outcome.output.startsWith("Usage: talmo list [options] [FILTER...]\n"))
        << outcome.output.toStdString();
    for (const char *const option : {"-C <DIR>", "--program <NAME[=PATH]>", "--run <NAME>",
             "--label <LABEL>", "--exclude-label <LABEL>", "--distribution", "--json"})
        EXPECT_TRUE(outcome.output.contains(option)) << option;
    EXPECT_EQ(run({"help", "list"}).output, outcome.output);
    EXPECT_TRUE(run({"help"}).output.contains("\n  list "));
}
