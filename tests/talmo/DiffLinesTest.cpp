// talmo diff: which lines are compared, and as what

#include "DiffFixture.h"

#include <QJsonArray>
#include <QJsonObject>

namespace
{

using DiffLinesTest = DiffFixture;

} // namespace

TEST_F(DiffLinesTest, LeavesLinesOut)
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

TEST_F(DiffLinesTest, MatchesCharactersAndNotBytes)
{
    write("c", "caf\xC3\xA9\n1\n\xFF made\n");
    write("d", "1\n");
    for (const char *const cafe : {"f\xC3\xA9", "^caf.$"}) {
        for (const char *const damaged : {"made", "\xEF\xBF\xBD", "^. m"}) {
            expectAgreement(
                {"c", "d", "--skip", QString::fromUtf8(cafe), "--skip", QString::fromUtf8(damaged)},
                "1 line");
        }
    }
    expectReason({"c", "d", "--skip", "^caf..$", "--skip", "made"}, // two bytes, one character
        "1 of 1 line differs, first line 1; 'd' lacks the last line of 'c', line 2");
}

TEST_F(DiffLinesTest, NothingLeftIsNoAgreement)
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

TEST_F(DiffLinesTest, ComparesWhatIsBetweenHeadings)
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

TEST_F(DiffLinesTest, TakesALineForTheEndOfABlockAndTheBeginningOfTheNext)
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

TEST_F(DiffLinesTest, CutsColumnsOfFixedWidths)
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

TEST_F(DiffLinesTest, CutsBehindWholeCharacters)
{
    write("c", "1 \xC3\xA9 2\n"); // the second field ends with two bytes
    write("d", "1 \xC3\xA9 3\n");
    expectReason({"c", "d", "--widths", "1,2,2", "0", "-1", "0"},
        "1 of 1 line differs; column 3 is the worst, by 1 on line 1 with the tolerance 0");
    const Outcome outcome = run({"diff", "c", "d", "--widths", "1,2,2", "0", "-1", "0"});
    EXPECT_TRUE(outcome.output.contains("\n  1: 1 \xC3\xA9 2\n         ^\n"))
        << outcome.output.toStdString();
}

TEST_F(DiffLinesTest, SortsLines)
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

TEST_F(DiffLinesTest, CanIgnoreExtraLines)
{
    write("c", "1\n2\n");
    write("d", "1\n2\n3\n4\n");
    expectAgreement({"c", "d", "--ignore-extra-lines"}, "2 lines; 2 lines more of 'd' ignored");
    expectAgreement(
        {"d", "c", "0", "--ignore-extra-lines"}, "2 lines, 1 column; 2 lines more of 'd' ignored");
    write("e", "1\n3\n4\n");
    expectReason({"c", "e", "--ignore-extra-lines"}, "1 of 2 lines differs, first line 2");
}

TEST_F(DiffLinesTest, KnowsTheNumbersOfLinesInLargeFiles)
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

TEST_F(DiffLinesTest, KnowsTheNumbersOfAllLinesThatAreTold)
{
    constexpr int most = 10000; // that are told
    const QByteArray rest = ' ' + QByteArray(150, 'x') + '\n';
    QByteArray one;
    QByteArray other;
    QJsonArray places;
    for (int line = 1; line <= most; ++line) { // several blocks
        one += QByteArray::number(line) + rest + (line % 5 == 0 ? "#\n" : "");
        other += (line % 3 == 0 ? "#\n" : "") + QByteArray::number(-line) + rest;
        places += QJsonArray{line + (line - 1) / 5, line + line / 3};
    }
    write("c", one);
    write("d", other);
    QJsonArray told;
    for (const QJsonValue &line :
        document({"c", "d", "0", "--skip", "^#", "--lines", QString::number(most)})["firstLines"]
            .toArray())
        told += line.toObject()["at"];
    EXPECT_TRUE(told == places); // which is too long to be printed
}
