// talmo diff: what is told, and to whom

#include "DiffFixture.h"
#include "Sessions.h"

namespace
{

using DiffTest = DiffFixture;

const QByteArray table =
    "Files 'a' and 'b' differ on line 3, column 2\n"
    "\n"
    "column  name  tolerance  differ  first  largest  line   relative  line  passes with\n"
    "     1     x          0       0      -        -     -          -     -            -\n"
    "     2     y        0.1       1      3      0.5     3    0.09091     3          0.5\n"
    "     3     z       1e-6       1      3    0.001     3  0.0001666     3       0.0011\n";

} // namespace

TEST_F(DiffTest, TellsHowColumnsDiffer)
{
    expectDifferent({"a", "b", "0", "0.1", "1e-6"},
        table + "\n"
                "Line 3:\n"
                "  1: 4 5 6\n"
                "       ^ ^\n"
                "  2: 4 5.5 6.001\n"
                "       ^^^ ^^^^^\n"
                "\n"
                "This would pass:\n"
                "=compare a b 0 0.5 0.0011\n"
                "\n"
                "Tolerances would grow more than a hundredfold: column 3 (z) 1100 times\n"
                "\n"
                "1 of 3 lines differs; column 3 (z) is the worst, by 0.001 on line 3 with the "
                "tolerance "
                "1e-6\n");
    expectAgreement({"a", "b", "0", "0.5", "0.002"}, "3 lines, 3 columns");
    expectAgreement({"a", "b", "0"}, "3 lines, 1 column");
}

TEST_F(DiffTest, TellsOtherKindsOfDifferences)
{
    write("c", "# x\n1 2\n3 4\n5 6\n# 7\n8\n9 9\n");
    write("d", "# x\n1 x\n3 nan\n# 5\n7 7\n8\n");
    expectDifferent({"c", "d", "0", "0"},
        "File 'c' and/or 'd' has invalid data on line 2, column 2\n"
        "\n"
        "column  tolerance  differ  first  largest  line  relative  line  passes with\n"
        "     1          0       0      -        -     -         -     -            -\n"
        "     2          0       2      2        -     -         -     -         none\n"
        "\n"
        "2 lines are comments in one file only, first line 4\n"
        "1 line has too few columns: line 6\n"
        "2 lines have a word that is no number, first line 2\n"
        "'d' lacks the last line of 'c', line 7\n"
        "\n"
        "Line 2:\n  1: 1 2\n       ^\n  2: 1 x\n       ^\n"
        "Line 3:\n  1: 3 4\n       ^\n  2: 3 nan\n       ^^^\n"
        "Line 4:\n  1: 5 6\n  2: # 5\n"
        "Line 5:\n  1: # 7\n  2: 7 7\n"
        "Line 6:\n  1: 8\n  2: 8\n"
        "\n"
        "5 of 6 lines differ; 2 lines are comments in one file only, first line 4; 1 line has too "
        "few columns: line 6; 2 lines have a word that is no number, first line 2; 'd' lacks the "
        "last line of 'c', line 7\n");
    write("e", "# x\n1 2\n");
    expectReason({"e", "c", "0", "0"},
        "The first 2 lines agree; 'e' lacks the last 5 lines of 'c', from line 3 on");
    write("empty", "");
    expectReason({"empty", "e", "0"}, "'empty' lacks the last 2 lines of 'e', from line 1 on");
    expectAgreement({"empty", "empty"}, "0 lines");
    expectAgreement({"empty", "empty", "0"}, "0 lines, 1 column");
}

TEST_F(DiffTest, NanNeverAgrees)
{
    write("nan", "nan\n");
    expectReason({"nan", "nan", "1e300"},
        "1 of 1 line differs; 1 line has a word that is no number: line 1");
    expectReason({"nan", "nan", "0", "--relative", "10"},
        "1 of 1 line differs; 1 line has a word that is no number: line 1");
}

TEST_F(DiffTest, TheSuggestedLinePasses)
{
    const Outcome outcome = run({"diff", "a", "b", "0", "0.1", "1e-6"});
    QByteArray ready;
    for (const QByteArray &line : outcome.output.split('\n')) {
        if (line.startsWith("=compare"))
            ready = line;
    }
    EXPECT_EQ(ready, "=compare a b 0 0.5 0.0011");
    ready.replace("compare a b", "compare ../a ../b");
    write("test1", "=heading\n" + ready + "\n");
    EXPECT_EQ(make({"--no-record", "test1"}).status, 0);
    // The largest differences are 0.5 and just above 0.001.
    write("test1", "=heading\n=compare ../a ../b 0 0.49 0.001\n");
    EXPECT_EQ(make({"--no-record", "test1"}).status, 1);
}

TEST_F(DiffTest, SuggestsNoLineWhereNoneWouldPassOrCouldStand)
{
    const auto suggests = [this](const QStringList &arguments) {
        return run(QStringList("diff") + arguments).output.contains("\n=compare");
    };
    EXPECT_TRUE(suggests({"a", "b", "0", "0"}));
    write("longer", "# x\n1 2 3\n4 5.5 6\n7 8 9\n");
    write("words", "# x\n1 2 3\n4 y 6\n");
    write("name with blanks", read("b"));
    write("$simProgram", read("b"));
    write("new\nline", read("b"));
    for (const char *const other :
        {"longer", "words", "name with blanks", "$simProgram", "new\nline"})
        EXPECT_FALSE(suggests({"a", other, "0", "0"})) << other;
    EXPECT_FALSE(suggests({"a", "b", "0", "0", "--skip", "nothing"}));
    EXPECT_FALSE(suggests({"a", "b", "0", "0", "--ignore-extra-lines"}));
    EXPECT_FALSE(suggests({"a", "b"}));
}

TEST_F(DiffTest, ReadsStandardInputAndPipes)
{
    const auto expectSame = [this](const QString &command, int status) {
        SCOPED_TRACE(command.toStdString());
        const Outcome outcome = shell(command);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, status) << outcome.output.toStdString();
    };
    expectSame("\"$TALMO\" diff - b 0 1 1 <a", 0);
    expectSame("cat a | \"$TALMO\" diff b - 0 0 0", 1);
    expectSame("cat a | \"$TALMO\" diff b -", 1);
    expectSame("(sleep 0.1; cat a) | \"$TALMO\" diff - a", 0);
    expectSame("\"$TALMO\" diff <(cat a) <(sleep 0.1; cat b) --columns x,y 0 1", 0);
    expectSame("\"$TALMO\" diff <(cat a) <(cat b) --sort 1 --skip '^#'", 1);
    expectSame("\"$TALMO\" diff <(cat a) b", 1);
    expectSame("tail -n2 a >rest; (read line; \"$TALMO\" "
               "diff - rest) <a",
        0);
    expectSame(R"(printf '# x y z\r\n1 2 3\r\n4 5 6\r\n' | "$TALMO" diff a -)", 0); // text mode
    expectSame(R"((head -n1 a; sleep 0.1; tail -n2 a) | perl -MFcntl -e )" // nothing there yet
               R"('fcntl(STDIN, F_SETFL, O_NONBLOCK); exec @ARGV' "$TALMO" diff a -)",
        0);
    expectRefused({"-", "-"}, "only one of the files can be '-', standard input");
    expectRefused({"-", "a", "--relative-to-column", "1"},
        "--relative-to-column reads the files again, and standard input can be read only once");
    const Outcome pipe = shell("\"$TALMO\" diff a <(cat b) --relative-to-column 1");
    EXPECT_TRUE(pipe.errors.startsWith(
        "talmo: diff: --relative-to-column reads the files again, and '/dev/fd/"));
    EXPECT_EQ(pipe.status, 2);
    const Outcome closed = shell("\"$TALMO\" diff - a 0 <&-");
    EXPECT_EQ(closed.status, 1);
    const Outcome directory = shell("\"$TALMO\" diff - a 0 <.");
    EXPECT_EQ(directory.errors, "talmo: diff: cannot read 'standard input'\n");
    EXPECT_EQ(directory.status, 2);
}

TEST_F(DiffTest, ScriptsCanUseIt)
{
    addProgram("talmo", "exec '" + driver.toUtf8() + "' \"$@\"\n");
    write("test1", "=heading\n=run talmo diff ../a ../b --relative 1e-9\n");
    write("test2", "=heading\n=run talmo diff ../a ../b 0 -1 0.01\n");
    const Outcome outcome = make({"--no-record"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.output.contains(
        "1 of 3 lines differs; column 2 (y) is the worst, by 0.5 on line 3 with the tolerance 0\n"))
        << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains("test2"));
}

TEST_F(DiffTest, TheSessionsOfTheManualAreTrue)
{
    addProgram("talmo", "exec '" + driver.toUtf8() + "' \"$@\"\n");
    EXPECT_EQ(expectSessions(MANUAL_OF_DIFF, environment, work, folder.path()), 4);
}
