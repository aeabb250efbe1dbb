#include "DriverTest.h"

#include <QDir>
#include <QSettings>

// Disks that are full, have no room for another directory, or are read-only. They are small ones in
// memory, mounted so that only the driver sees them.

class DiskFaults : public DriverTest
{
protected:
    /// Puts the working directory on a disk of one megabyte, mounted with \a options, on which the
    /// shell lines \a fill make files "filler*". All other files that the driver leaves there can
    /// be looked at afterwards. Returns false if mounting is not allowed.
    bool useSmallDisk(const QByteArray &fill = "", const QByteArray &options = "size=1m")
    {
        return mountPrivately("mkdir \"$folder/disk\"\n"
                              "mount -t tmpfs -o " +
                                  options +
                                  " none \"$folder/disk\"\n"
                                  "cp -a \"$work/.\" \"$folder/disk\"\n"
                                  "mount --bind \"$folder/disk\" \"$work\"\n"
                                  "cd \"$work\"\n" +
                                  fill,
            "umount \"$work\"\n"
            "rm -f \"$folder/disk/filler\"*\n"
            "find \"$work\" -mindepth 1 -delete\n"
            "cp -a \"$folder/disk/.\" \"$work\"\n"
            "umount \"$folder/disk\"\n"
            "rmdir \"$folder/disk\"\n");
    }

    /// Makes the working directory read-only. Returns false if mounting is not allowed.
    bool useReadOnlyDisk()
    {
        return mountPrivately("mount --bind \"$work\" \"$work\"\n"
                              "mount -o remount,bind,ro \"$work\"\n");
    }

    /// Expects that the file \a path holds the beginning of \a whole, but not all of it.
    void expectCutShort(const QString &path, const QByteArray &whole) const
    {
        const QByteArray content = read(path);
        EXPECT_GT(content.size(), 0);
        EXPECT_LT(content.size(), whole.size());
        EXPECT_TRUE(whole.startsWith(content));
    }

    /// Fills up the disk.
    const QByteArray fully = "head -c 2000000 /dev/zero 2>/dev/null >filler && exit 1\n";
    const char *const notAllowed = "mounting a disk is not allowed here";
};

TEST_F(DiskFaults, ABodyThatDoesNotFitFailsAndWhatFittedIsKept)
{
    const QByteArray body = QByteArray("a line of an input file\n").repeated(30000);
    if (!useSmallDisk()) // it has room for the script, but not for the body once more
        GTEST_SKIP() << notAllowed;
    EXPECT_EQ(errorOf("=file before\nx\n=file big\n" + body + "=echo not reached\n"),
        "Cannot write file 'big'");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/before", "test1.dir/big"}));
    EXPECT_EQ(read("test1.dir/before"), "x\n");
    expectCutShort("test1.dir/big", body);
}

TEST_F(DiskFaults, AFileThatCannotBeClosedWasNotWritten)
{
    preload(FAILING_CLOSE);
    environment["CLOSE_FAILS_FOR"] = work + "/test1.dir/lost";
    EXPECT_EQ(
        errorOf("=file before\nx\n=file lost\nx\n=echo not reached\n"), "Cannot write file 'lost'");
    EXPECT_EQ(errorOf("=file lost\n=echo not reached\n"), "Cannot write file 'lost'");
    // The second =file must not fail.
    EXPECT_EQ(runScript("=heading\n=ignore ^Cannot write file 'lost'$\n=file lost\nx\n"
                        "=file lost\nfound\n=end\n"),
        ended);
    EXPECT_EQ(read("test1.dir/lost"), "found\n");
    // Deliberate: a beam does not fail once its file is open.
    EXPECT_EQ(runScript("=heading\n=testbeam lost 0 1 2 0 1 2 0 13 1\n"), passed);
}

TEST_F(DiskFaults, ARunGoesOnAfterAnExpectedFailureOfTheDisk)
{
    const QByteArray body = QByteArray("a line of an input file\n").repeated(30000);
    if (!useSmallDisk())
        GTEST_SKIP() << notAllowed;
    EXPECT_EQ(runScript("=heading\n=ignore ^Cannot write file 'big'$\n=file big\n" + body +
                        "=run rm big\n=file big\nsmall\n=run cat big >&1\n"),
        "small\n" + passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(DiskFaults, AProgramThatMindsFailsAndWhatFittedIsKept)
{
    addProgram("sim", "yes | head -c 2000000");
    if (!useSmallDisk())
        GTEST_SKIP() << notAllowed;
    EXPECT_EQ(errorOf("=run sim\n=echo not reached\n"), "running 'sim' failed");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/sim.out"}));
    expectCutShort("test1.dir/sim.out", QByteArray("y\n").repeated(1000000));
}

TEST_F(DiskFaults, OfAProgramThatDoesNotMindOnlyAComparisonTells)
{
    addProgram("careless", "echo 1\necho 2\nexit 0");
    write("reference", "1\n2\n");
    if (!useSmallDisk(fully))
        GTEST_SKIP() << notAllowed;
    EXPECT_EQ(runScript("=heading\n=run careless\n"), passed);
    EXPECT_EQ(errorOf("=run careless\n=compare careless.out ../reference\n"),
        "Files 'careless.out' and '../reference' have different lengths");
    EXPECT_EQ(read("test1.dir/careless.out"), "");
    EXPECT_EQ(
        entries(), QStringList({"reference", "test1", "test1.dir/", "test1.dir/careless.out"}));
}

TEST_F(DiskFaults, ATestBeamIsCutShortWithoutAFailure)
{
    const QByteArray script = "=heading\n=testbeam beam 0 1 200 0 1 200 0 -13 200\n=end\n";
    EXPECT_EQ(runScript(script), ended);
    const QByteArray whole = read("test1.dir/beam");
    ASSERT_TRUE(QDir(work + "/test1.dir").removeRecursively());
    if (!useSmallDisk())
        GTEST_SKIP() << notAllowed;
    EXPECT_EQ(runScript(script), ended);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/beam"}));
    expectCutShort("test1.dir/beam", whole);
}

TEST_F(DiskFaults, ADirectoryThatCannotBeMadeFailsTheRun)
{
    const QByteArray fill = "n=0\nwhile touch filler$n 2>/dev/null; do n=$((n + 1)); done\n";
    write("test1", "=heading\n=echo not reached\n");
    write("test2", "=heading\n=run rm ../filler0 >&1\n");
    write("test3.dir/leftover", "");
    write("test3", "=heading\n=ignore leftover\n=exists leftover\n=echo room again\n");
    if (!useSmallDisk(fill, "nr_inodes=100"))
        GTEST_SKIP() << notAllowed;
    expectRun({"test1", "test2", "test3", "test1"}, "test1 test2 test3 test1",
        "test1: ***ERROR: cannot cd to 'test1.dir'\n"
        "test2: ***ERROR: cannot cd to 'test2.dir'\n"
        "room again\ntest3: heading\n"
        "not reached\ntest1: heading\n",
        2, 4);
    EXPECT_EQ(entries(), QStringList({"test1", "test2", "test3"}));
}

TEST_F(DiskFaults, SettingsThatCannotBeSavedStayAsTheyAre)
{
    environment["XDG_CONFIG_HOME"] = work + "/config";
    settings = work + "/config/Brelund, Inc./Talmo.conf";
    configure({"sim1"});
    const QByteArray before = read(settings);
    write("test1", "=heading\n=simprogram *\n");
    const QStringList files = {"config/", "config/Brelund, Inc./",
        "config/Brelund, Inc./Talmo.conf", "test1"}; // there is no lock, and no unfinished file
    const QString atHome = driver;
    if (!useSmallDisk(fully))
        GTEST_SKIP() << notAllowed;
    for (int start = 0; start < 2; ++start)
        expectRun({"test1"}, "test1", "test1(sim1): heading\n", 0, 1);
    EXPECT_EQ(read(settings), before);
    EXPECT_EQ(entries(), files);

    driver = atHome;
    expectRun({"test1"}, "test1", "test1(sim1): heading\n", 0, 1);
    const QSettings store(settings, QSettings::IniFormat);
    EXPECT_EQ(store.allKeys().size(), 74);
    EXPECT_EQ(store.value("SimProgram1.name"), "sim1");
    EXPECT_EQ(entries(), files);
}

TEST_F(DiskFaults, FirstSettingsThatCannotBeSavedAreNotLeftHalf)
{
    environment["XDG_CONFIG_HOME"] = work + "/config";
    settings = work + "/config/Brelund, Inc./Talmo.conf";
    write("test1", "=heading\n");
    if (!useSmallDisk(fully))
        GTEST_SKIP() << notAllowed;
    expectRun({"test1"}, "test1", passed, 0, 1);
    EXPECT_EQ(entries(), QStringList({"config/", "config/Brelund, Inc./", "test1"}));
}

TEST_F(DiskFaults, AReadOnlyDirectoryTakesNoRun)
{
    write("test1", "=heading\n=echo not reached\n");
    write("test2", "no heading\n");
    if (!useReadOnlyDisk())
        GTEST_SKIP() << notAllowed;
    expectRun({"test1", "test2"}, "test1 test2",
        "test1: ***ERROR: cannot cd to 'test1.dir'\n" + work.toUtf8() +
            "/test2: ***ERROR: Invalid test file\n",
        2, 2);
    EXPECT_EQ(entries(), QStringList({"test1", "test2"}));
}

TEST_F(DiskFaults, ARunMakesDoWithAReadOnlyLeftover)
{
    write("test1.dir/old", "old\n");
    write("test1", "=heading\n=exists old\n=ignore Cannot write file 'old'\n=file old\n"
                   "=ignore running 'echo' failed\n=run echo not captured\n");
    if (!useReadOnlyDisk())
        GTEST_SKIP() << notAllowed;
    const Outcome outcome = run({"test1"});
    EXPECT_EQ(outcome.output, preamble("test1") + passed + summary(0, 1));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.errors.contains("Read-only file system")) << outcome.errors.toStdString();
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/old"}));
    EXPECT_EQ(read("test1.dir/old"), "old\n");
}

// A limit for the size of files (ulimit -f), in units of 512 bytes.
class SizeLimits : public DiskFaults
{
protected:
    void limitSizes(const QByteArray &before = "")
    {
        addProgram("limited", before + "ulimit -f 100\nexec " + driver.toUtf8() + " \"$@\"\n");
        driver = programs + "/limited";
    }

    /// The signals that a program under the driver ignores, as the program wrote them in the
    /// directory of test1.
    QByteArray ignoredSignals()
    {
        EXPECT_EQ(runScript("=heading\n=run grep SigIgn /proc/self/status\n=end\n"), ended);
        return read("test1.dir/grep.out");
    }
};

TEST_F(SizeLimits, AreAFailureOfWritingAndTheNextTestRuns)
{
    const QByteArray body = QByteArray("a line of an input file\n").repeated(30000);
    limitSizes();
    write("test1", "=heading\n=file big\n" + body + "=echo not reached\n");
    write("test2", "=heading\n=testbeam beam 0 1 200 0 1 200 0 -13 200\n=exists beam\n");
    write("test3", "=heading\n=run head -c 1000000 /dev/zero\n");
    write("test4", "=heading\n");
    expectRun({"test*"}, "test1 test2 test3 test4",
        "test1: ***ERROR: Cannot write file 'big'\n"
        "test2: heading\n"
        "test3: ***ERROR: running 'head' failed\n"
        "test4: heading\n",
        2, 4);
    expectCutShort("test1.dir/big", body);
}

TEST_F(SizeLimits, EndProgramsAsUsualUnlessTheirSignalIsIgnoredFromTheStart)
{
    const QString plain = driver;
    const QByteArray usual = ignoredSignals();
    limitSizes();
    EXPECT_EQ(ignoredSignals(), usual);
    driver = plain;
    limitSizes("trap '' XFSZ\n");
    EXPECT_NE(ignoredSignals(), usual);
}
