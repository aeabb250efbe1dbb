// talmo doctor: the suite in the working directory, its results, and disks

#include "DoctorFixture.h"

#include "Descriptor.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace
{

class DoctorSuiteTest : public DoctorFixture
{
protected:
    const QByteArray known = "ok       locks: the file system knows them\n";
};

} // namespace

TEST_F(DoctorSuiteTest, SaysWhichScriptsArePassedOver)
{
    EXPECT_EQ(linesAbout("suite:"), "note     suite: '" + work.toUtf8() +
                                        "', without scripts of the name test*; go to the folder "
                                        "of a suite, or name it with -C\n");
    write("test1", "=heading\n");
    if (!obeyPermissions())
        GTEST_SKIP() << "root may read anything, and cannot be kept from it here";
    write("test2", "=heading\n");
    ASSERT_EQ(chmod(qPrintable(work + "/test2"), 0), 0);
    EXPECT_EQ(linesAbout("suite:"), "ok       suite: '" + work.toUtf8() +
                                        "', 1 script\n"
                                        "note     suite: 'test2' is passed over: Permission "
                                        "denied\n");
}

TEST_F(DoctorSuiteTest, SurvivesThatTheWorkingDirectoryIsRemoved)
{
    addProgram("nowhere",
        "mkdir gone && cd gone && rmdir ../gone && exec " + driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath("nowhere");
    configure({"sim1"});
    EXPECT_EQ(linesAbout("suite") + linesAbout("locks") + linesAbout("results"),
        "problem  suite: the working directory cannot be found: No such file or directory; go to "
        "another one\n");
}

TEST_F(DoctorSuiteTest, SaysThatADiskIsAlmostFull)
{
    if (!mountPrivately("mount -t tmpfs -o size=200k none \"$work\"\n"
                        "mount -t tmpfs -o size=50m none \"$folder/tmp\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(linesAbout("suite's disk") + linesAbout("temporary"),
        "problem  suite's disk: N are free; remove something from the disk\n"
        "note     temporary files: N are free; that may be too little for large outputs\n");
}

TEST_F(DoctorSuiteTest, SaysThatADiskTakesNoMoreFiles)
{
    if (!mountPrivately("mount -t tmpfs -o size=500m,nr_inodes=1 none \"$work\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(linesAbout("suite's disk"), "problem  suite's disk: N are free, but the disk takes "
                                          "no more files; remove files from the disk\n");
}

TEST_F(DoctorSuiteTest, AFileSystemThatDoesNotCountFilesTakesMore)
{
    preload(SICK_DISK);
    environment["FILES_ARE_NOT_COUNTED"] = "1";
    EXPECT_EQ(linesAbout("temporary"), "ok       temporary files: N are free\n");
}

TEST_F(DoctorSuiteTest, SaysWhatIsWrongWithTheFolderForTemporaryFiles)
{
    const QString file = folder.filePath("file");
    write(file, "");
    const struct {
        QString place;
        QByteArray reason;
    } rows[] = {{folder.filePath("none"), "No such file or directory"}, {file, "Not a directory"}};
    for (const auto &row : rows) {
        environment["TMPDIR"] = row.place;
        EXPECT_EQ(linesAbout("temporary"), "problem  temporary files: no files can be made in '" +
                                               row.place.toUtf8() + "': " + row.reason +
                                               "; set TMPDIR to a folder in which you may write\n");
    }
}

TEST_F(DoctorSuiteTest, SaysWhereNoFilesCanBeMade)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may do anything, and cannot be kept from it here";
    const QString other = folder.filePath("other");
    QDir().mkpath(other);
    environment["TMPDIR"] = other;
    for (const mode_t mode : {0200U, 0100U, 0500U}) { // files can be made with 0300
        ASSERT_EQ(chmod(qPrintable(other), mode), 0);
        EXPECT_EQ(linesAbout("temporary"),
            "problem  temporary files: no files can be made in '" + other.toUtf8() +
                "': Permission denied; set TMPDIR to a folder in which you may write\n");
    }
    ASSERT_EQ(chmod(qPrintable(other), 0300), 0);
    EXPECT_EQ(linesAbout("temporary"), "ok       temporary files: N are free\n");
    ASSERT_EQ(chmod(qPrintable(other), 0700), 0);

    const QByteArray disk = "problem  suite's disk: no files can be made in '" + work.toUtf8() +
                            "': Permission denied; runs make their directories there; work in a "
                            "copy of the suite\n";
    ASSERT_EQ(chmod(qPrintable(work), 0500), 0);
    EXPECT_EQ(linesAbout("suite's disk"), disk);
    EXPECT_EQ(linesAbout("locks"), known); // of the directory, since no file can be made
    ASSERT_EQ(chmod(qPrintable(work), 0300), 0);
    EXPECT_EQ(linesAbout("suite:") + linesAbout("locks"),
        "problem  suite: '" + work.toUtf8() +
            "' cannot be listed: Permission denied\n"
            "note     locks: whether there are any cannot be found out: Permission denied\n");
    ASSERT_EQ(chmod(qPrintable(work), 0700), 0);
}

TEST_F(DoctorSuiteTest, SaysWhoseResultsThereAre)
{
    const QByteArray records = "'" + work.toUtf8() + "/.talmo";
    EXPECT_EQ(linesAbout("results"), "ok       results: none are kept here yet; 'talmo run' makes "
                                     "the folder '.talmo'\n");
    QDir(work).mkdir(".talmo");
    EXPECT_EQ(linesAbout("results"), "ok       results: none are kept in '.talmo' yet\n");
    write(".talmo/mine", "");
    EXPECT_EQ(linesAbout("results"),
        "problem  results: " + records +
            "' is not a folder of results: it has no marker; move it away, or use 'talmo run "
            "--no-record'\n");
    QFile::remove(work + "/.talmo/mine");
    QDir(work).rmdir(".talmo");
    write(".talmo", "");
    EXPECT_EQ(linesAbout("results"),
        "problem  results: " + records +
            "' is not a folder of results: it is no directory; move it away, or use 'talmo run "
            "--no-record'\n");
    QFile::remove(work + "/.talmo");
    write("test1", "=heading\n");
    EXPECT_EQ(make().status, 0);
    write(".talmo/latest.xml", "<testsuites><damaged");
    const QByteArray damaged = linesAbout("results");
    EXPECT_TRUE(damaged.startsWith("problem  results: ")) << damaged.toStdString();
    EXPECT_TRUE(damaged.contains("latest.xml")) << damaged.toStdString();
    EXPECT_TRUE(
        damaged.endsWith("; the next 'talmo run' makes new ones, and keeps what is there\n"))
        << damaged.toStdString();
    QFile::remove(work + "/.talmo/latest.xml");
    ASSERT_EQ(mkfifo(qPrintable(work + "/.talmo/latest.xml"), 0600), 0);
    EXPECT_TRUE(linesAbout("results").startsWith("problem  results: "));
}

TEST_F(DoctorSuiteTest, SaysThatTheFileSystemKnowsNoLocks)
{
    preload(SICK_DISK);
    for (const char *const which : {"all", "files"}) {
        environment["LOCKS_FAIL"] = which;
        EXPECT_EQ(linesAbout("locks"),
            "note     locks: the file system knows none: No locks available; start no two suites "
            "here at once, they would disturb one another\n");
    }
}

TEST_F(DoctorSuiteTest, ASuiteThatSomebodyHasLockedCanBeLocked)
{
    const Descriptor directory = openDirectory(qPrintable(work), O_RDONLY);
    ASSERT_EQ(flock(directory.get(), LOCK_EX), 0);
    EXPECT_EQ(linesAbout("locks"), known);
}
