// What the directories tell that real runs have left.

#include "Inspection.h"
#include "Records.h"
#include "RunFixture.h"
#include "digests.h"

#include <QDir>
#include <QFile>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

class InspectionTest : public RunFixture
{
protected:
    QByteArray suite() const { return QFile::encodeName(work); }

    /// Makes the runs and returns the record of the run \a name.
    RunRecord recordOf(const QString &name)
    {
        EXPECT_EQ(make({"-j1"}).status, 1);
        RunResults results;
        QString problem;
        EXPECT_EQ(Records::readLatest(suite(), SystemOut::PassedOver, results, problem),
            Records::Reading::Read)
            << problem.toStdString();
        for (const RunRecord &run : results.runs) {
            if (run.name == name)
                return run;
        }
        ADD_FAILURE() << "there is no run " << name.toStdString();
        return {};
    }

    /// Runs the script "test1", a heading and \a lines, which fails.
    RunRecord runOf(const QByteArray &lines)
    {
        write("test1", "=heading\n" + lines);
        return recordOf("test1");
    }

    /// The record that somebody has who only knows what the driver printed of \a run.
    static RunRecord withoutProof(RunRecord run)
    {
        run.line = 0;
        run.scriptDigest.clear();
        run.referencesDigest.clear();
        run.directoryDigest.clear();
        return run;
    }

    /// What inspect() finds out about \a run, line by line.
    QString told(const RunRecord &run) const
    {
        const QString before = QDir::currentPath();
        const Inspection inspection = inspect(run, suite(), 1);
        EXPECT_EQ(QDir::currentPath(), before);
        QString text;
        if (!inspection.obstacle.isNull())
            text = inspection.obstacle + '\n';
        if (inspection.line > 0)
            text += QStringLiteral("line %1\n").arg(inspection.line);
        for (const FailedComparison &comparison : inspection.comparisons)
            text += told(comparison) + '\n';
        return text;
    }

    static QString told(const FailedComparison &comparison)
    {
        QString text = QStringLiteral("%1: %2, %3")
                           .arg(comparison.line)
                           .arg(comparison.file1, comparison.file2);
        for (const double tolerance : comparison.tolerances)
            text += QStringLiteral(" %1").arg(tolerance);
        text += QStringLiteral(": %1; %2 differ")
                    .arg(comparison.message)
                    .arg(comparison.survey.differingLines);
        for (const ColumnSurvey &column : comparison.survey.columns)
            text += QStringLiteral(", by %1").arg(column.largest);
        EXPECT_LE(comparison.survey.firstLines.size(), 1U);
        return comparison.isReported ? text + QStringLiteral("; reported") : text;
    }
};

const QByteArray files = "=file a\n1\n2\n=file b\n1\n3\n=file c\n4\n5\n";
const QString notProven = "Nobody knows whether the directory 'test1.dir' and the script 'test1' "
                          "are still those of the run\n";

} // namespace

TEST_F(InspectionTest, KnowsTheStateOfTheFilesThatItCompares)
{
    write("reference", "7\n");
    const RunRecord run = runOf(files + "=compare a ../reference\n=compare a none\n");
    const Inspection inspection = inspect(run, suite(), 1);
    ASSERT_EQ(inspection.comparisons.size(), 1U);
    EXPECT_TRUE(inspection.comparisons[0].state1 == stateOf(work + "/test1.dir/a"));
    EXPECT_TRUE(inspection.comparisons[0].state2 == stateOf(work + "/reference"));
    EXPECT_TRUE(inspection.comparisons[0].state1);
    EXPECT_FALSE(stateOf(work + "/none"));
}

TEST_F(InspectionTest, ListsAllComparisonsThatFailFromTheReportedOneOn)
{
    const RunRecord run = runOf(files + "=compare a a\n=compare a b 0.5\n=compare a a 0\n"
                                        "=compare a c 0\n=compare b c\n=exists none\n"
                                        "=compare a none\n=compare none a\n=compare a c 1 x\n");
    const QString all = "line 12\n"
                        "12: a, b 0.5: Files 'a' and 'b' differ on line 2, column 1; "
                        "1 differ, by 1; reported\n"
                        "14: a, c 0: Files 'a' and 'c' differ on line 1, column 1; "
                        "2 differ, by 3\n"
                        "15: b, c: Files 'b' and 'c' differ at line 1; 2 differ\n"
                        "19: a, c: Invalid =compare column tolerance; 0 differ\n";
    EXPECT_EQ(told(run), all);
    EXPECT_EQ(told(withoutProof(run)), all);
}

TEST_F(InspectionTest, WhatWasExpectedDoesNotCount)
{
    EXPECT_EQ(told(runOf(files + "=ignore differ\n=compare a b\n=ignore line 7\n=compare a b\n"
                                 "=ignore differ at line 1$\n=compare a c\n"
                                 "=ignore differ\n=compare a a\n=ignore read\n=compare a none\n"
                                 "=compare a c\n")),
        "line 14\n"
        "14: a, b: Files 'a' and 'b' differ at line 2; 1 differ; reported\n"
        "18: a, a: Command should have failed; 0 differ\n"
        "21: a, c: Files 'a' and 'c' differ at line 1; 2 differ\n");
}

TEST_F(InspectionTest, ComparisonsBeforeTheReportedLineAgreedInTheRun)
{
    const RunRecord run = runOf(files + "=compare a a 0\n=compare a b 1\n=file b\n1\n4\n"
                                        "=compare a b 1\n");
    EXPECT_EQ(told(run), "line 16\n16: a, b 1: Files 'a' and 'b' differ on line 2, column 1; "
                         "1 differ, by 2; reported\n");
    // Both comparisons say the same now; without proof the first one counts.
    EXPECT_EQ(told(withoutProof(run)),
        "line 12\n12: a, b 1: Files 'a' and 'b' differ on line 2, column 1; 1 differ, by 2; "
        "reported\n");
}

TEST_F(InspectionTest, FilesThatTheRunDidNotWriteAnyMoreAreNotCompared)
{
    EXPECT_EQ(told(runOf(files + "=exists none\n=compare a c\n=file ./c\n1\n2\n=compare a c\n"
                                 "=compare c a\n=compare a b\n=testbeam b 0 1 2 0 1 2 0 13 100\n"
                                 "=compare a b\n")),
        "line 11\n12: a, c: Files 'a' and 'c' differ at line 1; 2 differ\n"
        "18: a, b: Files 'a' and 'b' differ at line 2; 1 differ\n");
    EXPECT_EQ(told(runOf("=run mkdir c\n" + files + "=compare a c\n")), "line 9\n");
}

TEST_F(InspectionTest, NothingIsRunWrittenOrPrinted)
{
    const QByteArray lines = files +
                             "=echo loud\n=debug\n=run touch made\n=testbeam beam 0 1 2 0 1 "
                             "2 0 13 100\n=file d\nx\n=compare a b\n=file e\nx\n"
                             "=run touch ../made\n=testbeam f 0 1 2 0 1 2 0 13 100\n"
                             "=echo loud\n";
    const RunRecord run = runOf(lines);
    ASSERT_EQ(QFile::remove(work + "/test1.dir/made"), true);
    ASSERT_EQ(QFile::remove(work + "/test1.dir/d"), true);
    const QStringList before = everything();
    testing::internal::CaptureStdout();
    EXPECT_EQ(told(withoutProof(run)),
        "line 17\n17: a, b: Files 'a' and 'b' differ at line 2; 1 differ; reported\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(everything(), before);
}

TEST_F(InspectionTest, SectionsForOtherPlatformsArePassedOver)
{
    EXPECT_EQ(told(runOf(files + "=platform DARWIN\n=compare a b\n=exists none\n=platform LINUX\n"
                                 "=compare a c\n=platform WINDOWS\n=compare a c\n=platform\n"
                                 "=compare b c\n")),
        "line 15\n15: a, c: Files 'a' and 'c' differ at line 1; 2 differ; reported\n"
        "19: b, c: Files 'b' and 'c' differ at line 1; 2 differ\n");
}

TEST_F(InspectionTest, ProgramsHaveTheirOwnFilesAndDirectories)
{
    configure({"sim1", "sim2"});
    addProgram("sim1", "echo 1 >sim1.dat");
    addProgram("sim2", "echo 2 >sim2.dat");
    write("test1", "=heading\n=simprogram sim*\n=file ref\n3\n=run $simProgram\n"
                   "=compare $simProgram.dat ref 0\n");
    EXPECT_EQ(told(recordOf("test1(sim2)")),
        "line 6\n6: sim2.dat, ref 0: Files 'sim2.dat' and 'ref' differ on line 1, column 1; "
        "1 differ, by 1; reported\n");
}

TEST_F(InspectionTest, FindsTheLineOfOtherMessages)
{
    const struct {
        QByteArray lines;
        QString proven;
        QString unproven;
    } rows[] = {
        {"=exists .\n=exists none\n=exists none\n", "line 3\n", "line 3\n"},
        {"=echo\n=bogus\n", "line 3\n", "line 3\n"},
        {"=run\n", "line 2\n", "line 2\n"},
        {"=meanandsigma\n", "line 2\n", "line 2\n"},
        {"=platform OTHER\n", "line 2\n", "line 2\n"},
        {"=ignore x\n=exists .\n", "line 3\n", "line 3\n"},
        {"=ignore x\n=echo\n", "line 3\n", notProven},
        {"=run true\n=run false\n", "line 3\n", notProven},
        {"=file none/a\n=echo\n", "line 2\n", notProven},
        {"=testbeam a b c d e f g h i j\n", "line 2\n", notProven},
        {"=compare none none2\n",
            "line 2\n2: none, none2: Cannot read file 'none'; 0 differ; "
            "reported\n",
            "line 2\n2: none, none2: Cannot read file 'none'; 0 differ; reported\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines.toStdString());
        const RunRecord run = runOf(row.lines);
        EXPECT_EQ(told(run), row.proven);
        EXPECT_EQ(told(withoutProof(run)), row.unproven);
    }
}

TEST_F(InspectionTest, NeverGuessesTheLine)
{
    addProgram("once", "test ! -e ../stop && touch ../stop");
    const QByteArray lines = files + "=run once\n=compare a b 1\n=run once\n=compare a c 1\n";
    RunRecord run = runOf(lines);
    EXPECT_EQ(run.line, 13);
    EXPECT_EQ(told(run), "line 13\n14: a, c 1: Files 'a' and 'c' differ on line 1, column 1; "
                         "2 differ, by 3\n");
    run.line = 0; // either of two programs has failed
    EXPECT_EQ(told(run), "14: a, c 1: Files 'a' and 'c' differ on line 1, column 1; "
                         "2 differ, by 3\n");
    run.message = "timed out after 5 s"; // no command says so
    EXPECT_EQ(told(run), "14: a, c 1: Files 'a' and 'c' differ on line 1, column 1; "
                         "2 differ, by 3\n");
    run.message = QString();
    EXPECT_EQ(told(run), "14: a, c 1: Files 'a' and 'c' differ on line 1, column 1; "
                         "2 differ, by 3\n");
}

TEST_F(InspectionTest, SaysWhatStandsInTheWay)
{
    const RunRecord run = runOf(files + "=compare a b\n");
    RunRecord other = run;
    other.directory = QString();
    EXPECT_EQ(told(other), "No directory of the run was kept\nline 11\n");
    for (const char *const name : {"", ".", "..", "/", "a/b", "../work"}) {
        other.directory = name;
        EXPECT_EQ(
            told(other), QStringLiteral("'%1' is no directory of a run\nline 11\n").arg(name));
    }
    other = run;
    other.script = "../test1";
    EXPECT_EQ(told(other), "The script '../test1' has gone\n");
    EXPECT_EQ(inspect(run, "/none", 1).obstacle, "The script 'test1' has gone");

    write("test1.dir/d", "");
    EXPECT_EQ(told(run), "Its directory 'test1.dir' was changed since the run\nline 11\n");
    ASSERT_TRUE(QFile::remove(work + "/test1.dir/d"));
    EXPECT_EQ(told(run).section('\n', 0, 0), "line 11");
    write("test1", "=heading\n" + files + "=compare a b \n");
    EXPECT_EQ(told(run), "The script 'test1' was changed since the run\n");
    write("test1", "heading\n");
    EXPECT_EQ(told(run), "The script 'test1' cannot be used any more: Invalid test file\n");
    ASSERT_TRUE(QFile::remove(work + "/test1"));
    EXPECT_EQ(told(run), "The script 'test1' has gone\n");
    ASSERT_EQ(mkfifo(suite() + "/test1", 0600), 0);
    EXPECT_EQ(told(run), "The script 'test1' is no regular file any more\n");
}

TEST_F(InspectionTest, SaysThatTheDirectoryIsNoneAnyMore)
{
    const RunRecord run = runOf(files + "=compare a b\n");
    ASSERT_TRUE(QDir(work + "/test1.dir").removeRecursively());
    EXPECT_EQ(told(run), "Its directory 'test1.dir' has gone\nline 11\n");
    write("test1.dir", "");
    EXPECT_EQ(told(run), "Its directory 'test1.dir' is none any more\nline 11\n");
    ASSERT_TRUE(QFile::remove(work + "/test1.dir"));
    ASSERT_TRUE(QFile::link(".", work + "/test1.dir"));
    EXPECT_EQ(told(run), "Its directory 'test1.dir' is none any more\nline 11\n");
}

TEST_F(InspectionTest, ADirectoryInUseIsLeftAlone)
{
    const RunRecord run = runOf(files + "=compare a b\n");
    const int directory = open(suite() + "/test1.dir", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(directory, LOCK_EX | LOCK_NB), 0);
    EXPECT_EQ(told(run), "Another run is at work in its directory 'test1.dir'\nline 11\n");
    ASSERT_EQ(flock(directory, LOCK_UN), 0);
    EXPECT_EQ(told(run).section('\n', 0, 0), "line 11");
    EXPECT_EQ(flock(directory, LOCK_EX | LOCK_NB), 0); // no lock is left
    close(directory);
}

TEST_F(InspectionTest, ReferencesOutsideThatWereChangedAreNoticed)
{
    write("ref", "1\n9\n");
    const RunRecord run = runOf(files + "=compare a ../ref 1\n");
    const QString found = "line 11\n11: a, ../ref 1: Files 'a' and '../ref' differ on line 2, "
                          "column 1; 1 differ, by 7; reported\n";
    EXPECT_EQ(told(run), found);
    write("ref", "1\n8\n");
    EXPECT_EQ(told(run), "A file outside its directory, with which it compares, was changed since "
                         "the run\nline 11\n");
    ASSERT_TRUE(QFile::remove(work + "/ref"));
    EXPECT_EQ(told(run), "A file outside its directory, with which it compares, was changed since "
                         "the run\nline 11\n");
    write("ref", "1\n9\n");
    EXPECT_EQ(told(run), found);
}

TEST_F(InspectionTest, RecordsWithoutProofCountIfTheyAreReproduced)
{
    const RunRecord run = withoutProof(runOf(files + "=compare a b\n"));
    EXPECT_EQ(told(run).section('\n', 0, 0), "line 11");
    write("test1.dir/b", "1\n2\n3\n");
    EXPECT_EQ(told(run), notProven);
    write("test1.dir/b", "1\n3\n");
    write("test1", "=heading\n=echo\n" + files + "=compare a b\n");
    EXPECT_EQ(told(run).section('\n', 0, 0), "line 12");
    write("test1", "=heading\n=echo\n");
    EXPECT_EQ(told(run), notProven);
}

TEST_F(InspectionTest, WaitsForNothingAndReadsNothingWithoutEnd)
{
    const QByteArray places = "=run mkfifo fifo\n=run mkdir dir\n=exists none\n";
    EXPECT_EQ(told(runOf(files + places +
                         "=compare fifo a\n=compare a fifo 1\n=compare a /dev/zero\n"
                         "=compare a dir\n=compare a /dev/null\n")),
        "line 13\n17: a, dir: Cannot read file 'dir'; 0 differ\n"
        "18: a, /dev/null: Files 'a' and '/dev/null' have different lengths; 0 differ\n");
}

TEST_F(InspectionTest, ScriptsOfTheDistributionAreFound)
{
    const QString name = "test02_column_compare";
    EXPECT_EQ(make({"--distribution", "--keep", name}).status, 0);
    RunResults results;
    QString problem;
    ASSERT_EQ(Records::readLatest(suite(), SystemOut::PassedOver, results, problem),
        Records::Reading::Read);
    RunRecord run = results.runs.at(0);
    run.message = "none says this";
    run.directoryDigest = digestOfDirectory(suite() + "/" + run.directory.toUtf8());
    EXPECT_EQ(inspect(run, suite(), 1).obstacle, "");
    write(name, "=heading\n=exists none\n"); // another one of that name
    EXPECT_EQ(inspect(run, suite(), 1).obstacle, "");
    run.scriptDigest = "0";
    EXPECT_EQ(inspect(run, suite(), 1).obstacle,
        QStringLiteral("The script '%1' was changed since the run").arg(name));
}
