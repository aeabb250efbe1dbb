// talmo expand

#include "FilterFixture.h"
#include "talmo/Error.h"
#include "talmo/Macro.h"

#include <random>

#include <sys/stat.h>

using ExpandTest = FilterFixture;

TEST_F(ExpandTest, ReplacesReferencesLineByLine)
{
    expectFiltered({"expand", "-D", "x=3mm", "-D", "n=9"},
        "$x ${2*$x} ${%.3f;1in/3;mm}\r\n${n++} ${n++}, ${n++}\ncosts 5 $\n\nend $x",
        "3mm 6mm 8.467\r\n9 10, 11\ncosts 5 $\n\nend 3mm");
    expectFiltered({"expand", "-D", "x=1"}, "\xEF\xBB\xBF$x",
        "\xEF\xBB\xBF"
        "1");
    expectFiltered({"expand", "-D", "x=1"}, QByteArray("\0$x\0\xFF\xC3$x\r \xC3\xA4\n", 13),
        QByteArray("\0"
                   "1\0\xFF\xC3"
                   "1\r \xC3\xA4\n",
            11));
    expectFiltered({"expand"}, "", "");
}

TEST_F(ExpandTest, ReadsFilesOneAfterTheOther)
{
    write("a", "a $x\n");
    write("b", "b ${n++}");
    expectSuccess({"expand", "a", "b", "b", "-D", "x=1", "-D", "n=1"}, "a 1\nb 1b 2");
    expectSuccess({"expand", "a", "b", "-o", "c", "-D", "x=1", "-D", "n=1"}, "");
    EXPECT_EQ(read("c"), "a 1\nb 1");
    expectFiltered({"expand", "a", "-", "-D", "x=1"}, "in $x\n", "a 1\nin 1\n");
    EXPECT_EQ(entries(), QStringList({"a", "b", "c", "input"}));
}

TEST_F(ExpandTest, ShowsAGapAndLeavesTheOutputAlone)
{
    write("a", "${1m+1s}\n");
    write("b", "$x $nosuch\n${2*3}\n");
    write("c", "mine\n");
    const QByteArray errors = "a:1:1: Units Conversion Error from s to m\n"
                              "b:1:4: undefined macro 'nosuch'\n";
    Outcome outcome = run({"expand", "a", "b", "-D", "x=1"});
    EXPECT_EQ(outcome.output, "\n\n6\n");
    EXPECT_EQ(outcome.errors, errors);
    EXPECT_EQ(outcome.status, 1);
    outcome = run({"expand", "a", "b", "-D", "x=1", "-o", "c"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, errors);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(read("c"), "mine\n");
}

TEST_F(ExpandTest, RefusesWrongCalls)
{
    write("a", "$x\n");
    expectWrongCall({"expand", "-x"}, "talmo: expand: unknown option 'x'\n");
    expectWrongCall(
        {"expand", "none"}, "talmo: expand: cannot read 'none': No such file or directory\n");
    expectWrongCall({"expand", "--definitions", "-"},
        "talmo: expand: standard input cannot be both definitions and text\n");
    expectWrongCall({"expand", "-D", "x y=1", "a"},
        "talmo: expand: 'x y' is no name of a macro, which has letters, digits and '_'\n");
}

TEST_F(ExpandTest, TakesDefinitionsFromFilesAndThenFromOptions)
{
    write("defs", "define x 1mm\n# comment\n\ndefine y $x+2mm\r\n  define z\n");
    write("more", "define x 5\n");
    write("a", "$x,$y,$z\n");
    expectSuccess({"expand", "--definitions", "defs", "a"}, "1mm,1mm+2mm,\n");
    // What the file computes follows the option, and it may refer to what only the option defines.
    expectSuccess({"expand", "-D", "x=7", "--definitions", "defs", "--definitions", "more", "a"},
        "7,7+2mm,\n");
    expectSuccess(
        {"expand", "--definitions", "defs", "--definitions", "more", "a"}, "5,1mm+2mm,\n");
    write("half", "define half ${0.5*$cell}\n");
    expectFiltered({"expand", "-D", "cell=3mm", "--definitions", "half"}, "$half\n", "1.5mm\n");
    expectFiltered(
        {"expand", "--definitions", "-", "a"}, "define x 3\ndefine y 4\ndefine z 5\n", "3,4,5\n");
    write("wrong", "define 2x+ 1\nx = 3\ndefine\ndefine a $nosuch\n");
    const Outcome outcome = run({"expand", "--definitions", "wrong", "a"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "wrong:1:8: '2x+' is no name of a macro\n"
                              "wrong:2:1: no definition, 'define NAME TEXT'\n"
                              "wrong:3:7: no definition, 'define NAME TEXT'\n"
                              "wrong:4:10: undefined macro 'nosuch'\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(ExpandTest, RefusesWhatWouldGoOnWithoutEnd)
{
    const QStringList circle = {"-D", "a=$b", "-D", "b=x$a"};
    for (const QStringList &more : {QStringList(), QStringList("--lenient")})
        expectFiltered(QStringList("expand") + more + circle, "is $a\nend\n", "\nend\n",
            "-:1:4: macro 'a' refers to itself: a -> b -> a\n");
}

TEST_F(ExpandTest, LenientlyIsTheLibrary)
{
    const Outcome outcome =
        filter("$nosuch\n${1+nosuch} ${1 + 2}\n${600,/2}\n", {"expand", "--lenient"});
    EXPECT_EQ(outcome.output, "\n1 1\n300\n");
    EXPECT_EQ(outcome.errors, "Error: Syntax Error Undefined macro 'nosuch', at line 1\n"
                              "       line: $nosuch\n"
                              "Error: Syntax Error X:Syntax error in '1+nosuch', at line 2\n"
                              "       line: ${1+nosuch} ${1 + 2}\n"
                              "Error: Syntax Error D:Syntax Error in '1 + 2', at line 2\n"
                              "       line: ${1+nosuch} ${1 + 2}\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(ExpandTest, LenientlyIsTheLibraryToTheByte)
{
    std::mt19937_64 random(7);
    const QList<QByteArray> pieces = {"$", "$a", "$b", "${", "${a}", "${c", "${n++}", "{", "}", "}",
        "+", "3", "2mm", ";", ";mm}", "%g;", " ", "a", "b", "\xC3\xA4", "${1m+1s}"};
    Talmo::Error::handler = [](const QString &) {};
    Talmo::Macro::hash = {{"a", "2"}, {"b", "1+$a"}, {"c", "x"}, {"n", "9"}};
    QByteArray input;
    QByteArray expected;
    for (int count = 0; count < 2000; ++count) {
        QByteArray line;
        for (auto left = 1 + random() % 8; left > 0; --left)
            line += pieces[static_cast<int>(random() % static_cast<size_t>(pieces.size()))];
        input += line + '\n';
        expected += Talmo::Macro::expand(QString::fromUtf8(line)).toUtf8() + '\n';
    }
    Talmo::Macro::hash.clear();
    Talmo::Error::handler = nullptr;
    const Outcome outcome = filter(
        input, {"expand", "--lenient", "-D", "a=2", "-D", "b=1+$a", "-D", "c=x", "-D", "n=9"});
    EXPECT_EQ(outcome.output, expected);
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(ExpandTest, EndsQuietlyWithThePipe)
{
    expectQuietEnd("yes '${1+1}'", {"expand"});
}

TEST_F(ExpandTest, TakesFilesOfAnySizeInLittleMemory)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizers need more memory than that";
    limitMemory();
    const Outcome outcome = runShell(
        R"((yes 'text without a reference' | head -c 260000000; echo '$x') | "$0" "$@" | tail -c 32)",
        {"expand", "-D", "x=1"});
    EXPECT_EQ(outcome.output, "ence\ntext without a reference\n1\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(ExpandTest, TakesALineOfAHundredMegabytes)
{
    if (isSanitized)
        GTEST_SKIP() << "under the sanitizers this would take minutes";
    const Outcome outcome =
        runShell(R"((head -c 100000000 /dev/zero | tr '\0' a; echo ' $x') | "$0" "$@" | tail -c 8)",
            {"expand", "-D", "x=12"});
    EXPECT_EQ(outcome.output, "aaaa 12\n");
    EXPECT_EQ(outcome.errors, "");
}

TEST_F(ExpandTest, SaysThatNobodyWritesAFifo)
{
    ASSERT_EQ(mkfifo((work + "/fifo").toUtf8(), 0600), 0);
    const Outcome outcome = run({"expand", "fifo"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "talmo: expand: cannot read 'fifo', a FIFO that nobody writes\n");
    EXPECT_EQ(outcome.status, 1);
}
