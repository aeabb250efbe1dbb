#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstring>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

// Run directories are removed after a pass and before a run, whatever they hold, and nothing
// outside of them is removed.

class RemoveDir : public DriverTest
{
protected:
    QByteArray pathOf(const QString &path) const { return QFile::encodeName(work + '/' + path); }

    /// Runs a passing test that executes \a body in its directory. The first time, expects that the
    /// directory is removed after the run; the second time, that what a failing run left is
    /// removed.
    void expectRemoved(const QByteArray &body)
    {
        SCOPED_TRACE(body.toStdString());
        addProgram("litter", body);
        EXPECT_EQ(runScript("=heading\n=run litter\n"), "test1: heading\n");
        expectClean();
        EXPECT_EQ(runScript("=heading\n=run litter\n=foo\n"),
            "test1: ***ERROR: Unknown test command '=foo'\n");
        EXPECT_TRUE(QFileInfo(work + "/test1.dir").isDir());
        EXPECT_EQ(runScript("=heading\n=run litter\n=exists litter.out\n"), "test1: heading\n");
        expectClean();
    }

    /// Expects that no run directory is left. Asks the system, because entries() cannot show every
    /// name.
    void expectClean() const
    {
        struct stat status = {};
        EXPECT_NE(lstat(pathOf("test1.dir"), &status), 0);
    }

    void link(const QString &target, const QString &path)
    {
        ASSERT_TRUE(QFile::link(target, work + '/' + path));
    }
};

TEST_F(RemoveDir, TakesEverythingWhateverItsNameAndKind)
{
    const char *const bodies[] = {
        "set -e; touch a b; mkdir -p c/d/e f/g; touch c/x c/d/x c/d/e/x f/g/x",
        "set -e; mkdir -p .hidden/.deep; touch .file .hidden/.file .hidden/.deep/..file ...",
        "set -e; touch readonly; chmod 444 readonly; mkdir d; echo x > d/none; chmod 000 d/none",
        "set -e; ln -s nowhere dangling; ln -s loop loop; mkdir d; ln -s ../nowhere d/dangling",
        "set -e; mkdir d; touch f; ln -s d toDirectory; ln -s f toFile; ln -s . toItself",
        "set -e; mkfifo fifo; mkdir d; mkfifo d/.fifo",
        "set -e; ln /bin/sh hard 2>/dev/null || touch hard",
        "set -e; touch -- 'a b' ' ' '-rf' '*' '?' 'a;b' \"a'b\" 'a\"b' 'a\\b' '$HOME' ':a' '%1%s'",
        "set -e; mkdir 'a b' ' ' '*' ':a' '~'; touch 'a b/x' ' /x' '*/x' ':a/x' '~/x'",
        "set -e; touch \"$(printf 'a\\nb')\" \"$(printf '\\t')\"; mkdir \"$(printf 'c\\n\\nd')\"",
        "set -e; touch \"$(printf '\\377')\" \"$(printf 'a\\303')\" \"$(printf '\\200\\376b')\"",
        "set -e; mkdir \"$(printf '\\377')\"; touch \"$(printf '\\377/\\376')\"",
        "set -e; touch Gr\xC3\xB6\xC3\x9F\x65 \xE6\x9D\x9F; mkdir \xCF\x83",
        "set -e; mkdir \xCF\x83; touch \xCF\x83/\xCF\x84",
        "set -e; touch a A; mkdir b B; touch b/x B/X",
    };
    for (const char *body : bodies)
        expectRemoved(body);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(RemoveDir, TakesDeepAndWideDirectories)
{
    const char *const bodies[] = {
        "p=d; i=1; while [ $i -lt 300 ]; do p=$p/d; i=$((i+1)); done; mkdir -p $p && touch $p/f",
        "i=0; while [ $i -lt 1000 ]; do a=\"$a f$i\"; i=$((i+1)); done; touch $a",
        "i=0; while [ $i -lt 500 ]; do a=\"$a d$i\"; i=$((i+1)); done; mkdir $a",
    };
    for (const char *body : bodies) {
        SCOPED_TRACE(body);
        addProgram("litter", body);
        EXPECT_EQ(runScript("=heading\n=run litter\n"), "test1: heading\n");
        expectClean();
    }
}

TEST_F(RemoveDir, TakesATreeThatNoPathCanReachTheEndOf)
{
    write("test1.dir/leftover", "");
    int directory = open(pathOf("test1.dir"), O_RDONLY | O_DIRECTORY);
    for (int depth = 0; depth < 3000; ++depth) { // more levels than files can be open at once
        ASSERT_EQ(mkdirat(directory, "d", 0777), 0);
        ASSERT_EQ(mkdirat(directory, "e", 0777), 0); // is removed on the way back up
        const int next = openat(directory, "d", O_RDONLY | O_DIRECTORY);
        ASSERT_GE(next, 0);
        close(directory);
        directory = next;
    }
    close(directory);
    EXPECT_EQ(runScript("=heading\n=ignore leftover\n=exists leftover\n"), "test1: heading\n");
    expectClean();
}

TEST_F(RemoveDir, TakesSockets)
{
    write("test1.dir/leftover", "");
    const QByteArray path = pathOf("test1.dir/socket");
    sockaddr_un address = {};
    ASSERT_LT(static_cast<size_t>(path.size()), sizeof address.sun_path);
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), static_cast<size_t>(path.size()));
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(socket, 0);
    ASSERT_EQ(bind(socket, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    close(socket);
    EXPECT_EQ(runScript("=heading\n=ignore socket\n=exists socket\n"), "test1: heading\n");
    expectClean();
}

TEST_F(RemoveDir, NeverFollowsALinkOutOfTheDirectory)
{
    const QStringList reference = {
        "reference/", "reference/data", "reference/deep/", "reference/deep/data", "test1"};
    write("reference/data", "1 2 3\n");
    write("reference/deep/data", "4 5 6\n");
    const char *const bodies[] = {
        "ln -s ../reference link",
        "ln -s \"$PWD/../reference\" .link",
        "mkdir -p a/b && ln -s ../../../reference a/b/link",
        "ln -s ../reference/data file",
        "ln -s .. parent",
        "ln -s ../reference a && ln -s a b && ln -s b c",
    };
    for (const char *body : bodies) {
        expectRemoved(body);
        EXPECT_EQ(entries(), reference);
    }
    EXPECT_EQ(read("reference/data"), "1 2 3\n");
    EXPECT_EQ(read("reference/deep/data"), "4 5 6\n");
}

TEST_F(RemoveDir, ALinkInThePlaceOfALeftoverGoesAndItsTargetStays)
{
    write("reference/data", "1 2 3\n");
    link("reference", "test1.dir");
    EXPECT_EQ(runScript("=heading\n=file output\n=exists data\n"),
        "test1: ***ERROR: File 'data' does not exist\n");
    EXPECT_FALSE(QFileInfo(work + "/test1.dir").isSymLink());
    EXPECT_EQ(entries(),
        QStringList({"reference/", "reference/data", "test1", "test1.dir/", "test1.dir/output"}));
    EXPECT_EQ(runScript("=heading\n"), "test1: heading\n");
    link("reference", "test1.dir");
    EXPECT_EQ(runScript("=heading\n=file output\n"), "test1: heading\n");
    EXPECT_EQ(entries(), QStringList({"reference/", "reference/data", "test1"}));
}

TEST_F(RemoveDir, WhatARunPutInThePlaceOfItsDirectoryIsNotRemoved)
{
    const char *const bodies[] = {
        "rm -r ../test1.dir && ln -s reference ../test1.dir",
        "mv ../test1.dir ../away && ln -s reference ../test1.dir",
        "rm -r ../test1.dir && mv ../reference ../test1.dir",
        "mv ../test1.dir ../away && mv ../reference ../test1.dir",
    };
    for (const char *body : bodies) {
        SCOPED_TRACE(body);
        write("reference/data", "1 2 3\n");
        addProgram("swap", body);
        EXPECT_EQ(runScript("=heading\n=run swap > /dev/null\n"), "test1: heading\n");
        EXPECT_EQ(read("test1.dir/data"), "1 2 3\n");
        for (const char *name : {"test1.dir", "away", "reference"}) {
            QFile::remove(work + '/' + name);
            QDir(work + '/' + name).removeRecursively();
        }
    }
}

TEST_F(RemoveDir, LeavesWhatIsNotTheRunsOwn)
{
    write("test1.dirx", "");
    write("xtest1.dir/f", "");
    write("test1(sim).dir/f", "");
    write("Test1.dir/f", "");
    EXPECT_EQ(runScript("=heading\n"), "test1: heading\n");
    EXPECT_EQ(entries(), QStringList({"Test1.dir/", "Test1.dir/f", "test1", "test1(sim).dir/",
                             "test1(sim).dir/f", "test1.dirx", "xtest1.dir/", "xtest1.dir/f"}));
}

TEST_F(RemoveDir, AFileInThePlaceOfTheDirectoryStays)
{
    addProgram("swap", "rm -r ../test1.dir && touch ../test1.dir");
    EXPECT_EQ(runScript("=heading\n=run swap > /dev/null\n"), "test1: heading\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir"}));
}

// File systems with somebody's data, mounted inside a directory that is removed.
class RemoveDirWithMounts : public RemoveDir
{
protected:
    void SetUp() override
    {
        write("precious/data", "1 2 3\n");
        write("precious/deep/data", "4 5 6\n");
    }

    /// Runs \a script with the file system that the shell lines \a mounting mount. Expects that it
    /// prints \a printed, and that no data are lost.
    void expectKept(const QByteArray &mounting, const QByteArray &script, const QByteArray &printed)
    {
        SCOPED_TRACE((mounting + script).toStdString());
        const QString plain = driver;
        if (!mountPrivately(mounting))
            GTEST_SKIP() << "mounting is not allowed here";
        EXPECT_EQ(runScript(script), printed);
        EXPECT_EQ(read("precious/data"), "1 2 3\n");
        EXPECT_EQ(read("precious/deep/data"), "4 5 6\n");
        driver = plain;
    }

    const QByteArray stays = "', which stays\n";
};

TEST_F(RemoveDirWithMounts, OneThatARunMadeStaysAndTheRunPasses)
{
    expectKept("", "=heading\n=run mkdir -p a/m\n=run mount --bind ../precious a/m\n",
        "test1: heading\n***talmo_test: a file system is mounted on 'test1.dir/a/m" + stays);
    expectKept("", "=heading\n=run touch m\n=run mount --bind ../precious/data m\n",
        "test1: heading\n***talmo_test: a file system is mounted on 'test1.dir/m" + stays);
    expectKept("", "=heading\n=run mkdir m\n=run mount -t tmpfs none m\n=run touch m/x\n",
        "test1: heading\n***talmo_test: a file system is mounted on 'test1.dir/m" + stays);
}

TEST_F(RemoveDirWithMounts, OneInALeftoverStaysAndTheRunHasADirectoryOfItsOwn)
{
    const QByteArray script = "=heading\n=ignore old\n=exists old\n=ignore m\n=exists m\n";
    write("test1.dir/m/empty", "");
    write("test1.dir/old", "");
    const QString plain = driver;
    if (!mountPrivately("mount --bind \"$work/precious\" \"$work/test1.dir/m\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    const QByteArray printed = runScript(script);
    EXPECT_TRUE(printed.startsWith("test1: heading\n***talmo_test: what an earlier run left in "
                                   "'test1.dir' could not be removed, and was moved to "
                                   "'talmo_test-leftover-"))
        << printed.toStdString();
    EXPECT_TRUE(printed.contains("\n***talmo_test: a file system is mounted on "
                                 "'talmo_test-leftover-"));
    EXPECT_TRUE(printed.endsWith("-1/m" + stays));
    EXPECT_EQ(read("precious/data"), "1 2 3\n");
    EXPECT_EQ(read("precious/deep/data"), "4 5 6\n");
    EXPECT_FALSE(exists("test1.dir"));
}

TEST_F(RemoveDirWithMounts, OneInThePlaceOfTheDirectoryStaysAndTheRunIsInIt)
{
    write("test1.dir/old", "");
    expectKept("mount --bind \"$work/precious\" \"$work/test1.dir\"\n",
        "=heading\n=exists data\n=file made\n",
        "test1: heading\n***talmo_test: a file system is mounted on 'test1.dir" + stays);
    EXPECT_TRUE(IsSkipped() || exists("precious/made"));
}

// These tests need permissions that hold for the driver.
class RemoveDirWithPermissions : public RemoveDir
{
protected:
    void SetUp() override
    {
        if (!obeyPermissions())
            GTEST_SKIP() << "root may remove everything, and cannot be kept from it here";
    }

    void TearDown() override
    {
        for (const QString &path : std::as_const(restricted))
            chmod(pathOf(path), 0700);
    }

    void restrict(const QString &path, mode_t mode)
    {
        ASSERT_EQ(chmod(pathOf(path), mode), 0);
        restricted += path;
    }

    QStringList restricted;
};

TEST_F(RemoveDirWithPermissions, StopsAtTheFirstEntryThatCannotBeRemoved)
{
    // Directories come first, then files, both sorted by name. So C and a have been removed when b
    // cannot be emptied.
    for (const char *path : {"C/x", "a/x", "b/x", "b/y/x", "c/x", "A", "z"})
        write(QString("test1.dir/") + path, "");
    restrict("test1.dir/b", 0500);
    EXPECT_EQ(runScript("=heading\n=exists z\n=exists c/x\n=ignore a/x\n=exists a/x\n"
                        "=ignore C\n=exists C\n=ignore b/y\n=exists b/y/x\n=file made\n"),
        "test1: heading\n"); // the run takes place among what is there
    EXPECT_EQ(entries(),
        QStringList({"test1", "test1.dir/", "test1.dir/A", "test1.dir/b/", "test1.dir/b/x",
            "test1.dir/b/y/", "test1.dir/c/", "test1.dir/c/x", "test1.dir/made", "test1.dir/z"}));
}

TEST_F(RemoveDirWithPermissions, StopsAtADirectoryThatCannotBeEntered)
{
    for (const char *path : {"a/x", "b/x", "c/x"})
        write(QString("test1.dir/") + path, "");
    restrict("test1.dir/b", 0);
    EXPECT_EQ(runScript("=heading\n=exists c/x\n=ignore a/x\n=exists a/x\n=exists b\n=foo\n"),
        "test1: ***ERROR: Unknown test command '=foo'\n");
    chmod(pathOf("test1.dir/b"), 0700);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/b/", "test1.dir/b/x",
                             "test1.dir/c/", "test1.dir/c/x"}));
}

TEST_F(RemoveDirWithPermissions, LinksGoWithTheKindOfWhatTheyLeadTo)
{
    for (const char *path : {"reference/data", "test1.dir/b/x", "test1.dir/file"})
        write(path, "");
    link("../reference", "test1.dir/a");
    link("../reference", "test1.dir/c");
    link("file", "test1.dir/A");
    link("nowhere", "test1.dir/B");
    restrict("test1.dir/b", 0500);
    EXPECT_EQ(runScript("=heading\n=exists c/data\n=ignore 'a'\n=exists a\n"), "test1: heading\n");
    EXPECT_EQ(entries(),
        QStringList({"reference/", "reference/data", "test1", "test1.dir/", "test1.dir/A",
            "test1.dir/B", "test1.dir/b/", "test1.dir/b/x", "test1.dir/c", "test1.dir/file"}));
}

TEST_F(RemoveDirWithPermissions, ALinkThatCannotBeRemovedIsNotFollowed)
{
    write("reference/data", "1 2 3\n");
    write("test1", "=heading\n=file data\n4 5 6\n");
    link("reference", "test1.dir");
    restrict(".", 0500);
    expectRun({"test1"}, "test1", "test1: ***ERROR: cannot cd to 'test1.dir'\n", 1, 1);
    EXPECT_EQ(read("reference/data"), "1 2 3\n");
}

TEST_F(RemoveDirWithPermissions, ALeftoverThatCannotBeMovedIsEmptiedWhereItIs)
{
    write("test1.dir/old/x", "");
    write("test1", "=heading\n=ignore old\n=exists old\n=file made\n");
    restrict(".", 0500);
    expectRun({"test1"}, "test1", "test1: heading\n", 0, 1);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
}

TEST_F(RemoveDirWithPermissions, ADirectoryThatStaysIsNoFailure)
{
    addProgram("litter", "mkdir d && touch d/f && chmod 500 d");
    EXPECT_EQ(runScript("=heading\n=run litter\n"), "test1: heading\n");
    restricted += "test1.dir/d";
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/d/", "test1.dir/d/f",
                             "test1.dir/litter.out"}));
}

TEST_F(RemoveDirWithPermissions, AnEmptyDirectoryGoesEvenIfItCannotBeListed)
{
    addProgram("litter", "mkdir d && chmod 000 d");
    EXPECT_EQ(runScript("=heading\n=run litter\n"), "test1: heading\n");
    restricted += "test1.dir/d";
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(RemoveDirWithPermissions, AnEmptyLeftoverGoesEvenIfItCannotBeListed)
{
    ASSERT_TRUE(QDir(work).mkdir("test1.dir"));
    restrict("test1.dir", 0);
    EXPECT_EQ(runScript("=heading\n=echo entered\n"), "entered\ntest1: heading\n");
    EXPECT_EQ(entries(), QStringList({"test1"}));
}
