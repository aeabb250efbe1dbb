// talmo report

#include "ResultsForTests.h"
#include "RunFixture.h"
#include "formats.h"
#include "makeReport.h"
#include "markdown.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <sys/stat.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

class ReportTest : public RunFixture
{
protected:
    /// Runs `talmo report` with \a arguments and expects the exit status 0. Returns what it prints,
    /// without what no test can foresee: moments, times, the machine and the directory.
    QByteArray report(const QStringList &arguments = {}, const QByteArray &errors = "")
    {
        const Outcome outcome = run(QStringList("report") + arguments);
        EXPECT_EQ(foreseeable(outcome.errors), errors);
        EXPECT_EQ(outcome.status, 0);
        return foreseeable(outcome.output);
    }

    /// The same as Markdown.
    QByteArray markdown(const QStringList &arguments = {})
    {
        return report(QStringList({"--format", "markdown"}) + arguments);
    }

    QByteArray foreseeable(const QByteArray &output) const
    {
        QString text = QString::fromUtf8(output);
        text.replace(work, "WORK");
        text.replace(markdownCode(work).section('>', 1).section("</code", 0, 0), "WORK");
        text.replace(QRegularExpression("[0-9-]{10}T[0-9:.]{8,12}(Z|[+&#;0-9:]+)"), "MOMENT");
        text.replace(QRegularExpression(" in [0-9.]+ s:"), ":");
        text.replace(QRegularExpression("on <code>[^<]*</code>\n"), "on HOST\n");
        return text.toUtf8();
    }

    /// Expects that `talmo report` with \a arguments is a wrong call, for \a reason.
    void expectRefused(const QStringList &arguments, const QByteArray &reason)
    {
        expectWrongCall(QStringList("report") + arguments, "talmo: report: " + reason + "\n");
    }

    QJsonObject jsonReport(const QStringList &arguments)
    {
        const Outcome outcome = run(QStringList({"report", "--format", "json"}) + arguments);
        EXPECT_EQ(outcome.status, 0);
        return QJsonDocument::fromJson(outcome.output).object();
    }

    /// "name: state, message [line]" of each run that \a arguments report.
    QStringList runsOf(const QStringList &arguments)
    {
        QStringList lines;
        const QJsonArray runs = jsonReport(arguments)["runs"].toArray();
        for (const QJsonValue &value : runs) {
            const QJsonObject run = value.toObject();
            QString line = run["name"].toString() + ": " + run["state"].toString();
            if (!run["message"].isNull())
                line += ", " + run["message"].toString();
            lines += line;
        }
        return lines;
    }

    void writeSuite()
    {
        write("test1", "=one\n=file a\n1\n2\n=file b\n1\n3\n=compare a b 0.5\n=compare a b\n");
        write("test2", "=two\n");
        write("test3", "=three\n=simprogram none\n");
        write("test4", "=four\n# talmo: known exist\n=exists none\n");
    }
};

const QByteArray theRun = "talmo: report: The last talmo run in 'WORK'\n";

} // namespace

TEST_F(ReportTest, TellsWhatFailedInTheLastRun)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    EXPECT_EQ(markdown(),
        "<!-- talmo report -->\n"
        "**4 runs: 1 passed, 1 failed, 1 known, 0 flaky, 1 skipped, 0 not run**\n\n"
        "<code>The last talmo run in 'WORK'</code>\n"
        "started <code>MOMENT</code>, on HOST\n"
        "\n### Failed\n\n| run | where | reason | |\n|---|---|---|---|\n"
        "| <code>test1</code> | <code>test1:8</code> | <code>Files 'a' and 'b' differ on line 2, "
        "column 1</code> | 2 comparisons fail |\n"
        "\n<details><summary>All comparisons that fail: 2</summary>\n\n"
        "| run | where | message | worst |\n|---|---|---|---|\n"
        "| <code>test1</code> | <code>test1:8</code> | <code>Files 'a' and 'b' differ on line 2, "
        "column 1</code> | <code>1 line differs; column 1 by up to 1 on line 2, 2 times its "
        "tolerance</code> |\n"
        "| <code>test1</code> | <code>test1:9</code> | <code>Files 'a' and 'b' differ at line "
        "2</code> | <code>1 line differs</code> |\n"
        "\n</details>\n"
        "\n### Skipped or not run\n\n| reason | runs | which |\n|---|---|---|\n"
        "| <code>No applicable SimPrograms</code> | 1 | <code>test3</code> |\n"
        "\n<details><summary>Commands that make them again</summary>\n\n"
        "- <code>talmo run -C WORK --run test1 test1</code>\n"
        "\n</details>\n");
}

TEST_F(ReportTest, TheCommandMakesTheRunAgain)
{
    configure({"sim1"});
    addProgram("sim1", "false");
    const QString names[] = {"test1", "test 1's [x]*", "test$(touch made)"};
    for (const QString &name : names)
        write(name, "=heading\n=simprogram sim1\n=run $simProgram\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    const QJsonArray failures = jsonReport({})["failures"].toArray();
    ASSERT_EQ(failures.size(), 3);
    for (const QJsonValue &failure : failures) {
        const QString command = failure.toObject()["rerun"].toString();
        ASSERT_TRUE(command.startsWith("talmo run ")) << command.toStdString();
        const Outcome outcome = runProcess(
            "/bin/sh", {"-c", QString("exec \"$TALMO\"") + command.mid(5)},
            [this] {
                Environment with = environment;
                with["TALMO"] = driver;
                return with;
            }(),
            folder.path());
        EXPECT_EQ(outcome.errors, "");
        EXPECT_TRUE(outcome.output.contains("\n1 run in ")) << outcome.output.toStdString();
        EXPECT_TRUE(outcome.output.contains(" 1 failed")) << command.toStdString();
    }
    EXPECT_FALSE(exists("made"));
}

TEST_F(ReportTest, TheCommandGivesTheProgramsAgain)
{
    configure({"sim9"});
    addProgram("sim2", "exit 1");
    ASSERT_TRUE(QDir(work).mkpath("it's built"));
    write("it's built/simulate", "#!/bin/sh\necho version 7\nexit 3\n");
    ASSERT_TRUE(
        QFile::setPermissions(work + "/it's built/simulate", QFile::ReadOwner | QFile::ExeOwner));
    write("test1", "=heading\n=simprogram sim*\n=run $simProgram\n");
    EXPECT_EQ(
        make({"-j1", "--program", "sim1=it's built/simulate", "--program", "sim2"}).status, 1);
    const QJsonObject json = jsonReport({"--version"});
    const QJsonArray failures = json["failures"].toArray();
    ASSERT_EQ(failures.size(), 2);
    const QString given = " --program 'sim1=" + QString(work).replace("'", "'\\''") +
                          "/it'\\''s built/simulate' --program sim2";
    for (const int index : {0, 1}) {
        const QString name = QString("'test1(sim%1)'").arg(index + 1);
        EXPECT_EQ(failures[index].toObject()["rerun"].toString(),
            "talmo run -C " + work + given + " --run " + name + " test1");
    }
    EXPECT_EQ(
        json["versions"].toArray()[0].toObject()["version"].toString(), "exit status 3: version 7");
    ASSERT_TRUE(QFile::remove(work + "/it's built/simulate"));
    EXPECT_EQ(jsonReport({"--version"})["versions"].toArray()[0].toObject()["version"].toString(),
        "it was not found");
}

TEST_F(ReportTest, ComparesWithTheRunBefore)
{
    for (const char *const name : {"test1", "test2", "test3", "test4", "test5"})
        write(name, "=heading\n=exists ../there\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    EXPECT_EQ(jsonReport({})["changes"], QJsonValue());
    write("test1", "=heading\n");
    EXPECT_EQ(make({"-j1", "test1", "test2"}).status, 1); // the others are not gone
    write("test3", "=heading\n");
    QFile::remove(work + "/test2");
    write("test6", "=heading\n=exists none\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    QJsonObject changes = jsonReport({})["changes"].toObject();
    changes.remove("old");
    const QByteArray expected = R"({"gone": ["test2"], "new": ["test6"], "newlyFailing": [],
        "newlyPassing": ["test3"], "slower": [], "stillFailing": ["test4", "test5"]})";
    EXPECT_EQ(QJsonDocument(changes).toJson(),
        QJsonDocument(QJsonDocument::fromJson(expected).object()).toJson());
    EXPECT_TRUE(markdown().contains(
        "\n### Changes\n\nCompared with <code>the run of MOMENT</code>\n\n| | runs | which "
        "|\n|---|---|---|\n"
        "| newly passing | 1 | <code>test3</code> |\n"
        "| still failing | 2 | <code>test4</code>, <code>test5</code> |\n"
        "| new | 1 | <code>test6</code> |\n"
        "| gone | 1 | <code>test2</code> |\n"))
        << markdown().toStdString();
}

TEST_F(ReportTest, ComparesWithAFile)
{
    write("test1", "=heading\n=exists none\n");
    write("test2", "=heading\n");
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "old.xml"}).status, 1);
    write("test1", "=heading\n");
    write("test2", "=heading\n=exists none\n");
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "new.xml"}).status, 1);
    const QJsonObject changes =
        jsonReport({"new.xml", "--compare", "old.xml"})["changes"].toObject();
    EXPECT_EQ(changes["newlyFailing"], QJsonArray({"test2"}));
    EXPECT_EQ(changes["newlyPassing"], QJsonArray({"test1"}));
    EXPECT_EQ(changes["old"].toString(), "The results of talmo in 'old.xml'");
    expectRefused(
        {"new.xml", "--compare", "none"}, "cannot read 'none': No such file or directory");
}

TEST_F(ReportTest, TakesWhatTheDriverHasPrinted)
{
    configure({"sim1"});
    addProgram("sim1", "exit 3");
    write("test1", "=one: more\n=echo test1: no heading\n=echo test2: ***ERROR: invented\n");
    write("test2", "=two\n=simprogram sim1\n=run $simProgram\n");
    write("test3", "=three\n=simprogram none\n");
    write("test4", "four\n");
    write("test5", "=five\n=file a\n1\n=file b\n2\n=compare a b\n=compare a b 0\n");
    const Outcome outcome = runDriver({"test*"});
    EXPECT_EQ(outcome.status, 2);
    write("out.txt", outcome.output);
    EXPECT_EQ(runsOf({"out.txt"}),
        QStringList({"test1: passed", "test2(sim1): failed, running 'sim1' failed",
            "test3: skipped, No applicable SimPrograms", "test4: failed, Invalid test file",
            "test5: failed, Files 'a' and 'b' differ at line 1"}));
    const QJsonObject json = jsonReport({"out.txt"});
    EXPECT_EQ(json["source"].toString(), "What talmo_test has printed, in 'out.txt'");
    const QJsonArray failures = json["failures"].toArray();
    ASSERT_EQ(failures.size(), 3);
    EXPECT_EQ(failures[2].toObject()["line"].toInt(), 6);
    EXPECT_EQ(failures[2].toObject()["comparisons"].toArray().size(), 2);
    EXPECT_EQ(failures[2].toObject()["rerun"].toString(), "cd " + work + " && talmo_test test5");
    EXPECT_TRUE(markdown({"out.txt"}).contains("What talmo&#95;test has printed, in 'out.txt'"));
}

TEST_F(ReportTest, SaysWhatIsNotCertainOfAPrintedOutput)
{
    const QByteArray head = "talmo_test: executing tests in '/none'\n"
                            "talmo_test: tests to run from '/none':\ntest1 test2\n";
    write("cut", head + "test1: heading\n");
    EXPECT_EQ(jsonReport({"cut"})["source"].toString(),
        "What talmo_test has printed, in 'cut'; its end is missing, so more may have been run");
    write("other", head + "test1: ***ERROR: x\ntest2: ***ERROR: y\n"
                          "***talmo_test: 1 tests failed out of 2 tests\n");
    EXPECT_EQ(jsonReport({"other"})["source"].toString(),
        "What talmo_test has printed, in 'other'; it says that 1 scripts failed, but lines tell "
        "so of 2: what programs print stands between");
    write("twice", head + "test1: ***ERROR: x\ntest1: heading\ntest2: heading\n"
                          "All tests passed (2 total)\n");
    EXPECT_EQ(runsOf({"twice"}), QStringList({"test1: passed", "test2: passed"}));
    EXPECT_EQ(jsonReport({"twice"})["runs"].toArray()[0].toObject()["remarks"].toArray(),
        QJsonArray({"2 lines begin with its name; the last one counts"}));
    write("before", head + "test2: ***ERROR: x\ntest1: heading\ntest2: heading\n"
                           "All tests passed (2 total)\n");
    EXPECT_EQ(runsOf({"before"}), QStringList({"test1: passed", "test2: passed"}));
    write("after", head + "test1: heading\ntest1: ***ERROR: x\ntest2: heading\n"
                          "test1: ***ERROR: y\n***talmo_test: 1 tests failed out of 2 tests\n");
    EXPECT_EQ(runsOf({"after"}), QStringList({"test1: failed, x", "test2: passed"}));
    write("bare", "talmo_test: executing tests in '/none'\n");
    expectRefused({"bare"}, "bare: it is damaged: it does not say which tests are run");
}

TEST_F(ReportTest, TakesAJUnitFileOfCTest)
{
    ASSERT_TRUE(QDir(work).mkpath("talmo_tests/physics"));
    const QString place = work + "/talmo_tests/physics";
    const QString before = work;
    work = place;
    write("test1", "=one\n=file a\n1\n=file b\n2\n=echo <b>hi\n=compare a b 0.1\n=compare a b\n");
    EXPECT_EQ(make({"--no-record"}).status, 1);
    work = before;
    ASSERT_TRUE(QFile::copy(CTEST_RESULTS, work + "/ctest.xml"));
    EXPECT_EQ(runsOf({"ctest.xml"}),
        QStringList({"physics.test1: failed, Files 'a' and 'b' differ on line 1, column 1",
            "physics.test2: passed", "physics.test3: skipped, No applicable SimPrograms",
            "physics.test4: known, File 'none' does not exist",
            "physics.test5: failed, ctest does not tell why",
            "other: failed, ctest does not tell why", "gone: not run, Unable to find executable",
            "slow: failed, ctest does not tell why", "off: skipped, disabled"}));
    const QJsonObject json = jsonReport({"ctest.xml"});
    EXPECT_EQ(json["source"].toString(),
        "The results of ctest in 'ctest.xml'; 4 of its 9 tests are runs of talmo");
    const QJsonArray failures = json["failures"].toArray();
    ASSERT_EQ(failures.size(), 4);
    EXPECT_EQ(failures[0].toObject()["line"].toInt(), 7);
    EXPECT_EQ(failures[0].toObject()["comparisons"].toArray().size(), 2);
    EXPECT_EQ(failures[0].toObject()["rerun"].toString(),
        "ctest --output-on-failure -R '^physics\\.test1$'");
    EXPECT_EQ(failures[2].toObject()["obstacle"].toString(), "It is no run of talmo");
    const QByteArray page = report({"ctest.xml"});
    EXPECT_FALSE(page.contains("There is no picture")) << page.toStdString();
    EXPECT_TRUE(page.contains("<figure"));
}

TEST_F(ReportTest, WhatCTestSaysOfATestCounts)
{
    write("f",
        "<testsuite disabled=\"0\" skipped=\"0\" time=\"1\">\n"
        "<testcase name=\"s.test1\" time=\"1\" status=\"run\"><system-out>test1: ***ERROR: x\n"
        "\nFailed:\n  test1: x [test1.dir]\n\n1 run in 0.01 s: 0 passed, 1 failed, 0 known, "
        "0 flaky, 0 skipped, 0 not run\n</system-out></testcase></testsuite>\n");
    EXPECT_EQ(runsOf({"f"}), QStringList("s.test1: passed")); // as with the property WILL_FAIL
    EXPECT_EQ(jsonReport({"f"})["runs"].toArray()[0].toObject()["remarks"].toArray(),
        QJsonArray({"ctest says 'run' of it"}));
}

TEST_F(ReportTest, RefusesWhatIsNoResult)
{
    expectRefused({}, "no talmo run was recorded in '" + work.toUtf8() + "'");
    expectRefused({"none"}, "cannot read 'none': No such file or directory");
    expectRefused({"."}, "cannot read '.': Is a directory");
    ASSERT_EQ(mkfifo(QFile::encodeName(work + "/fifo"), 0600), 0);
    const QByteArray fifo = run({"report", "fifo"}).errors;
    EXPECT_TRUE(fifo.startsWith("talmo: report: cannot read 'fifo': ")) << fifo.toStdString();
    const struct {
        QByteArray content;
        QByteArray reason;
    } rows[] = {
        {"", "f: it is neither a JUnit file of talmo or ctest nor an output of talmo_test"},
        {"=heading\n",
            "f: it is neither a JUnit file of talmo or ctest nor an output of talmo_test"},
        {"<html/>", "f: it is neither a JUnit file of talmo or ctest nor an output of talmo_test"},
        {"<!DOCTYPE a [<!ENTITY b 'c'>]><testsuites name=\"talmo\"/>",
            "f: it is neither a JUnit file of talmo or ctest nor an output of talmo_test"},
        {"<testsuites name=\"pytest\"/>",
            "f: it is a JUnit file of another tool, not of talmo or ctest"},
        {"<testsuite name=\"x\" tests=\"1\"/>",
            "f: it is a JUnit file of another tool, not of talmo or ctest"},
        {"<testsuites name=\"talmo\"/>", "f:1: it is damaged: it does not say which format it has"},
        {"<testsuite disabled=\"0\" skipped=\"0\" time=\"x\"/>",
            "f:1: it is damaged: 'x' is no time"},
        {"<testsuite disabled=\"0\" skipped=\"0\" time=\"1\">\n<testcase time=\"0\" "
         "status=\"run\"/>",
            "f:2: it is damaged: a test case has no name"},
        {"<testsuite disabled=\"0\" skipped=\"0\" time=\"1\">\n\n<testcase name=\"x\" time=\"0\" "
         "status=\"odd\"/>",
            "f:3: it is damaged: 'odd' is no status of ctest"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content.toStdString());
        write("f", row.content);
        expectRefused({"f"}, row.reason);
    }
    write("f", "<testsuite disabled=\"0\" skipped=\"0\" time=\"1\">\n<testcase name=\"x\" ");
    const QByteArray cut = run({"report", "f"}).errors;
    EXPECT_TRUE(cut.startsWith("talmo: report: f:2: it is damaged: ")) << cut.toStdString();
}

TEST_F(ReportTest, RefusesResultsOfOtherTools)
{
    // What pytest, GoogleTest, Maven and others write, shortened.
    const QByteArray documents[] = {
        "<?xml version=\"1.0\" encoding=\"utf-8\"?><testsuites name=\"pytest tests\"><testsuite "
        "name=\"pytest\" errors=\"0\" failures=\"1\" skipped=\"0\" tests=\"1\" time=\"0.1\" "
        "timestamp=\"2026-03-01T12:00:00\" hostname=\"h\"><testcase classname=\"test_a\" "
        "name=\"test_b\" time=\"0.1\"><failure message=\"x\">x</failure></testcase></testsuite>"
        "</testsuites>",
        "<testsuite errors=\"0\" failures=\"0\" hostname=\"h\" name=\"pytest\" skipped=\"0\" "
        "tests=\"1\" time=\"0.1\" timestamp=\"2026-03-01T12:00:00\"><testcase classname=\"a\" "
        "name=\"b\" time=\"0.1\"/></testsuite>",
        "<testsuites tests=\"1\" failures=\"0\" disabled=\"0\" errors=\"0\" time=\"0.1\" "
        "timestamp=\"2026-03-01T12:00:00.000\" name=\"AllTests\"><testsuite name=\"A\" "
        "tests=\"1\" failures=\"0\" disabled=\"0\" skipped=\"0\" errors=\"0\" time=\"0.1\">"
        "<testcase name=\"B\" status=\"run\" result=\"completed\" time=\"0.1\" "
        "classname=\"A\"/></testsuite></testsuites>",
        "<testsuite name=\"A\" tests=\"1\" failures=\"0\" disabled=\"0\" skipped=\"0\" "
        "errors=\"0\" time=\"0.1\"><testcase name=\"B\" status=\"run\" time=\"0.1\"/>"
        "</testsuite>",
        "<testsuite xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" version=\"3.0\" "
        "name=\"org.example.ATest\" time=\"0.1\" tests=\"1\" errors=\"0\" skipped=\"0\" "
        "failures=\"0\"><properties><property name=\"a\" value=\"b\"/></properties>"
        "<testcase name=\"b\" classname=\"org.example.ATest\" time=\"0.1\"/></testsuite>",
        "<testsuite name=\"A\" tests=\"1\" failures=\"0\" disabled=\"0\" skipped=\"0\" "
        "time=\"0.1\"><properties/><testcase name=\"B\" time=\"0.1\"/></testsuite>",
    };
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    for (const QByteArray &document : documents) {
        SCOPED_TRACE(document.toStdString());
        write("f", document);
        const QByteArray reason = "f: it is a JUnit file of another tool, not of talmo or ctest";
        expectRefused({"f", "-o", "page.html"}, reason);
        expectRefused({"--compare", "f", "-o", "page.html"}, reason);
        EXPECT_FALSE(exists("page.html"));
    }
}

TEST_F(ReportTest, ALinkStaysAndWhatItLeadsToIsWritten)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    ASSERT_TRUE(QDir(work).mkdir("pages"));
    const auto link = [this](const char *target, const char *name) {
        ASSERT_EQ(symlink(target, QFile::encodeName(work + '/' + name)), 0);
    };
    link("pages/a.html", "dangling.html");
    link("dangling.html", "chain.html");
    link("gone/a.html", "nowhere.html");
    link("circle.html", "circle.html");
    link("test1", "script.html");
    const QByteArray page = "<!DOCTYPE html><html lang=\"en\">";
    for (const char *const name : {"dangling.html", "dangling.html", "chain.html"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(report({"-o", name}, theRun), ""); // the second time over the first report
        EXPECT_TRUE(read("pages/a.html").startsWith(page));
        EXPECT_TRUE(QFileInfo(work + '/' + name).isSymLink());
    }
    ASSERT_TRUE(QFile::remove(work + "/pages/a.html"));
    EXPECT_EQ(report({"-o", "chain.html"}, theRun), "");
    EXPECT_TRUE(read("pages/a.html").startsWith(page));
    EXPECT_TRUE(QFileInfo(work + "/chain.html").isSymLink());
    EXPECT_TRUE(QFileInfo(work + "/dangling.html").isSymLink());
    expectRefused({"-o", "nowhere.html"}, "cannot write 'nowhere.html': No such file or directory");
    expectRefused(
        {"-o", "circle.html"}, "cannot write 'circle.html': Too many levels of symbolic links");
    expectRefused({"-o", "script.html"},
        "cannot write 'script.html': It holds something else than a report of talmo");
}

TEST_F(ReportTest, RefusesWrongCalls)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    expectRefused({"a", "b"}, "it takes one RESULT");
    expectRefused({"--format", "pdf"}, "there is no format 'pdf', but html, markdown, junit, json");
    expectRefused({"-C", "none"}, "cannot go to the directory 'none': No such file or directory");
    expectRefused({"-o", "."}, "cannot write '.': Is a directory");
    expectRefused(
        {"-o", "test1"}, "cannot write 'test1': It holds something else than a report of talmo");
    write("talmo.known", "");
    expectRefused(
        {"-o", "talmo.known"}, "cannot write 'talmo.known': It is the list of known failures");
    expectRefused({"-o", "none/a"}, "cannot write 'none/a': No such file or directory");
    write(".talmo/runs/2026-01-01T00-00-00.000Z.xml", "");
    EXPECT_EQ(run({"report"}).status, 0);
}

TEST_F(ReportTest, DamagedRecordsAreSaid)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    const QString runs = work + "/.talmo/runs";
    const QString name = QDir(runs).entryList(QDir::Files).value(0);
    write(".talmo/runs/2001-01-01T00-00-00.000Z.xml", "rubbish"); // the run before
    const Outcome outcome = run({"report"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(foreseeable(outcome.errors),
        "talmo: report: nothing is compared: WORK/.talmo/runs/2001-01-01T00-00-00.000Z.xml: it is "
        "no result file of talmo\n");
    write(".talmo/runs/" + name, "rubbish");
    expectRefused(
        {}, work.toUtf8() + "/.talmo/runs/" + name.toUtf8() + ": it is no result file of talmo");
    write(".talmo/marker", "somebody else's");
    EXPECT_EQ(run({"report"}).status, 2);
}

TEST_F(ReportTest, TheEndingOfTheFileTellsTheFormat)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    const struct {
        const char *file;
        QStringList options;
        const char *beginning;
    } rows[] = {
        {"a.md", {}, "<!-- talmo report -->\n"},
        {"a.xml", {}, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"talmo\""},
        {"a.json", {}, "{\n    \"about\": \"talmo report 1\",\n"},
        {"a.JSON", {}, "{\n    \"about\": \"talmo report 1\",\n"},
        {"a", {}, "<!DOCTYPE html><html lang=\"en\">"},
        {"a.html", {}, "<!DOCTYPE html><html lang=\"en\">"},
        {"a", {"--format", "json"}, "{\n    \"about\": \"talmo report 1\",\n"},
        {"a.json", {"--format", "markdown"}, "<!-- talmo report -->\n"},
        {"a.json", {"--format", "junit"}, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.file);
        EXPECT_EQ(report(QStringList({"-o", row.file}) + row.options, theRun), "");
        EXPECT_TRUE(read(row.file).startsWith(row.beginning)) << read(row.file).toStdString();
    }
}

TEST_F(ReportTest, TheJUnitFileCarriesAllComparisonsAndCanBeReadAgain)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    report({"-o", "report.xml"}, theRun);
    RunResults results;
    QString problem;
    ASSERT_TRUE(
        readJUnitFile(QFile::encodeName(work + "/report.xml"), SystemOut::Kept, results, problem))
        << problem.toStdString();
    EXPECT_EQ(results.runs[0].details,
        QStringList({"test1:8: =compare a b 0.5", "2 and 3 are 1 apart, 2 times the tolerance 0.5",
            "test1:8: Files 'a' and 'b' differ on line 2, column 1; 1 line differs; column 1 by up "
            "to 1 on line 2, 2 times its tolerance",
            "test1:9: Files 'a' and 'b' differ at line 2; 1 line differs"}));
    const QByteArray first = read("report.xml");
    report({"report.xml", "-o", "report.xml"},
        "talmo: report: The results of talmo in 'report.xml'\n");
    EXPECT_EQ(read("report.xml"), first);
}

TEST_F(ReportTest, JsonHasExactNumbers)
{
    write("test1", "=one\n=file a\n0 1\n0 1e308 \n0 1\n=file b\n0 1.1\n0 -1e308\nx 1\n1\n"
                   "=compare a b 0 0.1\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    const QJsonObject json = jsonReport({});
    const QJsonObject comparison =
        json["failures"].toArray()[0].toObject()["comparisons"].toArray()[0].toObject();
    EXPECT_EQ(comparison["line"].toInt(), 11);
    EXPECT_TRUE(comparison["isReported"].toBool());
    const QJsonObject differences = comparison["differences"].toObject();
    EXPECT_EQ(differences["lines1"].toInt(), 3);
    EXPECT_EQ(differences["lines2"].toInt(), 4);
    EXPECT_EQ(differences["differingLines"].toInt(), 3);
    const QJsonObject column = differences["columns"].toArray()[1].toObject();
    EXPECT_EQ(column["tolerance"].toDouble(), 0.1);
    EXPECT_EQ(column["largest"], QJsonValue("infinite"));
    EXPECT_EQ(column["largestAt"].toInt(), 2);
    EXPECT_EQ(column["sufficient"], QJsonValue());
    EXPECT_EQ(differences["kinds"].toObject()["noNumbers"].toObject()["lines"].toInt(), 1);
    EXPECT_EQ(json["counts"].toObject()["failed"].toInt(), 1);
    EXPECT_EQ(json["suite"].toString(), work);
}

TEST_F(ReportTest, AsksProgramsForTheirVersions)
{
    configure({"sim1", "sim2", "sim3", "sim4", "sim5"});
    write("test1", "=one\n=simprogram sim*\n");
    for (const char *const name : {"sim1", "sim2", "sim3", "sim4", "sim5"})
        addProgram(name, "");
    EXPECT_EQ(make({"-j1"}).status, 0);
    addProgram("sim1", "echo; echo \"  sim1 $1 <b>\"; echo more; pwd >" + programs.toUtf8() +
                           "/where; touch litter");
    addProgram("sim2", "cat; echo unknown option >&2; exit 7");
    addProgram("sim3", "kill -9 $$");
    addProgram("sim4", "sleep 600 & sleep 600 & echo $! >" + programs.toUtf8() + "/pid; wait");
    QFile::remove(programs + "/sim5");
    QElapsedTimer timer;
    timer.start();
    const QJsonArray versions = jsonReport({"--version"})["versions"].toArray();
    EXPECT_LT(timer.elapsed(), 30000);
    QStringList told;
    for (const QJsonValue &value : versions)
        told +=
            value.toObject()["program"].toString() + ": " + value.toObject()["version"].toString();
    EXPECT_EQ(told, QStringList({"sim1: sim1 --version <b>", "sim2: exit status 7: unknown option",
                        "sim3: it was ended by signal 9", "sim4: it did not end within 5 s",
                        "sim5: it was not found"}));
    const QString pid = QString::fromLatin1(read(programs + "/pid")).trimmed();
    EXPECT_FALSE(pid.isEmpty());
    EXPECT_EQ(stateOf(pid.toLatin1()), '?') << "what it has started is still there";
    EXPECT_FALSE(exists("litter"));
    EXPECT_FALSE(QDir(QString::fromUtf8(read(programs + "/where")).trimmed()).exists());
}

TEST_F(ReportTest, NothingFromOutsideMeansAnythingInMarkdown)
{
    const struct {
        QString text;
        QString code;
    } rows[] = {
        {"", ""},
        {"test1(sim1)", "<code>test1(sim1)</code>"},
        {"a|b\\|c", "<code>a&#124;b&#92;&#124;c</code>"},
        {"`</code><script>&lt;", "<code>&#96;&#60;/code&#62;&#60;script&#62;&#38;lt;</code>"},
        {"@me #12 !3 ~x %y $z$ ^a {b}",
            "<code>&#64;me &#35;12 &#33;3 &#126;x &#37;y &#36;z&#36; &#94;a &#123;b&#125;</code>"},
        {"[a](http://b.c)", "<code>&#91;a&#93;(http&#58;//b.c)</code>"},
        {"WWW.x.org *a* _b_", "<code>WWW&#46;x.org &#42;a&#42; &#95;b&#95;</code>"},
        {"a\nb\r\x1b\x7f", "<code>a&#92;u000ab&#92;u000d&#92;u001b&#92;u007f</code>"},
        {QStringLiteral(u"é\u202e\u2028"), QStringLiteral(u"<code>é&#92;u202e&#92;u2028</code>")},
        {QString(QChar(u'\0')), "<code>&#92;u0000</code>"},
        {QString::fromUtf8("\xf3\xa0\x81\x81\xf0\x9f\x98\x80"),
            QString::fromUtf8("<code>&#92;U000e0041\xf0\x9f\x98\x80</code>")},
    };
    for (const auto &row : rows)
        EXPECT_EQ(markdownCode(row.text), row.code);
}

TEST_F(ReportTest, WordsForAShellStayWords)
{
    for (const QString &word :
        {QString("a"), QString(""), QString("a b"), QString("'"), QString("$(x)`y`\\\"!"),
            QString("-n"), QString("a=b"), QString("~"), QString("*\n")}) {
        const Outcome outcome =
            runProcess("/bin/sh", {"-c", "printf %s " + shellWord(word)}, environment, work);
        EXPECT_EQ(outcome.output, word.toUtf8());
        EXPECT_EQ(outcome.errors, "");
    }
}
