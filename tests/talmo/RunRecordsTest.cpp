// What `talmo run` remembers, and what it writes for others.

#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <csignal>

#include <sys/stat.h>

namespace
{

class RunRecordsTest : public RunFixture
{
protected:
    /// Expects that the call is wrong, for one reason, which contains \a reason, and that nothing
    /// was done or written.
    void expectRefused(const QStringList &arguments, const QByteArray &reason)
    {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const QStringList before = everything();
        const Outcome outcome = make(arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_TRUE(outcome.errors.startsWith("talmo: run: ")) << outcome.errors.toStdString();
        EXPECT_TRUE(outcome.errors.contains(reason)) << outcome.errors.toStdString();
        EXPECT_EQ(outcome.errors.count('\n'), 1);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(everything(), before);
    }

    /// What a failing run of \a name, whose script's second line looks for "none", prints.
    static QByteArray failureOf(const QByteArray &name)
    {
        return name + ": ***ERROR: File 'none' does not exist\n    " + name + ":2: =exists none\n";
    }

    const QByteArray nothing = "Nothing failed last time, and nothing is new.\n";

    /// The end of a report of the failures of \a names.
    static QByteArray failed(const QByteArrayList &names)
    {
        QByteArray text = "\nFailed:\n";
        for (const QByteArray &name : names)
            text += "  " + name + ": File 'none' does not exist [" + name + ".dir]\n";
        return text;
    }
};

} // namespace

TEST_F(RunRecordsTest, RerunsByNameWhatFailedWasNotRunOrIsNew)
{
    write("test1", "=one\n=exists none\n");
    write("test2", "=two\n");
    write("test3", "=three\n=simprogram none\n");
    write("test4", "=four\n# talmo: known exist\n=exists none\n");
    write("test5", "=five\n");
    EXPECT_EQ(make({"-j1", "test1", "test2", "test3", "test4"}).status, 1);
    const QByteArray again =
        failureOf("test1") + "test5: five\n" + failed({"test1"}) + counts(1, 1);
    expectRun({"-j1", "--rerun-failed"}, again, 1);
    EXPECT_EQ(make({"-j1", "test2"}).status, 0); // what is left out here is not forgotten
    expectRun({"-j1", "--rerun-failed"}, failureOf("test1") + failed({"test1"}) + counts(0, 1), 1);
    expectRun({"-j1", "--rerun-failed", "test2", "test5"}, nothing + counts(0), 0);
    write("test1", "=one\n");
    expectRun({"-j1", "--rerun-failed"}, "test1: one\n" + counts(1), 0);
    QFile::remove(work + "/test2"); // the names count, not the numbers
    write("test0", "=zero\n");
    expectRun({"-j1", "--rerun-failed"}, "test0: zero\n" + counts(1), 0);
    QDir(work + "/.talmo").removeRecursively(); // then all are new
    EXPECT_EQ(make({"--rerun-failed"}).status, 0);
    EXPECT_TRUE(exists(".talmo/latest.xml"));
}

TEST_F(RunRecordsTest, NothingToRerunIsNoSuccessIfAllWasSkipped)
{
    write("test1", "=one\n=simprogram none\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    const Outcome outcome = make({"-j1", "--rerun-failed"});
    EXPECT_EQ(outcome.output, counts(0));
    EXPECT_EQ(outcome.errors, "talmo: run: nothing failed last time, but all was skipped\n");
    EXPECT_EQ(outcome.status, 1);
    write("test2", "=two\n");
    EXPECT_EQ(make({"-j1", "--rerun-failed"}).status, 0);
    expectRun({"-j1", "--rerun-failed"}, nothing + counts(0), 0);
}

TEST_F(RunRecordsTest, NothingToRerunIsAResultForServersToo)
{
    write("test1", "=one\n");
    EXPECT_EQ(make({"-j1"}).status, 0);
    EXPECT_EQ(make({"-j1", "--rerun-failed", "--junit", "results.xml"}).status, 0);
    EXPECT_TRUE(read("results.xml").contains("tests=\"0\""));
    EXPECT_EQ(make({"-j1", "--rerun-failed"}).output, nothing + counts(0)); // it is not forgotten
}

TEST_F(RunRecordsTest, WhatWasStoppedIsRerun)
{
    write("test1", "=one\n=exists none\n");
    write("test2", "=two\n");
    write("test3", "=three\n");
    EXPECT_EQ(make({"-j1", "--stop-on-failure"}).status, 1);
    write("test1", "=one\n");
    expectRun({"-j1", "--rerun-failed", "--stop-on-failure"},
        "test1: one\ntest2: two\ntest3: three\n" + counts(3), 0);
}

TEST_F(RunRecordsTest, WhatTookLongestLastTimeStartsFirst)
{
    // The first two can only end when the third one has begun.
    const QByteArray wait = "=run until [ -e ../three ]; do sleep 0.01; done\n";
    write("test1", "=one\n" + wait);
    write("test2", "=two\n" + wait);
    write("test3", "=three\n=run touch ../three\n");
    EXPECT_EQ(make({"-j3"}).status, 0);
    QString latest = QString::fromUtf8(read(".talmo/latest.xml"));
    latest.replace(QRegularExpression("(name=\"test3\"[^>]* time=)\"[^\"]*\""), "\\1\"1000.000\"");
    ASSERT_TRUE(latest.contains("\"1000.000\"")) << latest.toStdString();
    write(".talmo/latest.xml", latest.toUtf8());
    QFile::remove(work + "/three");
    EXPECT_EQ(make({"-j2", "--timeout", "60"}).status, 0);
    QFile::remove(work + "/three");
    EXPECT_EQ(make({"-j1", "--timeout", "0.5"}).status, 1); // here the order is that of the list
}

TEST_F(RunRecordsTest, TheSecondOfTwoThatRecordSaysWhoIsThere)
{
    addProgramsThatStay();
    write("test1", "=one\n=run stay pid\n");
    write("test2", "=two\n");
    start({"test1"});
    waitFor({"pid"});
    expectRefused({"test2"}, ".talmo' is in use by process ");
    expectRun({"test2", "--no-record"}, "test2: two\n" + counts(1), 0);
    expectRun({"test2", "--shard", "1/1"}, "test2: two\n" + counts(1), 0);
    endProcessIn("pid");
    EXPECT_EQ(end().status, 1);
    expectRun({"test2"}, "test2: two\n" + counts(1), 0);
}

TEST_F(RunRecordsTest, AProgramThatIsLeftRunningKeepsNothingLocked)
{
    addProgramsThatStay();
    write("test1", "=one\n=run stay pid & until [ -e ../pid ]; do sleep 0.01; done\n");
    write("test2", "=two\n");
    EXPECT_EQ(make({"test1"}).status, 0);
    expectRun({"test2"}, "test2: two\n" + counts(1), 0);
    endProcessIn("pid");
}

TEST_F(RunRecordsTest, AFolderThatIsNotOursIsRefused)
{
    write("test1", "=one\n=run touch ../made\n");
    write("mine/file", "mine\n");
    ASSERT_TRUE(QFile::link("mine", work + "/.talmo"));
    expectRefused({}, ".talmo'");
    EXPECT_EQ(read("mine/file"), "mine\n");
    ASSERT_TRUE(QFile::remove(work + "/.talmo"));
    write(".talmo", "mine\n");
    expectRefused({}, ".talmo'");
    EXPECT_EQ(read(".talmo"), "mine\n");
    ASSERT_TRUE(QFile::remove(work + "/.talmo"));
    write(".talmo/file", "mine\n");
    expectRefused({}, ".talmo'");
    EXPECT_EQ(make({"--no-record"}).status, 0);
}

TEST_F(RunRecordsTest, TheFolderMayBeRemovedMeanwhile)
{
    write("test1", "=one\n=run rm -r ../.talmo\n");
    expectRun({}, "test1: one\n" + counts(1), 0);
    EXPECT_TRUE(exists(".talmo/latest.xml"));
    EXPECT_EQ(read(".talmo/.gitignore"), "*\n");
}

TEST_F(RunRecordsTest, NothingIsRecordedOnRequestAndOfShards)
{
    write("test1", "=one\n=exists none\n");
    write("test2", "=two\n");
    EXPECT_EQ(make({"--no-record"}).status, 1);
    EXPECT_FALSE(exists(".talmo"));
    EXPECT_EQ(make({"--shard", "1/1", "--junit", "results.xml"}).status, 1);
    EXPECT_FALSE(exists(".talmo"));
    EXPECT_TRUE(exists("results.xml"));
}

TEST_F(RunRecordsTest, EachShardWritesItsFileAlsoIfItIsEmpty)
{
    write("test1", "=one\n=echo printed\n=exists none\n");
    write("test2", "=two\n");
    EXPECT_EQ(make({"--shard", "1/3", "--junit", "1.xml"}).status, 1);
    EXPECT_EQ(make({"--shard", "2/3", "--junit", "2.xml"}).status, 0);
    EXPECT_EQ(make({"--shard", "3/3", "--junit", "3.xml"}).status, 0);
    EXPECT_TRUE(read("1.xml").contains("name=\"test1\""));
    EXPECT_TRUE(read("1.xml").contains("printed\n"));
    EXPECT_FALSE(read("1.xml").contains("name=\"test2\""));
    EXPECT_TRUE(read("2.xml").contains("name=\"test2\""));
    EXPECT_FALSE(read("3.xml").contains("<testcase"));
    const Outcome merged = run({"merge", "1.xml", "2.xml", "3.xml"});
    EXPECT_EQ(merged.errors,
        "talmo: merge: 2 runs: 1 passed, 1 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n");
    EXPECT_EQ(merged.status, 1);
    EXPECT_TRUE(merged.output.contains("tests=\"2\"")) << merged.output.toStdString();
}

TEST_F(RunRecordsTest, AResultFileThatCannotBeWrittenIsNoticedBeforeTheRuns)
{
    write("test1", "=one\n=run touch ../made\n");
    write("mine", "mine\n");
    expectRefused({"--junit", "none/results.xml"}, "none/results.xml");
    expectRefused({"--junit", "mine/results.xml"}, "mine/results.xml");
    expectRefused({"--junit", "."}, "'.'");
    expectRefused({"--junit", ""}, "''");
    expectRefused({"--junit", "mine"}, "'mine'");
    EXPECT_EQ(read("mine"), "mine\n");
}

TEST_F(RunRecordsTest, AResultFileThatCannotBeWrittenLaterIsNoSuccess)
{
    write("test1", "=one\n=run rm -r ../results\n");
    write("results/old", "");
    const Outcome outcome = make({"--junit", "results/new.xml"});
    EXPECT_EQ(outcome.output, "test1: one\n" + counts(1));
    EXPECT_TRUE(outcome.errors.startsWith("talmo: run: ")) << outcome.errors.toStdString();
    EXPECT_TRUE(outcome.errors.contains("results/new.xml"));
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(exists(".talmo/latest.xml"));
}

TEST_F(RunRecordsTest, KnownFailuresMayStandInAFile)
{
    write("test1", "=one\n=exists none\n");
    write("test2", "=two\n=exists none\n");
    write("test3", "=three\n=simprogram *\n=exists none\n");
    addProgram("sim1", "");
    write("talmo.known", "# for now\ntest1 ^File 'none'\ntest2 other\ntest3(sim1) exist$\n");
    expectRun({"-j1", "--program", "sim1"},
        failureOf("test1") + "    a known failure: ^File 'none'\n" + failureOf("test2") +
            "    it is known to fail otherwise, with 'other'\n"
            "test3(sim1): ***ERROR: File 'none' does not exist\n"
            "    test3:3: =exists none\n"
            "    a known failure: exist$\n" +
            failed({"test2"}) + counts(0, 1, 2),
        1);
    write("talmo.known", "test1 ^File 'none'\ntest2\n");
    expectRefused({"test1"}, "talmo.known:2: ");
}

TEST_F(RunRecordsTest, WritesWhatFailedToTheFileOfKnownFailures)
{
    write("test1", "=one\n=exists none\n");
    write("test 2", "=two\n=exists a*b(c\n");
    write("test3", "=three\n");
    write("talmo.known", "# mine\ntest4 x\n");
    EXPECT_EQ(make({"-j1", "--write-known"}).status, 1);
    EXPECT_TRUE(read("talmo.known").startsWith("# mine\ntest4 x\n"));
    EXPECT_EQ(read("talmo.known").count('\n'), 4);
    const Outcome outcome = make({"-j1"});
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 0, 2))) << outcome.output.toStdString();
    EXPECT_EQ(outcome.status, 0);
    const QByteArray content = read("talmo.known");
    EXPECT_EQ(make({"-j1", "--write-known"}).status, 0); // nothing is new
    EXPECT_EQ(read("talmo.known"), content);
}

TEST_F(RunRecordsTest, WhatWasInterruptedIsNotWrittenAsKnown)
{
    addProgramsThatStay();
    write("test1", "=one\n=run stay pid\n");
    write("test2", "=two\n=run kill -KILL $PPID\n");
    start({"-j1", "--write-known"});
    waitFor({"pid"});
    sendToTalmo(SIGTERM);
    EXPECT_EQ(end().signal, SIGTERM);
    EXPECT_FALSE(exists("talmo.known") && read("talmo.known").contains("test1"));
    EXPECT_EQ(make({"test2", "--write-known"}).status, 1);
    EXPECT_FALSE(exists("talmo.known") && read("talmo.known").contains("test2"));
}
