#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

#include <sys/stat.h>

// Programs that crash, write too much, leave children behind or make too many files: what the
// driver prints, and what stays on disk.

class HostilePrograms : public DriverTest
{
protected:
    /// What the script "test1" prints when the program "sim" fails.
    const QByteArray simFailed = "test1: ***ERROR: running 'sim' failed\n";
};

TEST_F(HostilePrograms, WhatASignalEndsHasFailedAndTheNextTestRuns)
{
    write("test2", "=next\n");
    for (const QByteArray signal : {"KILL", "SEGV", "ABRT", "TERM", "HUP", "PIPE", "INT", "USR1"}) {
        SCOPED_TRACE(signal.toStdString());
        addProgram("sim", "echo before\nkill -" + signal + " $$\necho not reached");
        write("test1", "=heading\n=run sim\n=echo not reached\n");
        expectRun({"test1", "test2"}, "test1 test2", simFailed + "test2: next\n", 1, 2);
        EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/sim.out", "test2"}));
        EXPECT_TRUE(read("test1.dir/sim.out").startsWith("before\n"));
        EXPECT_FALSE(read("test1.dir/sim.out").contains("not reached"));
    }
}

TEST_F(HostilePrograms, TheShellMayBeEndedToo)
{
    EXPECT_EQ(errorOf("=run kill -KILL $$\n"), "running 'kill' failed");
    EXPECT_EQ(errorOf("=run exec sh -c 'kill -SEGV $$'\n"), "running 'exec' failed");
    EXPECT_EQ(errorOf("=ignore ^running 'kill' failed$\n=run kill -KILL $$\n"), "");
}

TEST_F(HostilePrograms, ACoreIsKeptWithTheDirectoryOfAFailedRunOnly)
{
    addProgram("sim", "ulimit -c unlimited\nkill -SEGV $$");
    EXPECT_EQ(runScript("=heading\n=run sim\n"), simFailed);
    if (entries().filter("test1.dir/core").isEmpty())
        GTEST_SKIP() << "this system puts cores elsewhere, or makes none";
    EXPECT_EQ(entries().size(), 4); // the core, the test, its directory and the capture
    EXPECT_EQ(runScript("=heading\n=ignore running 'sim' failed\n=run sim\n"), passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(HostilePrograms, AProgramMayCloseItsOutput)
{
    const struct {
        const char *body;
        const char *error;
    } rows[] = {
        {"echo before\nexec >&- 2>&- <&-", ""},
        {"echo before\nexec >&- 2>&- <&-\necho after", "running 'sim' failed"}, // echo fails
        {"echo before\nexec >&- 2>&- <&-\nexit 3", "running 'sim' failed"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.body);
        addProgram("sim", row.body);
        EXPECT_EQ(errorOf("=run sim\n"), row.error);
        EXPECT_EQ(runScript("=heading\n=ignore .*\n=run sim\n=end\n"), ended);
        EXPECT_EQ(read("test1.dir/sim.out"), "before\n");
    }
}

TEST_F(HostilePrograms, GigabytesAreNoBurden)
{
    // The columns that agree really fill many megabytes. The file of gigabytes is only a hole.
    const QByteArray count = isSanitized ? "10000000" : "100000000";
    const QByteArray lines = "=run truncate -s 5G hole\n"
                             "=run yes 1.0 | head -c " +
                             count +
                             "\n"
                             "=run cp yes.out reference\n"
                             "=compare yes.out reference\n"
                             "=compare yes.out reference 0.1\n";
    if (!isSanitized)
        limitMemory();
    EXPECT_EQ(runScript("=heading\n" + lines + "=end\n"), ended);
    EXPECT_EQ(QFileInfo(work + "/test1.dir/yes.out").size(), count.toLongLong());
    EXPECT_EQ(QFileInfo(work + "/test1.dir/hole").size(), 5LL << 30);
    EXPECT_EQ(runScript("=heading\n=ignore hole\n=exists hole\n"), passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(HostilePrograms, ALineTooLongForMemoryCannotBeRead)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's memory cannot be limited";
    limitMemory();
    write("small", "1 2\n");
    const QByteArray hole = "=run truncate -s 5G hole\n";
    EXPECT_EQ(errorOf(hole + "=compare hole ../small\n"), "Cannot read file 'hole'");
    EXPECT_EQ(errorOf(hole + "=compare ../small hole 0\n"), "Cannot read file 'hole'");
    EXPECT_EQ(
        errorOf(hole + "=run ln -s hole link\n=compare link hole -1\n"), "Cannot read file 'link'");
}

TEST_F(HostilePrograms, AFifoWithoutAnotherEndEndsARunInTime)
{
    write("test1", "=heading\n=compare ../fifo1 ../test1\n");
    write("test2", "=heading\n=compare ../test2 ../fifo2 0\n");
    write("test3", "=heading\n=file ../fifo3\n1\n");
    ASSERT_TRUE(QFile::link("fifo4", work + "/test4"));
    const QByteArray printed[] = {
        "test1: ***ERROR: Cannot read file '../fifo1', a FIFO that nobody writes\n",
        "test2: ***ERROR: Cannot read file '../fifo2', a FIFO that nobody writes\n",
        "test3: ***ERROR: Cannot write file '../fifo3', a FIFO that nobody reads\n",
        work.toUtf8() + "/test4: ***ERROR: Cannot read file, a FIFO that nobody writes\n",
    };
    QProcess processes[4];
    for (int n = 1; n <= 4; ++n) { // they run together, because each waits for a while
        ASSERT_EQ(mkfifo(QFile::encodeName(work + QString("/fifo%1").arg(n)), 0600), 0);
        startProcess(processes[n - 1], driver, {QString("test%1").arg(n)}, environment, work);
    }
    for (int n = 1; n <= 4; ++n) {
        const Outcome outcome = outcomeOf(processes[n - 1]);
        const QByteArray name = "test" + QByteArray::number(n);
        EXPECT_EQ(outcome.output, preamble(name) + printed[n - 1] + summary(1, 1));
        EXPECT_EQ(outcome.status, 2);
    }
}

TEST_F(HostilePrograms, GetNoDescriptorsFromTheDriver)
{
    addProgram("sim", "exec ls /proc/self/fd");
    const Outcome direct = runProcess(programs + "/sim", {}, environment, work);
    EXPECT_EQ(
        runScript("=heading\n=run true\n=compare ../test1 ../test1\n=run sim\n=end\n"), ended);
    EXPECT_EQ(read("test1.dir/sim.out"), direct.output);
}

// A program leaves a child behind. The child waits for a file "release", then writes into the
// capture, which it holds open, and makes a file "done".
class ChildrenLeftBehind : public HostilePrograms
{
protected:
    void SetUp() override
    {
        const QByteArray file = "'" + work.toUtf8() + "'/";
        addProgram("sim", "(until [ -e " + file + "release ]; do sleep 0.02; done\necho late\n: >" +
                              file + "done) &\necho early");
    }

    void TearDown() override
    {
        if (!exists("done"))
            release();
    }

    void release()
    {
        write("release", "");
        for (int wait = 0; wait < 6000 && !exists("done"); ++wait)
            QThread::msleep(10);
        EXPECT_TRUE(exists("done"));
    }
};

TEST_F(ChildrenLeftBehind, AreNotWaitedForAndKeepTheirCapture)
{
    EXPECT_EQ(runScript("=heading\n=run sim\n=end\n"), ended);
    EXPECT_EQ(read("test1.dir/sim.out"), "early\n");
    EXPECT_FALSE(exists("done"));
    release();
    EXPECT_EQ(read("test1.dir/sim.out"), "early\nlate\n");
}

TEST_F(ChildrenLeftBehind, BringNothingBackThatIsRemoved)
{
    EXPECT_EQ(runScript("=heading\n=run sim\n=run cat sim.out >&1\n"), "early\n" + passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
    release();
    EXPECT_EQ(entries(), QStringList({"done", "release", "test1"}));
}

TEST_F(ChildrenLeftBehind, DoNotWriteIntoTheNextRun)
{
    EXPECT_EQ(runScript("=heading\n=run sim\n=end\n"), ended);
    addProgram("sim", "echo anew");
    EXPECT_EQ(runScript("=heading\n=run sim\n=end\n"), ended);
    release();
    EXPECT_EQ(read("test1.dir/sim.out"), "anew\n");
}

// Directories that programs fill.
class Litter : public HostilePrograms
{
protected:
    /// Writes a program "sim" that makes \a count files, a thousand directories within one another,
    /// and links to \a targets and to itself on the first, a middle and the last level.
    void addLitter(int count, const QByteArray &targets)
    {
        addProgram("sim", "set -e\n"
                          "seq -f file%06.0f " +
                              QByteArray::number(count) +
                              " | xargs touch\n"
                              "half=$(printf 'd/%.0s' $(seq 500))\n"
                              "mkdir -p $half$half\n"
                              "for level in . $half $half$half; do\n"
                              "  n=0\n"
                              "  for target in " +
                              targets +
                              "; do\n"
                              "    ln -s $target $level/link$n\n"
                              "    n=$((n + 1))\n"
                              "  done\n"
                              "  ln -s itself $level/itself\n"
                              "done\n");
    }
};

TEST_F(Litter, IsRemovedAndWhatItsLinksLeadToStays)
{
    write("reference/data", "1 2 3\n");
    write("reference/deep/data", "4 5 6\n");
    const QByteArray reference = work.toUtf8() + "/reference";
    addLitter(100000, ". .. ../.. ../reference nowhere " + reference + " " + reference +
                          "/deep/data " + programs.toUtf8());
    const QStringList stays = {
        "reference/", "reference/data", "reference/deep/", "reference/deep/data", "test1"};
    EXPECT_EQ(runScript("=heading\n=run sim\n=exists file100000\n=exists link3/deep\n"), passed);
    EXPECT_EQ(entries(), stays);
    EXPECT_EQ(read("reference/data"), "1 2 3\n");
    EXPECT_EQ(read("reference/deep/data"), "4 5 6\n");
    EXPECT_TRUE(QFile::exists(programs + "/sim"));
}

TEST_F(Litter, WithALinkToTheRootDirectoryIsRemoved)
{
    // For the driver, everything outside of the test's own folder is read-only. If it followed a
    // link, it could not remove the first file there, and would stop.
    addLitter(10, "/ /usr " + folder.path().toUtf8());
    if (!mountPrivately("mount --bind \"$folder\" \"$folder\"\n"
                        "mount -o remount,bind,ro /\n"
                        "! touch /usr/talmo_test_was_here 2>/dev/null\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(runScript("=heading\n=run sim\n=exists link0/usr\n=exists link2/work\n"), passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
    EXPECT_TRUE(QFile::exists(programs + "/sim"));
}

TEST_F(Litter, InADirectoryThatMayNotBeReadStaysAndIsNoFailure)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may remove everything, and cannot be kept from it here";
    addProgram("sim", "mkdir -p a b/c d\ntouch a/x b/c/x d/x\nchmod 000 b");
    write("test1", "=heading\n=run sim\n");
    expectRun({"test1"}, "test1", passed, 0, 1);
    const QByteArray b = work.toUtf8() + "/test1.dir/b";
    EXPECT_EQ(chmod(b, 0700), 0);
    EXPECT_EQ(
        entries(), QStringList({"test1", "test1.dir/", "test1.dir/b/", "test1.dir/b/c/",
                       "test1.dir/b/c/x", "test1.dir/d/", "test1.dir/d/x", "test1.dir/sim.out"}));
}
