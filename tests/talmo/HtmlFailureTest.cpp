// The section of a report's page about one failure.

#include "HtmlFixture.h"

#include <QFile>
#include <QRegularExpression>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Talmo;

namespace
{

class HtmlFailureTest : public HtmlFixture
{
};

} // namespace

TEST_F(HtmlFailureTest, PicturesTheColumnsThatAreFarthestApart)
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

TEST_F(HtmlFailureTest, OneLineDiffers)
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

TEST_F(HtmlFailureTest, ShowsTheScriptAroundTheFailure)
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

TEST_F(HtmlFailureTest, TablesHaveWhatDiffers)
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

TEST_F(HtmlFailureTest, AFailureHasAllThatIsKnown)
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

TEST_F(HtmlFailureTest, DifferingWordsAreMarked)
{
    const QByteArray page = bytesOf(reportOf(folder.path(), 1, 1, 300));
    EXPECT_TRUE(QString(page).contains(
        QRegularExpression("<span class=\"pale\">\\d+ \\(1\\)   </span>[\\d.]+  [-\\d.e]+  "
                           "<mark>[-\\d.e]+</mark>\n<span class=\"pale\"> +\\(2\\) *</span>")));
}

TEST_F(HtmlFailureTest, WhatTheDirectoryCannotTellIsSaid)
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

TEST_F(HtmlFailureTest, WhatIsLeftOutOfARunIsSaid)
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

TEST_F(HtmlFailureTest, NoPictureContradictsItsTable)
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

TEST_F(HtmlFailureTest, OfLargeFilesThereIsNoPicture)
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
