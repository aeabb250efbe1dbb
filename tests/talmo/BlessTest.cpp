// talmo bless

#include "BlessFixture.h"

#include <QFile>

#include <sys/stat.h>

namespace
{

class BlessTest : public BlessFixture
{
};

} // namespace

TEST_F(BlessTest, ShowsWhatWouldChange)
{
    addModels({"model"}, "# a b c\n1 2.5\n3 4\n5 6\n");
    write("test1",
        "=heading\n=file ref\n# a b c\n1 2\n3 3\n=run model\n=compare out.dat ref 0 0.1\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray before = everyText();
    expectBless({},
        "--- test1:2: ref\n+++ test1: out.dat\n@@ -1,3 +1,4 @@\n # a b c\n-1 2\n-3 3\n+1 2.5\n+3 "
        "4\n"
        "+5 6\n\n'test1:2: ref' would become 'out.dat' of test1:\n"
        "    2 lines differ, 3 lines become 4\n"
        "    column 2: 2 lines differ, at most by 1 (line 3), relatively 0.25\n\n"
        "1 reference would change; 'talmo bless --apply' replaces what can be replaced\n",
        "", 0);
    EXPECT_EQ(everyText(), before);
    EXPECT_FALSE(exists(".talmo/blessed"));
}

TEST_F(BlessTest, ReplacesATextInTheScriptAndNothingElse)
{
    addModels({"model"}, "1 2.5\n\n  x\t5\n");
    const QByteArray head = "=heading\n# =file ref\n=file deck\n1 2\n=file ref\n";
    const QByteArray tail =
        "=run model\n\n#  end  \n=compare out.dat ref\n# \xff\n=file last\nno end";
    write("test1", head + "1 2\n" + tail);
    ASSERT_EQ(chmod(QFile::encodeName(work + "/test1"), 0640), 0);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, "replaced 'test1'\n'test1:5: ref' is now 'out.dat' of test1\n", "", 0);
    EXPECT_EQ(read("test1"), head + "1 2.5\n\n  x\t5\n" + tail);
    struct stat status = {};
    EXPECT_EQ(stat(QFile::encodeName(work + "/test1"), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_EQ(make().status, 0);
    expectBless({}, "nothing is to be blessed: no run has failed in the latest results\n", "", 0);
}

TEST_F(BlessTest, KeepsTheEndsOfTheScriptsLines)
{
    addModels({"model"}, "5\n6\n");
    write("test1",
        "\xEF\xBB\xBF=heading\r\n=run model\r\n=file ref\r\n1\r\n=compare ref out.dat\r\n");
    write("test2", "=heading\n=run model\n=compare out.dat ../ref2\n=file ref\n1");
    write("test3",
        "=heading\n=ignore .*\n=exists ref\n=run model\n=file ref\n=compare out.dat ref\n");
    write("ref2", "1");
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(read("test1"),
        "\xEF\xBB\xBF=heading\r\n=run model\r\n=file ref\r\n5\r\n6\r\n=compare ref out.dat\r\n");
    EXPECT_EQ(read("ref2"), "5\n6\n");
    EXPECT_EQ(read("test3"),
        "=heading\n=ignore .*\n=exists ref\n=run model\n=file ref\n5\n6\n=compare out.dat ref\n");
    EXPECT_EQ(make().status, 0);
}

TEST_F(BlessTest, ReplacesAFileOutsideOfTheRun)
{
    addProgram("model", "printf 'a\\r\\n=b\\0c' >out.dat\n");
    write("refs/ref.dat", "a\n");
    write("other.dat", "a\n");
    write("test1", "=heading\n=run model\n=compare out.dat ../refs/ref.dat\n"
                   "=compare ../other.dat out.dat\n");
    ASSERT_EQ(chmod(QFile::encodeName(work + "/refs/ref.dat"), 0604), 0);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply", "--only", "../refs/ref.dat"},
        "replaced 'refs/ref.dat'\n'refs/ref.dat' is now 'out.dat' of test1\n", "", 0);
    EXPECT_EQ(read("refs/ref.dat"), QByteArray("a\r\n=b\0c", 7));
    EXPECT_EQ(read("other.dat"), "a\n");
    struct stat status = {};
    EXPECT_EQ(stat(QFile::encodeName(work + "/refs/ref.dat"), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0604U);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply", "--only", "other.dat"},
        "replaced 'other.dat'\n'other.dat' is now 'out.dat' of test1\n", "", 0);
    EXPECT_EQ(make().status, 0);
}

TEST_F(BlessTest, TakesAllComparisonsOfARun)
{
    addProgram("model", "echo 1 >a\necho 2 >b\necho said\n");
    write("ref", "0\n");
    write("test1", "=heading\n=file a.ref\n0\n=run model\n=compare a a.ref\n=file b.ref\n0\n"
                   "=compare b.ref b 0.5\n=compare model.out ../ref\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"},
        "replaced 'ref'\nreplaced 'test1'\n'test1:2: a.ref' is now 'a' of test1\n"
        "'test1:6: b.ref' is now 'b' of test1\n'ref' is now 'model.out' of test1\n",
        "", 0);
    EXPECT_EQ(read("test1"), "=heading\n=file a.ref\n1\n=run model\n=compare a a.ref\n=file b.ref\n"
                             "2\n=compare b.ref b 0.5\n=compare model.out ../ref\n");
    EXPECT_EQ(read("ref"), "said\n");
    EXPECT_EQ(make().status, 0);
}

TEST_F(BlessTest, StopsWhereTheRunDidNotCome)
{
    addProgram("model", "echo \"$1\" >>out.dat\n");
    write("test1",
        "=heading\n=file a.ref\n0\n=file b.ref\n0\n=run model 1\n=compare out.dat a.ref\n"
        "=run model 2\n=compare out.dat b.ref\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"},
        "replaced 'test1'\n'test1:2: a.ref' is now 'out.dat' of test1\n"
        "    the run did not come to line 8, so comparisons behind it may still fail\n",
        "", 0);
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(make().status, 0);
}

TEST_F(BlessTest, TakesAFileThatTheRunChangedForAnOutput)
{
    addProgram("model", "echo 2 >>state\n");
    write("test1", "=heading\n=file state\n1\n=run model\n=file ref\n1\n3\n=compare state ref\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, "replaced 'test1'\n'test1:5: ref' is now 'state' of test1\n", "", 0);
    EXPECT_EQ(make().status, 0);
}
