// talmo diff

#include "RunFixture.h"
#include "Sessions.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <sys/stat.h>

namespace
{

class DiffTest : public RunFixture
{
protected:
    DiffTest()
    {
        write("a", "# x y z\n1 2 3\n4 5 6\n");
        write("b", "# x y z\n1 2 3\n4 5.5 6.001\n");
    }

    /// Expects that `talmo diff` with \a arguments finds that the files differ, and prints \a
    /// output.
    void expectDifferent(const QStringList &arguments, const QByteArray &output)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Outcome outcome = run(QStringList("diff") + arguments);
        EXPECT_EQ(outcome.output, output);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 1);
    }

    /// The same, and that \a reason is the last line.
    void expectReason(const QStringList &arguments, const QByteArray &reason)
    {
        SCOPED_TRACE(arguments.join(' ').toStdString());
        const Outcome outcome = run(QStringList("diff") + arguments);
        const QList<QByteArray> lines = outcome.output.split('\n');
        EXPECT_EQ(lines.value(lines.size() - 2), reason) << outcome.output.toStdString();
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 1);
    }

    void expectAgreement(const QStringList &arguments, const QByteArray &what)
    {
        expectSuccess(QStringList("diff") + arguments, "Files '" + arguments[0].toUtf8() +
                                                           "' and '" + arguments[1].toUtf8() +
                                                           "' agree: " + what + "\n");
    }

    void expectRefused(const QStringList &arguments, const QByteArray &reason)
    {
        expectWrongCall(QStringList("diff") + arguments, "talmo: diff: " + reason + "\n");
    }

    QJsonObject document(const QStringList &arguments)
    {
        const Outcome outcome = run(QStringList({"diff", "--json"}) + arguments);
        QJsonParseError error = {};
        const QJsonDocument parsed = QJsonDocument::fromJson(outcome.output, &error);
        EXPECT_EQ(error.error, QJsonParseError::NoError) << outcome.output.toStdString();
        return parsed.object();
    }

    /// What bash says to \a command, in which $TALMO is the companion.
    Outcome shell(const QString &command)
    {
        environment["TALMO"] = driver;
        return runProcess("bash", {"-c", command}, environment, work);
    }
};

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

TEST_F(DiffTest, TakesNegativeNumbersForTolerances)
{
    for (const char *const number : {"-1", "-.5", "-1e-3", "-0.5E+3", "-2."})
        expectAgreement({"a", "b", "0", number, number}, "3 lines, 1 column");
    expectAgreement({"a", "b", "-1", "-1", "1"}, "3 lines, 1 column");
    expectAgreement({"a", "b", "--", "0", "-1", "1"}, "3 lines, 2 columns");
    expectRefused({"a", "b", "0", "-q"}, "unknown option 'q'");
    expectRefused({"a", "b", "--relative", "-1"}, "--relative takes a number from 0 on, not '-1'");
    write("-1", "1\n");
    write("--json", "1\n");
    expectAgreement({"-1", "-1", "0"}, "1 line, 1 column");
    expectSuccess(
        {"diff", "--", "--json", "-1", "0"}, "Files '--json' and '-1' agree: 1 line, 1 column\n");
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

TEST_F(DiffTest, ShowsAsManyLinesAsAreAskedFor)
{
    write("c", "1\n2\n3\n4\n");
    write("d", "2\n3\n4\n5\n");
    const QByteArray head =
        "Files 'c' and 'd' differ on line 1, column 1\n\n"
        "column  tolerance  differ  first  largest  line  relative  line  passes with\n"
        "     1          0       4      1        1     1       0.5     1            1\n\n";
    const QByteArray end =
        "This would pass:\n=compare c d 1\n\n4 of 4 lines differ; column 1 is the "
        "worst, by 1 on line 1 with the tolerance 0\n";
    expectDifferent({"c", "d", "0", "--lines", "0"}, head + end);
    expectDifferent({"c", "d", "0", "--lines=1"},
        head + "Line 1:\n  1: 1\n     ^\n  2: 2\n     ^\nand 3 lines more\n\n" + end);
    for (const char *const wrong : {"-1", "x", "", "10001", "1.5"}) {
        expectRefused({"c", "d", "--lines", wrong},
            QByteArray("--lines takes a whole number from 0 to 10000, not '") + wrong + "'");
    }
}

TEST_F(DiffTest, BringsWordsFarBehindIntoSight)
{
    QByteArray front;
    for (int word = 0; word < 100; ++word)
        front += "11111 ";
    write("c", front + "5 " + front + "\n");
    write("d", front + "6 " + front + "\n");
    const Outcome outcome = run({"diff", "c", "d", "--columns", "101"});
    EXPECT_TRUE(outcome.output.contains("\n  1: ... 5 11111")) << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains("\n         ^\n  2: ... 6 11111"));
}

TEST_F(DiffTest, ShowsNothingThatATerminalWouldObey)
{
    write("c", "1 \x1B[31mred\xFF 2\t3\n");
    write("d", "1 x 2\t\xE2\x80\xA8 4\n");
    const Outcome outcome = run({"diff", "c", "d", "0", "-1", "0", "0"});
    EXPECT_TRUE(outcome.output.contains("  1: 1 \\x1b[31mred\xEF\xBF\xBD 2 3\n"
                                        "                      ^\n"
                                        "  2: 1 x 2 4\n           ^\n"))
        << outcome.output.toStdString();
    write("e\x1B[31m", "1\n");
    const Outcome named = run({"diff", "c", "e\x1B[31m"});
    EXPECT_FALSE(named.output.contains('\x1B'));
    EXPECT_FALSE(run({"diff", "c", "d"}).output.contains('\x1B'));
}

TEST_F(DiffTest, UsesColoursOnlyOnATerminal)
{
    const auto onTerminal = [this](const QByteArray &variables) {
        return shell(variables + " script -qec '\"$TALMO\" diff a b 0 0' /dev/null </dev/null")
            .output;
    };
    const QByteArray colour = "\x1B[31m";
    EXPECT_TRUE(onTerminal("TERM=xterm").contains(colour + "5\x1B[0m"));
    EXPECT_FALSE(onTerminal("TERM=xterm NO_COLOR=1").contains(colour));
    EXPECT_FALSE(onTerminal("TERM=dumb").contains(colour));
    EXPECT_FALSE(onTerminal("unset TERM;").contains(colour));
    EXPECT_FALSE(shell("TERM=xterm \"$TALMO\" diff a b 0 0").output.contains(colour));
}

TEST_F(DiffTest, ComparesBytesWithTheSystemsDiff)
{
    expectDifferent({"a", "b"},
        "Files 'a' and 'b' differ at line 3\n"
        "\n"
        "--- a\n+++ b\n@@ -1,3 +1,3 @@\n # x y z\n 1 2 3\n-4 5 6\n+4 5.5 6.001\n"
        "\n"
        "1 of 3 lines differs, first line 3\n");
    expectAgreement({"a", "a"}, "3 lines");
    write("crlf", "# x y z\r\n1 2 3\r\n4 5 6\r\n"); // text mode
    expectAgreement({"a", "crlf"}, "3 lines");
    write("-o", "x\n");
    expectDifferent({"--", "-o", "a"},
        "Files '-o' and 'a' differ at line 1\n\n'-o' lacks the last 2 lines of 'a', from line 2 "
        "on\n"
        "\n--- -o\n+++ a\n@@ -1 +1,3 @@\n-x\n+# x y z\n+1 2 3\n+4 5 6\n"
        "\n1 of 1 line differs, first line 1; '-o' lacks the last 2 lines of 'a', from line 2 "
        "on\n");
}

TEST_F(DiffTest, BoundsWhatDiffPrints)
{
    QByteArray one;
    QByteArray other;
    for (int line = 0; line < 5000; ++line) {
        one += "1\n";
        other += "2\n";
    }
    write("c", one);
    write("d", other);
    const QList<QByteArray> lines = run({"diff", "c", "d"}).output.split('\n');
    EXPECT_EQ(lines.size(), 206);
    EXPECT_EQ(lines.value(202), "The rest of 'diff -u' is left out");
    EXPECT_EQ(lines.value(204), "5000 of 5000 lines differ, first line 1");
}

TEST_F(DiffTest, FindsNoAgreementInNoColumn)
{
    const QByteArray reason = "all tolerances are negative, so no column is compared";
    expectRefused({"a", "b", "--columns", "2", "-1"}, reason);
    expectRefused(
        {"a", "b", "--tolerance", "1=-1", "--tolerance", "y=-1", "--tolerance", "3=-1"}, reason);
    expectRefused({"a", "b", "-1", "--skip", "#"}, reason);
    expectAgreement({"a", "b", "-1"}, "3 lines, 0 columns"); // as "=compare"
    expectAgreement({"a", "b", "--columns", "1,2", "0", "-1"}, "3 lines, 1 column");
}

TEST_F(DiffTest, DoesWithoutDiff)
{
    const QByteArray own =
        "\nLine 3:\n  1: 4 5 6\n  2: 4 5.5 6.001\n\n1 of 3 lines differs, first line 3\n";
    const QByteArray message = "Files 'a' and 'b' differ at line 3\n\n";
    addProgram("diff", "exit 2\n");
    expectDifferent({"a", "b"}, message + "No 'diff -u': 'diff' shows nothing" + own);
    environment["PATH"] = folder.filePath("nowhere");
    expectDifferent({"a", "b"}, message + "No 'diff -u': there is no 'diff' in the PATH" + own);
    expectDifferent({"a", "b", "--skip", "nothing"}, message + own.mid(1));
}

TEST_F(DiffTest, WritesJson)
{
    const QJsonObject found = document({"a", "b", "0", "0.1", "1e-6"});
    EXPECT_EQ(found["message"].toString(), "Files 'a' and 'b' differ on line 3, column 2");
    EXPECT_EQ(found["agree"].toBool(true), false);
    EXPECT_EQ(found["compare"].toString(), "=compare a b 0 0.5 0.0011");
    EXPECT_EQ(found["lines1"].toInt(), 3);
    const QJsonObject z = found["columns"].toArray().at(2).toObject();
    EXPECT_EQ(z["name"].toString(), "z");
    EXPECT_EQ(z["largest"].toDouble(), 6.001 - 6); // every digit
    EXPECT_EQ(z["tolerance"].toDouble(), 1e-6);
    EXPECT_EQ(z["sufficient"].toDouble(), 0.0011); // 0.001 is a little too small
    EXPECT_EQ(z["largestAt"].toArray(), (QJsonArray{3, 3}));
    const QJsonObject line = found["firstLines"].toArray().at(0).toObject();
    EXPECT_EQ(line["text2"].toString(), "4 5.5 6.001");
    EXPECT_EQ(line["columns"].toArray(), (QJsonArray{2, 3}));

    write("c", QByteArray("\xFF\0\"<\x1B\n", 6));
    const QJsonObject bytes = document({"c", "a"});
    EXPECT_EQ(bytes["firstLines"].toArray().at(0).toObject()["text1"].toString(),
        QString::fromUtf8("\xEF\xBF\xBD\0\"<\x1B", 7));
    EXPECT_EQ(bytes["kinds"].toObject()["missing"].toObject()["lines"].toInt(), 2);

    write("c", "1.7e308\n");
    write("d", "-1.7e308\n");
    const QJsonObject huge = document({"c", "d", "0"})["columns"].toArray().at(0).toObject();
    EXPECT_EQ(huge["largest"].toString(), "infinite");
    EXPECT_EQ(huge["largestRelative"].toDouble(), 2);
    EXPECT_TRUE(huge["sufficient"].isNull());

    EXPECT_EQ(document({"a", "a", "0"})["reason"].toString(),
        "Files 'a' and 'a' agree: 3 lines, 1 column");
    expectRefused({"a", "none", "--json"}, "cannot read 'none'");
}

TEST_F(DiffTest, ComparesAllColumnsIfOptionsMakeItNumeric)
{
    write("c", "1 2 3\n");
    write("d", "1 2 3.25 9\n");
    write("e", "1 2 3.25\n");
    expectReason({"c", "e", "--tolerance", "1=0"},
        "1 of 1 line differs; column 3 is the worst, by 0.25 on line 1 with the tolerance 0");
    expectReason({"c", "d", "--relative", "1"}, // the wider one counts
        "1 of 1 line differs; 1 line has too few columns: line 1");
    expectAgreement({"c", "e", "--tolerance", "3=.25"}, "1 line, 3 columns");
}

TEST_F(DiffTest, JudgesByRelativeTolerancesToo)
{
    write("c", "100 0.001\n200 0.002\n");
    write("d", "101 0.001\n200 0.0025\n");
    expectAgreement({"c", "d", "--relative", "0.2"}, "2 lines, 2 columns");
    expectAgreement({"c", "d", "0", "0.001", "--relative", "0.01"}, "2 lines, 2 columns");
    expectReason({"c", "d", "--relative", "0.1"},
        "1 of 2 lines differs; column 2 is the worst, by 0.0005 on line 2 with the tolerance 0");
    expectAgreement({"c", "d", "--relative-to-column", "0.2"}, "2 lines, 2 columns");
    expectAgreement({"c", "d", "1", "--relative-to-column", "0.005"}, "2 lines, 1 column");
    expectReason({"c", "d", "--relative-to-column", "0.0049"},
        "2 of 2 lines differ; column 1 is the worst, by 1 on line 1 with the tolerance 0");
    for (const char *const option : {"relative", "relative-to-column"}) {
        for (const char *const wrong : {"", "x", "-1", "nan", "inf"}) {
            expectRefused({"c", "d", QStringLiteral("--%1=%2").arg(option, wrong)},
                QStringLiteral("--%1 takes a number from 0 on, not '%2'")
                    .arg(option, wrong)
                    .toUtf8());
        }
    }
}

TEST_F(DiffTest, ChoosesColumns)
{
    expectAgreement({"a", "b", "--columns", "1"}, "3 lines, 1 column");
    expectAgreement({"a", "b", "--columns", "3,1-2", "0.01", "0", "0.5"}, "3 lines, 3 columns");
    expectAgreement({"a", "b", "--columns", "z,x", "0.01", "0"}, "3 lines, 2 columns");
    expectAgreement({"a", "b", "--tolerance", "y=0.5", "--tolerance=3=1"}, "3 lines, 3 columns");
    expectReason({"a", "b", "--columns", "z"},
        "1 of 3 lines differs; column 3 (z) is the worst, by 0.001 on line 3 with the tolerance 0");
    EXPECT_TRUE(run({"diff", "a", "b", "--columns", "3,2", "1e-9", "0.1"})
                    .output.contains("\n=compare a b -1 0.5 0.0011\n"));
    const struct {
        QStringList arguments;
        QByteArray reason;
    } rows[] = {
        {{"--columns", "4"}, "there is no column 4; the first line with data has 3"},
        {{"--columns", "0"}, "there is no column 0; the first line with data has 3"},
        {{"--columns", "1-4"}, "there is no column 4; the first line with data has 3"},
        {{"--columns", "3-1"}, "the range 3-1 ends before it begins"},
        {{"--columns", "w"}, "there is no column 'w'"},
        {{"--columns", ""}, "there is no column ''"},
        {{"--columns", "1,,2"}, "there is no column ''"},
        {{"--columns", "1,x"}, "--columns has column 1 twice"},
        {{"--columns", "1,2", "0"}, "--columns chooses 2 columns, but there are 1 tolerances"},
        {{"--columns", "1", "--columns", "2"}, "--columns is there twice"},
        {{"--columns", "1", "--tolerance", "2=1"},
            "--tolerance is about column 2, which is not compared"},
        {{"0", "0", "--tolerance", "3=1"}, "--tolerance is about column 3, which is not compared"},
        {{"--tolerance", "9=1"}, "there is no column 9; the first line with data has 3"},
        {{"--tolerance", "x=1", "--tolerance", "1=1"}, "--tolerance is about column 1 twice"},
        {{"--tolerance", "x"}, "--tolerance takes COLUMN=T with a number T, not 'x'"},
        {{"--tolerance", "=1"}, "--tolerance takes COLUMN=T with a number T, not '=1'"},
        {{"--tolerance", "x=nan"}, "--tolerance takes COLUMN=T with a number T, not 'x=nan'"},
    };
    for (const auto &row : rows)
        expectRefused(QStringList({"a", "b"}) + row.arguments, row.reason);
    write("c", "# x x\n1 2\n");
    expectRefused({"c", "c", "--columns", "x"}, "two columns are named 'x'");
    write("d", "1 2\n");
    expectRefused(
        {"d", "d", "--columns", "x"}, "there is no column 'x'; the columns have no names");
}

TEST_F(DiffTest, LeavesLinesOut)
{
    write("c", "made on Monday\n1\n\n2\n");
    write("d", "1\nmade on Tuesday\nof May\n3\n");
    expectDifferent({"c", "d", "0", "--skip", "^made on", "--skip", "^$|May"},
        "Files 'c' and 'd' differ on line 4, column 1\n"
        "\n"
        "column  tolerance  differ  first  largest  line  relative  line  passes with\n"
        "     1          0       1      4        1     4    0.3333     4            1\n"
        "\n"
        "Line 4:\n  1: 2\n     ^\n  2: 3\n     ^\n"
        "\n"
        "1 of 2 lines differs; column 1 is the worst, by 1 on line 4 with the tolerance 0\n");
    write("e", "3\n");
    expectDifferent({"c", "e", "0", "--skip", "made|^$|1", "--lines", "1"},
        "Files 'c' and 'e' differ on line 4, column 1 (line 1 of 'e')\n"
        "\n"
        "column  tolerance  differ  first  largest  line  relative  line  passes with\n"
        "     1          0       1    4/1        1   4/1    0.3333   4/1            1\n"
        "\n"
        "Lines 4 and 1:\n  1: 2\n     ^\n  2: 3\n     ^\n"
        "\n"
        "1 of 1 line differs; column 1 is the worst, by 1 on lines 4 and 1 with the tolerance 0\n");
    expectRefused({"c", "d", "--skip", ""}, "--skip takes a pattern, which is not empty");
    for (const char *const all : {".|^$", "^"})
        expectRefused({"c", "d", "--skip", all}, "nothing is left to compare");
    expectRefused(
        {"c", "d", "0", "--skip", "[0-9]|^$|^made|^of"}, "there is no line with data to compare");
    expectReason({"c", "d", "--skip", "[2-9M]|^$"},
        "The first line agrees; 'c' lacks the last line of 'd', line 2");
}

TEST_F(DiffTest, NothingLeftIsNoAgreement)
{
    write("c", "# only\n# comments\n");
    write("d", "# others\n# here\n");
    write("empty", "");
    expectAgreement({"c", "d", "0"}, "2 lines, 1 column"); // as "=compare" says
    for (const QStringList &arguments : {QStringList({"--relative", "1"}), {"--columns", "1"},
             {"--tolerance", "1=1"}, {"0", "--skip", "x"}, {"--widths", "4"}, {"--sort", "1"}})
        expectRefused(QStringList({"c", "d"}) + arguments, "there is no line with data to compare");
    expectRefused(
        {"empty", "d", "--ignore-extra-lines"}, "one of the files has no lines to compare");
    expectRefused({"empty", "empty", "--skip", "x"}, "nothing is left to compare");
}

TEST_F(DiffTest, ComparesWhatIsBetweenHeadings)
{
    write("c", "0\nBEGIN\n1\nBEGIN\nEND\n5\nBEGIN\n2\nEND\n6\n");
    write("d", "1\nBEGIN\n1\nBEGIN\nEND\n7\n8\nBEGIN\n3\nEND\n9\n");
    expectReason({"c", "d", "--from", "^BEGIN$", "--to", "^END"},
        "1 of 3 lines differs, first lines 8 and 9");
    expectAgreement({"c", "d", "--from", "^BEGIN", "--to", "^[E2-3]"}, "2 lines");
    expectReason({"c", "d", "--to", "BEGIN"}, "1 of 1 line differs, first line 1");
    expectRefused({"c", "d", "--from", "6|9"}, "nothing is left to compare");
    expectRefused({"c", "d", "--from", "0"}, "'d' has no line that matches the '0' of --from");
    expectRefused({"d", "c", "--from", "^7"}, "'c' has no line that matches the '^7' of --from");
    expectRefused({"c", "d", "--from", "END$", "--to", "[08]"},
        "'c' has no line that matches the '[08]' of --to behind one that matches --from");
    expectRefused({"c", "d", "--to", "x"}, "'c' has no line that matches the 'x' of --to");
    expectRefused({"c", "d", "0", "--from", "x"}, "'c' has no line that matches the 'x' of --from");
    expectRefused({"c", "d", "--from", "1", "--from", "2"}, "--from is there twice");
}

TEST_F(DiffTest, CutsColumnsOfFixedWidths)
{
    const QByteArray same = " 2    -4.0 1\n\n"; // the second field is empty, so it is no number
    write("c", "# 1 2\n 1 2.5-3.0 7\n" + same +
                   "\xC3\xA9"
                   "x5 6 1.5 8\n312341234 \xC2\xA0 8\n# 3\n");
    write("d", "# 1 2\n 1 2.6-3.0 7\n" + same +
                   "\xC3\xA9"
                   "x5 6 2.5 8\n312341235 \xC2\xA0 9\n# 4\n");
    expectDifferent({"c", "d", "--widths", "2,4,4", "-1", "0", "0", "0"},
        "Files 'c' and 'd' differ on line 2, column 2\n"
        "\n"
        "column  tolerance  differ  first  largest  line  relative  line  passes with\n"
        "     2          0       3      2      0.1     2   0.03846     2         none\n"
        "     3          0       2      5        1     5       0.4     5            1\n"
        "     4          0       1      6        1     6    0.1111     6            1\n"
        "\n"
        "1 line has too few columns: line 4\n"
        "2 lines have a word that is no number, first line 3\n"
        "\n"
        "Line 2:\n"
        "  1: 1 2.5 -3.0  7\n"
        "       ^^^\n"
        "  2: 1 2.6 -3.0  7\n"
        "       ^^^\n"
        "Line 3:\n"
        "  1: 2 _ -4.0  1\n"
        "       ^\n"
        "  2: 2 _ -4.0  1\n"
        "       ^\n"
        "Line 4:\n"
        "  1: \n"
        "  2: \n"
        "Line 5:\n"
        "  1: \xC3\xA9"
        "x 5_6 1.5 8\n"
        "        ^^^ ^^^\n"
        "  2: \xC3\xA9"
        "x 5_6 2.5 8\n"
        "        ^^^ ^^^\n"
        "Line 6:\n"
        "  1: 31 2341 234 8\n"
        "             ^^^ ^\n"
        "  2: 31 2341 235 9\n"
        "             ^^^ ^\n"
        "\n"
        "5 of 7 lines differ; column 3 is the worst, by 1 on line 5 with the tolerance 0; 1 line "
        "has too few columns: line 4; 2 lines have a word that is no number, first line 3\n");
}

TEST_F(DiffTest, SortsLines)
{
    write("c", "# n x\n2 20\n10 5\n# end\n-1 7\n2 21\n");
    write("d", "# n x\n-1 7\n# end\n2 20\n2 21\n10 5.5\n");
    expectDifferent({"c", "d", "--sort", "1"},
        "Files 'c' and 'd' differ on line 3, column 2 (line 6 of 'd')\n"
        "\n"
        "column  tolerance  differ  first  largest  line  relative  line  passes with\n"
        "     1          0       0      -        -     -         -     -            -\n"
        "     2          0       1    3/6      0.5   3/6   0.09091   3/6          0.5\n"
        "\n"
        "Lines 3 and 6:\n  1: 10 5\n        ^\n  2: 10 5.5\n        ^^^\n"
        "\n"
        "1 of 6 lines differs; column 2 is the worst, by 0.5 on lines 3 and 6 with the tolerance "
        "0\n");
    expectAgreement({"c", "d", "0", "0.5", "--sort", "n"}, "6 lines, 2 columns");
    write("e", "1\nx\n");
    expectRefused(
        {"e", "e", "--sort", "1"}, "'e' cannot be sorted: line 2 has no number in column 1");
    write("f", "out\n1 2\n3\n");
    expectRefused({"f", "f", "--skip", "out", "--sort", "2"},
        "'f' cannot be sorted: line 3 has no number in column 2");
    expectRefused({"c", "d", "--sort", "3"},
        "'c' cannot be sorted: there is no column 3; the first line with data has 2");
    expectRefused({"c", "d", "--sort", "y"}, "'c' cannot be sorted: there is no column 'y'");
}

TEST_F(DiffTest, CanIgnoreExtraLines)
{
    write("c", "1\n2\n");
    write("d", "1\n2\n3\n4\n");
    expectAgreement({"c", "d", "--ignore-extra-lines"}, "2 lines; 2 lines more of 'd' ignored");
    expectAgreement(
        {"d", "c", "0", "--ignore-extra-lines"}, "2 lines, 1 column; 2 lines more of 'd' ignored");
    write("e", "1\n3\n4\n");
    expectReason({"c", "e", "--ignore-extra-lines"}, "1 of 2 lines differs, first line 2");
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

TEST_F(DiffTest, TakesALineForTheEndOfABlockAndTheBeginningOfTheNext)
{
    write("a", "head\n1\nhead\n2\nend\n3\n");
    write("b", "head\n1\nhead\n2.5\nend\n4\n");
    const Outcome outcome =
        run({"diff", "a", "b", "0", "--from", "head", "--to", "head|end", "--lines", "0"});
    EXPECT_TRUE(outcome.output.endsWith("\n1 of 2 lines differs; column 1 is the worst, by 0.5 on "
                                        "line 4 with the tolerance 0\n"))
        << outcome.output.toStdString();
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(DiffTest, ComparesNoLessThanAllColumnsIfNobodyChoosesAny)
{
    write("a", "# x\n\t1 2\n# a longer comment\n3 4 5\n");
    write("b", "# x\n\t1 2\n# a longer comment\n3 4 6\n");
    expectRefused({"a", "b", "--relative", "1e-9"},
        "'a' has 3 columns on line 4, and 2 on the first line with data; choose what to compare by "
        "--columns, --from or --skip");
    expectAgreement({"a", "b", "--relative", "1e-9", "--columns", "1,2"}, "4 lines, 2 columns");
    expectAgreement({"a", "b", "0", "0", "--relative", "1e-9"}, "4 lines, 2 columns");
}

TEST_F(DiffTest, DrawsTheColumnsThatDiffer)
{
    write("a", "# x y z\n1 2 3\n2 4 5\nskip\n3 6 7\n");
    write("b", "# x y z\n1 2 3\nskip\n2 4.5 5\n3 6 7\n");
    const QStringList call = {"diff", "a", "b", "0", "0", "0", "--skip", "skip", "--plot", "p.svg"};
    EXPECT_EQ(run(call).status, 1);
    const QByteArray picture = read("p.svg");
    EXPECT_EQ(picture.count("<title>"), 1);
    EXPECT_TRUE(picture.contains("<title>Column 2: y of 'a' and 'b'</title>"))
        << picture.toStdString();
    EXPECT_TRUE(picture.contains("over line,"));
    EXPECT_EQ(run(call + QStringList({"-x", "z"})).status, 1); // it may be replaced
    EXPECT_TRUE(read("p.svg").contains("over column 3: z,"));

    const Outcome same = run({"diff", "a", "a", "0", "--skip", "skip", "--plot", "q.svg"});
    EXPECT_EQ(
        same.errors, "talmo: diff: no column of numbers differs, so 'q.svg' was not written\n");
    EXPECT_EQ(same.status, 0);
    EXPECT_FALSE(exists("q.svg"));
}

TEST_F(DiffTest, RefusesPicturesThatItCannotMake)
{
    write("a", "1 2\n");
    write("b", "1 3\n");
    write("notes.svg", "<svg>mine</svg>\n");
    QDir(work).mkdir("folder");
    const struct {
        QStringList arguments;
        QByteArray reason;
    } rows[] = {
        {{"--plot", "p.svg"}, "--plot draws numbers, and without tolerances text is compared"},
        {{"0", "0", "--x", "1"}, "--x is about the picture of --plot, which is missing"},
        {{"0", "0", "--plot", "p.svg", "--x", "3"},
            "--x: there is no column 3; the first line with data has 2"},
        {{"0", "0", "--plot", "notes.svg"},
            "cannot write 'notes.svg': It holds something else than a picture of talmo"},
        {{"0", "0", "--plot", "folder"}, "cannot write 'folder': Is a directory"},
        {{"0", "0", "--plot", "none/p.svg"},
            "cannot write 'none/p.svg': No such file or directory"},
    };
    for (const auto &row : rows)
        expectRefused(QStringList({"a", "b"}) + row.arguments, row.reason);
    expectRefused({"-", "a", "0", "--plot", "p.svg"},
        "--plot reads the files again, and standard input can be read only once");
}

TEST_F(DiffTest, SaysWhatIsNoComparison)
{
    QDir(work).mkdir("folder");
    const struct {
        QStringList arguments;
        QByteArray reason;
    } rows[] = {
        {{}, "FILE1 and FILE2 are missing"},
        {{"a"}, "FILE2 is missing"},
        {{"none", "b"}, "cannot read 'none'"},
        {{"a", "none", "0"}, "cannot read 'none'"},
        {{"a", ""}, "cannot read ''"},
        {{"a", "folder"}, "cannot read 'folder'"},
        {{"/proc/self/mem", "a"}, "cannot read '/proc/self/mem'"},
        {{"a", "/proc/self/mem", "0", "--skip", "x"}, "cannot read '/proc/self/mem'"},
        {{"a", "/proc/self/mem", "--sort", "1"}, "cannot read '/proc/self/mem'"},
        {{"a", "b", "x"}, "the tolerance 'x' is no number"},
        {{"a", "b", "0", "nan"}, "the tolerance 'nan' is no number"},
        {{"a", "b", "1e999"}, "the tolerance '1e999' is no number"},
        {{"a", "b", ""}, "the tolerance '' is no number"},
        {{"a", "b", "--relativ", "1"}, "unknown option 'relativ'"},
        {{"a", "b", "--json=1"}, "unexpected value after '--json'"},
        {{"a", "b", "--skip"}, "missing value after '--skip'"},
        {{"a", "b", "--widths", "4,x"}, "--widths takes whole numbers from 1 on, not 'x'"},
        {{"a", "b", "--widths", "0"}, "--widths takes whole numbers from 1 on, not '0'"},
        {{"a", "b", "--widths", ""}, "--widths takes whole numbers from 1 on, not ''"},
        {{"a", "b", "--sort", ""}, "--sort takes a column"},
    };
    for (const auto &row : rows)
        expectRefused(row.arguments, row.reason);
    EXPECT_EQ(mkfifo(QDir(work).filePath("fifo").toUtf8().constData(), 0600), 0);
    expectRefused({"a", "fifo"}, "cannot read 'fifo', a FIFO that nobody writes");
    ASSERT_TRUE(obeyPermissions());
    write("secret", "1\n");
    chmod(QDir(work).filePath("secret").toUtf8().constData(), 0);
    expectRefused({"a", "secret"}, "cannot read 'secret'");
}

TEST_F(DiffTest, RefusesPatternsThatDoNotCompile)
{
    for (const char *const option : {"--skip", "--from", "--to"}) {
        const Outcome outcome = run({"diff", "a", "b", option, "(x"});
        EXPECT_EQ(outcome.output, "");
        EXPECT_TRUE(outcome.errors.startsWith(QByteArray("talmo: diff: ") + option + ": "))
            << outcome.errors.toStdString();
        EXPECT_EQ(outcome.errors.count('\n'), 1);
        EXPECT_EQ(outcome.status, 2);
    }
}

TEST_F(DiffTest, NeedsNoMemoryForLargeFiles)
{
    if (isSanitized)
        GTEST_SKIP() << "limits of memory do not go with sanitizers";
    limitMemory();
    const Outcome outcome =
        shell("seq 1 3000000 | \"$TALMO\" diff - <(seq 1 3000000) 0 --skip '[13579]$' "
              "&& head -c 400000000 /dev/zero | \"$TALMO\" diff - a");
    EXPECT_EQ(outcome.output, "Files '-' and '/dev/fd/63' agree: 1500000 lines, 1 column\n");
    EXPECT_EQ(outcome.errors, "talmo: diff: cannot read 'standard input'\n");
    EXPECT_EQ(outcome.status, 2);
}

TEST_F(DiffTest, TheSessionsOfTheManualAreTrue)
{
    addProgram("talmo", "exec '" + driver.toUtf8() + "' \"$@\"\n");
    EXPECT_EQ(expectSessions(MANUAL_OF_DIFF, environment, work, folder.path()), 3);
}

TEST_F(DiffTest, KnowsTheNumbersOfLinesInLargeFiles)
{
    QByteArray one;
    QByteArray other;
    for (int line = 1; line <= 200000; ++line) { // several blocks
        one += QByteArray::number(line) + "\n#\n";
        other += (line % 3 == 0 ? "# out\n" : "") + QByteArray::number(line) + "\n";
    }
    write("c", one + "1\n");
    write("d", other + "2\n");
    expectReason({"c", "d", "0", "--skip", "^#"},
        "1 of 200001 lines differs; column 1 is the worst, by 1 on lines 400001 and 266667 with "
        "the tolerance 0");
    write("c", "7\n" + one);
    write("d", "8\n" + other);
    expectReason({"c", "d", "0", "--skip", "^#"},
        "1 of 200001 lines differs; column 1 is the worst, by 1 on line 1 with the tolerance 0");
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
