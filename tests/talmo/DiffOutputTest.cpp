// talmo diff: how it looks, on a terminal, as JSON, and as a picture

#include "DiffFixture.h"

#include <QJsonArray>
#include <QJsonObject>

namespace
{

using DiffOutputTest = DiffFixture;

} // namespace

TEST_F(DiffOutputTest, ShowsAsManyLinesAsAreAskedFor)
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

TEST_F(DiffOutputTest, BringsWordsFarBehindIntoSight)
{
    QByteArray front;
    for (int word = 0; word < 100; ++word)
        front += "11111 ";
    write("c", front + "5 " + front + "\n");
    write("d", front + "6 " + front + "\n");
    const Outcome outcome = run({"diff", "c", "d", "--columns", "101"});
    EXPECT_TRUE(outcome.output.contains("\n  1: ... 5 11111")) << outcome.output.toStdString();
    EXPECT_TRUE(outcome.output.contains("\n         ^\n  2: ... 6 11111"));
    const QByteArray words = outcome.output.split('\n').value(6);
    EXPECT_TRUE(words.startsWith("  1: ... 5 11111 ") && words.endsWith(" ..."))
        << words.toStdString();
    EXPECT_LE(words.size(), 210);
}

TEST_F(DiffOutputTest, ShowsNothingThatATerminalWouldObey)
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

TEST_F(DiffOutputTest, UsesColoursOnlyOnATerminal)
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

TEST_F(DiffOutputTest, ComparesBytesWithTheSystemsDiff)
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
    expectDifferent({"b", "crlf"},
        "Files 'b' and 'crlf' differ at line 3\n"
        "\n"
        "--- b\n+++ crlf\n@@ -1,3 +1,3 @@\n # x y z\n 1 2 3\n-4 5.5 6.001\n+4 5 6\n"
        "\n"
        "1 of 3 lines differs, first line 3\n");
    expectDifferent({"a", "b", "--lines", "0"},
        "Files 'a' and 'b' differ at line 3\n\n1 of 3 lines differs, first line 3\n");
    write("-o", "x\n");
    expectDifferent({"--", "-o", "a"},
        "Files '-o' and 'a' differ at line 1\n\n'-o' lacks the last 2 lines of 'a', from line 2 "
        "on\n"
        "\n--- -o\n+++ a\n@@ -1 +1,3 @@\n-x\n+# x y z\n+1 2 3\n+4 5 6\n"
        "\n1 of 1 line differs, first line 1; '-o' lacks the last 2 lines of 'a', from line 2 "
        "on\n");
}

TEST_F(DiffOutputTest, BoundsWhatDiffPrints)
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

TEST_F(DiffOutputTest, DoesWithoutDiff)
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

TEST_F(DiffOutputTest, WritesJson)
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

TEST_F(DiffOutputTest, DrawsTheColumnsThatDiffer)
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
    write("a", "1\nnan\n");
    EXPECT_EQ(run({"diff", "a", "a", "0", "--plot", "q.svg"}).errors, same.errors); // no numbers
}
