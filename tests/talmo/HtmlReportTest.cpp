#include "htmlReport.h"

#include "ReportForTests.h"
#include "SmallDisk.h"
#include "pageText.h"

#include <QBuffer>
#include <QCryptographicHash>
#include <QMap>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// A page, as a strict reader sees it.
struct Page {
    QByteArray bytes;
    QMap<QString, int> elements; ///< how many there are of each
    QStringList ids;
    QStringList links;
    QSet<QString> attributes;         ///< their names
    QMap<QString, QStringList> texts; ///< of elements, by their class
    QString text;
};

class HtmlReportTest : public testing::Test
{
protected:
    static QByteArray bytesOf(const Report &report)
    {
        QBuffer buffer;
        EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
        QString problem;
        EXPECT_TRUE(writeHtml(report, buffer, problem)) << problem.toStdString();
        return buffer.data();
    }

    /// The page about \a report. It must be well-formed.
    static Page pageOf(const Report &report)
    {
        Page page;
        page.bytes = bytesOf(report);
        QXmlStreamReader xml(page.bytes);
        QStringList open;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement())
                open += readElement(xml, page);
            else if (xml.isEndElement())
                open.removeLast();
            else if (xml.isCharacters())
                take(xml.text().toString(), open, page);
        }
        EXPECT_FALSE(xml.hasError())
            << xml.errorString().toStdString() << " on line " << xml.lineNumber();
        return page;
    }

    const QTemporaryDir folder;

private:
    /// Returns the element's class.
    static QString readElement(QXmlStreamReader &xml, Page &page)
    {
        ++page.elements[xml.name().toString()];
        const auto attributes = xml.attributes();
        for (const auto &attribute : attributes) {
            page.attributes += attribute.name().toString();
            if (attribute.name() == QStringLiteral("id"))
                page.ids += attribute.value().toString();
            if (attribute.name() == QStringLiteral("href"))
                page.links += attribute.value().toString();
        }
        const QString kind = attributes.value(QStringLiteral("class")).toString();
        page.texts[kind] += QString();
        return kind;
    }

    static void take(const QString &text, const QStringList &open, Page &page)
    {
        page.text += text;
        for (const QString &kind : open) {
            if (!kind.isEmpty())
                page.texts[kind].last() += text;
        }
    }
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

TEST_F(HtmlReportTest, PicturesTheColumnsThatAreFarthestApart)
{
    // Of three columns two are drawn. The third is hardly beyond its tolerance, but nearly zero.
    Report report;
    report.results = resultsOf({runOf("test1", RunState::Failed, "they differ")});
    writeTo(folder.filePath("a"), "1000 2000 1e-9\n");
    writeTo(folder.filePath("b"), "1001 2001 3e-9\n");
    FailedRun failure;
    failure.directory = folder.path();
    failure.inspection.comparisons = {
        comparisonOf(2, folder.path(), "a", "b", {0.1, 0.1, 1e-9}, true)};
    report.failures.push_back(failure);
    const QByteArray page = bytesOf(report);
    EXPECT_TRUE(page.contains("Column 1: s"));
    EXPECT_TRUE(page.contains("Column 2: x"));
    EXPECT_FALSE(page.contains("Column 3: y"));
}

TEST_F(HtmlReportTest, OneLineDiffers)
{
    Report report;
    report.results = resultsOf({runOf("test1", RunState::Failed, "they differ")});
    writeTo(folder.filePath("a"), "1\n2\n");
    writeTo(folder.filePath("b"), "1\n3\n");
    FailedRun failure;
    failure.inspection.comparisons = {comparisonOf(2, folder.path(), "a", "b", {}, true),
        comparisonOf(3, folder.path(), "a", "b", {0.5}, false)};
    report.failures.push_back(failure);
    const QString text = pageOf(report).text;
    EXPECT_TRUE(
        text.contains("Of 2 lines, 1 differs: 1 line with different texts, the first on line 2."));
    EXPECT_TRUE(text.contains(
        "Of 2 lines, 1 differs: 1 line with numbers too far apart, the first on line 2."));
    EXPECT_TRUE(text.contains("1 line differs; column 1 (s) by up to 1 on line 2, 2 times its "
                              "tolerance"));
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

TEST_F(HtmlReportTest, ShowsTheScriptAroundTheFailure)
{
    Report report;
    report.results = resultsOf({runOf("test1", RunState::Failed, "x")});
    RunRecord &run = report.results.runs[0];
    run.attempts = 3;
    run.remarks = QStringList("a process was left behind");
    for (int line = 1; line <= 100; ++line)
        run.systemOut += QString("printed %1\n").arg(line);
    FailedRun failure;
    failure.inspection.line = 20;
    for (int line = 1; line <= 40; ++line)
        failure.scriptText += "line " + QByteArray::number(line) + '\n';
    failure.scriptText.replace("line 21", QByteArray(401, 'z'));
    report.failures.push_back(failure);
    const Page page = pageOf(report);
    QString script = "    1  line 1\n    2  line 2\n    3  line 3\n    \u22EE\n";
    for (int line = 10; line <= 25; ++line)
        script += QString("%1  line %1\n").arg(line, 5).replace("line    ", "line ");
    script.replace("line 20\n", "line 20   \u2190 failed\n");
    script.replace("line 21\n", QString(400, 'z') + QChar(0x2026) + '\n');
    EXPECT_EQ(page.texts["script"], QStringList(script + "    \u22EE  40 lines in all\n"));
    EXPECT_TRUE(page.text.contains("a process was left behind3 attempts"))
        << page.text.toStdString();
    EXPECT_TRUE(page.texts["output"].value(0).startsWith("\nprinted 41\n"))
        << page.texts["output"].value(0).toStdString();
    // Of long lines, fewer.
    report.results.runs[0].systemOut = QString(6001, 'x');
    EXPECT_EQ(pageOf(report).texts["output"], QStringList('\n' + QString(6000, 'x')));
}

TEST_F(HtmlReportTest, TablesHaveWhatDiffers)
{
    Report report;
    report.results = resultsOf({runOf("test1", RunState::Failed, "they differ")});
    const QByteArray word(250, '7');
    writeTo(folder.filePath("a"), "1 2 3" + QByteArray(" 1").repeated(13) + "\n1 1\n");
    writeTo(folder.filePath("b"), "1 nan 9" + QByteArray(" 1").repeated(13) + "\n1 1\n1 1\n");
    writeTo(folder.filePath("c"), "1 2 3" + QByteArray(" 1").repeated(14) + '\n');
    writeTo(folder.filePath("d"), "1 2 4" + QByteArray(" 1").repeated(14) + '\n');
    writeTo(folder.filePath("e"), "a b c d e f " + word + " g\n");
    writeTo(folder.filePath("f"), "a b c d e f " + word + " h\n");
    std::vector<double> tolerances(16, 0);
    tolerances[2] = -1;
    std::vector<double> more(17, 0);
    FailedRun failure;
    failure.inspection.comparisons = {
        comparisonOf(2, folder.path(), "a", "b", tolerances, false),
        comparisonOf(3, folder.path(), "c", "d", more, true),
        comparisonOf(4, folder.path(), "e", "f", {}, false),
    };
    report.failures.push_back(failure);
    const Page page = pageOf(report);
    const QString ones = QString("  1").repeated(13);
    const QString start = "a  b  c  d  e  f  " + QString(80, '7') + QChar(0x2026);
    EXPECT_EQ(page.texts["lines"],
        QStringList({"1 (1)     1  2  3" + ones + "  1\n  (2)     1  2  4" + ones + "  1\n",
            "1 (1)     1  2  3" + ones + "\n  (2)     1  nan  9" + ones +
                "\n2 (1)     1  1\n  (2)     1  1\n",
            "1 (1)     " + start + "  g \u2026\n  (2)     " + start + "  h \u2026\n"}));
    const QString parts[] = {
        "a b2 lines differ, and the second file has 1 more",
        // The one that ended the run comes first. Of 17 columns the one that differs is shown.
        "on line 3, which ended the runOf 1 line, 1 differs: 1 line with numbers too far apart, "
        "the "
        "first on line 1.ColumnNameToleranceLines that differFirstLargest differenceon lineLargest "
        "relativeon lineWould do3y011110.251116 other columns not shown.",
        "on line 2File 'a' and/or 'b' has invalid data on line 1, column 2Of 2 and 3 lines, 2 "
        "differ: 1 line that only one file has, the first on line 3; 1 line with too few columns, "
        "the first on line 2; 1 line with a word that is no number, the first on line 1.",
        // Of 16 columns all are.
        "Would do1s002x011none3ynot compared400500600",
    };
    for (const QString &part : parts)
        EXPECT_TRUE(page.text.contains(part)) << part.toStdString() << page.text.toStdString();
    EXPECT_TRUE(page.bytes.contains("</span><mark>1  1</mark>\n")); // too short as a whole
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

TEST_F(HtmlReportTest, AFailureHasAllThatIsKnown)
{
    const Report report = reportOf(folder.path(), 1, 1, 300);
    const QString section = pageOf(report).texts["failure"].value(0);
    const QString parts[] = {
        "ring0001(tracker) optics of a ring with ring0001",
        "Files 'out.dat' and 'ref.dat' differ on line",
        "ring0001:14: =compare out.dat ref.dat 0 1e-9 1e-6",
        "1.2e-05 and 1e-05 are 2e-06 apart, 2 times the tolerance 1e-06",
        "labels: optics, slow; took 1.25 s; kept in ring0001.dir",
        "   14  =compare out.dat ref.dat 0 1e-9 1e-6   \u2190 failed",
        "2 comparisons that fail",
        "=compare out.dat ref.dat 0 1e-09 1e-06 on line 14, which ended the run",
        "lines with numbers too far apart, the first on line",
        "This would pass: =compare out.dat ref.dat 0 1e-09 2e-04",
        "=compare other.dat ref.dat 0 1e-09 1e-09 on line 15",
        "Column 3: y",
        "30 turns\nwriting out.dat",
        "&& talmo run 'ring0001(tracker)'",
    };
    for (const QString &part : parts)
        EXPECT_TRUE(section.contains(part)) << part.toStdString() << '\n' << section.toStdString();
}

TEST_F(HtmlReportTest, DifferingWordsAreMarked)
{
    const QByteArray page = bytesOf(reportOf(folder.path(), 1, 1, 300));
    EXPECT_TRUE(QString(page).contains(
        QRegularExpression("<span class=\"pale\">\\d+ \\(1\\)   </span>[\\d.]+  [-\\d.e]+  "
                           "<mark>[-\\d.e]+</mark>\n<span class=\"pale\"> +\\(2\\) *</span>")));
}

TEST_F(HtmlReportTest, WhatTheDirectoryCannotTellIsSaid)
{
    Report report = reportOf(folder.path(), 1, 1, 30);
    ASSERT_TRUE(QFile::remove(report.results.suite + "/ring0001.dir/out.dat"));
    report.failures[0].inspection.obstacle = "it was changed since";
    report.failures[0].inspection.comparisons.pop_back();
    const Page page = pageOf(report);
    EXPECT_EQ(page.texts["note"],
        QStringList({"The directory of the run cannot tell more: it was changed since.",
            "Tolerances would grow more than a hundredfold: column 3 (y) 210 times.",
            "There is no picture: '" + report.results.suite +
                "/ring0001.dir/out.dat' cannot be read: No such file or directory."}));
}

TEST_F(HtmlReportTest, WhatIsLeftOutOfARunIsSaid)
{
    Report report = reportOf(folder.path(), 1, 1, 30);
    std::vector<FailedComparison> &comparisons = report.failures[0].inspection.comparisons;
    const QString grows = "Tolerances would grow more than a hundredfold: column 3 (y) %1 times.";
    QStringList notes = {grows.arg(210), grows.arg(310)};
    EXPECT_EQ(pageOf(report).texts["note"], notes);
    const FailedComparison other = comparisons[1];
    comparisons.push_back(other);
    notes << grows.arg(310)
          << "There is no picture: only the first 2 comparisons of a run have some.";
    EXPECT_EQ(pageOf(report).texts["note"], notes);
    comparisons.push_back(other);
    notes << "1 other comparison that fails is not shown in full; talmo diff shows each of them in "
             "the directory of the run.";
    EXPECT_EQ(pageOf(report).texts["note"], notes);
    comparisons.resize(500, other);
    notes.last().replace("1 other comparison that fails is", "497 other comparisons that fail are");
    EXPECT_EQ(pageOf(report).texts["note"], notes);
    comparisons.resize(1502, other);
    notes.last().replace("497", "1,499");
    notes.prepend("1,002 more of them are not listed here; talmo report --format json has all.");
    EXPECT_EQ(pageOf(report).texts["note"], notes);
}

TEST_F(HtmlReportTest, NoPictureContradictsItsTable)
{
    const QString directory = folder.path() + "/suite/ring0001.dir";
    const QString changed = "There is no picture: '%1' was changed since it was compared.";
    Report report = reportOf(folder.path(), 1, 1, 30);
    auto compared = [report, &directory]() mutable {
        std::vector<FailedComparison> &comparisons = report.failures[0].inspection.comparisons;
        comparisons.resize(1, comparisons[0]);
        comparisons[0].state1 = stateOf(directory + "/out.dat");
        comparisons[0].state2 = stateOf(directory + "/ref.dat");
        EXPECT_TRUE(comparisons[0].state1 && comparisons[0].state2);
        return report;
    };
    EXPECT_EQ(pageOf(compared()).elements["figure"], 1);

    const Report grown = compared();
    QFile file(directory + "/ref.dat");
    const FileState before = *stateOf(file.fileName());
    const timespec times[] = {before.changed, before.changed};
    ASSERT_TRUE(file.open(QIODevice::Append) && file.write("0 0 0\n") == 6);
    file.close();
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(file.fileName()), times, 0), 0);
    EXPECT_EQ(pageOf(grown).texts["note"].value(1), changed.arg(file.fileName()));
    EXPECT_EQ(pageOf(grown).elements["figure"], 0);

    const QString out = directory + "/out.dat";
    for (const timespec time : {timespec{1, 5}, timespec{2, 5}, timespec{2, 6}}) {
        const Report touched = compared();
        const timespec both[] = {time, time};
        ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(out), both, 0), 0);
        EXPECT_EQ(pageOf(touched).texts["note"].value(1), changed.arg(out));
    }

    const Report replaced = compared();
    const FileState last = *stateOf(out);
    const timespec same[] = {last.changed, last.changed};
    ASSERT_TRUE(QFile::rename(out, out + ".old") && QFile::copy(out + ".old", out));
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(out), same, 0), 0);
    EXPECT_EQ(pageOf(replaced).texts["note"].value(1), changed.arg(out));
}

TEST_F(HtmlReportTest, OfLargeFilesThereIsNoPicture)
{
    Report report;
    report.results = resultsOf({runOf("test1", RunState::Failed, "they differ")});
    writeTo(folder.filePath("a"), "1 2 3 4\n");
    writeTo(folder.filePath("%2 %1"), "2 3 4 5\n");
    FailedRun failure;
    failure.directory = folder.path();
    failure.inspection.comparisons = {
        comparisonOf(2, folder.path(), "a", "%2 %1", {0.1, 0.1, 0.1, 0.1}, true)};
    report.failures.push_back(failure);
    Page page = pageOf(report);
    EXPECT_EQ(page.elements["figure"], 1);
    EXPECT_TRUE(page.text.contains("2 other columns that differ are not drawn."));
    const QString file = folder.filePath("%2 %1");
    constexpr qint64 most = 64000000;
    ASSERT_TRUE(QFile::resize(file, most));
    EXPECT_EQ(pageOf(report).elements["figure"], 1);
    ASSERT_TRUE(QFile::resize(file, most + 1));
    page = pageOf(report);
    EXPECT_EQ(page.elements["figure"], 0);
    EXPECT_EQ(page.texts["note"],
        QStringList("There is no picture: '" + file + "' is larger than 64 MB."));
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
