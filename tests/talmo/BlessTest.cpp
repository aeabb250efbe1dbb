// talmo bless

#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

class BlessTest : public RunFixture
{
protected:
    /// Makes the programs \a names, each of which writes \a output to out.dat.
    void addModels(const QStringList &names, const QByteArray &output)
    {
        for (const QString &name : names)
            addProgram(name, "cat >out.dat <<'END'\n" + output + "END\n");
    }

    /// Runs `talmo bless` with \a arguments, and expects what it prints and its exit status.
    void expectBless(const QStringList &arguments, const QByteArray &output,
        const QByteArray &errors, int status)
    {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const Outcome outcome = run(QStringList("bless") + arguments);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, status);
    }

    /// Expects that nothing can be blessed for this \a reason, and that nothing is changed.
    void expectRefused(const QByteArray &reason, const QStringList &arguments = {})
    {
        const QByteArray before = everyText();
        const QByteArray errors = reason.isEmpty() ? "" : "talmo: bless: " + reason + '\n';
        expectBless(arguments, "", errors, 1);
        expectBless(QStringList("--apply") + arguments, "", errors, 1);
        EXPECT_EQ(everyText(), before);
    }

    /// Expects that \a script fails, and that its failure cannot be blessed for this \a reason.
    void expectScriptRefused(const QByteArray &script, const QByteArray &reason)
    {
        write("test1", script);
        EXPECT_EQ(make({"test1"}).status, 1);
        expectRefused(reason);
    }

    /// The texts of all files of the test but those in .talmo.
    QByteArray everyText()
    {
        QByteArray text;
        for (const QString &entry : entries()) {
            if (!entry.startsWith(".talmo/") && !entry.contains(".dir/") && !entry.endsWith('/'))
                text += entry.toUtf8() + '\n' + read(entry) + '\n';
        }
        return text;
    }

    /// Runs git in the working directory.
    void git(const QStringList &arguments)
    {
        const QStringList identity = {"-c", "user.name=Name", "-c", "user.email=name@example.org"};
        const Outcome outcome = runProcess("/usr/bin/git", identity + arguments, environment, work);
        ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    }

    const QByteArray simple =
        "=heading\n=file ref\n1 2\n3 4\n=run model\n=compare out.dat ref 0 0\n";
    const QByteArray blessed = "replaced 'test1'\n'test1:2: ref' is now 'out.dat' of test1\n";
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

TEST_F(BlessTest, NeedsOneOutputThatSatisfiesAllPrograms)
{
    configure({"sim1", "sim2"});
    addModels({"sim1"}, "5\n");
    addModels({"sim2"}, "5.25\n");
    const QByteArray head = "=heading\n=simprogram *\n=file $simProgram.ref\n1\n=run $simProgram\n";
    write("test1", head + "=compare out.dat $simProgram.ref 0.25\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"},
        "replaced 'test1'\n'test1:3: sim1.ref' is now 'out.dat' of test1(sim1)\n", "", 0);
    EXPECT_EQ(make().status, 0);

    write("test1", head + "=compare out.dat $simProgram.ref 0.125\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray reason = "'sim1.ref' cannot be replaced: 'sim1' and 'sim2' give different "
                              "outputs; choose one by --from PROGRAM\ntalmo: bless: ";
    const QByteArray other =
        "'sim2.ref' cannot be replaced: 'sim1' and 'sim2' give different outputs; choose one by "
        "--from PROGRAM";
    expectRefused("test1(sim1), line 6: " + reason + "test1(sim2), line 6: " + other);
    expectRefused("test1(sim2), line 6: 'sim2.ref' cannot be replaced: 'sim2' and 'sim1' give "
                  "different outputs; choose one by --from PROGRAM",
        {"test1(sim2)"});
    expectBless({"--apply", "--from", "sim2"},
        "replaced 'test1'\n'test1:3: sim2.ref' is now 'out.dat' of test1(sim2)\n"
        "    test1(sim1), line 6 will not agree with it\n",
        "", 0);
    expectRun({"--run", "test1(sim2)"}, "test1(sim2): heading\n" + counts(1), 0);
}

TEST_F(BlessTest, TakesNoOtherProgramThanTheChosenOne)
{
    configure({"sim1", "sim2", "sim3"});
    addModels({"sim1", "sim2"}, "5\n");
    addModels({"sim3"}, "1\n");
    const QByteArray body = "=file ref\n1\n=run $simProgram\n=compare out.dat ref 0\n";
    write("test1", "=heading\n=simprogram sim1\n" + body);
    write("test2", "=heading\n=simprogram sim2 sim3\n" + body);
    EXPECT_EQ(make().status, 1);
    const QByteArray none = "talmo: bless: no run of ";
    const QByteArray failed = " has failed in the latest results\n";
    expectWrongCall({"bless", "--from", "sim3"}, none + "'sim3'" + failed);
    expectWrongCall({"bless", "--apply", "--from", "sim4"}, none + "'sim4'" + failed);
    expectWrongCall(
        {"bless", "--from", "sim2", "test1"}, none + "'sim2' that was asked for" + failed);
    expectBless({"--apply", "--from", "sim2"},
        "replaced 'test2'\n'test2:3: ref' is now 'out.dat' of test2(sim2)\n"
        "    'test2(sim3)' uses it, too, and passed with it\n",
        "talmo: bless: test1(sim1), line 6: 'ref' cannot be replaced: no run of 'sim2' that was "
        "asked for has another output for it\n",
        1);
}

TEST_F(BlessTest, AsksForNoProgramThatNoRunHas)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    const QByteArray errors = "talmo: bless: no run of 'model' has failed in the latest results\n";
    expectWrongCall({"bless", "--from", "model"}, errors);
    expectBless({"--apply", "--from", "model"}, "", errors, 2);
    EXPECT_EQ(read("test1"), simple);
}

TEST_F(BlessTest, AsksWhichProgramIsRightIfOneHasPassed)
{
    configure({"sim1", "sim2"});
    addModels({"sim1"}, "1\n");
    addModels({"sim2"}, "5\n");
    write("test1",
        "=heading\n=simprogram *\n=file ref\n1\n=run $simProgram\n=compare out.dat ref 0\n");
    EXPECT_EQ(make().status, 1);
    expectRefused("test1(sim2), line 6: 'ref' cannot be replaced: 'test1(sim1)' passed with it, so "
                  "nobody knows whether both programs agree; choose one by --from PROGRAM");
    expectBless({"--apply", "--from", "sim2"},
        "replaced 'test1'\n'test1:3: ref' is now 'out.dat' of test1(sim2)\n"
        "    'test1(sim1)' uses it, too, and passed with it\n",
        "", 0);
}

TEST_F(BlessTest, LooksAtOtherScriptsWithTheSameReference)
{
    addModels({"model"}, "5\n");
    addModels({"other"}, "6\n");
    addModels({"third"}, "1\n");
    write("ref", "1\n");
    write("test1", "=heading\n=run model\n=compare out.dat ../ref 0\n");
    write("test2", "=heading\n=run other\n=compare out.dat ../ref 0\n");
    write("test3", "=heading\n=run third\n=compare out.dat ../ref 0\n");
    EXPECT_EQ(make().status, 1);
    expectRefused("test1, line 3: '../ref' cannot be replaced: the comparison of test2, line 3 "
                  "would fail with 'out.dat' instead\ntalmo: bless: test2, line 3: '../ref' cannot "
                  "be replaced: the comparison of test2, line 3 would fail with 'out.dat' instead");
    expectBless({"--apply", "test2"},
        "replaced 'ref'\n'ref' is now 'out.dat' of test2\n"
        "    'test3' uses it, too, and passed with it\n"
        "    test1, line 3 will not agree with it\n",
        "", 0);
}

TEST_F(BlessTest, RefusesWhatItWouldHaveToGuess)
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

TEST_F(BlessTest, KeepsComparisonsThatAgree)
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

TEST_F(BlessTest, TakesAFileThatTheRunChangedForAnOutput)
{
    addProgram("model", "echo 2 >>state\n");
    write("test1", "=heading\n=file state\n1\n=run model\n=file ref\n1\n3\n=compare state ref\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, "replaced 'test1'\n'test1:5: ref' is now 'state' of test1\n", "", 0);
    EXPECT_EQ(make().status, 0);
}

TEST_F(BlessTest, RefusesWhatHasChangedSinceTheRun)
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

TEST_F(BlessTest, RefusesLinksAndWhatLiesOutside)
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

TEST_F(BlessTest, RefusesWhatItMayNotWrite)
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

TEST_F(BlessTest, BringsBackWhatItHasReplaced)
{
    addProgram("model", "echo 5 >out.dat\nprintf '\\377' >bytes\n");
    const QByteArray script = "=heading\r\n=file ref\r\n1\r\n=run model\r\n=compare out.dat ref\r\n"
                              "=compare bytes ../r\xC3\xA9"
                              "f\r\n";
    write("test1", script);
    write(QString::fromUtf8("r\xC3\xA9"
                            "f"),
        "old\xFE");
    EXPECT_EQ(make().status, 1);
    expectBless(
        {"--undo"}, "", "talmo: bless: nothing was blessed that could be brought back\n", 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(make().status, 0);
    addProgram("model", "echo 6 >out.dat\nprintf '\\377' >bytes\n");
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    expectBless({"--undo"}, "brought back 'test1'\n", "", 0);
    const QByteArray first = read("test1");
    write("test1", first + "# mine\r\n");
    expectBless({"--undo"}, "",
        "talmo: bless: 'test1' was changed since it was blessed, and stays as it is\n", 1);
    EXPECT_EQ(read(QString::fromUtf8("r\xC3\xA9"
                                     "f")),
        "\xFF");
    write("test1", first);
    expectBless({"--undo"},
        "brought back 'r\xC3\xA9"
        "f'\nbrought back 'test1'\n",
        "", 0);
    EXPECT_EQ(read("test1"), script);
    EXPECT_EQ(read(QString::fromUtf8("r\xC3\xA9"
                                     "f")),
        "old\xFE");
    expectBless(
        {"--undo"}, "", "talmo: bless: nothing was blessed that could be brought back\n", 1);
}

TEST_F(BlessTest, KeepsNothingIfNothingWasReplaced)
{
    // The name is so long that the file which shall take its place can have none until it is whole.
    const QString name = "r/" + QString(250, 'e');
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    write("test2", "=heading\n=run model\n=compare out.dat ../" + name.toUtf8() + '\n');
    write(name, "1\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray reason =
        "talmo: bless: cannot write '" + work.toUtf8() + '/' + name.toUtf8() + "': ";
    const QByteArray nothing = "talmo: bless: nothing was blessed that could be brought back\n";
    const auto expectFailure = [&] {
        const Outcome outcome = run({"bless", "--apply", "test2"});
        EXPECT_EQ(outcome.output, "");
        EXPECT_TRUE(outcome.errors.startsWith(reason)) << outcome.errors.toStdString();
        EXPECT_EQ(outcome.status, 1);
    };
    expectFailure();
    EXPECT_FALSE(exists(".talmo/blessed"));
    expectBless({"--undo"}, "", nothing, 1);
    expectBless({"--apply", "test1"}, blessed, "", 0);
    const QStringList kept = entries().filter(".talmo/blessed/");
    expectFailure();
    EXPECT_EQ(entries().filter(".talmo/blessed/"), kept);
    expectBless({"--undo"}, "brought back 'test1'\n", "", 0);
    EXPECT_EQ(read("test1"), simple);
    EXPECT_EQ(read(name), "1\n");
    EXPECT_FALSE(exists(".talmo/blessed"));
    expectBless({"--undo"}, "", nothing, 1);
}

TEST_F(BlessTest, SaysThatNothingHadToBeBroughtBack)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, blessed, "", 0);
    write("test1", simple);
    expectBless({"--undo"},
        "nothing had to be brought back: all is as it was before the latest --apply\n", "", 0);
    expectBless(
        {"--undo"}, "", "talmo: bless: nothing was blessed that could be brought back\n", 1);
}

TEST_F(BlessTest, SaysThatWhatItHasKeptIsDamaged)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, blessed, "", 0);
    const QByteArray text = read("test1");
    const QString moment =
        QDir(work + "/.talmo/blessed").entryList(QDir::NoDotAndDotDot | QDir::Dirs)[0];
    const QString place = ".talmo/blessed/" + moment;
    EXPECT_EQ(read(place + "/1"), simple);
    const QByteArray manifest = read(place + "/manifest.json");
    write(place + "/1", "damaged");
    expectBless({"--undo"}, "", "talmo: bless: what 'test1' was is damaged\n", 1);
    write(place + "/manifest.json", "{\"files\": [{\"path\": \"test1\"}]}");
    expectBless({"--undo"}, "",
        "talmo: bless: '" + work.toUtf8() + '/' + place.toUtf8() +
            "' cannot be used: its manifest is damaged\n",
        1);
    EXPECT_EQ(read("test1"), text);
    write(place + "/manifest.json", manifest);
    write(place + "/1", simple);
    expectBless({"--undo"}, "brought back 'test1'\n", "", 0);
    EXPECT_EQ(read("test1"), simple);
}

TEST_F(BlessTest, AsksGitWhetherSomethingWouldBeLost)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    git({"init", "-q", "."});
    // What a repository wants to have run does not run.
    write(".git/hooks/post-index-change", "#!/bin/sh\necho >'" + work.toUtf8() + "/hook'\n");
    ASSERT_EQ(chmod(QFile::encodeName(work + "/.git/hooks/post-index-change"), 0700), 0);
    EXPECT_EQ(make().status, 1);
    const auto refusal = [](const QByteArray &reason) {
        return "talmo: bless: test1: 'test1' cannot be replaced: " + reason +
               "; --force replaces it all the same\n";
    };
    expectBless({"--apply"}, "", refusal("it was never committed to git"), 1);
    EXPECT_EQ(run({"bless"}).status, 0);
    git({"add", "test1"});
    expectBless({"--apply"}, "", refusal("it has changes that are not committed to git"), 1);
    git({"commit", "-q", "-m", "subject"});
    QFile::remove(work + "/hook");
    expectBless({"--apply"}, blessed, "", 0);
    EXPECT_FALSE(exists("hook"));
    addModels({"model"}, "1 2\n3 6\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"}, "", refusal("it has changes that are not committed to git"), 1);
    expectBless({"--apply", "--force"}, blessed, "", 0);
    EXPECT_EQ(make().status, 0);
    addModels({"model"}, "1 2\n3 7\n");
    EXPECT_EQ(make().status, 1);
    write(".git/config", "[core]\nrepositoryformatversion = 99\n");
    expectBless({"--apply"}, "", refusal("git cannot tell whether it has uncommitted changes"), 1);
}

TEST_F(BlessTest, AsksGitAboutEachFileOfEachRepository)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    const QStringList clean = {"a/r*f", "a/r'\"\\f", "a/b/-f", "inner/f", "inner/deep/f",
        "linked/f", "./:(top)", "r[1]", QString::fromUtf8("r\xC3\xA9")};
    const QStringList never = {"a/new", "fresh/new", "ignored/f", "inner/new", "r1"};
    const QStringList changed = {"a/changed", "inner/staged", "place"};
    const QStringList unknown = {"a/sparse", "inner/assumed", "damaged/f"};
    write("place/f", "1\n");
    for (const QString &name : clean + changed + unknown) {
        if (name != "place")
            write(name, "1\n");
    }
    addModels({"model"}, "5\n");
    for (const QString repository : {".", "inner"}) {
        git({"init", "-q", repository});
        write(repository + "/.git/info/exclude", "ignored\n");
    }
    ASSERT_TRUE(QDir(work).rename("linked", "target"));
    ASSERT_TRUE(QFile::link("target", work + "/linked"));
    for (const QString repository : {"inner", "."}) {
        git({"-C", repository, "add", "."});
        git({"-C", repository, "commit", "-q", "-m", "subject"});
    }
    git({"update-index", "--skip-worktree", "a/sparse"});
    git({"-C", "inner", "update-index", "--assume-unchanged", "assumed"});
    write("damaged/.git", "gitdir: /nowhere\n");
    write("a/changed", "2\n");
    write("inner/staged", "2\n");
    git({"-C", "inner", "add", "staged"});
    ASSERT_TRUE(QDir(work + "/place").removeRecursively());
    write("place", "1\n");
    for (const QString &name : never)
        write(name, "1\n");
    const QStringList all = clean + never + changed + unknown;
    for (int index = 0; index < all.size(); ++index)
        write("test" + QString::number(index + 10),
            "=heading\n=run model\n=compare out.dat ../" + all[index].toUtf8() + '\n');
    EXPECT_EQ(make().status, 1);
    const Outcome outcome = run({"bless", "--apply"});
    EXPECT_EQ(outcome.status, 1);
    const QString errors = QString::fromUtf8(outcome.errors);
    const auto expectRefused = [&](const QStringList &names, const QString &reason) {
        for (const QString &name : names) {
            EXPECT_TRUE(errors.contains("'" + name + "' cannot be replaced: " + reason + ";"))
                << name.toStdString();
            EXPECT_NE(read(name), "5\n") << name.toStdString();
        }
    };
    expectRefused(never, "it was never committed to git");
    expectRefused(changed, "it has changes that are not committed to git");
    expectRefused(unknown, "git cannot tell whether it has uncommitted changes");
    EXPECT_EQ(errors.count('\n'), all.size() - clean.size()) << outcome.errors.toStdString();
    for (const QString &name : clean)
        EXPECT_EQ(read(name), "5\n") << name.toStdString();
}

TEST_F(BlessTest, AsksGitOnceForAllFiles)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    addModels({"model"}, "5\n");
    for (int index = 10; index < 30; ++index) {
        const QString name = "refs" + QString::number(index) + "/ref";
        write(name, "1\n");
        write("test" + QString::number(index),
            "=heading\n=run model\n=compare out.dat ../" + name.toUtf8() + '\n');
    }
    git({"init", "-q", "."});
    git({"add", "."});
    git({"commit", "-q", "-m", "subject"});
    addProgram("git", "echo >>'" + work.toUtf8() + "/asked'\nexec /usr/bin/git \"$@\"\n");
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).status, 0);
    EXPECT_EQ(read("asked"), "\n\n\n");
}

TEST_F(BlessTest, NeedsRoomForTemporaryFiles)
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

TEST_F(BlessTest, TakesNoSilenceOfGitForItsConsent)
{
    if (!QFile::exists("/usr/bin/git"))
        GTEST_SKIP() << "there is no git";
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    git({"init", "-q", "."});
    write(".git/info/exclude", "test1\n");
    EXPECT_EQ(make().status, 1);
    const auto expectRefusal = [this](const QByteArray &reason) {
        expectBless({"--apply"}, "",
            "talmo: bless: test1: 'test1' cannot be replaced: " + reason +
                "; --force replaces it all the same\n",
            1);
    };
    expectRefusal("it was never committed to git"); // and is ignored
    git({"add", "-f", "test1"});
    git({"commit", "-q", "-m", "subject"});
    git({"update-index", "--assume-unchanged", "test1"});
    write("test1", simple + "#\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray silence = "git cannot tell whether it has uncommitted changes";
    expectRefusal(silence);
    // As below a hook of git, whose repository is relative to another folder.
    environment["GIT_DIR"] = "elsewhere/.git";
    expectRefusal(silence);
    environment.remove("GIT_DIR");
    ASSERT_TRUE(QFile::rename(work + "/.git", work + "/kept"));
    write(".git", "gitdir: /nowhere\n");
    expectRefusal(silence);
}

TEST_F(BlessTest, WritesNothingWhileARunIsAtWork)
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

TEST_F(BlessTest, RefusesWrongCalls)
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

TEST_F(BlessTest, BlessesAChangeOfThePhysics)
{
    configure({"tracker", "tracker-kick"});
    for (const QFileInfo &script : QDir(DISTRIBUTION).entryInfoList(QDir::Files))
        QFile::copy(script.filePath(), work + '/' + script.fileName());
    const QByteArray files = "=file beam.dat\n#QXTrackFile beam\n#x y z Px Py Pz t PDGid EventID "
                             "TrackID ParentID Weight\n1 -2 50 1 -0.5 200 0 -13 1 1 0 0.25\n"
                             "=file deck.in\nbeam beam.dat\nquad 4 300\noutput mid.dat\n"
                             "quad -4 300\noutput out.dat\n=run $simProgram deck.in\n";
    const QByteArray tolerances = " 1e-6 1e-6 1e-6 1e-5 1e-5 1e-4 1e-4 0 0 0 0 0\n";
    write("test30", "=own references\n=simprogram *\n" + files +
                        "=compare mid.dat ../refs/$simProgram" + tolerances +
                        "=file $simProgram.ref\n=compare $simProgram.ref out.dat" + tolerances);
    write("refs/tracker", "");
    write("refs/tracker-kick", "");
    for (const QString name : {"tracker", "tracker-kick"}) {
        const QByteArray program = name == "tracker" ? TRACKER : TRACKER_KICK;
        // All quadrupoles become stronger, once somebody makes the file "changed".
        addProgram(name, "if [ -e '" + work.toUtf8() +
                             "/changed' ] && ! grep -q '^# changed' \"$1\"\n"
                             "then sed -i -e 's/^quad \\([^ ]*\\)/quad (\\1)*1.01/' \"$1\"\n"
                             "echo '# changed' >>\"$1\"\nfi\nexec '" +
                             program + "' \"$@\"\n");
    }
    // The references of the new script come into being in the same way.
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).errors, "");
    EXPECT_EQ(make().status, 0);
    write("changed", "");
    QStringList refused;
    int replaced = 0;
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(make().status, 1);
        const Outcome outcome = run({"bless", "--apply"});
        replaced += static_cast<int>(outcome.output.count("' is now '"));
        refused = QString::fromUtf8(outcome.errors).split('\n');
    }
    EXPECT_GE(replaced, 6);
    // What fails now was refused.
    const QStringList lines = QString::fromUtf8(make().output).split('\n');
    for (const QString &line : lines.filter(": ***ERROR: ")) {
        const QString name = line.section(':', 0, 0);
        EXPECT_FALSE(refused.filter("talmo: bless: " + name).isEmpty()) << line.toStdString();
    }
    for (const char *const name :
        {"test10_quadrupole(tracker): A", "test12_fodo_cell(tracker-kick): A",
            "test30(tracker): own", "test30(tracker-kick): own"})
        EXPECT_EQ(lines.filter(name).size(), 1) << name;
}
