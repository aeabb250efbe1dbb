#include "FlawRows.h"
#include "talmo/Flaw.h"

using Row = FlawRow;
using Talmo::Error;
using Talmo::Flaw;
using Talmo::flawOfLine;
using Talmo::Macro;

namespace
{

class FlawOfLine : public FlawTest
{
protected:
    static void expect(const QList<Row> &rows) { FlawTest::expect(flawOfLine, rows); }

    /// Rows that the expansion itself reports.
    static void expectReported(const QList<Row> &rows)
    {
        FlawTest::expect(flawOfLine, rows, /*isReported=*/true);
        for (const Row &row : rows) {
            SCOPED_TRACE(row.text.toStdString());
            Macro::hash = row.macros;
            const qint64 before = Error::reported();
            Macro::expand(row.text);
            EXPECT_GT(Error::reported(), before);
        }
        printed();
    }
};

} // namespace

TEST_F(FlawOfLine, IsNoneWhereAllIsWell)
{
    const Macro::Table macros = {{"a", "5mm"}, {"sum", "1+2"}, {"n", "9"}, {"cell_9", "3mm"},
        {"cell_10", "4mm"}, {"half", "$a/2"}, {"quarter", "${0.5*$half}"}, {"e", ""}};
    for (const char *text : {"", "quad 3 4", "1 + nosuch {x}", "5$ $ $-", "$a", "${a}$sum", "$half",
             "${2*$half;mm}", "${2*a}", "${%.3f;a/3;mm} ${$sum}", "${n++} ${n++} ${n}",
             "${cell_${n}} ${2*cell_${n++}} ${2*cell_${n++};mm}", "$quarter", "$e${e}",
             "${%g$;5} {x}", "${%%%g;1;}", "${-1}", "}{"})
        expect({{text, macros}});
    expect({{"${}", {{"", "${1+1}"}}}});
}

TEST_F(FlawOfLine, ExpressionsAreWalkedOver)
{
    const Macro::Table macros = {{"bad", "2*"}, {"good", "2"}, {"neg", "-3"}};
    expect({
        {"drift ${2*}", macros, "an operand is missing behind '*'", 9, 1},
        {"drift ${1+1};${2 }", macros, "' ' has no meaning here", 16, 1},
        {"${%.3f;(nosuch)5;mm}", macros, "unknown name 'nosuch'", 8, 6},
        {"${;mm}", macros, "there is no expression", 2, 0},
        {"${%g;}", macros, "there is no expression", 5, 0},
        {"${%g;;mm}", macros, "there is no expression", 5, 0},
        {"${$}", macros, "'$' has no meaning here", 2, 1},
        {"${5$}", macros, "'$' has no meaning here", 3, 1},
        {"${3;parsec}", macros, "unknown unit 'parsec'", 4, 6},
        {"${3+;parsec}", macros, "unknown unit 'parsec'", 5, 6},
        {"${3;mm;}", macros, "';' has no meaning here", 3, 1},
        // In the text of a macro, the reference is what is wrong.
        {"x ${1+$bad+2}", macros, "an operand is missing before '+'", 10, 1},
        {"x ${1+$bad}", macros, "an operand is missing behind '*'", 6, 4},
        {"x ${1+${bad}}", macros, "an operand is missing behind '*'", 6, 6},
        {"x ${1+bad}", macros, "an operand is missing behind '*'", 6, 3},
        {"x ${10+-$neg}", macros, "two minus signs in a row", 8, 4},
        {"${($good).5.5}", macros, "an operator is missing before '.5'", 9, 2},
        {"$line ${2*}", {{"line", "${1+}"}}, "an operand is missing behind '+'", 0, 5},
        {"x ${line}", {{"line", "${2*$u}"}, {"u", "3parsec"}}, "'$' has no meaning here", 2, 7},
        {"x $line", {{"line", "${2*$u}"}, {"u", "3parsec"}}, "unknown unit 'parsec'", 2, 5},
        {"${2*$x;$u}", {{"x", "1mm"}, {"u", "parsec"}}, "unknown unit 'parsec'", 7, 2},
    });
    Macro::hash = macros;
    EXPECT_EQ(flawOfLine("x ${%g;2+$bad;mm}").expression, "2+2*");
}

TEST_F(FlawOfLine, TextsOfMacrosMustNotJoinWithWhatStandsBesideThem)
{
    const Macro::Table macros = {{"e", "1e"}, {"two", "2"}, {"none", ""}, {"mm", "mm"}, {"k", "k"},
        {"n", "9"}, {"times", "2*"}, {"neg", "-3"}, {"sign", "-"}, {"eq", "=2"}, {"sin", "sin"},
        {"x_9", "1"}, {"deep", "$two"}, {"inner", "(1${none}2)"}, {"m", "m"}, {"exp", "e-3"}};
    const auto ends = [](const char *name, const char *one, const char *other) {
        return QString("the text of '%1' ends in '%2', which joins with '%3' behind it")
            .arg(name, one, other);
    };
    const auto begins = [](const char *name, const char *one, const char *other) {
        return QString("the text of '%1' begins with '%2', which joins with '%3' before it")
            .arg(name, one, other);
    };
    const QString empty = "'1' and '2' join, for the text between them is empty";
    const QString missing = "an operand is missing before '-'";
    expect({
        {"x ${2*$e-3}", macros, ends("e", "1e", "-3"), 6, 2},
        {"${$e-$two}", macros, ends("e", "1e", "-2"), 2, 2},
        {"${(1$two)}", macros, begins("two", "2", "1"), 4, 4},
        {"${${two}0;mm}", macros, ends("two", "2", "0"), 2, 6},
        {"${(${n++}0)}", macros, ends("n", "9", "0"), 3, 6},
        {"${1+$two$two}", macros, ends("two", "2", "2"), 4, 4},
        {"${1+$deep.5}", macros, ends("two", "2", ".5"), 4, 5},
        {"${2$exp}", macros, begins("exp", "e-3", "2"), 3, 4},
        {"${(5$k$m)}", macros, ends("k", "5k", "m"), 4, 2},
        {"${(5m$m)}", macros, begins("m", "m", "5m"), 5, 2},
        {"${1<$eq}", macros, begins("eq", "=", "<"), 4, 3},
        {"${(1${none}2)}", macros, empty, 11, 1}, {"x ${$inner}", macros, empty, 4, 6},
        {"${2*$times-3}", macros, missing, 10, 1}, {"${2*$none-3}", macros, missing, 9, 1},
        {"${$none-3}", macros, missing, 7, 1}, {"${%g;$none-3}", macros, missing, 10, 1},
        // What authors of decks write.
        {"${(5$mm)} ${(${two}mm)} ${2*${n}$mm;mm}", macros},
        {"${2*x_${n}} ${2*x_$n} ${${sin}(1)} ${$sin(1)}", macros},
        {"${2*$neg} ${2-$neg} ${1+$two-3} ${$two-$two} ${(${sign}3)} ${${sign}3}", macros},
        {"${($none$two)} ${$two*$two} ${($two$mm)} ${$neg$mm}", macros},
        {"$two$two ${two}0 1$e-3 cell_$n.dat", macros}, // in no expression
    });
}

TEST_F(FlawOfLine, ReferencesAreReplacedInTheOrderOfTheExpansion)
{
    expect({
        {"${n++} ${n++}${n*}", {{"n", "9"}}, "an operand is missing behind '*'", 16, 1},
        {"${x_${n++}+1} ${x_${n++}+1}", {{"n", "9"}, {"x_9", "1"}}, "unknown name 'x_10'", 16, 8},
        {"${n++} ${1+n}", {{"n", "z"}, {"z", "1"}, {"aa", "2"}}},
        {"${n++} ${1+n}", {{"n", "z"}, {"z", "1"}}, "unknown name 'aa'", 11, 1}, // it has counted
        {"$$a", {{"a", "5"}, {"5", "five"}}},
        {"${$$a*}", {{"a", "5"}, {"5", "five"}}, "unknown name 'five'", 2, 3},
        {"${${a}${a}}", {{"a", "5"}, {"55", "x"}}},
        {"$a{2*}", {{"a", "1$"}}, "an operand is missing behind '*'", 4, 1},
    });
}

TEST_F(FlawOfLine, MacrosMustNotReferToThemselves)
{
    const struct {
        Row row;
        QStringList circle;
    } rows[] = {
        {{"$a", {{"a", "$a"}}, "macro 'a' refers to itself", 0, 2}, {"a", "a"}},
        {{"x ${a}", {{"a", "2*${a}"}}, "macro 'a' refers to itself", 2, 4}, {"a", "a"}},
        {{"x $a", {{"a", "${a}"}}, "macro 'a' refers to itself", 2, 2}, {"a", "a"}},
        {{"$x", {{"x", "$a$a"}, {"a", "b $b"}, {"b", "c $c"}, {"c", "$a"}},
             "macro 'a' refers to itself", 0, 2},
            {"a", "b", "c", "a"}},
        {{"$x", {{"x", "$$c"}, {"c", "x"}}, "macro 'x' refers to itself", 0, 2}, {"x", "x"}},
        {{"x ${1+a}", {{"a", "b"}, {"b", "a"}}, "macro 'a' refers to itself", 6, 1},
            {"a", "b", "a"}},
        {{"x ${1+$a}", {{"a", "b"}, {"b", "a"}}, "macro 'b' refers to itself", 6, 2},
            {"b", "a", "b"}},
        {{"x ${a}", {{"a", "$a"}}}, {}}, // too late for plain names
        {{"x $$c", {{"c", "c"}}}, {}},   // no "$" in it
        {{"$a$a${a}", {{"a", "$b"}, {"b", "1"}}}, {}},
        {{"${a++} ${a++}", {{"a", "9"}}}, {}},
    };
    for (const auto &[row, circle] : rows) {
        expect({row});
        EXPECT_EQ(flawOfLine(row.text).circle, circle);
        EXPECT_EQ(flawOfLine(row.text).kind == Flaw::Kind::Circle, !circle.isEmpty());
    }
}

TEST_F(FlawOfLine, CountersMustHoldDigitsOrLettersAlone)
{
    for (const char *good : {"0", "999", "z", "Az"})
        expect({{"${k++}", {{"k", good}}}});
    for (const char *bad :
        {"", "-1", "1.9", "5mm", "a9", "_", "/", ":", "@", "[", "`", "{", "${k++}x"})
        expect({{"x ${k++}", {{"k", bad}}, "macro 'k' cannot count", 2, 6}});
    expect({{"${k++} ${k++}", {{"k", "1/"}}, "macro 'k' cannot count", 0, 6},
        {"$x", {{"x", "${k++}"}, {"k", "1/"}}, "macro 'k' cannot count", 0, 2}});
    EXPECT_EQ(flawOfLine("$x").kind, Flaw::Kind::Counter);
}

TEST_F(FlawOfLine, ResultsMustNotBeginReferences)
{
    const QString what = "the result of an expression begins another reference";
    expect({
        {"${%g${1+1;1+1}}", {}, what, 0, 15},
        {"x${%g$;5}{1}", {}, what, 1, 11},
        {"${%g$;5}x{1}"},
        {"$${%g{;5}"},
        {"${%%{%g;5}"},
    });
}

TEST_F(FlawOfLine, WhatTheExpansionReportsItselfIsMarked)
{
    expectReported({
        {"drift $x", {}, "undefined macro 'x'", 6, 2},
        {"drift ${xy}", {}, "undefined macro 'xy'", 6, 5},
        {"drift ${x++}", {}, "undefined macro 'x'", 6, 6},
        {"drift ${}", {}, "undefined macro ''", 6, 3},
        {"a $x b", {{"x", "5 $y"}}, "undefined macro 'y'", 2, 2},
        {"a ${x} b", {{"x", "$y ${y}"}}, "undefined macro 'y'", 2, 4},
        {"${$x} $$y", {{"y", "5"}, {"x", "1"}}, "undefined macro '5'", 6, 3},
        {"gap ${1+1", {}, "'${' is never closed", 4, 2},
        {"${%d;1}", {}, "invalid format '%d'", 2, 2},
        {"x${%g %g;1}${1,2}", {}, "invalid format '%g %g'", 3, 5},
        {"${1,2}", {}, "',' outside of the call of a function", 3, 1},
        {"${2*foo(1)} ${bar(2)}", {}, "unknown function 'foo'", 4, 3},
    });
    Macro::globalHash["g"] = "1";
    expectReported({{"${g++}", {}, "undefined macro 'g'", 0, 6}}); // only a local one counts
}

TEST_F(FlawOfLine, BehindAnUndefinedMacroNothingIsLookedAt)
{
    const Macro::Table macros = {{"k", "-1"}, {"a", "$a"}};
    const QString undefined = "undefined macro 'x'";
    expectReported({
        {"$x ${k++}", macros, undefined, 0, 2},
        {"$x $a", macros, undefined, 0, 2},
        {"$x ${2*}", macros, undefined, 0, 2},
        {"${2*} $x", macros, undefined, 6, 2}, // neither is an expression before it evaluated
        {"${x} ${2*", macros, undefined, 0, 4},
        {"${k$x++}", macros, undefined, 3, 2},
        {"$m", {{"m", "$x ${k++}"}, {"k", "-1"}}, undefined, 0, 2},
    });
    expect({
        {"${k++} $x", macros, "macro 'k' cannot count", 0, 6},
        {"${k++} $x $a", macros, "macro 'k' cannot count", 0, 6},
        {"$a $x", macros, "macro 'a' refers to itself", 0, 2},
    });
}

TEST_F(FlawOfLine, WhatTheExpansionTakesInSilenceComesFirst)
{
    expect({
        {"${foo(1)} ${nosuch-5}", {}, "unknown name 'nosuch'", 12, 6},
        {"${%d;1} ${(nosuch)5}", {}, "unknown name 'nosuch'", 11, 6},
        {"${%d;1+;mm}", {}, "an operand is missing behind '+'", 6, 1},
        // The first of several.
        {"${3;parsec} ${2*}", {}, "unknown unit 'parsec'", 4, 6},
        {"${2*} ${3;parsec}", {}, "an operand is missing behind '*'", 3, 1},
        {"${%g$;5}{1} ${2*}", {}, "the result of an expression begins another reference", 0, 11},
    });
}

TEST_F(FlawOfLine, TextsOfMacrosAreNotLongerThanAMillionCharacters)
{
    const int most = 1 << 20;
    Macro::Table macros = {{"x", QString(most - 1, '1')}, {"y", "2"}, {"z", "22"}};
    expect({{"$x $y", macros}, {"$x $z", macros, "macro 'z' grows too long", 3, 2}});
    EXPECT_EQ(flawOfLine("$x $z").kind, Flaw::Kind::Length);
    expect({{"$x $z $z ${2*}", macros, "macro 'z' grows too long", 3, 2}});
    expect({{"$x ${2*y}", macros}, {"$x ${2*z}", macros, "macro 'z' grows too long", 7, 1}});
    macros = {{"x0", "1"}};
    for (int n = 1; n <= 40; ++n)
        macros["x" + QString::number(n)] = QString("$x%1$x%1").arg(n - 1);
    expect({{"x $x40", macros, "macro 'x40' grows too long", 2, 4}});
}

TEST_F(FlawOfLine, TakesLinesOfAnyLength)
{
    const int count = 30000;
    Macro::hash = {{"x", "1"}, {"n", "9"}, {"", "1"}};
    EXPECT_EQ(flawOfLine(QString("$x ${x} ").repeated(count)).what, "");
    EXPECT_EQ(flawOfLine("${" + QString("$x+").repeated(count) + "1}").what, "");
    EXPECT_EQ(flawOfLine(QString("${1+x} ").repeated(count) + "${x+*}").position, 7 * count + 4);
    EXPECT_EQ(flawOfLine(QString("${n++} ").repeated(count)).what, "");
    EXPECT_EQ(flawOfLine(QString("${").repeated(count)).what, "'${' is never closed");
    EXPECT_EQ(flawOfLine(QString("${").repeated(count) + "}").what, "'${' is never closed");
    for (int n = 1; n <= count / 10; ++n) // one inside the other
        Macro::hash["x" + QString::number(n)] = n == 1 ? "1" : "$x" + QString::number(n - 1);
    EXPECT_EQ(flawOfLine("$x" + QString::number(count / 10)).what, "");
}
