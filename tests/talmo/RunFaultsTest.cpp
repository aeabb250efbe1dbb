// What must not become a pass, whatever happens: scripts that vanish, processes that are killed,
// disks that are full, memory, descriptors and processes that are missing.

#include "RunFixture.h"

#include <QDir>
#include <QFile>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

class RunFaultsTest : public RunFixture
{
protected:
    /// Expects that talmo run, with \a arguments and one run at a time, says \a message of the run
    /// \a name after the run of test1, which passes.
    void expectFailure(
        const QByteArray &name, const QByteArray &message, const QStringList &arguments = {})
    {
        const Outcome outcome = make(QStringList({"-j1", "--no-record"}) + arguments);
        EXPECT_EQ(outcome.output, "test1: one\n" + name + ": ***ERROR: " + message +
                                      "\n\nFailed:\n  " + name + ": " + message + "\n" +
                                      counts(1, 1));
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 1);
    }

    /// Writes \a count scripts that need a process each, and print.
    void writePrinting(int count)
    {
        for (int n = 10; n < 10 + count; ++n)
            write(QStringLiteral("test%1").arg(n),
                "=heading\n=run echo number " + QByteArray::number(n) + " >&1\n=exists none\n");
    }

    /// Expects of the runs of writePrinting that each was made and shows what it printed.
    void expectPrinted(const Outcome &outcome, int count)
    {
        for (int n = 10; n < 10 + count; ++n) {
            const QByteArray number = QByteArray::number(n);
            EXPECT_EQ(outcome.output.count("number " + number + "\ntest" + number +
                                           ": ***ERROR: File 'none' does not exist\n"),
                1)
                << outcome.output.toStdString();
        }
        EXPECT_TRUE(outcome.output.endsWith(counts(0, count)));
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 1);
    }

    /// Has talmo, and what it starts, obey a limit of the shell's ulimit.
    void limit(const QByteArray &option, const QByteArray &value)
    {
        addProgram("limited",
            "ulimit " + option + " " + value + "\nexec " + driver.toUtf8() + " \"$@\"\n");
        driver = QDir(programs).filePath("limited");
    }

    QByteArray incomplete() const
    {
        return "    what it printed is incomplete, since not all could be written to '" +
               temporary.toUtf8() + "'\n";
    }

    const char *const noMounts = "mounting a disk is not allowed here";
};

} // namespace

TEST_F(RunFaultsTest, AScriptThatIsNoLongerTheOneThatWasListedFails)
{
    const QByteArray hasChanged = "the script has changed, and no longer runs ";
    const struct {
        QByteArray change; // of the script by the run before
        QByteArray message;
    } rows[] = {
        {"rm ../test2", "Cannot read file"},
        {"mv ../test2 ../hidden", "Cannot read file"},
        {"rm ../test2; mkdir ../test2", "Cannot read file"},
        {"rm ../test2; ln -s none ../test2", "Cannot read file"},
        {": >../test2", "Invalid test file"},
        {"echo x >../test2", "Invalid test file"},
        {"printf '=two\\n=simprogram\\n' >../test2", hasChanged + "without a program"},
        {"printf '=two\\n=simprogram *\\n' >../test2", hasChanged + "without a program"},
        {"printf '=two\\n=simprogram sim*\\n' >../test2", hasChanged + "without a program"},
    };
    for (const char *const lines : {"", "=run true\n"}) {
        for (const auto &row : rows) {
            SCOPED_TRACE(row.change.toStdString() + lines);
            write("test1", "=one\n=run " + row.change + "\n");
            write("test2", "=two\n" + QByteArray(lines));
            expectFailure("test2", row.message);
            QDir(work).rmdir("test2");
            QFile::remove(work + "/test2");
        }
    }
}

TEST_F(RunFaultsTest, AScriptThatNoLongerRunsForItsProgramFails)
{
    addProgram("sim1", "");
    const QByteArray hasChanged = "the script has changed, and no longer runs ";
    const struct {
        const char *line;
        QByteArray message;
    } rows[] = {
        {"=simprogram sim2", hasChanged + "for 'sim1'"},
        {"=simprogram", hasChanged + "for 'sim1'"},
        {"=run $simProgram", hasChanged + "for 'sim1'"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        write("test1", "=one\n=file ../test2\n\n=run printf '=two\\n" + QByteArray(row.line) +
                           "\\n' >../test2\n");
        write("test2", "=two\n=simprogram sim*\n=run $simProgram\n");
        expectFailure("test2(sim1)", row.message, {"--program", "sim1"});
    }
}

TEST_F(RunFaultsTest, AScriptThatMayNoLongerBeReadFails)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may read everything, and cannot be kept from it here";
    write("test1", "=one\n=run chmod 000 ../test2\n");
    write("test2", "=two\n");
    expectFailure("test2", "Cannot read file");
}

TEST_F(RunFaultsTest, ASuiteThatIsMovedAwayFails)
{
    write("suite/test1", "=one\n=run mv ../../suite ../../elsewhere\n");
    write("suite/test2", "=two\n");
    expectFailure("test2", "Cannot read file", {"-C", "suite"});
    EXPECT_EQ(entries(), QStringList({"elsewhere/", "elsewhere/test1", "elsewhere/test2"}));
}

TEST_F(RunFaultsTest, AProgramThatTheScriptStartsOnlySinceItWasListedIsNamed)
{
    addProgramsThatStay();
    write("test1", "=one\n=run printf '=two\\n=run stay pid & until [ -e ../pid ]; do sleep 0.01; "
                   "done\\n' >../test2\n");
    write("test2", "=two\n");
    write("test3", "=three\n");
    const Outcome outcome = make({"-j1", "--no-record"});
    EXPECT_EQ(outcome.output, "test1: one\ntest2: two\ntest3: three\n\nStill running:\n  'sleep' "
                              "(process " +
                                  read("pid").trimmed() + "), left behind by test2\n" + counts(3));
    endProcessIn("pid");
}

TEST_F(RunFaultsTest, AProgramMayDoAwayWithTheDirectoryOfItsRun)
{
    write("mine/file", "mine\n");
    const QByteArray lines[] = {
        "=run rm -r ../test1.dir\n",
        "=run mv ../test1.dir ../mine\n",
        "=run rm -r ../test1.dir; ln -s mine ../test1.dir >/dev/null\n",
    };
    for (const QByteArray &line : lines) {
        SCOPED_TRACE(line.toStdString());
        write("test1", "=one\n" + line);
        write("test2", "=two\n=file a\n=exists a\n");
        expectRun({"-j1", "--no-record"}, "test1: one\ntest2: two\n" + counts(2), 0);
        EXPECT_EQ(read("mine/file"), "mine\n");
        write("test1", "=one\n" + line + "=exists none\n");
        EXPECT_EQ(make({"-j1", "--no-record"}).status, 1);
        EXPECT_EQ(read("mine/file"), "mine\n");
        QDir(work + "/mine/test1.dir").removeRecursively();
    }
}

TEST_F(RunFaultsTest, ADirectoryThatSomebodyElseUsesIsLeftAlone)
{
    write("test1",
        "=one\n=file a\n1\n=run touch ../there; until [ -e ../go ]; do sleep 0.01; done\n"
        "=exists a\n");
    write("test2", "=two\n");
    const QByteArray message = "directory 'test1.dir' is in use by another talmo_test";
    for (const QString &other : {plainDriver, driver}) {
        SCOPED_TRACE(other.toStdString());
        QFile::remove(work + "/there");
        QFile::remove(work + "/go");
        QProcess first;
        const QStringList arguments =
            other == driver ? QStringList({"run", "--no-record", "test1"}) : QStringList("test1");
        startProcess(first, other, arguments, environment, work);
        while (!exists("there") && first.state() != QProcess::NotRunning)
            first.waitForFinished(5);
        expectRun({"-j1", "--no-record"},
            "test1: ***ERROR: " + message + "\ntest2: two\n\nFailed:\n  test1: " + message + "\n" +
                counts(1, 1),
            1);
        EXPECT_EQ(read("test1.dir/a"), "1\n");
        write("go", "");
        EXPECT_EQ(outcomeOf(first).status, 0);
    }
}

TEST_F(RunFaultsTest, ARunWhoseProcessIsKilledFailsAndIsNeitherKnownNorTriedAgain)
{
    write("test2", "=two\n");
    for (const char *const signal : {"KILL", "SEGV", "ABRT", "USR1"}) {
        if (isSanitized && signal == QByteArray("SEGV"))
            continue; // the sanitizer reports that signal in its own way
        SCOPED_TRACE(signal);
        write("test1", "=one\n# talmo: known .*\n# talmo: retry 2\n=echo before\n"
                       "=run echo x >>../lines; ulimit -c 0; kill -" +
                           QByteArray(signal) + " $PPID\n=echo after\n");
        const Outcome outcome = make({"-j1", "--no-record"});
        const QByteArray message = "the process of the run was ended by signal ";
        EXPECT_TRUE(outcome.output.startsWith("before\ntest1: ***ERROR: " + message))
            << outcome.output.toStdString();
        EXPECT_TRUE(outcome.output.contains("\ntest2: two\n\nFailed:\n  test1: " + message));
        // The shell that sent the signal may still be there, and is named then.
        EXPECT_TRUE(outcome.output.contains(" [test1.dir]\n"));
        EXPECT_TRUE(outcome.output.endsWith(counts(1, 1)));
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(read("lines"), "x\n");
        QFile::remove(work + "/lines");
    }
}

TEST_F(RunFaultsTest, ARunWhoseProcessIsAskedToEndFailsAndIsNeitherKnownNorTriedAgain)
{
    write("test2", "=two\n");
    for (const QByteArray signal : {"TERM", "INT", "HUP"}) {
        for (const QByteArray ignoring : {"", "=ignore .*\n"}) {
            SCOPED_TRACE(signal.toStdString() + ignoring.toStdString());
            write("test1", "=one\n# talmo: known .*\n# talmo: retry 2\n" + ignoring +
                               "=run echo x >>../lines; kill -" + signal +
                               " $PPID; sleep 0.1; false\n=echo after\n");
            const Outcome outcome = make({"-j1", "--no-record"});
            const QByteArray message = "interrupted by SIG" + signal;
            EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: " + message + "\n"))
                << outcome.output.toStdString();
            EXPECT_TRUE(outcome.output.contains("\ntest2: two\n"));
            EXPECT_TRUE(outcome.output.endsWith(
                "\nFailed:\n  test1: " + message + " [test1.dir]\n" + counts(1, 1)));
            EXPECT_EQ(outcome.status, 1);
            EXPECT_EQ(read("lines"), "x\n");
            QFile::remove(work + "/lines");
        }
    }
}

TEST_F(RunFaultsTest, AProcessThatIsStoppedIsEndedWhenItsTimeIsUp)
{
    write("test1", "=one\n=run kill -STOP $PPID\n");
    write("test2", "=two\n");
    const Outcome outcome = make({"-j2", "--timeout", "1", "--no-record"});
    EXPECT_TRUE(outcome.output.contains("test1: ***ERROR: timed out after 1 s\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith("[test1.dir]\n" + counts(1, 1)));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, OfAJobThatIsKilledTheRunAtWorkFailsAndTheOthersAreMadeOnce)
{
    // The one that hangs waits for what nobody writes. The test kills its process, which is the
    // only child of talmo.
    const QByteArray fifo = QFile::encodeName(work) + "/fifo";
    ASSERT_EQ(mkfifo(fifo, 0600), 0);
    const int writer = open(fifo, O_RDWR | O_CLOEXEC);
    QByteArray passes;
    for (int n = 10; n < 50; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        write(name, "=heading\n=ignore does not exist\n=exists ../made" + name + "\n=file ../made" +
                        name + "\n");
        passes += n == 20 ? "" : name + ": heading\n";
    }
    write("test20", "=hangs\n=file ../there\n=compare ../fifo ../fifo\n");
    start({"-j1", "--no-record"});
    waitFor({"there"});
    kill(onlyChildOfTalmo(), SIGKILL);
    const Outcome outcome = end();
    close(writer);
    const QByteArray message = "the process of the run was ended by signal 9 (Killed)";
    QByteArray lines = passes;
    lines.insert(passes.indexOf("test21"), "test20: ***ERROR: " + message + "\n");
    EXPECT_EQ(outcome.output,
        lines + "\nFailed:\n  test20: " + message + " [test20.dir]\n" + counts(39, 1));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, ShowsAllThatARunPrints)
{
    write(
        "test1", "=one\n=echo first\n=run yes | head -c 30000000 >&1\n=echo last\n=exists none\n");
    const Outcome outcome = make({"--no-record"});
    EXPECT_TRUE(outcome.output.startsWith("first\ny\ny\n"));
    EXPECT_EQ(outcome.output.indexOf("last\ntest1: ***ERROR: File 'none' does not exist\n"),
        30000000 + 6);
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, OutputThatDoesNotFitOnTheDiskIsSaidToBeIncomplete)
{
    write("test1", "=one\n=run echo fits >&1\n");
    write("test2", "=two\n=run head -c 3000000 /dev/zero | tr '\\0' 'x' >&1\n");
    write("test3", "=three\n=echo " + QByteArray(1500000, 'y') + "\n=echo end\n");
    if (!mountPrivately("mount -t tmpfs -o size=1m none \"$folder/tmp\"\n"))
        GTEST_SKIP() << noMounts;
    const Outcome outcome = make({"-j1", "-v", "--no-record"});
    EXPECT_TRUE(outcome.output.startsWith("fits\ntest1: one\nx"));
    EXPECT_TRUE(outcome.output.contains("x\ntest2: ***ERROR: running 'head' failed\n"));
    EXPECT_TRUE(outcome.output.contains("test3: three\n" + incomplete()))
        << outcome.output.right(1000).toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(2, 1)));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, OutputThatIsTooLargeForAFileIsSaidToBeIncomplete)
{
    write("test1", "=one\n=echo " + QByteArray(200000, 'y') + "\n=echo end\n");
    write("test2", "=two\n=run true\n=echo fits\n");
    write("test3", "=three\n=echo " + QByteArray(200000, 'y') + "\n=exists none\n");
    limit("-f", "100"); // of 512 bytes
    const Outcome outcome = make({"-j1", "-v", "--no-record"});
    EXPECT_TRUE(outcome.output.contains("y\ntest1: one\n" + incomplete() + "fits\ntest2: two\n"))
        << outcome.output.right(1000).toStdString();
    EXPECT_TRUE(outcome.output.contains("y\ntest3: ***ERROR: File 'none' does not exist\n"
                                        "    test3:3: =exists none\n" +
                                        incomplete()));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, WithoutAPlaceForOutputNothingRunsAndThatIsNoPass)
{
    write("test1", "=one\n=run touch ../made\n");
    write("test2", "=two\n");
    const QString none = folder.path() + "/none";
    environment["TMPDIR"] = none;
    const QByteArray reason =
        "cannot make a file for the output in '" + none.toUtf8() + "': No such file or directory\n";
    expectRun({"--no-record"},
        "\nNot run:\n  test1: " + reason + "  test2: " + reason + counts(0, 0, 0, 0, 0, 2), 1);
    EXPECT_EQ(entries(), QStringList({"test1", "test2"}));
}

TEST_F(RunFaultsTest, WithoutAPlaceForOutputThatMayBeWrittenNothingRunsAndThatIsNoPass)
{
    write("test1", "=one\n");
    if (!mountPrivately("mount -t tmpfs -o ro none \"$folder/tmp\"\n"))
        GTEST_SKIP() << noMounts;
    expectRun({"--no-record"},
        "\nNot run:\n  test1: cannot make a file for the output in '" + temporary.toUtf8() +
            "': Read-only file system\n" + counts(0, 0, 0, 0, 0, 1),
        1);
}

TEST_F(RunFaultsTest, MakesFewerRunsAtOnceIfThereAreFewDescriptors)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs descriptors of its own";
    writePrinting(40);
    limit("-n", "30");
    expectPrinted(make({"-j40", "--no-record"}), 40);
}

TEST_F(RunFaultsTest, MakesFewerRunsAtOnceIfThereAreFewProcesses)
{
    if (isSanitized)
        GTEST_SKIP() << "the shell cannot load what was compiled for the sanitizer";
    preload(FAILING_FORK);
    environment["FORKS_THAT_FAIL"] = " 2 4 6 8 10 12 14 16 18 20 ";
    writePrinting(10);
    expectPrinted(make({"-j4", "--no-record"}), 10);
}

TEST_F(RunFaultsTest, WithoutAProcessNothingRunsAndThatIsNoPass)
{
    if (isSanitized)
        GTEST_SKIP() << "the shell cannot load what was compiled for the sanitizer";
    preload(FAILING_FORK);
    environment["FORKS_THAT_FAIL"] = " 2 3 4 5 6 7 8 9 ";
    write("test1", "=one\n=run true\n");
    write("test2", "=two\n=run true\n");
    write("test3", "=three\n");
    expectRun({"-j1", "--no-record"},
        "test1: one\n\nNot run:\n"
        "  test2: cannot start a process: Resource temporarily unavailable\n"
        "  test3: cannot start a process: Resource temporarily unavailable\n" +
            counts(1, 0, 0, 0, 0, 2),
        1);
}

TEST_F(RunFaultsTest, ARunThatNeedsTooMuchMemoryFails)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's memory cannot be limited";
    limitMemory();
    write("test2", "=two\n");
    write("test1", "=one\n=echo " + QByteArray(10000000, 'x') + "\n");
    const Outcome outcome = make({"-j1", "--no-record"});
    // "Out of memory"; but newer versions of Qt end the process of the run at some places.
    EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: "))
        << outcome.output.left(1000).toStdString();
    EXPECT_TRUE(outcome.output.contains("\ntest2: two\n"));
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 1)));
    EXPECT_EQ(outcome.status, 1);
    for (const int size : {15000000, 20000000, 30000000}) { // even to look at it takes too much
        SCOPED_TRACE(size);
        write("test1", "=one\n=echo " + QByteArray(size, 'x') + "\n");
        const Outcome larger = make({"-j1", "--no-record"});
        EXPECT_FALSE(larger.output.contains("test1: one\n"));
        EXPECT_EQ(larger.status, 1);
    }
}

TEST_F(RunFaultsTest, ADiskThatIsFullIsNoPass)
{
    write("test1", "=one\n=file a\n" + QByteArray(2000000, 'x') + "\n");
    write("test2", "=two\n");
    if (!mountPrivately("mkdir \"$folder/disk\"\n"
                        "mount -t tmpfs -o size=2500k none \"$folder/disk\"\n"
                        "cp -a \"$work/.\" \"$folder/disk\"\n"
                        "mount --bind \"$folder/disk\" \"$work\"\n"))
        GTEST_SKIP() << noMounts;
    const Outcome outcome = make({"-j1"});
    EXPECT_TRUE(outcome.output.startsWith("test1: ***ERROR: Cannot write file 'a'\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.endsWith(counts(1, 1))) << outcome.output.toStdString();
    EXPECT_TRUE(outcome.errors.startsWith("talmo: run: cannot write '"))
        << outcome.errors.toStdString();
    EXPECT_TRUE(outcome.errors.endsWith(": No space left on device\n"));
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, ASuiteOnAReadOnlyDiskFailsAndIsNotRecorded)
{
    write("test1", "=one\n");
    if (!mountPrivately("mount --bind \"$work\" \"$work\"\nmount -o remount,bind,ro \"$work\"\n"))
        GTEST_SKIP() << noMounts;
    const Outcome outcome = make();
    EXPECT_EQ(outcome.output, "test1: ***ERROR: cannot cd to 'test1.dir'\n\nFailed:\n  test1: "
                              "cannot cd to 'test1.dir'\n" +
                                  counts(0, 1));
    EXPECT_TRUE(outcome.errors.startsWith("talmo: run: nothing is recorded: "))
        << outcome.errors.toStdString();
    EXPECT_EQ(outcome.errors.count('\n'), 1);
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(RunFaultsTest, MakesEachOfManyRunsOnce)
{
    // A program appends to the file of its run. A run without one fails if its file is there.
    for (int n = 100; n < 300; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        const QByteArray file = "../made." + QByteArray::number(n);
        write(name, n % 2 == 0 ? "=heading\n=run echo " + name + " >>" + file + "\n"
                               : "=heading\n=ignore does not exist\n=exists " + file + "\n=file " +
                                     file + "\n" + name + "\n");
    }
    const Outcome outcome = make({"-j8", "--no-record"});
    for (int n = 100; n < 300; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        EXPECT_EQ(read("made." + QByteArray::number(n)), name + "\n");
        EXPECT_EQ(outcome.output.count(name + ": heading\n"), 1);
    }
    EXPECT_TRUE(outcome.output.endsWith(counts(200)));
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(entries().filter(".dir"), QStringList());
}
