// What `talmo run` prints, what its exit status means, and what its options do.

#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

namespace
{

class RunCommandTest : public RunFixture
{
protected:
    /// Writes the scripts test01, test02 and so on, which pass.
    void writePasses(int count)
    {
        for (int n = 1; n <= count; ++n)
            write(QStringLiteral("test%1").arg(n, 2, 10, QLatin1Char('0')),
                "=number " + QByteArray::number(n) + "\n");
    }

    /// The beginnings of the lines that `talmo run` prints with \a arguments, as far as they are
    /// those of runs that pass.
    QByteArrayList passesOf(const QStringList &arguments)
    {
        QByteArrayList names;
        for (const QByteArray &line : make(arguments).output.split('\n')) {
            const auto end = line.indexOf(": number ");
            if (end > 0)
                names += line.left(end);
        }
        return names;
    }

    /// Gives talmo a terminal.
    void useTerminal()
    {
        addProgram("inTerminal",
            "exec script -qec \"'" + driver.toUtf8() + "' $*\" /dev/null </dev/null\n");
        driver = QDir(programs).filePath("inTerminal");
        environment["TERM"] = "xterm";
    }
};

} // namespace

TEST_F(RunCommandTest, SaysOfEachRunWhatTheDriverSaysAndWhatThatLeavesOut)
{
    configure({"sim1", "sim2"});
    addProgram("sim1", "echo starting; echo bad input; exit 3\n");
    write("test1", "=The heading\n=echo not shown\n");
    write("test2", "=Two\n=file a\n1 2\n=file b\n1 3\n=compare a b 0 0.1\n");
    write("test3", "=Three\n=simprogram sim*\n=echo for $simProgram\n=run $simProgram\n");
    write("test4", "=Four\n=simprogram none\n");
    write("test5", "=Five\n=exists none\n");
    const QByteArray aboutTest4 = work.toUtf8() + "/test4: No applicable SimPrograms\n";
    expectRun({"-j1"},
        "test1: The heading\n"
        "test2: ***ERROR: Files 'a' and 'b' differ on line 1, column 2\n"
        "    test2:6: =compare a b 0 0.1\n"
        "    2 and 3 are 1 apart, 10 times the tolerance 0.1\n"
        "for sim1\n"
        "test3(sim1): ***ERROR: running 'sim1' failed\n"
        "    test3:4: =run $simProgram\n"
        "    exit status 3\n"
        "    last line of 'sim1.out': bad input\n"
        "for sim2\n"
        "test3(sim2): ***ERROR: running 'sim2' failed\n"
        "    test3:4: =run $simProgram\n"
        "    'sim2' was not found in the PATH\n"
        "    last line of 'sim2.out': sh: 1: sim2: not found\n" +
            aboutTest4 +
            "test5: ***ERROR: File 'none' does not exist\n"
            "    test5:2: =exists none\n"
            "\n"
            "Failed:\n"
            "  test2: Files 'a' and 'b' differ on line 1, column 2 [test2.dir]\n"
            "  test3(sim1): running 'sim1' failed [test3(sim1).dir]\n"
            "  test3(sim2): running 'sim2' failed [test3(sim2).dir]\n"
            "  test5: File 'none' does not exist [test5.dir]\n" +
            counts(1, 4, 0, 0, 1),
        1);
    EXPECT_EQ(read("test3(sim1).dir/sim1.out"), "starting\nbad input\n");
    EXPECT_FALSE(exists("test1.dir"));
}

TEST_F(RunCommandTest, OpensNoSettingsAndLeavesNothing)
{
    write("test1", "=one\n=run true\n");
    const QStringList before = everything();
    expectRun({"--no-record"}, "test1: one\n" + counts(1), 0);
    EXPECT_EQ(everything(), before);
}

TEST_F(RunCommandTest, ShowsTheOutputOfFailuresAsItIs)
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    write("bytes", bytes + "end");
    write("test1", "=one\n=echo before\n=run cat ../bytes >&1\n=exists none\n");
    write("test2", "=two\n=run cat ../bytes >&1\n=echo\n");
    const QByteArray failure = "before\n" + bytes +
                               "end\n"
                               "test1: ***ERROR: File 'none' does not exist\n"
                               "    test1:4: =exists none\n";
    const QByteArray end = "\nFailed:\n  test1: File 'none' does not exist [test1.dir]\n";
    expectRun({"-j1"}, failure + "test2: two\n" + end + counts(1, 1), 1);
    for (const char *const option : {"-v", "--verbose"})
        expectRun({"-j1", option}, failure + bytes + "end\ntest2: two\n" + end + counts(1, 1), 1);
}

TEST_F(RunCommandTest, NeverMixesTheOutputOfRuns)
{
    QByteArray expected;
    for (int n = 10; n < 30; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        write(name, "=heading\n=echo begin " + name + "\n=run for i in 1 2 3 4 5; do echo " + name +
                        " $i; echo " + name + " $i >&2; sleep 0.01; done >&1\n=echo end " + name +
                        "\n=exists none\n");
    }
    const Outcome outcome = make({"-j8"});
    for (int n = 10; n < 30; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        QByteArray block = "begin " + name + "\n";
        for (int i = 1; i <= 5; ++i)
            block += (name + " " + QByteArray::number(i) + "\n").repeated(2);
        block += "end " + name + "\n" + name + ": ***ERROR: File 'none' does not exist\n";
        EXPECT_EQ(outcome.output.count(block), 1) << outcome.output.toStdString();
    }
    EXPECT_TRUE(outcome.output.endsWith(counts(0, 20)));
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(RunCommandTest, ProgramsGetNothingFromUsButAnOutput)
{
    const QByteArray list = "ls /proc/self/fd";
    const Outcome direct = runProcess("/bin/sh", {"-c", list}, environment, work);
    write("test1", "=one\n=run readlink /proc/self/fd/0 >&1\n=run " + list + " >&1\n");
    write("test2", "=two\n=run " + list + " >&1\n");
    const QByteArray one = "/dev/null\n" + direct.output + "test1: one\n";
    expectRun({"-v", "-j1"}, one + direct.output + "test2: two\n" + counts(2), 0);
    const Outcome outcome = make({"-v", "-j8"});
    EXPECT_EQ(outcome.output.count(direct.output), 2) << outcome.output.toStdString();
}

TEST_F(RunCommandTest, NamesTheSlowestFive)
{
    for (int n = 1; n <= 6; ++n)
        write(QStringLiteral("test%1").arg(n),
            "=heading\n=run sleep 0.0" + QByteArray::number(n) + "\n");
    write("test7", "=heading\n=run sleep 0.5\n");
    write("test8", "=none\n=simprogram none\n");
    const QByteArray output = run({"run", "-j1"}).output;
    const QRegularExpression pattern("\nSlowest:\n((?: +[0-9.]+ s  test[1-7]\n){5})\n");
    const QRegularExpressionMatch match = pattern.match(QString::fromUtf8(output));
    ASSERT_TRUE(match.hasMatch()) << output.toStdString();
    const QStringList lines = match.captured(1).split('\n');
    EXPECT_TRUE(lines[0].endsWith("  test7"));
    for (int n = 1; n < 5; ++n)
        EXPECT_GE(lines[n - 1].simplified().section(' ', 0, 0).toDouble(),
            lines[n].simplified().section(' ', 0, 0).toDouble());
    write("other", "=alone\n");
    EXPECT_FALSE(run({"run", "other"}).output.contains("Slowest"));
}

TEST_F(RunCommandTest, TheStatusSaysWhetherSomethingRanAndAllIsWell)
{
    write("pass", "=pass\n");
    write("fail", "=fail\n=exists none\n");
    write("skip", "=skip\n=simprogram none\n");
    write("skip2", "=skip\n=simprogram none\n");
    write("known", "=known\n# talmo: known not exist\n=exists none\n");
    const struct {
        QStringList arguments;
        int status;
    } rows[] = {
        {{"pass"}, 0},
        {{"fail"}, 1},
        {{"pass", "fail"}, 1},
        {{"known"}, 0},
        {{"known", "pass"}, 0},
        {{"known", "fail"}, 1},
        {{"skip"}, 1}, // nothing ran: a machine that lost its settings is not well
        {{"skip*"}, 1},
        {{"skip", "pass"}, 0},
        {{"skip", "known"}, 0},
        {{"skip", "fail"}, 1},
        {{"skip", "--skip-status", "77"}, 77},
        {{"skip", "--skip-status", "0"}, 0},
        {{"skip", "--skip-status", "255"}, 255},
        {{"skip*", "--skip-status", "77"}, 1}, // it is for one run
        {{"skip", "pass", "--skip-status", "77"}, 0},
        {{"pass", "--skip-status", "77"}, 0},
        {{"fail", "--skip-status", "77"}, 1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments.join(' ').toStdString());
        EXPECT_EQ(make(row.arguments).status, row.status);
    }
}

TEST_F(RunCommandTest, KeepsTheDirectoriesOfPassesOnRequest)
{
    write("test1", "=one\n=file a\n1\n");
    write("test2", "=two\n=run touch b\n");
    const QByteArray output = "test1: one\ntest2: two\n" + counts(2);
    expectRun({"-j1", "--no-record"}, output, 0);
    EXPECT_EQ(entries(), QStringList({"test1", "test2"}));
    expectRun({"-j1", "--no-record", "--keep"}, output, 0);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/a", "test2", "test2.dir/",
                             "test2.dir/b", "test2.dir/touch.out"}));
    expectRun({"-j1", "--no-record"}, output, 0);
    EXPECT_EQ(entries(), QStringList({"test1", "test2"}));
}

TEST_F(RunCommandTest, RepeatsARunUntilItFails)
{
    // The third repetition fails.
    write("test1", "=one\n=run echo x >>../lines\n=ignore fail\n=run [ `wc -l <../lines` = 3 ]\n");
    write("test2", "=two\n=echo shown\n=run echo x >>../lines2\n");
    const QByteArray failed = "test1: ***ERROR: Command should have failed\n"
                              "    test1:4: =run [ `wc -l <../lines` = 3 ]\n"
                              "    exit status 0\n"
                              "    it printed nothing\n"
                              "    at repetition 3 of 5\n";
    const QByteArray end = "\nFailed:\n  test1: Command should have failed [test1.dir]\n";
    expectRun({"-j1", "--repeat", "5"}, failed + "test2: two\n" + end + counts(1, 1), 1);
    EXPECT_EQ(read("lines").size(), 2 * 3);
    EXPECT_EQ(read("lines2").size(), 2 * 5);
    QFile::remove(work + "/lines");
    expectRun({"test1", "--repeat", "2", "-v"}, "test1: one\n" + counts(1), 0);
    EXPECT_EQ(read("lines").size(), 2 * 2);
    QFile::remove(work + "/lines2");
    expectRun({"test2", "--repeat=1", "-v"}, "shown\ntest2: two\n" + counts(1), 0);
    EXPECT_EQ(read("lines2").size(), 2);
}

TEST_F(RunCommandTest, KeepsTheOrderAlsoOfLightRunsThatAreRepeated)
{
    writePasses(40);
    const QByteArrayList once = passesOf({"-j1"});
    EXPECT_EQ(once.size(), 40);
    EXPECT_EQ(once.first(), "test01");
    EXPECT_EQ(passesOf({"-j1", "--repeat", "3"}), once);
}

TEST_F(RunCommandTest, RetriesWhatMayFailAndSaysSo)
{
    write("test1", "=one\n# talmo: retry 2\n=run echo x >>../lines1\n=echo attempt\n"
                   "=run [ `wc -l <../lines1` -ge 2 ]\n");
    write("test2", "=two\n# talmo: retry 2\n=run echo x >>../lines2\n=exists none\n");
    write("test3", "=three\n# talmo: retry 2\n=run echo x >>../lines3\n");
    const QByteArray flaky = "test1: one\n"
                             "    attempt 1: running '[' failed\n"
                             "    flaky: it passed at attempt 2\n";
    const QByteArray failed = "test2: ***ERROR: File 'none' does not exist\n"
                              "    test2:4: =exists none\n"
                              "    attempt 1: File 'none' does not exist\n"
                              "    attempt 2: File 'none' does not exist\n";
    const QByteArray end = "\nFailed:\n  test2: File 'none' does not exist [test2.dir]\n";
    expectRun({"-j1"}, flaky + failed + "test3: three\n" + end + counts(1, 1, 0, 1), 1);
    EXPECT_EQ(read("lines1").size(), 2 * 2);
    EXPECT_EQ(read("lines2").size(), 2 * 3);
    EXPECT_EQ(read("lines3").size(), 2);
    EXPECT_FALSE(exists("test1.dir"));
    QFile::remove(work + "/lines1");
    expectRun({"test1", "-v"}, "attempt\n" + flaky + counts(0, 0, 0, 1), 0); // the one that passed
}

TEST_F(RunCommandTest, EachRepetitionHasItsAttempts)
{
    write("test1", "=one\n# talmo: retry 1\n=run echo x >>../lines\n"
                   "=run [ $((`wc -l <../lines` % 2)) = 0 ]\n");
    expectRun({"--repeat", "3"},
        "test1: one\n"
        "    attempt 1: running '[' failed\n"
        "    attempt 1: running '[' failed\n"
        "    attempt 1: running '[' failed\n"
        "    flaky: it passed at attempt 2\n" +
            counts(0, 0, 0, 1),
        0);
    EXPECT_EQ(read("lines").size(), 2 * 6);
}

TEST_F(RunCommandTest, CountsKnownFailuresApart)
{
    write("test1", "=one\n# talmo: known ^File 'none' does\n# talmo: known other\n=exists none\n");
    write("test2", "=two\n# talmo: known ^does not\n# talmo: known other\n=exists none\n");
    write("test3", "=three\n# talmo: known .*\n=echo shown\n");
    write("test4", "=four\n# talmo: known fail\n# talmo: retry 3\n=run echo >>../lines; false\n");
    expectRun({"-j1"},
        "test1: ***ERROR: File 'none' does not exist\n"
        "    test1:4: =exists none\n"
        "    a known failure: ^File 'none' does\n"
        "test2: ***ERROR: File 'none' does not exist\n"
        "    test2:4: =exists none\n"
        "    it is known to fail otherwise, with '^does not' or 'other'\n"
        "shown\n"
        "test3: ***ERROR: passed, although it is known to fail with '.*'\n"
        "test4: ***ERROR: running 'echo' failed\n"
        "    test4:4: =run echo >>../lines; false\n"
        "    exit status 1\n"
        "    a known failure: fail\n"
        "\n"
        "Failed:\n"
        "  test2: File 'none' does not exist [test2.dir]\n"
        "  test3: passed, although it is known to fail with '.*'\n" +
            counts(0, 2, 2),
        1);
    EXPECT_EQ(read("lines"), "\n"); // what is known is not tried again
    expectRun({"test1"},
        "test1: ***ERROR: File 'none' does not exist\n"
        "    test1:4: =exists none\n"
        "    a known failure: ^File 'none' does\n" +
            counts(0, 0, 1),
        0);
}

TEST_F(RunCommandTest, StartsNothingAfterAFailureOnRequest)
{
    writePasses(40);
    write("test20", "=fails\n=exists none\n");
    write("test41", "=number 41\n=run true\n");
    const Outcome outcome = make({"-j1", "--stop-on-failure"});
    QByteArray notRun;
    for (int n = 21; n <= 40; ++n)
        notRun += "  test" + QByteArray::number(n) + ": stopped after the failure of test20\n";
    const auto end = outcome.output.indexOf("test20: ");
    EXPECT_EQ(outcome.output.left(end).count('\n'), 19);
    EXPECT_EQ(outcome.output.mid(end), "test20: ***ERROR: File 'none' does not exist\n"
                                       "    test20:2: =exists none\n"
                                       "\n"
                                       "Failed:\n"
                                       "  test20: File 'none' does not exist [test20.dir]\n"
                                       "\n"
                                       "Not run:\n" +
                                           notRun + "  and 1 more\n" + counts(19, 1, 0, 0, 0, 21));
    EXPECT_EQ(outcome.status, 1);
    write("test20", "=known\n# talmo: known exist\n=exists none\n"); // that is no failure
    EXPECT_EQ(passesOf({"-j1", "--stop-on-failure"}).size(), 40);
}

TEST_F(RunCommandTest, RunsAtWorkEndAlsoIfNothingIsStartedAnyMore)
{
    write("test1", "=fails\n=run until [ -e ../started ]; do sleep 0.01; done\n=exists none\n");
    write("test2", "=two\n=run touch ../started; until [ -e ../go ]; do sleep 0.01; done\n");
    write("test3", "=three\n");
    start({"-j2", "--stop-on-failure", "--no-record"});
    waitForOutput("test1: ***ERROR: ");
    write("go", "");
    const Outcome outcome = end();
    EXPECT_TRUE(outcome.output.contains("test2: two\n")) << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains("Not run:\n  test3: stopped after the failure of test1\n"));
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 1, 0, 0, 0, 1)));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunCommandTest, ShardsAreAPartition)
{
    writePasses(11);
    const QByteArrayList all = passesOf({"-j1"});
    for (int shards = 1; shards <= 13; ++shards) {
        SCOPED_TRACE(shards);
        QByteArrayList found;
        for (int index = 1; index <= shards; ++index) {
            const QStringList arguments = {
                "-j1", "--shard", QString("%1/%2").arg(index).arg(shards)};
            const QByteArrayList names = passesOf(arguments);
            EXPECT_EQ(passesOf(arguments), names); // the same everywhere
            EXPECT_LE(names.size(), 11 / shards + 1);
            found += names;
        }
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, all);
    }
}

TEST_F(RunCommandTest, AnEmptyShardIsFineUnlessAllShardsAreSkipped)
{
    write("test1", "=one\n");
    write("test2", "=two\n=simprogram none\n");
    const QByteArray skipped = work.toUtf8() + "/test2: No applicable SimPrograms\n";
    expectRun({"--shard", "1/2"}, "test1: one\n" + counts(1), 0);
    expectRun({"--shard", "2/2"}, skipped + counts(0, 0, 0, 0, 1), 0);
    expectRun({"--shard", "3/3"}, counts(0), 0);
    expectRun({"--shard", "1000000000/1000000000"}, counts(0), 0);
    expectRun({"--shard", "1/2", "test2"}, skipped + counts(0, 0, 0, 0, 1), 1);
    expectRun({"--shard", "2/2", "test2"}, counts(0), 1);
    write("test1", "=one\n=exists none\n");
    EXPECT_EQ(make({"--shard", "1/2"}).status, 1);
    EXPECT_EQ(make({"--shard", "2/2"}).status, 0);
    EXPECT_FALSE(exists(".talmo"));
}

TEST_F(RunCommandTest, TakesWhatListTakes)
{
    write("suite/test1", "=one\n# talmo: labels slow\n");
    write("suite/test2", "=two\n=simprogram *\n=run $simProgram >&1\n");
    write("suite/sim/sim3", "#!/bin/sh\necho this is sim3\n");
    QFile::setPermissions(work + "/suite/sim/sim3", QFile::ReadOwner | QFile::ExeOwner);
    const QByteArray one = "test1: one\n" + counts(1);
    const QByteArray skipped = work.toUtf8() + "/suite/test2: No applicable SimPrograms\n";
    expectRun({"-C", "suite", "--label", "slow"}, one, 0);
    expectRun({"-C", "suite", "--run", "test1"}, one, 0);
    expectRun({"-C", "suite", "TEST1"}, one, 0);
    expectRun({"-C", "suite", "-j1"}, "test1: one\n" + skipped + counts(1, 0, 0, 0, 1), 0);
    for (const char *const path : {"sim/sim3", "./sim", "../suite/sim/sim3"})
        expectRun({"-C", "suite", "-v", "--exclude-label", "slow", "--program",
                      QStringLiteral("sim3=") + path},
            "this is sim3\ntest2(sim3): two\n" + counts(1), 0);
    EXPECT_EQ(everything().filter("tmp/"), QStringList("tmp/"));
    expectRun({"--distribution", "test01*"},
        "test01_text_compare: Text files are compared line by line, to the letter\n" + counts(1),
        0);
}

TEST_F(RunCommandTest, MakesTheRunsOfTheListInItsOrder)
{
    configure({"sim2", "sim1"});
    for (const char *const program : {"sim1", "sim2"})
        addProgram(program, "");
    for (const char *const name : {"test10", "Test2", "test1", "tests"})
        write(name, "=number\n=simprogram sim1 sim*\n=run sleep 0.0$(($$ % 3))\n");
    write("test3", "=number\n# talmo: serial\n# talmo: processors 4\n");
    const QByteArrayList list = run({"list"}).output.trimmed().split('\n');
    ASSERT_EQ(list.size(), 9);
    QByteArrayList made;
    for (const QByteArray &line : make({"-j1"}).output.split('\n')) {
        if (line.endsWith(": number"))
            made += line.chopped(8);
    }
    EXPECT_EQ(made, list);
}

TEST_F(RunCommandTest, MakesAsManyAtOnceAsItIsTold)
{
    // Each one waits until all are there, or, if it is to be alone, until it has seen nobody.
    const QByteArray together = "=run touch ../here.$$; "
                                "until [ `ls .. | grep -c here` = 4 ]; do sleep 0.01; done\n";
    const QByteArray alone = "=run mkdir ../alone && sleep 0.05 && rmdir ../alone\n";
    for (const char *const name : {"test1", "test2", "test3", "test4"})
        write(name, "=heading\n" + together);
    EXPECT_EQ(make({"-j4"}).status, 0);
    for (const QString &here : QDir(work).entryList({"here.*"}))
        QFile::remove(QDir(work).filePath(here));
    EXPECT_EQ(make({"-j", "1000000000"}).status, 0);
    const char *const needs[] = {"serial", "processors 3", "processors 9", "lock disk"};
    for (const char *const need : needs) {
        SCOPED_TRACE(need);
        for (const char *const name : {"test1", "test2", "test3", "test4"})
            write(name, QByteArray("=heading\n# talmo: ") + need + "\n" + alone);
        EXPECT_EQ(make({"-j4"}).status, 0);
    }
}

TEST_F(RunCommandTest, ATraceIsThatOfOneRun)
{
    write("test1", "=one\n=debug\n=echo traced\n");
    write("test2", "=two\n=echo not traced\n");
    write("test3", "=three\n=echo not traced\n=exists none\n");
    expectRun({"-j1", "-v"},
        "==== line='=echo traced'\ntraced\n==== end test test1\ntest1: one\n"
        "not traced\ntest2: two\n"
        "not traced\ntest3: ***ERROR: File 'none' does not exist\n"
        "    test3:3: =exists none\n"
        "\nFailed:\n  test3: File 'none' does not exist [test3.dir]\n" +
            counts(2, 1),
        1);
    EXPECT_TRUE(exists("test1.dir"));
    EXPECT_FALSE(exists("test2.dir"));
}

TEST_F(RunCommandTest, HasColourAndACounterOnATerminalOnly)
{
    write("test1", "=one\n");
    write("test2", "=two\n=run true\n=exists none\n");
    EXPECT_FALSE(run({"run"}).output.contains('\033'));
    useTerminal();
    const Outcome inTerminal = run({"run", "-j1"});
    const QByteArray &output = inTerminal.output;
    EXPECT_TRUE(output.contains("[0/2] 0 failed; at work: test1")) << output.toStdString();
    EXPECT_TRUE(output.contains("[1/2] 0 failed; at work: test2"));
    EXPECT_TRUE(output.contains("\r\033[Ktest1: one\r\n"));
    EXPECT_TRUE(output.contains("\033[31mtest2: ***ERROR: File 'none' does not exist\033[m\r\n"));
    EXPECT_TRUE(output.contains("\033[31m2 runs in "));
    EXPECT_EQ(inTerminal.status, 1);
    EXPECT_TRUE(run({"run", "test1"}).output.contains("\033[32m1 run in "));
    environment["NO_COLOR"] = "1";
    EXPECT_FALSE(run({"run", "-j1"}).output.contains('\033'));
    environment.remove("NO_COLOR");
    environment["TERM"] = "dumb";
    EXPECT_FALSE(run({"run", "-j1"}).output.contains('\033'));
}

TEST_F(RunCommandTest, AReportThatCannotBeWrittenIsNoSuccess)
{
    write("test1", "=one\n=run touch ../made\n");
    const QString command = QStringLiteral("exec \"$0\" \"$@\" >/dev/full");
    const Outcome outcome = runProcess(QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), command, driver, QStringLiteral("run")}, environment, work);
    EXPECT_EQ(outcome.errors, "talmo: cannot write standard output: No space left on device\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(exists("made"));
}

TEST_F(RunCommandTest, AWrongCallIsRefused)
{
    write("test1", "=one\n");
    write("test2", "no test\n");
    const QByteArray count = " takes a whole number from 1 on, not '";
    const QByteArray seconds = " takes a number of seconds above 0, not '";
    const QByteArray shard = "--shard takes I/N, with I from 1 to N, not '";
    const QByteArray skip = "--skip-status takes a number from 0 to 255, not '";
    const struct {
        QStringList arguments;
        QByteArray sentence;
    } rows[] = {
        {{"-j"}, "missing value after '-j'"},
        {{"-j", "0"}, "--jobs" + count + "0'"},
        {{"-j", "-1"}, "--jobs" + count + "-1'"},
        {{"-j", "two"}, "--jobs" + count + "two'"},
        {{"-j", "2.0"}, "--jobs" + count + "2.0'"},
        {{"-j", ""}, "--jobs" + count + "'"},
        {{"-j", "99999999999"}, "--jobs" + count + "99999999999'"},
        {{"--timeout", "0"}, "--timeout" + seconds + "0'"},
        {{"--timeout", "-3"}, "--timeout" + seconds + "-3'"},
        {{"--timeout", "nan"}, "--timeout" + seconds + "nan'"},
        {{"--timeout", "1e999"}, "--timeout" + seconds + "1e999'"},
        {{"--timeout", "1 s"}, "--timeout" + seconds + "1 s'"},
        {{"--repeat", "0"}, "--repeat" + count + "0'"},
        {{"--shard", "0/3"}, shard + "0/3'"},
        {{"--shard", "4/3"}, shard + "4/3'"},
        {{"--shard", "3"}, shard + "3'"},
        {{"--shard", "1/2/3"}, shard + "1/2/3'"},
        {{"--shard", "1/"}, shard + "1/'"},
        {{"--shard", "/1"}, shard + "/1'"},
        {{"--shard", "-1/2"}, shard + "-1/2'"},
        {{"--shard", ""}, shard + "'"},
        {{"--skip-status", "256"}, skip + "256'"},
        {{"--skip-status", "-1"}, skip + "-1'"},
        {{"--skip-status", "x"}, skip + "x'"},
        {{"--shard", "1/2", "--rerun-failed"},
            "--rerun-failed and --shard exclude each other: every machine would divide another "
            "list"},
        {{"--no-such-option"}, "unknown option 'no-such-option'"},
        {{"--keep=1"}, "unexpected value after '--keep'"},
        {{"-x"}, "unknown option 'x'"},
        {{}, "test2: Invalid test file"},
        {{"none"}, "the filter 'none' matches nothing in '" + work.toUtf8() + "'"},
        {{"test1", "--run", "test3"}, "there is no run 'test3' in '" + work.toUtf8() + "'"},
        {{"test1", "--program", "none"}, "the program 'none' is not in the PATH"},
        {{"-C", "none"}, "cannot go to the directory 'none': No such file or directory"},
    };
    for (const auto &row : rows)
        expectWrongCall(QStringList("run") + row.arguments, "talmo: run: " + row.sentence + "\n");
    expectWrongCall({"run", "-j0", "--shard=0/0", "--timeout=0", "--repeat=0"},
        "talmo: run: --jobs" + count + "0'\ntalmo: run: --repeat" + count +
            "0'\ntalmo: run: --timeout" + seconds + "0'\ntalmo: run: " + shard + "0/0'\n");
}

TEST_F(RunCommandTest, OneOfManyWrongCommentsStopsAll)
{
    write("test1", "=one\n=run touch ../made\n");
    write("test2", "=two\n# talmo: sereal\n");
    write("test3", "=three\n=echo\n# talmo: serial\n");
    const Outcome outcome = run({"run"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors,
        "talmo: run: test2:2: unknown word 'sereal' behind 'talmo:'\n"
        "talmo: run: test3:3: 'talmo: serial' must stand before the first command\n");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(entries(), QStringList({"test1", "test2", "test3"}));
}
