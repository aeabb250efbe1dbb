#include "htmlReport.h"

#include "HtmlFixture.h"
#include "SmallDisk.h"
#include "pageText.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QSet>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

class HtmlReportTest : public HtmlFixture
{
};

/// The content of the only element \a name in \a page.
QByteArray contentOfElement(const QByteArray &page, const QByteArray &name)
{
    const auto begin = page.indexOf('<' + name + '>') + name.size() + 2;
    return page.mid(begin, page.indexOf("</" + name + '>') - begin);
}

} // namespace

TEST_F(HtmlReportTest, SaysOnTopWhatMatters)
{
    const Page page = pageOf(richReport(folder.path()));
    EXPECT_EQ(
        page.texts["counts"], QStringList("4 failed1 not run38 passed1 known1 flaky2 skipped"));
    EXPECT_EQ(page.texts["facts"],
        QStringList("Suite" + folder.path() +
                    "/suiteStarted2026-03-01 12:00:10+01:00, took 61.5 sMachinemachine.example"
                    "Taken fromthe latest run in " +
                    folder.path() +
                    "/suitetrackertracker 1.2trackerKicktrackerKick 1.3-betaChanges2 newly "
                    "failing, 1 newly passing, 1 still failing, 1 new, 1 gone, 1 slower, "
                    "compared with the run of 2026-02-28 18:30:00"));
    EXPECT_TRUE(page.bytes.contains("<h1>4 of 47 runs failed</h1>"));
    EXPECT_TRUE(page.bytes.contains("<title>suite: 4 of 47 runs failed</title>"));
}

TEST_F(HtmlReportTest, ShowsFailuresFirst)
{
    const Page page = pageOf(richReport(folder.path()));
    const QStringList tables = page.texts["matrix"];
    ASSERT_EQ(tables.size(), 2);
    EXPECT_EQ(tables[0],
        "Scripttrackertracker" // the programs and, between them, the runs without one
        "Kickno programReasonring0001 optics of a ring with ring0001failedfailedFiles 'out.dat' "
        "and 'ref.dat' differ on line 148, column 3ring0002 optics of a ring with "
        "ring0002failedpassedFiles 'out.dat' and 'ref.dat' differ on line 148, column "
        "3beam6not runthe suite was interruptedbeam7failedrunning 'sim' failed");
    EXPECT_TRUE(tables[1].startsWith(
        "ScripttrackertrackerKickno programring0003 a ringpassedpassedring0004"));
    EXPECT_TRUE(tables[1].endsWith("beam1 a script without a programpassedbeam2skippedbeam3skipped"
                                   "beam4knownbeam5flaky"));
}

TEST_F(HtmlReportTest, EachTestOfCTestHasARow)
{
    const QString failure = "ctest does not tell why";
    Report report;
    report.results = resultsOf({runOf("off", RunState::Skipped, "disabled"),
        runOf("other", RunState::Failed, failure), runOf("slow", RunState::Failed, failure),
        runOf("a.test1(sim1)", RunState::Failed, failure), runOf("b.test1(sim1)")});
    for (RunRecord &run : report.results.runs)
        run.script = run.program.isEmpty() ? QString() : QString("test1");
    const QStringList tables = pageOf(report).texts["matrix"];
    EXPECT_EQ(tables, QStringList({"Scriptno programsim1Reasonotherfailed" + failure +
                                       "slowfailed" + failure + "a.test1failed" + failure,
                          "Scriptsim1offskippedb.test1passed"}));
}

TEST_F(HtmlReportTest, SaysOnTopWhatIsRare)
{
    Report report;
    report.results = resultsOf({runOf("a"), runOf("b", RunState::NotRun, "it was interrupted")});
    report.results.shard = 2;
    report.results.shards = 3;
    report.results.runsInAll = 40;
    report.results.interruption = "SIGINT";
    report.source = QString(200, 'x');
    EXPECT_EQ(
        pageOf(report).texts["facts"].value(0), "Suite/home/me/suiteStarted0.00 sShard2 of 3, 40 "
                                                "runs in allInterruptedby SIGINTTaken from" +
                                                    report.source);
    report.source += "y";
    EXPECT_TRUE(pageOf(report).texts["facts"].value(0).endsWith(QString("x") + QChar(0x2026)));
    EXPECT_TRUE(pageOf(report).bytes.contains("<h1>1 run not made</h1>"));
}

TEST_F(HtmlReportTest, ALongListIsFoldedOrCut)
{
    Report report;
    report.results = resultsOf({});
    for (int number = 1; number <= 16; ++number) {
        report.results.runs.push_back(runOf(QString("run%1").arg(number)));
        report.results.runs.back().seconds = number;
    }
    const QString text = pageOf(report).text;
    const QString slowest = text.mid(text.indexOf("Slowest runs"));
    EXPECT_TRUE(slowest.startsWith("Slowest runsRunTookrun1616.0 srun1515.0 s"))
        << slowest.toStdString();
    EXPECT_TRUE(slowest.contains("run22.00 s"));
    EXPECT_FALSE(slowest.contains("run11.00 s"));
    for (int number = 1; number <= 40; ++number)
        report.results.runs.push_back(runOf(QString("s%1").arg(number), RunState::Skipped, "why"));
    EXPECT_EQ(pageOf(report).elements["details"], 1);
    report.results.runs.push_back(runOf("s41", RunState::Skipped, "why"));
    EXPECT_EQ(pageOf(report).elements["details"], 2);
    report.results.runs.push_back(runOf("f", RunState::Failed, QString(160, 'm')));
    EXPECT_EQ(pageOf(report).texts["why"], QStringList(QString(160, 'm')));
    report.results.runs.back().message += 'm';
    EXPECT_EQ(pageOf(report).texts["why"], QStringList(QString(160, 'm') + QChar(0x2026)));
}

TEST_F(HtmlReportTest, EveryLinkLeadsSomewhere)
{
    for (const Report &report : {richReport(folder.path()), hostileReport(folder.path())}) {
        const Page page = pageOf(report);
        const QSet<QString> ids(page.ids.begin(), page.ids.end());
        EXPECT_EQ(ids.size(), page.ids.size());
        EXPECT_GE(page.links.size(), 10);
        for (const QString &link : page.links) {
            ASSERT_TRUE(link.startsWith('#')) << link.toStdString();
            EXPECT_TRUE(ids.contains(link.mid(1))) << link.toStdString();
        }
    }
}

TEST_F(HtmlReportTest, ListsWhatElseHappened)
{
    const QString text = pageOf(richReport(folder.path())).text;
    for (const char *const part : {"Slowest runs", "No applicable SimPrograms: 2 \nbeam2 \nbeam3",
             "beam2 \nbeam3", "Known failures", "beam4(tracker)'sim' failed'sim' failed",
             "Passed after being repeated", "beam5(tracker)3", "the suite was interrupted: 1",
             "ring0010(tracker)0.50 s1.50 s", "Newly failing: 2", "Gone: 1"})
        EXPECT_TRUE(text.contains(part)) << part;
}

TEST_F(HtmlReportTest, TextsStayTexts)
{
    const Page friendly = pageOf(richReport(folder.path()));
    const Page page = pageOf(hostileReport(folder.path()));
    EXPECT_EQ(page.elements["script"], 1);
    EXPECT_EQ(page.elements["style"], 1);
    EXPECT_EQ(page.attributes - friendly.attributes, QSet<QString>());
    const QStringList names = page.elements.keys();
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()) -
                  QSet<QString>(friendly.elements.keyBegin(), friendly.elements.keyEnd()) -
                  QSet<QString>({"em"}),
        QSet<QString>());
    EXPECT_TRUE(page.text.contains(pageText(hostileText())));
    for (const char character : page.bytes) {
        const bool isControl = static_cast<unsigned char>(character) < 0x20 || character == 0x7f;
        ASSERT_TRUE(!isControl || character == '\n' || character == '\t');
    }
    const QString text = page.text;
    for (const char32_t hidden : {0x202eU, 0x2066U, 0x9bU, 0xfeffU})
        EXPECT_FALSE(text.contains(QChar(static_cast<char16_t>(hidden)))) << hidden;
}

TEST_F(HtmlReportTest, OnlyItsOwnStyleAndScriptAreAllowed)
{
    const QByteArray page = bytesOf(hostileReport(folder.path()));
    for (const char *const name : {"style", "script"}) {
        const QByteArray hash =
            QCryptographicHash::hash(contentOfElement(page, name), QCryptographicHash::Sha256);
        EXPECT_TRUE(page.contains(QByteArray(name) + "-src 'sha256-" + hash.toBase64() + "'") ||
                    page.contains(QByteArray(name) + "-src &#39;sha256-" + hash.toBase64()))
            << name;
    }
    EXPECT_TRUE(page.contains("default-src 'none'"));
    EXPECT_FALSE(page.contains(" style=")); // it would not be allowed
}

TEST_F(HtmlReportTest, OnlyElementsWithoutAnEndCloseThemselves)
{
    QSet<QString> names;
    const QString page = bytesOf(hostileReport(folder.path()));
    auto found = QRegularExpression("<(\\w+)[^<>]*/>").globalMatch(page);
    while (found.hasNext())
        names += found.next().captured(1);
    EXPECT_EQ(names, QSet<QString>({"meta", "path", "rect"}));
}

TEST_F(HtmlReportTest, AnEmptyReportIsAPage)
{
    EXPECT_TRUE(pageOf({}).bytes.contains("<h1>No runs</h1>"));
    EXPECT_TRUE(pageOf(reportOf(folder.path(), 2, 0, 0)).bytes.contains("<h1>No run failed</h1>"));
}

TEST_F(HtmlReportTest, APageIsKnownByItsBeginning)
{
    const QByteArray page = bytesOf({});
    EXPECT_TRUE(isHtmlReport(std::string_view(page.constData(), 500)));
    EXPECT_FALSE(isHtmlReport("<!DOCTYPE html><html lang=\"en\"><head><title>talmo</title>"));
    EXPECT_FALSE(isHtmlReport(""));
}

TEST_F(HtmlReportTest, WhatIsLargeIsCut)
{
    Report report = reportOf(folder.path(), 1, 1, 300);
    const auto before = bytesOf(report).size();
    RunRecord &run = report.results.runs[0];
    Inspection &inspection = report.failures[0].inspection;
    run.systemOut = QString("line of the output\n").repeated(200000) + "its end\n";
    report.failures[0].scriptText =
        "=heading\n" + QByteArray("=echo\n").repeated(100000) + QByteArray(1000000, 'x');
    inspection.line = 50000;
    for (DifferingLine &line : inspection.comparisons[0].survey.firstLines)
        line.text1 = QByteArray(4000, '7') + ' ' + line.text1;
    const FailedComparison comparison = inspection.comparisons[1];
    inspection.comparisons.resize(469, comparison);
    const Page page = pageOf(report);
    EXPECT_LT(page.bytes.size() - before, 200000);
    const QString section = page.texts["failure"].value(0);
    EXPECT_TRUE(section.contains("its end"));
    EXPECT_TRUE(section.contains("100,002 lines in all"));
    EXPECT_TRUE(section.contains("50000  =echo   \u2190 failed"));
    EXPECT_TRUE(section.contains("469 comparisons that fail"));
    EXPECT_EQ(section.count("=compare other.dat"), 4);
}

TEST_F(HtmlReportTest, APageAboutManyRunsIsNotLarge)
{
    const Report report = reportOf(folder.path(), 10000, 200, 500);
    EXPECT_LT(bytesOf(report).size(), 10 * 1000 * 1000);
    // Not even if all of them failed: the later ones then have less to show.
    Report worse = report;
    for (size_t index = 200; index < 10000; ++index) {
        FailedRun failure = report.failures[index % 200];
        failure.run = index;
        worse.results.runs[index] = report.results.runs[index % 200];
        worse.failures.push_back(failure);
    }
    const QByteArray page = bytesOf(worse);
    EXPECT_LT(page.size(), 30 * 1000 * 1000);
    EXPECT_TRUE(page.contains("id=\"f10000\""));
    const QByteArray last = page.mid(page.indexOf("id=\"f10000\""));
    for (const char *const what : {
             "The script is not shown",
             "The output is not shown",
             "2 comparisons that fail are not shown in full",
         })
        EXPECT_TRUE(last.contains(what + QByteArray(": the page would be too large."))) << what;
    EXPECT_TRUE(last.contains("2 more of them are not listed here"));
}

TEST_F(HtmlReportTest, APageAboutManyComparisonsIsNotLarge)
{
    Report report = reportOf(folder.path(), 10000, 200, 500);
    for (FailedRun &failure : report.failures) {
        const FailedComparison comparison = failure.inspection.comparisons[1];
        failure.inspection.comparisons.resize(500, comparison);
    }
    EXPECT_LT(bytesOf(report).size(), 10 * 1000 * 1000);
}

TEST_F(HtmlReportTest, AFullDiskIsTold)
{
    QFile file(folder.filePath("page.html"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    const Report report = richReport(folder.path());
    const SmallDisk disk(20000);
    QString problem;
    EXPECT_FALSE(writeHtml(report, file, problem));
    EXPECT_EQ(problem, QString());
}

TEST(PageText, ShowsWhatIsThere)
{
    const struct {
        QString text;
        QString shown;
    } rows[] = {
        {"plain <&>\t\n", "plain <&>\t\n"},
        {QString::fromUtf8("\xc3\xa9 \xe2\x86\x90"), QString::fromUtf8("\xc3\xa9 \xe2\x86\x90")},
        {QString::fromUtf8("\xf0\x9f\x98\x80"), QString::fromUtf8("\xf0\x9f\x98\x80")},
        {QString("a") + QChar(0) + QChar(0x1b), QString("a") + QChar(0x2400) + QChar(0x241b)},
        {QString(QChar(0x7f)) + QChar(0x9b), "\\u007f\\u009b"},
        {QString(QChar(0x202e)) + QChar(0x200b) + QChar(0x2028), "\\u202e\\u200b\\u2028"},
        {QString::fromUtf8("\xf3\xa0\x80\x81"), "\\U000e0001"},
        {QString(QChar(0xd800)) + "a", QString(QChar(0xfffd)) + "a"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(pageText(row.text), row.shown);
}
