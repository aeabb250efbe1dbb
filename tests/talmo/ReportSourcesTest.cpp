// What talmo report takes for results, and what it refuses.

#include "ReportFixture.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

using namespace Talmo;

namespace
{

class ReportSourcesTest : public ReportFixture
{
};

} // namespace

TEST_F(ReportSourcesTest, TakesWhatTheDriverHasPrinted)
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

TEST_F(ReportSourcesTest, SaysWhatIsNotCertainOfAPrintedOutput)
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

TEST_F(ReportSourcesTest, TakesAJUnitFileOfCTest)
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

TEST_F(ReportSourcesTest, WhatCTestSaysOfATestCounts)
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

TEST_F(ReportSourcesTest, RefusesWhatIsNoResult)
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

TEST_F(ReportSourcesTest, RefusesResultsOfOtherTools)
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

TEST_F(ReportSourcesTest, DamagedRecordsAreSaid)
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
