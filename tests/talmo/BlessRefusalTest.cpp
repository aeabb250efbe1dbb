// what talmo bless refuses

#include "BlessFixture.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

class BlessRefusalTest : public BlessFixture
{
};

} // namespace

TEST_F(BlessRefusalTest, RefusesWhatItWouldHaveToGuess)
{
    addProgram("model",
        "cat >out.dat <<'END'\n5\n=6\nEND\nprintf '5\\r\\n' >carriage\n"
        "printf '5\\0\\n' >nul\nln -s out.dat link\nmkdir d\nln -s \"$PWD/../far\" e\n"
        "echo 5 >d/f\necho 5 >good\necho 5 >changed\n");
    write("far/f", "5\n");
    const QByteArray head = "=heading\n=file ref\n1\n=file other\n2\n=run model\n";
    const QByteArray cannot = "' cannot become the reference 'ref': ";
    struct Row {
        QByteArray lines;
        QByteArray reason;
    };
    const Row rows[] = {
        {"=compare other ref\n", "test1, line 7: both 'other' and 'ref' are provided by the script "
                                 "or the suite, so neither was made by the run"},
        {"=compare good out.dat\n", "test1, line 7: neither 'good' nor 'out.dat' is provided by "
                                    "the script or the suite, so "
                                    "nobody knows which is the reference"},
        {"=compare out.dat ref\n", "test1, line 7: 'out.dat" + cannot + "line 2 begins with '='"},
        {"=compare ./carriage ref 0\n",
            "test1, line 7: './carriage" + cannot + "line 1 has a carriage return"},
        {"=compare nul ref\n", "test1, line 7: 'nul" + cannot + "it is binary: line 1 has a NUL"},
        {"=compare link ref\n", "test1, line 7: 'link" + cannot + "it is a symbolic link"},
        {"=compare e/f ref\n", "test1, line 7: 'e/f" + cannot + "it lies behind a symbolic link"},
        {"=compare good ref\n=file ref\n3\n", "test1, line 7: 'ref' cannot be replaced: the script "
                                              "writes it with more than one =file"},
        {"=platform DARWIN\n=file ref\n3\n=platform\n=compare good ref\n",
            "test1, line 11: 'ref' cannot be replaced: the script writes it with more than one "
            "=file"},
        {"=run cat ref\n=compare good ref\n",
            "test1, line 8: 'ref' cannot be replaced: it may be an input, too: see line 7"},
        {"=file deck\nread ref;\n=run true\n=compare good ref\n",
            "test1, line 10: 'ref' cannot be replaced: it may be an input, too: see line 7"},
        {"=compare missing ref\n",
            "test1: It failed for another reason: Cannot read file 'missing'"},
        {"=run false\n", "test1: It failed for another reason: running 'false' failed"},
        {"=ignore line 2\n=compare good ref\n",
            "test1, line 8: the script expects the comparison to fail, so that no output is right"},
        {"=compare good ref\n=compare changed ref 0.5\n", ""},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.lines.toStdString());
        if (!row.reason.isEmpty())
            expectScriptRefused(head + row.lines, row.reason);
    }
    write("test1", head + "=compare good ref\n=compare d/f other\n");
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(make().status, 0);
}

TEST_F(BlessRefusalTest, KeepsComparisonsThatAgree)
{
    addProgram("model", "echo 1 >a\necho 5 >b\n");
    expectScriptRefused("=heading\n=file ref\n1\n=run model\n=compare a ref\n=compare b ref\n",
        "test1, line 6: 'ref' cannot be replaced: the comparison of test1, line 5 would fail with "
        "'b' instead");
    expectScriptRefused("=heading\n=file ref\n5\n=run model\n=ignore differ\n=compare a ref\n"
                        "=file ref2\n1\n=compare a ref2\n=compare b ref2\n",
        "test1, line 10: 'ref2' cannot be replaced: the comparison of test1, line 9 would fail "
        "with 'b' instead");
    expectScriptRefused("=heading\n=file ref\n1\n=run model\n=ignore differ\n=compare b ref\n"
                        "=compare ref b\n",
        "test1, line 7: 'ref' cannot be replaced: the comparison of test1, line 6 would fail with "
        "'b' instead");
}

TEST_F(BlessRefusalTest, RefusesWhatHasChangedSinceTheRun)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("ref", "1\n");
    write("test1", simple);
    write("test2", "=heading\n=run model\n=compare out.dat ../ref\n");
    write("test3", "=heading\n=run model\n=file ref\n1\n=compare out.dat ref\n");
    write("test4", "=heading\n=run model\n=file ref\n1\n=compare out.dat ref\n");
    EXPECT_EQ(make().status, 1);
    write("test1", simple + "# more\n");
    write("ref", "2\n");
    write("test3.dir/out.dat", "1 2\n3 6\n");
    ASSERT_TRUE(QDir(work + "/test4.dir").removeRecursively());
    expectRefused("test1: The script 'test1' was changed since the run\n"
                  "talmo: bless: test2: A file outside its directory, with which it compares, was "
                  "changed since the run\n"
                  "talmo: bless: test3: Its directory 'test3.dir' was changed since the run\n"
                  "talmo: bless: test4: Its directory 'test4.dir' has gone");
}

TEST_F(BlessRefusalTest, RefusesLinksAndWhatLiesOutside)
{
    addModels({"model"}, "5\n");
    const QString far = folder.filePath("far");
    write(far, "1\n");
    write("ref", "1\n");
    const QByteArray head = "=heading\n=run model\n=compare out.dat ";
    ASSERT_TRUE(QFile::link(work + "/ref", work + "/link"));
    const QByteArray outside = "lies outside of the suite's directory; --outside allows it";
    expectScriptRefused(
        head + "../link\n", "test1, line 3: '../link' cannot be replaced: it is a symbolic link");
    expectScriptRefused(head + far.toUtf8() + '\n', "test1, line 3: '" + far.toUtf8() +
                                                        "' cannot be replaced: '" + far.toUtf8() +
                                                        "' " + outside);
    write("test1", head + "../../far\n");
    EXPECT_EQ(make().status, 1);
    expectRefused(
        "test1, line 3: '../../far' cannot be replaced: '" + far.toUtf8() + "' " + outside);
    expectBless({"--apply", "--outside"},
        "replaced '" + far.toUtf8() + "'\n'" + far.toUtf8() + "' is now 'out.dat' of test1\n", "",
        0);
    EXPECT_EQ(read(far), "5\n");
    ASSERT_EQ(link(QFile::encodeName(work + "/ref"), QFile::encodeName(work + "/twin")), 0);
    expectScriptRefused(head + "../ref\n",
        "test1, line 3: '../ref' cannot be replaced: its file has "
        "other names, which would keep the old text");
    QFile::remove(work + "/twin");
    QFile::remove(work + "/test1");
    write("elsewhere", simple);
    ASSERT_TRUE(QFile::link("elsewhere", work + "/test1"));
    EXPECT_EQ(make({"test1"}).status, 1);
    expectRefused("test1, line 6: 'ref' cannot be replaced: its file is a symbolic link");
}

TEST_F(BlessRefusalTest, RefusesWhatItMayNotWrite)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write everywhere, and cannot be kept from it here";
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    ASSERT_EQ(chmod(QFile::encodeName(work + "/test1"), 0400), 0);
    EXPECT_EQ(make().status, 1);
    expectRefused("test1, line 6: 'ref' cannot be replaced: cannot write '" + work.toUtf8() +
                  "/test1': Permission denied");
}

TEST_F(BlessRefusalTest, NeedsRoomForTemporaryFiles)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    environment["TMPDIR"] = work + "/none";
    const QByteArray errors = "talmo: bless: there is no room for temporary files\n";
    expectBless({}, "", errors, 2);
    expectBless({"--apply"}, "", errors, 2);
    EXPECT_EQ(read("test1"), simple);
}

TEST_F(BlessRefusalTest, WritesNothingWhileARunIsAtWork)
{
    addModels({"model"}, "1 2\n3 5\n");
    addProgramsThatStay();
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    write("test2", "=heading\n=run stay pid\n");
    start({"test2"});
    waitFor({"pid"});
    const Outcome outcome = run({"bless", "--apply"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(
        outcome.errors.startsWith("talmo: bless: '" + work.toUtf8() + "/.talmo' is in use by "))
        << outcome.errors.toStdString();
    EXPECT_EQ(read("test1"), simple);
    endProcessIn("pid");
    end();
}

TEST_F(BlessRefusalTest, RefusesWrongCalls)
{
    const QByteArray start = "talmo: bless: ";
    expectWrongCall(
        {"bless"}, start + "there are no results of 'talmo run' in '" + work.toUtf8() + "'\n");
    expectWrongCall({"bless", "--apply"},
        start + "there are no results of 'talmo run' in '" + work.toUtf8() + "'\n");
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    write("test2", "=heading\n");
    EXPECT_EQ(make().status, 1);
    struct Row {
        QStringList arguments;
        QByteArray reason;
    };
    const Row rows[] = {
        {{"none"}, "there is no run 'none' in the latest results"},
        {{"test2"}, "'test2' did not fail in the latest results"},
        {{"--only", "none"}, "no comparison that failed has the reference 'none'"},
        {{"--force"}, "--force makes sense with --apply only"},
        {{"--undo", "test1"}, "--undo brings back all that the latest --apply has replaced, and "
                              "takes nothing else but -C"},
        {{"--undo", "--apply"}, "--undo brings back all that the latest --apply has replaced, and "
                                "takes nothing else but -C"},
        {{"--unknown"}, "unknown option 'unknown'"},
        {{"-C", "none"}, "cannot go to the directory 'none': No such file or directory"},
    };
    for (const Row &row : rows)
        expectWrongCall(QStringList("bless") + row.arguments, start + row.reason + '\n');
    write(".talmo/latest.xml", "damaged");
    EXPECT_EQ(run({"bless"}).status, 2);
    write(".talmo/marker", "of somebody else\n");
    expectWrongCall({"bless"}, start + "'" + work.toUtf8() +
                                   "/.talmo' is not a folder of results: its marker is of another "
                                   "kind or version\n");
}
