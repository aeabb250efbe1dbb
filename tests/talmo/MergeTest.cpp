#include "CompanionTest.h"
#include "ResultsForTests.h"
#include "SmallDisk.h"

#include "counts.h"
#include "digests.h"
#include "shards.h"

#include <QDir>

#include <sys/stat.h>

using namespace Talmo;

namespace
{

class MergeTest : public CompanionTest
{
protected:
    /// The results of shard \a shard out of \a shards of a list of the runs \a list, all passed.
    static RunResults shardOf(int shard, int shards, const std::vector<RunRecord> &list)
    {
        RunResults results = resultsOf({});
        QStringList names;
        for (size_t index = 0; index < list.size(); ++index) {
            names += list[index].name;
            if (static_cast<int>(index) % shards == shard - 1)
                results.runs.push_back(list[index]);
        }
        results.suite = QStringLiteral("/home/node%1/suite").arg(shard);
        results.host = QStringLiteral("node%1").arg(shard);
        results.shard = shard;
        results.shards = shards;
        results.runsInAll = static_cast<qint64>(list.size());
        results.listDigest = digestOfNames(names);
        results.suiteDigest = "0a";
        return results;
    }

    void save(const QString &name, const RunResults &results) { write(name, documentOf(results)); }

    /// Saves all shards as 1.xml and so on. Returns these names.
    QStringList saveShards(int shards, const std::vector<RunRecord> &list)
    {
        QStringList names;
        for (int shard = 1; shard <= shards; ++shard) {
            names += QStringLiteral("%1.xml").arg(shard);
            save(names.back(), shardOf(shard, shards, list));
        }
        return names;
    }

    /// Merges \a files and expects that it prints \a output and \a errors and ends with \a status.
    /// Returns what the file holds.
    RunResults merge(
        const QStringList &files, const QByteArray &output, const QByteArray &errors, int status)
    {
        const Outcome outcome = run(QStringList({"merge", "-o", "all.xml"}) + files);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, status);
        return resultsIn(read("all.xml"));
    }

    /// The messages of what stands in \a results for something that is missing.
    static QStringList complaintsIn(const RunResults &results)
    {
        QStringList complaints;
        for (const RunRecord &run : results.runs) {
            if (run.script == "talmo merge" && run.state == RunState::NotRun)
                complaints += run.message;
        }
        return complaints;
    }

    /// Ten runs that passed.
    static std::vector<RunRecord> tenRuns()
    {
        std::vector<RunRecord> runs;
        for (int number = 1; number <= 10; ++number)
            runs.push_back(runOf(QStringLiteral("test%1").arg(number)));
        return runs;
    }
};

QStringList namesOf(const std::vector<RunRecord> &runs)
{
    return ::namesOf(resultsOf(runs));
}

} // namespace

TEST_F(MergeTest, ShardsAreTheListAgain)
{
    const std::vector<RunRecord> list = tenRuns();
    for (const int shards : {1, 2, 3, 4, 9, 10, 11, 20}) {
        SCOPED_TRACE(shards);
        QStringList files = saveShards(shards, list);
        EXPECT_EQ(
            namesOf(merge(files,
                "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n", "", 0)),
            namesOf(list));
        std::reverse(files.begin(), files.end());
        const RunResults merged = merge(
            files, "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n", "", 0);
        EXPECT_EQ(namesOf(merged), namesOf(list));
        EXPECT_EQ(merged.shards, 0);
        EXPECT_EQ(merged.runsInAll, 10);
        EXPECT_EQ(merged.listDigest, digestOfNames(namesOf(list)));
    }
}

TEST_F(MergeTest, EverythingOfARunStays)
{
    std::vector<RunRecord> list = tenRuns();
    list[3].heading = "a heading";
    list[3].labels = QStringList("slow");
    list[3].seconds = 1.5;
    list[4].attempts = 2;
    list[5] = runOf("test6(sim1)", RunState::Known, "known failure");
    list[5].knownPattern = "known";
    list[5].systemOut = "what it printed\n";
    list[6] = runOf("test7", RunState::Skipped, "No applicable SimPrograms");
    const RunResults merged = merge(saveShards(3, list),
        "10 runs: 7 passed, 0 failed, 1 known, 1 flaky, 1 skipped, 0 not run\n", "", 0);
    ASSERT_EQ(merged.runs.size(), 10U);
    for (size_t index = 0; index < 10; ++index)
        EXPECT_EQ(told(merged.runs[index]), told(list[index]));
    EXPECT_EQ(merged.runs[5].systemOut, "what it printed\n");
}

TEST_F(MergeTest, ItLastsFromTheFirstBeginningToTheLastEnd)
{
    const std::vector<RunRecord> list = tenRuns();
    RunResults first = shardOf(1, 2, list);
    first.started = "2026-03-01T12:00:10+01:00";
    first.seconds = 60;
    RunResults second = shardOf(2, 2, list);
    second.started = "2026-03-01T11:00:00+00:00"; // ten seconds earlier
    second.seconds = 5.25;
    save("1.xml", first);
    save("2.xml", second);
    const RunResults merged = merge({"1.xml", "2.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n", "", 0);
    EXPECT_EQ(merged.started, second.started);
    EXPECT_EQ(merged.seconds, 70);
    EXPECT_EQ(merged.host, "node1, node2");
    EXPECT_EQ(merged.suite, "/home/node1/suite");
    second.host = "node1";
    save("2.xml", second);
    EXPECT_EQ(merge({"1.xml", "2.xml"},
                  "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n", "", 0)
                  .host,
        "node1");
}

TEST_F(MergeTest, WithoutAFileTheDocumentIsPrinted)
{
    const QStringList files = saveShards(2, tenRuns());
    merge(files, "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n", "", 0);
    expectSuccess(QStringList("merge") + files, read("all.xml"));
    EXPECT_EQ(run(QStringList({"merge", "--output", "other.xml"}) + files).status, 0);
    EXPECT_EQ(read("other.xml"), read("all.xml"));
    // It may be one of those that were read.
    EXPECT_EQ(run(QStringList({"merge", "-o", "1.xml"}) + files).status, 0);
    EXPECT_EQ(read("1.xml"), read("all.xml"));
}

TEST_F(MergeTest, RunsThatFailedAreNamed)
{
    std::vector<RunRecord> list = tenRuns();
    list[1] = runOf("test2", RunState::Failed, "it differs");
    list[4] = runOf("test5", RunState::NotRun, "not run");
    const QStringList files = saveShards(2, list);
    const RunResults merged = merge(files,
        "test2: ***ERROR: it differs\ntest5: ***ERROR: not run\n"
        "10 runs: 8 passed, 1 failed, 0 known, 0 flaky, 0 skipped, 1 not run\n",
        "", 1);
    EXPECT_EQ(namesOf(merged), namesOf(list));
    const Outcome outcome = run(QStringList("merge") + files);
    EXPECT_EQ(outcome.output, read("all.xml"));
    EXPECT_EQ(outcome.errors,
        "talmo: merge: 10 runs: 8 passed, 1 failed, 0 known, 0 flaky, 0 skipped, 1 not run\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(MergeTest, ThatNothingRanIsAFault)
{
    std::vector<RunRecord> list = tenRuns();
    for (RunRecord &run : list)
        run = runOf(run.name, RunState::Skipped, "No applicable SimPrograms");
    EXPECT_EQ(complaintsIn(merge(saveShards(2, list),
                  "10 runs: 0 passed, 0 failed, 0 known, 0 flaky, 10 skipped, 0 not run\n",
                  "talmo: merge: no run was made\n", 1)),
        QStringList("no run was made"));
    merge(saveShards(3, {}), "0 runs: 0 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: no run was made\n", 1);
    list[9] = runOf("test10", RunState::Known, "known");
    merge(saveShards(2, list),
        "10 runs: 0 passed, 0 failed, 1 known, 0 flaky, 9 skipped, 0 not run\n", "", 0);
}

TEST_F(MergeTest, AMissingShardIsToldAlsoInTheFile)
{
    const QStringList files = saveShards(4, tenRuns());
    const RunResults merged = merge({files[0], files[3]},
        "5 runs: 5 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: shard 2/4 is missing, with 3 runs\n"
        "talmo: merge: shard 3/4 is missing, with 2 runs\n",
        1);
    EXPECT_EQ(complaintsIn(merged),
        QStringList({"shard 2/4 is missing, with 3 runs", "shard 3/4 is missing, with 2 runs"}));
    EXPECT_EQ(
        namesOf(merged).mid(0, 5), QStringList({"test1", "test4", "test5", "test8", "test9"}));
    EXPECT_TRUE(read("all.xml").contains("errors=\"2\""));
}

TEST_F(MergeTest, ManyMissingShardsAreCounted)
{
    RunResults results = shardOf(1, 1, {runOf("test1")});
    results.shards = 2000000000;
    save("1.xml", results);
    const Outcome outcome = run({"merge", "-o", "all.xml", "1.xml"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors.count('\n'), 101);
    EXPECT_TRUE(outcome.errors.endsWith("shard 101/2000000000 is missing, with 0 runs\n"
                                        "talmo: merge: 1999999899 more shards are missing\n"))
        << outcome.errors.toStdString();
}

TEST_F(MergeTest, AShardThatIsThereTwiceIsTold)
{
    const std::vector<RunRecord> list = tenRuns();
    saveShards(2, list);
    EXPECT_EQ(namesOf(merge({"1.xml", "2.xml", "1.xml"},
                          "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
                          "talmo: merge: shard 1/2 is there twice: '1.xml' and '1.xml'\n", 1))
                  .mid(0, 10),
        namesOf(list));
    // Results that were not divided are a whole.
    RunResults whole = shardOf(1, 1, list);
    whole.shard = whole.shards = 0;
    save("a.xml", whole);
    save("b.xml", whole);
    merge(
        {"a.xml"}, "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n", "", 0);
    merge({"a.xml", "b.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: shard 1/1 is there twice: 'a.xml' and 'b.xml'\n", 1);
}

TEST_F(MergeTest, OnlyProgramsThatAllShardsWereGivenStay)
{
    const QByteArray counts =
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n";
    for (const char *const other : {"sim1=/a/sim", "sim1=/b/sim"}) {
        RunResults results = shardOf(1, 2, tenRuns());
        results.programs = QStringList("sim1=/a/sim");
        save("1.xml", results);
        results = shardOf(2, 2, tenRuns());
        results.programs = QStringList(other);
        save("2.xml", results);
        const QStringList same =
            QByteArray(other) == "sim1=/a/sim" ? QStringList(other) : QStringList();
        EXPECT_EQ(merge({"1.xml", "2.xml"}, counts, "", 0).programs, same);
    }
}

TEST_F(MergeTest, AMissingRunIsTold)
{
    RunResults results = shardOf(2, 2, tenRuns());
    saveShards(2, tenRuns());
    results.runs.erase(results.runs.begin() + 1);
    save("2.xml", results);
    const RunResults merged = merge({"1.xml", "2.xml"},
        "9 runs: 9 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: shard 2/2 has 5 runs, but '2.xml' holds 4\n", 1);
    EXPECT_EQ(complaintsIn(merged), QStringList("shard 2/2 has 5 runs, but '2.xml' holds 4"));
}

TEST_F(MergeTest, ARunThatIsThereTwiceIsTold)
{
    saveShards(2, tenRuns());
    RunResults results = shardOf(2, 2, tenRuns());
    results.runs[4] = runOf("test1");
    save("2.xml", results);
    merge({"1.xml", "2.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: the runs are not those of the list\n"
        "talmo: merge: the run 'test1' is there twice, in '1.xml' and in '2.xml'\n",
        1);
    results.runs.push_back(runOf("test2"));
    save("2.xml", results);
    merge({"1.xml", "2.xml"},
        "11 runs: 11 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: shard 2/2 has 5 runs, but '2.xml' holds 6\n"
        "talmo: merge: the run 'test1' is there twice, in '1.xml' and in '2.xml'\n"
        "talmo: merge: the run 'test2' is there twice, in '2.xml' and in '2.xml'\n",
        1);
}

TEST_F(MergeTest, RunsThatAreNotThoseOfTheListAreTold)
{
    saveShards(2, tenRuns());
    RunResults results = shardOf(2, 2, tenRuns());
    results.runs[0].name = "another";
    save("2.xml", results);
    merge({"1.xml", "2.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: the runs are not those of the list\n", 1);
    results = shardOf(2, 2, tenRuns());
    std::swap(results.runs[0], results.runs[1]);
    save("2.xml", results);
    merge({"1.xml", "2.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: the runs are not those of the list\n", 1);
}

TEST_F(MergeTest, SuitesThatDifferAreTold)
{
    std::vector<RunRecord> other = tenRuns();
    other[9].name = "test11";
    saveShards(2, tenRuns());
    save("other.xml", shardOf(2, 2, other));
    RunResults merged = merge({"1.xml", "other.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: '1.xml' and 'other.xml' are of different lists of runs\n", 1);
    EXPECT_EQ(complaintsIn(merged).size(), 1);
    save("other.xml", shardOf(2, 3, tenRuns()));
    merged = merge({"1.xml", "2.xml", "other.xml"},
        "13 runs: 13 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: '1.xml' is one of 2 shards, 'other.xml' one of 3\n"
        "talmo: merge: the run 'test2' is there twice, in '2.xml' and in 'other.xml'\n"
        "talmo: merge: the run 'test5' is there twice, in '1.xml' and in 'other.xml'\n"
        "talmo: merge: the run 'test8' is there twice, in '2.xml' and in 'other.xml'\n",
        1);
    EXPECT_EQ(complaintsIn(merged).size(), 4);
}

TEST_F(MergeTest, ScriptsThatDifferAreTold)
{
    saveShards(3, tenRuns());
    RunResults results = shardOf(2, 3, tenRuns());
    for (const char *digest : {"0b", ""}) {
        results.suiteDigest = digest;
        save("2.xml", results);
        const RunResults merged = merge({"1.xml", "2.xml", "3.xml"},
            "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
            "talmo: merge: the suites differ: '1.xml' and '2.xml' are of other scripts\n", 1);
        EXPECT_EQ(complaintsIn(merged).size(), 1);
        EXPECT_EQ(namesOf(merged).mid(0, 10), namesOf(tenRuns()));
    }
}

TEST_F(MergeTest, ShardsOfSuitesWithTheSameRunsDoNotPassForOne)
{
    const auto makeShard = [this](const char *shard, const QByteArray &script) {
        write("test1", "=heading\n=echo a\n");
        write("test2", "=heading\n" + script);
        const QString file = QString(shard).at(0) + QStringLiteral(".xml");
        EXPECT_EQ(run({"run", "--shard", shard, "--junit", file}).status, 0);
    };
    const QByteArray counts =
        "2 runs: 2 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n";
    makeShard("1/2", "=echo a\n");
    makeShard("2/2", "=echo a\n");
    EXPECT_EQ(merge({"1.xml", "2.xml"}, counts, "", 0).suiteDigest.size(), 64);
    makeShard("2/2", "=echo b\n");
    merge({"1.xml", "2.xml"}, counts,
        "talmo: merge: the suites differ: '1.xml' and '2.xml' are of other scripts\n", 1);
    EXPECT_EQ(run({"run", "--junit", "whole.xml"}).status, 0);
    EXPECT_EQ(resultsIn(read("whole.xml")).suiteDigest, "");
}

TEST_F(MergeTest, AnInterruptedShardIsTold)
{
    saveShards(2, tenRuns());
    RunResults results = shardOf(2, 2, tenRuns());
    results.interruption = "SIGTERM";
    save("2.xml", results);
    merge({"1.xml", "2.xml"},
        "10 runs: 10 passed, 0 failed, 0 known, 0 flaky, 0 skipped, 0 not run\n",
        "talmo: merge: shard 2/2 was interrupted by SIGTERM\n", 1);
}

TEST_F(MergeTest, AWrongCallWritesNothing)
{
    const QStringList files = saveShards(2, tenRuns());
    write("text.xml", "text\n");
    write("cut.xml", read("1.xml").left(500));
    QDir(work).mkdir("directory");
    ASSERT_EQ(mkfifo(QFile::encodeName(QDir(work).filePath("fifo")), 0600), 0);
    expectWrongCall({"merge"}, "talmo: merge: a FILE is missing\n");
    expectWrongCall({"merge", "-o", "all.xml"}, "talmo: merge: a FILE is missing\n");
    expectWrongCall({"merge", "-o"}, "talmo: merge: missing value after '-o'\n");
    expectWrongCall({"merge", "--none", "1.xml"}, "talmo: merge: unknown option 'none'\n");
    expectWrongCall({"merge", "-o", "all.xml", "1.xml", "text.xml", "none.xml"},
        "talmo: merge: text.xml: it is no result file of talmo\n"
        "talmo: merge: cannot read 'none.xml': No such file or directory\n");
    expectWrongCall({"merge", "-o", "all.xml", "directory", "fifo"},
        "talmo: merge: cannot read 'directory': Is a directory\n"
        "talmo: merge: cannot read 'fifo': It is no regular file\n");
    const Outcome outcome = run({"merge", "cut.xml"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.output, "");
    EXPECT_TRUE(outcome.errors.startsWith("talmo: merge: cut.xml:"))
        << outcome.errors.toStdString();
    expectWrongCall({"merge", "-o", "none/all.xml", "1.xml"},
        "talmo: merge: cannot write 'none/all.xml': No such file or directory\n");
    write("test2", "=A script\n");
    expectWrongCall({"merge", "-o", "test2", "1.xml"},
        "talmo: merge: cannot write 'test2': It holds something else than results of talmo\n");
    expectWrongCall({"merge", "-o", "talmo.known", "1.xml"},
        "talmo: merge: cannot write 'talmo.known': It is the list of known failures\n");
    expectWrongCall({"merge", "-o", "directory", "1.xml"},
        "talmo: merge: cannot write 'directory': Is a directory\n");
    expectWrongCall(
        {"merge", "-o", "", "1.xml"}, "talmo: merge: cannot write '': No such file or directory\n");
}

TEST_F(MergeTest, AFullDiskIsReported)
{
    const QStringList files = saveShards(2, tenRuns());
    const SmallDisk disk(100);
    const Outcome outcome = run(QStringList({"merge", "-o", "all.xml"}) + files);
    EXPECT_EQ(outcome.errors, "talmo: merge: cannot write 'all.xml': File too large\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(exists("all.xml"));
}

TEST_F(MergeTest, HelpTellsOfIt)
{
    const Outcome outcome = run({"merge", "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_TRUE(outcome.output.startsWith("Usage: talmo merge [options] FILE..."))
        << outcome.output.toStdString();
}
