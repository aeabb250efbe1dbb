// talmo clean

#include "RunFixture.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace
{

class CleanTest : public RunFixture
{
protected:
    /// Has runs of test1, test2 and test3 leave their directories.
    void leaveThree()
    {
        for (const char *const name : {"test1", "test2", "test3"})
            write(name, "=heading\n=run mkdir -p a/c && touch a/c/d && false\n");
        EXPECT_EQ(make({"--no-record"}).status, 1);
    }

    /// Expects that `talmo clean` with \a arguments removes \a directories, in their order, and
    /// that all else stays.
    void expectRemoved(const QStringList &arguments, const QStringList &directories)
    {
        QStringList left;
        const QStringList before = entries();
        for (const QString &entry : before) {
            if (!directories.contains(entry.section('/', 0, 0)))
                left += entry;
        }
        QByteArray output;
        for (const QString &directory : directories) {
            EXPECT_TRUE(before.contains(directory + '/'));
            output += "removed '" + directory.toUtf8() + "'\n";
        }
        expectSuccess(QStringList("clean") + arguments, output);
        EXPECT_EQ(entries(), left);
    }

    /// Expects that `talmo clean` says \a errors of test2, and removes the directories of the other
    /// two runs.
    void expectAllButTest2(const QByteArray &errors)
    {
        const Outcome outcome = run({"clean"});
        EXPECT_EQ(outcome.output, "removed 'test1.dir'\nremoved 'test3.dir'\n");
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_FALSE(exists("test1.dir"));
        EXPECT_FALSE(exists("test3.dir"));
    }
};

} // namespace

TEST_F(CleanTest, RemovesTheDirectoriesOfTheSuitesRunsAndNothingElse)
{
    configure({"sim1", "sim2"});
    write("test1", "=one\n=file a\n=exists none\n");
    write("test2", "=two\n=simprogram sim*\n=run $simProgram\n");
    write("test3", "=three\n=simprogram none\n");
    write("test4", "=four\n");
    write("other", "=other\n");
    EXPECT_EQ(make({"--keep"}).status, 1);
    for (const char *const mine :
        {"test3.dir/a", "test4(sim1).dir/a", "test2(sim3).dir/a", "test5.dir/a", "other.dir/a",
            "test1.dirs/a", "folder/test1.dir/a", "talmo_test-leftover-1-1/a", "test2.dir/a"})
        write(mine, "mine\n");
    expectRemoved({}, {"test1.dir", "test2(sim1).dir", "test2(sim2).dir", "test4.dir"});
    expectRemoved({}, {}); // nothing is left to be done
    expectRemoved({"other"}, {"other.dir"});
}

TEST_F(CleanTest, RemovesWhatIsAskedFor)
{
    leaveThree();
    write("test2", "=heading\n# talmo: labels slow\n");
    expectRemoved({"--label", "slow"}, {"test2.dir"});
    expectRemoved({"--run", "test3"}, {"test3.dir"});
    write("test1(sim1).dir/a", "");
    expectRemoved({"-C", work, "TEST1"}, {"test1.dir"});
    write("test1", "=heading\n=simprogram *\n");
    addProgram("sim1", "");
    expectRemoved({"--program", "sim1"}, {"test1(sim1).dir"});
    expectWrongCall({"clean", "none"},
        "talmo: clean: the filter 'none' matches nothing in '" + work.toUtf8() + "'\n");
    expectWrongCall({"clean", "--keep"}, "talmo: clean: unknown option 'keep'\n");
}

TEST_F(CleanTest, TouchesNothingIfTheSuiteIsWrong)
{
    leaveThree();
    write("test4", "no script\n");
    expectWrongCall({"clean"}, "talmo: clean: test4: Invalid test file\n");
}

TEST_F(CleanTest, FollowsNoLinks)
{
    leaveThree();
    write("mine/a", "mine\n");
    QDir(work + "/test2.dir").removeRecursively();
    ASSERT_TRUE(QFile::link("mine", work + "/test2.dir"));
    QDir(work + "/test3.dir").removeRecursively();
    write("test3.dir", "=mine\n");
    ASSERT_TRUE(QFile::link("../mine", work + "/test1.dir/link"));
    expectRemoved({}, {"test1.dir"});
    EXPECT_EQ(QFile::symLinkTarget(work + "/test2.dir"), work + "/mine");
    EXPECT_EQ(read("mine/a"), "mine\n");
    EXPECT_EQ(read("test3.dir"), "=mine\n");
}

TEST_F(CleanTest, LeavesADirectoryThatIsInUse)
{
    leaveThree();
    addProgramsThatStay();
    write("test2", "=heading\n=run stay pid\n");
    start({"test2", "--no-record"});
    waitFor({"pid"});
    const QStringList before = entries().filter("test2.dir/");
    expectAllButTest2("talmo: clean: 'test2.dir' is in use\n");
    EXPECT_EQ(entries().filter("test2.dir/"), before);
    endProcessIn("pid");
    EXPECT_EQ(end().status, 1);
    expectRemoved({}, {"test2.dir"});
}

TEST_F(CleanTest, SaysWhatItCannotRemoveAndLeavesItWhereItIs)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may remove everything, and cannot be kept from it here";
    leaveThree();
    const QByteArray closed = QFile::encodeName(work) + "/test2.dir/a/c";
    ASSERT_EQ(chmod(closed, 0500), 0);
    expectAllButTest2("talmo: clean: 'test2.dir' cannot be removed\n");
    EXPECT_TRUE(exists("test2.dir/a/c/d"));
    EXPECT_EQ(chmod(closed, 0700), 0);
    expectRemoved({}, {"test2.dir"});
}

TEST_F(CleanTest, LeavesWhatIsMountedWhereItIs)
{
    leaveThree();
    if (!mountPrivately(
            "mount -t tmpfs none \"$work/test2.dir/a/c\"\n>\"$work/test2.dir/a/c/mine\"\n",
            "test -e \"$work/test2.dir/a/c/mine\"\numount \"$work/test2.dir/a/c\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    expectAllButTest2("talmo: clean: a file system is mounted on 'test2.dir/a/c', which stays\n"
                      "talmo: clean: 'test2.dir' cannot be removed\n");
    EXPECT_EQ(entries().filter("leftover"), QStringList());
}

TEST_F(CleanTest, SaysWhatItCannotRemoveFromAReadOnlyDisk)
{
    leaveThree();
    if (!mountPrivately("mount --bind \"$work\" \"$work\"\nmount -o remount,bind,ro \"$work\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    const QStringList before = entries();
    const Outcome outcome = run({"clean"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "talmo: clean: 'test1.dir' cannot be removed\n"
                              "talmo: clean: 'test2.dir' cannot be removed\n"
                              "talmo: clean: 'test3.dir' cannot be removed\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(entries(), before);
}
