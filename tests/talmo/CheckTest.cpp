// talmo check

#include "CompanionTest.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

namespace
{

class CheckTest : public CompanionTest
{
protected:
    /// Expects that `talmo check` with \a arguments finds \a findings in \a text.
    void expectFindings(
        const QByteArray &text, const QByteArray &findings, const QStringList &arguments = {})
    {
        SCOPED_TRACE(text.constData());
        write("in", text);
        const Outcome outcome = run(QStringList("check") + arguments + QStringList("in"));
        EXPECT_EQ(outcome.output, findings);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, findings.isEmpty() ? 0 : 1);
    }
};

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

/// The decks in \a script, a script of the driver: the bodies of its files NAME.in
/// and NAME.deck.
QList<QByteArray> decksOf(const QByteArray &script)
{
    QList<QByteArray> decks;
    bool isDeck = false;
    for (const QByteArray &line : script.split('\n')) {
        if (line.startsWith('=')) {
            const QByteArray name = line.trimmed();
            isDeck = line.startsWith("=file ") && (name.endsWith(".in") || name.endsWith(".deck"));
            if (isDeck)
                decks += QByteArray();
        } else if (isDeck) {
            decks.last() += line + '\n';
        }
    }
    return decks;
}

/// The decks in \a manual: in indented blocks, those that are scripts,
/// and those that read a beam.
QList<QByteArray> decksIn(const QByteArray &manual)
{
    QList<QByteArray> decks;
    QByteArray block;
    for (const QByteArray &line : manual.split('\n')) {
        if (line.startsWith("    ")) {
            block += line.mid(4) + '\n';
            continue;
        }
        if (block.startsWith('='))
            decks += decksOf(block);
        else if (("\n" + block).contains("\nbeam "))
            decks += block;
        block.clear();
    }
    return decks;
}

} // namespace

TEST_F(CheckTest, NamesUnknownUnits)
{
    expectFindings("drift 5mm 3\nquad 5Mev 3parsec\n\xC3\xA9 3m/s",
        "in:2:7: unknown unit 'Mev' (did you mean MeV?)\n"
        "in:2:12: unknown unit 'parsec'\n"
        "in:3:4: unknown unit 'm/s' (did you mean mps?)\n");
    expectFindings("BPM12a 2nd 0x10 1e5 file1abc.txt\n", "");
}

TEST_F(CheckTest, NamesNumbersThatTextsOfMacrosMakeAmbiguous)
{
    expectFindings("a 1,$y\n$w 5,1mm\n",
        "in:1:3: '1,024m' may be one number or several\n"
        "in:2:1: '1,024m' may be one number or several\n",
        {"-D", "y=024m", "-D", "w=1,024m"});
}

TEST_F(CheckTest, NamesUndefinedMacros)
{
    expectFindings("a $b c ${d} ${e++} ${2*f+1} ${2*$g}\n", "in:1:3: undefined macro 'b'\n"
                                                            "in:1:8: undefined macro 'd'\n"
                                                            "in:1:13: undefined macro 'e'\n"
                                                            "in:1:24: unknown name 'f'\n"
                                                            "in:1:33: undefined macro 'g'\n");
    expectFindings("$b ${2*b}\n", "", {"-D", "b=1"});
    write("definitions", "define b 5mm\n");
    expectFindings("$b ${2*b;mm}\n", "", {"--definitions", "definitions"});
}

TEST_F(CheckTest, NamesReferencesThatAreNeverClosed)
{
    expectFindings("a ${x b ${y} 3parsec ${2*3mm\n${\n", "in:1:3: '${' is never closed\n"
                                                         "in:1:9: undefined macro 'y'\n"
                                                         "in:1:15: unknown unit 'parsec'\n"
                                                         "in:1:22: '${' is never closed\n"
                                                         "in:2:1: '${' is never closed\n");
}

TEST_F(CheckTest, NamesWhatIsWrongInExpressions)
{
    expectFindings("${1,5} ${(1+2} ${2---3} ${%q;1;} ${1mm;parsec} ${}\n",
        "in:1:4: ',' outside of the call of a function\n"
        "in:1:10: '(' is never closed\n"
        "in:1:21: two minus signs in a row\n"
        "in:1:27: invalid format '%q'\n"
        "in:1:40: unknown unit 'parsec'\n"
        "in:1:48: undefined macro ''\n");
    // Several in one expression.
    expectFindings("${3parsec+4Mev+nosuch;mm}\n",
        "in:1:4: unknown unit 'parsec'\n"
        "in:1:12: unknown unit 'Mev' (did you mean MeV?)\n"
        "in:1:16: unknown name 'nosuch'\n");
}

TEST_F(CheckTest, NamesWhatOnlyAnEvaluationShows)
{
    expectFindings("${1mm+2MeV} 5 ${3s+1mm;ns} ${2mm;MeV} ${1mm+2cm}\n",
        "in:1:1: Units Conversion Error from MeV to mm\n"
        "in:1:15: Units Conversion Error from mm to s\n"
        "in:1:28: Units Conversion Error from mm to MeV\n");
    // Also beside what was found without.
    expectFindings("${1mm+2MeV} $nosuch\n", "in:1:1: Units Conversion Error from MeV to mm\n"
                                            "in:1:13: undefined macro 'nosuch'\n");
}

TEST_F(CheckTest, NamesNothingTwice)
{
    expectFindings("${1*3parsec} $a $a\n", "in:1:6: unknown unit 'parsec'\n"
                                           "in:1:14: undefined macro 'a'\n"
                                           "in:1:17: undefined macro 'a'\n");
    // Digits that take the place of a name make no other name.
    expectFindings("${x$a} ${$a} ${$a$b} ${$b$a+1}\n",
        "in:1:4: undefined macro 'a'\n"
        "in:1:10: undefined macro 'a'\n"
        "in:1:16: undefined macro 'a'\n"
        "in:1:26: undefined macro 'a'\n",
        {"-D", "b=5"});
    expectFindings("${3mm${b}}\n",
        "in:1:6: the text of 'b' begins with '5mm', which joins with '3mm' before it\n",
        {"-D", "b=5mm+1"});
    // What is wrong with a macro is named where it is defined.
    expectFindings("define a 3parsec\ndefine b 2*$a\n$a ${b} ${2*a} ${2*$b+nosuch}\n",
        "in:1:11: unknown unit 'parsec'\n"
        "in:3:23: unknown name 'nosuch'\n");
    expectFindings("define a ${1mm+1s}\n$a\ndefine a 5\n$a\n",
        "in:1:10: Units Conversion Error from s to mm\n");
}

TEST_F(CheckTest, LooksAtWhatTheTextsOfMacrosMake)
{
    const QStringList macros = {"-D", "x=5Mev", "-D", "y=Mev", "-D", "n=5", "-D", "m=M", "-D",
        "both=3parsec 4km 6Mev", "-D", "name=BPM12a", "-D", "k=9"};
    const QByteArray mev = " unknown unit 'Mev' (did you mean MeV?)\n";
    expectFindings("drift $x\n", "in:1:7:" + mev, macros);
    expectFindings("gap 5$y 5${y} $n$y ${n}Mev 6Mev\n",
        "in:1:6:" + mev + "in:1:10:" + mev + "in:1:17:" + mev + "in:1:24:" + mev + "in:1:29:" + mev,
        macros);
    expectFindings("\xC3\xA4 ${$n+1}$y ${%.1f;1+1}Mev ${3*2}km\n",
        "in:1:10:" + mev + "in:1:24:" + mev, macros);
    expectFindings("$both\n", "in:1:1: unknown unit 'parsec'\nin:1:1:" + mev, macros);
    expectFindings("${k++}$y $k ${n}${m}ev\n",
        "in:1:7:" + mev + "in:1:17: unknown unit 'Mev' (did you mean MeV?)\n", macros);
    expectFindings("5${m}eV ${n}mm $name cell_$k.dat ${k}th ${n}D 0x$k x$x\n", "", macros);
    // Beside other mistakes, and where a macro is defined of it.
    expectFindings("$nosuch $x ${1m+1s} 5$y\n",
        "in:1:1: undefined macro 'nosuch'\nin:1:9:" + mev +
            "in:1:12: Units Conversion Error from s to m\nin:1:22:" + mev,
        macros);
    expectFindings("define z 2*$x\n$z\n", "in:1:12:" + mev, macros);
    expectFindings("${2*$x}\n", "in:1:5:" + mev, macros);
}

TEST_F(CheckTest, NamesWhatIsNotFiniteAndWhatJoins)
{
    expectFindings("a ${1/(1/$z)} ${0==$z?1:1/$z} ${$x-3}\n",
        "in:1:9: the result of '/' is infinite\n"
        "in:1:33: the text of 'x' ends in '1e', which joins with '-3' behind it\n",
        {"-D", "z=0", "-D", "x=1e"});
    expectFindings("${(1e400)} ${2*5mm;}\n", "in:1:4: the number '1e400' is too large\n"
                                             "in:1:12: Units Conversion Error from mm to (none)\n");
}

TEST_F(CheckTest, CountsAsTheExpansionDoes)
{
    write("in", "a_${n++} $nosuch\n"
                "b_${n++}\n"
                "c_${n++} ${1m+1s} ${n++}\n"
                "d_${n++} ${2*${n++}*}\n"
                "e_${n} ${x$n}\n");
    const QStringList macros = {"-D", "n=7"};
    EXPECT_EQ(run(QStringList("check") + macros + QStringList("in")).output,
        "in:1:10: undefined macro 'nosuch'\n"
        "in:3:10: Units Conversion Error from s to m\n"
        "in:4:20: an operand is missing behind '*'\n"
        "in:5:8: undefined macro 'x13'\n");
    EXPECT_EQ(run(QStringList("expand") + macros + QStringList{"-D", "x13=ok", "in"}).output,
        "\nb_8\n\n\ne_13 ok\n");
    write("in", "a_${n++} \nb_${n++}\nc_${n++} ${1m+1m} ${n++}\nd_${n++} ${2*${n++}}\ne_${n}\n");
    EXPECT_EQ(run(QStringList("expand") + macros + QStringList("in")).output,
        "a_7 \nb_8\nc_9 2m 10\nd_11 24\ne_13\n");
}

TEST_F(CheckTest, DefinitionsCountFromWhereTheyStand)
{
    expectFindings("$a\ndefine a 5\n$a\ndefine a $a 6\n$a\n", "in:1:1: undefined macro 'a'\n");
    expectFindings("define\ndefine a-b 5\ndefine a\n$a\n",
        "in:1:7: no definition, 'define NAME TEXT'\n"
        "in:2:8: 'a-b' is no name of a macro\n");
    expectFindings("define a $a\n", "in:1:10: undefined macro 'a'\n");
    // A definition without a name makes nothing of what follows a use of it.
    expectFindings("define\ndrift ${(1+2}\ndrift ${2*}\n",
        "in:1:7: no definition, 'define NAME TEXT'\n"
        "in:2:9: '(' is never closed\n"
        "in:3:10: an operand is missing behind '*'\n");
}

TEST_F(CheckTest, LooksNoFurtherWhereMacrosGrowTooLong)
{
    const QString a = QStringLiteral("a=") + QString(200, '1');
    const QString b = QStringLiteral("b=") + QStringLiteral("$a").repeated(100);
    const QString c = QStringLiteral("c=") + QStringLiteral("$b").repeated(100);
    expectFindings("x $c $c $nosuch\n$nosuch\n",
        "in:1:3: macro 'c' grows too long\n"
        "in:1:16: there may be more mistakes in this line\n"
        "in:2:1: undefined macro 'nosuch'\n",
        {"-D", a, "-D", b, "-D", c});
}

TEST_F(CheckTest, DefinitionsEndWithTheirFile)
{
    write("a", "define x 5\ndefine y 5\n$x $y\n");
    write("b", "$x $y\n");
    const Outcome outcome = run({"check", "-D", "y=1", "a", "b", "a"});
    EXPECT_EQ(outcome.output, "b:1:1: undefined macro 'x'\n");
    EXPECT_EQ(outcome.status, 1);
}

TEST_F(CheckTest, CountersCountFromLineToLine)
{
    expectFindings("define x10 5\ndefine n 8\n${n++} ${n++}\n${x$n}\n$n\n", "");
    expectFindings("define n 8\n${n++}\n${n++}\n${x$n}\n", "in:4:1: undefined macro 'x10'\n");
    // Also in a line with mistakes.
    expectFindings("define n 8\n${n++} $nosuch ${1mm+1s} ${n++}\n${x$n}\n",
        "in:2:8: undefined macro 'nosuch'\n"
        "in:2:16: Units Conversion Error from s to mm\n"
        "in:3:1: undefined macro 'x10'\n");
    expectFindings("define n 1\n${n++} ${x${n++}}\n", "in:2:10: unknown name 'x2'\n");
}

TEST_F(CheckTest, NamesCircles)
{
    expectFindings(
        "$a\n", "in:1:1: macro 'a' refers to itself: a -> b -> a\n", {"-D", "a=$b", "-D", "b=$a"});
}

TEST_F(CheckTest, LooksAtNoComments)
{
    expectFindings(
        "# 3parsec $nosuch ${\n  # $nosuch\nx # $nosuch\n", "in:3:5: undefined macro 'nosuch'\n");
}

TEST_F(CheckTest, EndsWithAnyLine)
{
    const QByteArray all = QByteArray("$a ${3parsec} ").repeated(5000);
    write("in", all);
    const Outcome outcome = run({"check", "in"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.output.count('\n'), 101);
    EXPECT_TRUE(outcome.output.endsWith(": there may be more mistakes in this line\n"));
}

TEST_F(CheckTest, FindsNothingInOurDecks)
{
    QList<QByteArray> decks;
    for (const char *const suiteName : {"test", "examples/mpi/suite"}) {
        const QDir suite(PROJECT + QStringLiteral("/") + suiteName);
        for (const QString &name : suite.entryList(QDir::Files)) {
            if (name != "test19_bad_decks")
                decks += decksOf(contentOf(suite.filePath(name)));
        }
    }
    EXPECT_GT(decks.size(), 30);
    const QList<QByteArray> shown = decksIn(contentOf(PROJECT + QStringLiteral("/README.md")));
    EXPECT_EQ(shown.size(), 1);
    decks += shown;
    QStringList names;
    for (const QByteArray &deck : decks) {
        names += QStringLiteral("deck%1").arg(names.size());
        write(names.last(), deck);
    }
    expectSuccess(QStringList("check") + names, "");
}

TEST_F(CheckTest, FindsWhatIsWrongInOurBadDecks)
{
    QByteArray all;
    for (const QByteArray &deck :
        decksOf(contentOf(PROJECT + QStringLiteral("/test/test19_bad_decks")))) {
        write("in", deck);
        all += run({"check", "in"}).output;
    }
    EXPECT_EQ(all, "in:2:12: unknown unit 'parsec'\n"
                   "in:2:10: unknown name 'cell'\n"
                   "in:2:15: an operator is missing before '500'\n"
                   "in:2:9: unknown unit 'cells'\n"
                   "in:3:7: undefined macro 'cell'\n"
                   "in:2:7: '${' is never closed\n");
}

TEST_F(CheckTest, RefusesWhatItCannotReadBeforeAnythingElse)
{
    write("bad", "$nosuch\n");
    QDir(work).mkdir("folder");
    expectWrongCall(
        {"check", "bad", "none"}, "talmo: check: cannot read 'none': No such file or directory\n");
    expectWrongCall(
        {"check", "bad", "folder"}, "talmo: check: cannot read 'folder': Is a directory\n");
    expectWrongCall({"check", "-D", "a", "bad", "none"},
        "talmo: check: cannot read 'none': No such file or directory\n");
    expectWrongCall({"check"}, "talmo: check: a file is missing\n");
    expectWrongCall({"check", "--definitions", "-", "bad", "-"},
        "talmo: check: standard input cannot be both definitions and text\n");
    expectWrongCall(
        {"check", "-D", "a", "bad"}, "talmo: check: 'a' is no definition, 'NAME=TEXT'\n");
}
