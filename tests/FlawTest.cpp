#include "talmo/Flaw.h"
#include "FlawRows.h"

using Row = FlawRow;
using Talmo::Error;
using Talmo::Flaw;
using Talmo::flawOfExpression;
using Talmo::Macro;
using Talmo::Units;

namespace
{

class FlawOfExpression : public FlawTest
{
protected:
    static void expect(const QList<Row> &rows, bool isReported = false)
    {
        FlawTest::expect(flawOfExpression, rows, isReported);
        EXPECT_TRUE(Units::currentExpression.isEmpty()); // nothing was evaluated
    }

    /// Rows that the evaluator itself reports, or fails at.
    static void expectReported(const QList<Row> &rows)
    {
        expect(rows, /*isReported=*/true);
        for (const Row &row : rows) {
            SCOPED_TRACE(row.text.toStdString());
            Macro::hash = row.macros;
            const qint64 before = Error::reported();
            Units::value(row.text, "-", nullptr);
            EXPECT_GT(Error::reported(), before);
        }
        printed();
    }
};

} // namespace

TEST_F(FlawOfExpression, IsNoneWhereAllIsWell)
{
    expect({
        {"1"}, {".5e-3mm"}, {"1+2*3mm-4^5/6"}, {"-1"}, {"2--3"}, {"-(-(1))"}, {"-2^-1^-2"},
        {"((1))"}, {"max(1,2)*sin(0)"}, {"if(1<2,max(1m,2cm),(3mm))"}, {"1==2||3!=4&&5<=6"},
        {"1?2:3"}, {"1?2:3?4:5"}, {"1?(2?3:4):-5"}, {"max(1?2:3,0?4:5)"}, {"x", {{"x", "1"}}},
        {"x+_y2*x", {{"x", "1"}, {"_y2", "x-x"}}}, {"3/0"}, // infinite, but that is a value
        {"1mm+2s"}, // reported, but that is what the units are
    });
}

TEST_F(FlawOfExpression, OperandsAndOperatorsMustTakeTurns)
{
    expect({
        {"", {}, "there is no expression", 0, 0},
        {"+", {}, "an operand is missing before '+'", 0, 1},
        {"+2", {}, "an operand is missing before '+'", 0, 1},
        {"2*+3", {}, "an operand is missing before '+'", 2, 1},
        {"1<==2", {}, "'=' has no meaning here", 3, 1},
        {"1&&||2", {}, "an operand is missing before '||'", 3, 2},
        {"2*", {}, "an operand is missing behind '*'", 1, 1},
        {"12>=", {}, "an operand is missing behind '>='", 2, 2},
        {"-", {}, "an operand is missing behind '-'", 0, 1},
        {"1,", {}, "an operand is missing behind ','", 1, 1},
        {",1", {}, "an operand is missing before ','", 0, 1},
        {"600,/2", {}, "an operand is missing before '/'", 4, 1},
        {"max(1,,2)", {}, "an operand is missing before ','", 6, 1},
        {"1?:2", {}, "an operand is missing before ':'", 2, 1},
        {"1.5.5", {}, "an operator is missing before '.5'", 3, 2},
        {"(1)2mm", {}, "an operator is missing before '2mm'", 3, 3},
        {"(1)(2)", {}, "an operator is missing before '('", 3, 1},
        {"2(+3)", {}, "an operator is missing before '('", 1, 1},
        {"(1)sin(2)", {}, "an operator is missing before 'sin('", 3, 3},
        {"sin()", {}, "an operand is missing before ')'", 4, 1},
        {"(1+)", {}, "an operand is missing before ')'", 3, 1},
        {"()5", {}, "an operand is missing before ')'", 1, 1},
        {"sin(", {}, "an operand is missing behind '('", 3, 1},
    });
}

TEST_F(FlawOfExpression, ParenthesesMustBeClosedOnce)
{
    expect({
        {"(1)"},
        {"(1", {}, "'(' is never closed", 0, 1},
        {"2*(1+2", {}, "'(' is never closed", 2, 1},
        {"((1+2)", {}, "'(' is never closed", 0, 1},
        {"((1+2", {}, "'(' is never closed", 1, 1},
        {"1+sin(0", {}, "'(' is never closed", 5, 1},
        {"1)", {}, "')' without its '('", 1, 1},
        {"(1))", {}, "')' without its '('", 3, 1},
        {"3)+(4", {}, "')' without its '('", 1, 1},
    });
}

TEST_F(FlawOfExpression, OneMinusSignMustNotFollowAnother)
{
    expect({
        {"2--3"},
        {"2---3", {}, "two minus signs in a row", 3, 1},
        {"--2", {}, "two minus signs in a row", 1, 1},
        {"10+--3", {}, "two minus signs in a row", 4, 1},
        {"(--3)", {}, "two minus signs in a row", 2, 1},
        {"max(1,-x)", {{"x", "-3"}}, "two minus signs in a row", 7, 1},
    });
}

TEST_F(FlawOfExpression, CharactersMustMeanSomething)
{
    expect({
        {"1 + 2", {}, "' ' has no meaning here", 1, 1},
        {"5%3", {}, "'%' has no meaning here", 1, 1},
        {"5=3", {}, "'=' has no meaning here", 1, 1},
        {"1|2", {}, "'|' has no meaning here", 1, 1},
        {"5.", {}, "'.' has no meaning here", 1, 1},
        {"1;2", {}, "';' has no meaning here", 1, 1},
        {"$", {}, "'$' has no meaning here", 0, 1},
        {"1$2", {}, "'$' has no meaning here", 1, 1}, // 12 to the evaluator
        {QString::fromUtf8("3µm"), {}, QString::fromUtf8("'µ' has no meaning here"), 1, 1},
        {QString::fromUtf8("1😀x"), {}, QString::fromUtf8("'😀' has no meaning here"), 1, 2},
        {QString("1") + QChar(0xD83D), {}, QString("'%1' has no meaning here").arg(QChar(0xD83D)),
            1, 1},
    });
}

TEST_F(FlawOfExpression, NamesMustBeMacrosAndUnitsKnown)
{
    Units::typeHash["furlong"] = 0; // as the library remembers what it was asked for
    Units::factorHash["furlong"] = 0;
    expect({
        {"nosuch-5", {}, "unknown name 'nosuch'", 0, 6},
        {"2*(nosuch)5", {}, "unknown name 'nosuch'", 3, 6},
        {"1_000", {}, "unknown name '_000'", 1, 4}, {"1+sin", {}, "unknown name 'sin'", 2, 3},
        {"X", {{"x", "1"}}, "unknown name 'X'", 0, 1},
        {"1+3parsec", {}, "unknown unit 'parsec'", 3, 6},
        {"3furlong", {}, "unknown unit 'furlong'", 1, 7}, {"1e5", {}}, {"1e5mm", {}},
        {"1e5mx", {}, "unknown unit 'mx'", 3, 2},
        {"(1)2x", {}, "unknown unit 'x'", 4, 1}, // before the operator that is missing
    });
    Macro::globalHash["everywhere"] = "7";
    expect({{"everywhere"}});
}

TEST_F(FlawOfExpression, InTheTextOfAMacroThePlaceIsItsName)
{
    const Macro::Table macros = {{"good", "1+2"}, {"bad", "1+"}, {"worse", "3*bad+4"},
        {"unit", "2parsec"}, {"deep", "good-good-unit"}, {"e", "2e"}, {"less", "<"}, {"none", ""},
        {"open", "max(1"}, {"close", "1)"}, {"two", "2"}, {"through", "two"}};
    expect({
        {"5*good", macros},
        {"5*bad", macros, "an operand is missing behind '+'", 2, 3},
        {"bad", macros, "an operand is missing behind '+'", 0, 3},
        {"bad*5", macros, "an operand is missing before '*'", 3, 1}, // which is not in the macro
        {"1+worse", macros, "an operand is missing before '+'", 2, 5},
        {"good+deep+good", macros, "unknown unit 'parsec'", 5, 4},
        {"(5)good", macros, "an operator is missing before '1'", 3, 4},
        {"open,2)", macros},
        {"5+open", macros, "'(' is never closed", 2, 4},
        {"5+close", macros, "')' without its '('", 2, 5},
        {"(close", macros},
        // Texts may be empty.
        {"(2)none-3", macros},
        {"none", macros, "there is no expression", 0, 4},
        {"1+none", macros, "an operand is missing behind '+'", 1, 1},
        {"none+1", macros, "an operand is missing before '+'", 4, 1},
    });
}

TEST_F(FlawOfExpression, TextsOfMacrosMustNotJoinWithWhatFollowsThem)
{
    const Macro::Table macros = {{"e", "1+2e"}, {"two", "2"}, {"through", "two"}, {"less", "<"},
        {"is", "1="}, {"and", "1&"}, {"both", "e-3"}, {"times", "2*"}, {"none", ""}, {"neg", "-3"},
        {"sign", "-"}};
    expect({
        {"5*e-1", macros, "the text of 'e' ends in '2e', which joins with '-1' behind it", 2, 1},
        {"e+1", macros, "the text of 'e' ends in '2e', which joins with '+1' behind it", 0, 1},
        {"e-x", {{"e", "2e"}, {"x", "1"}}}, // no digit behind it, so no exponent
        {"(e)-1", macros},
        {"e*1", macros},
        {"1+both", macros, "the text of 'e' ends in '2e', which joins with '-3' behind it", 2, 4},
        {"two.5", macros, "the text of 'two' ends in '2', which joins with '.5' behind it", 0, 3},
        {"through.5mx", macros, "the text of 'two' ends in '2', which joins with '.5mx' behind it",
            0, 7},
        {"(1)less=2", macros, "the text of 'less' ends in '<', which joins with '=' behind it", 3,
            4},
        {"is=1", macros, "the text of 'is' ends in '=', which joins with '=' behind it", 0, 2},
        {"and&1", macros, "the text of 'and' ends in '&', which joins with '&' behind it", 0, 3},
        {"(1)less-2", macros, "an operand is missing before '-'", 7, 1},
        // A minus sign is no part of an operand of which the macro has the rest.
        {"1*times-3", macros, "an operand is missing before '-'", 7, 1},
        {"2*none-3", macros, "an operand is missing before '-'", 6, 1},
        {"none-3", macros, "an operand is missing before '-'", 4, 1},
        {"two-3", macros},
        {"2*neg", macros},
        {"neg-3", macros},
        {"2*neg*2", macros},
    });
    Macro::hash = macros;
    EXPECT_EQ(flawOfExpression("two.5").kind, Flaw::Kind::Join);
}

TEST_F(FlawOfExpression, NumbersMustBeHeldByADouble)
{
    const QString zeros = QString("0").repeated(400);
    expect({
        {"1e400", {}, "the number '1e400' is too large", 0, 5},
        {"2*1e309mm", {}, "the number '1e309' is too large", 2, 5},
        {"1.7e308"},
        {"1" + zeros, {}, "the number '1" + zeros.left(19) + "...' is too large", 0, 401},
        {"1e-400", {}, "the number '1e-400' is too small", 0, 6},
        {"1+1e-310s", {}, "the number '1e-310' is too small", 2, 6},
        {"3e-308"},
        {"0e-400"},
        {"0.0e999"},
        {"." + zeros + "1", {}, "the number '." + zeros.left(19) + "...' is too small", 0, 402},
        {"1" + zeros + "e-400"},
        {"1+x", {{"x", "1e999"}}, "the number '1e999' is too large", 2, 1},
    });
    EXPECT_EQ(flawOfExpression("1e400").kind, Flaw::Kind::Number);
}

TEST_F(FlawOfExpression, MacrosMustNotReferToThemselves)
{
    const struct {
        Row row;
        QStringList circle;
    } rows[] = {
        {{"a", {{"a", "a"}}, "macro 'a' refers to itself", 0, 1}, {"a", "a"}},
        {{"2*a", {{"a", "1+a/2"}}, "macro 'a' refers to itself", 2, 1}, {"a", "a"}},
        {{"1+b", {{"a", "b"}, {"b", "2*a"}}, "macro 'b' refers to itself", 2, 1}, {"b", "a", "b"}},
        {{"x-1", {{"x", "(a)"}, {"a", "b"}, {"b", "c"}, {"c", "a"}}, "macro 'a' refers to itself",
             0, 1},
            {"a", "b", "c", "a"}},
        {{"a", {{"a", "b"}, {"b", "c"}, {"c", "b"}}, "macro 'b' refers to itself", 0, 1},
            {"b", "c", "b"}},
        {{"a+1", {{"a", "b"}, {"b", "1"}}}, {}},
        {{"a+a", {{"a", "b*b"}, {"b", "1"}}}, {}}, // one behind the other
        {{"a(1)+a", {{"a", "sin(1)"}}, "unknown function 'a'", 0, 1}, {}},
    };
    for (const auto &[row, circle] : rows) {
        const bool isCircle = !circle.isEmpty();
        expect({row}, /*isReported=*/!isCircle);
        EXPECT_EQ(flawOfExpression(row.text).circle, circle);
        EXPECT_EQ(flawOfExpression(row.text).kind == Flaw::Kind::Circle, isCircle);
    }
}

TEST_F(FlawOfExpression, OnlyLocalMacrosThatAreSeenMakeACircle)
{
    Macro::globalHash["a"] = "a";
    expect({{"a", {{"a", "1"}}}, {"a", {}, "macro 'a' refers to itself", 0, 1}});
}

TEST_F(FlawOfExpression, WhatTheEvaluatorReportsItselfIsMarked)
{
    expectReported({
        {"1,5", {}, "',' outside of the call of a function", 1, 1},
        {"2*(1,2)", {}, "',' outside of the call of a function", 4, 1},
        {"max(1,(2,3))", {}, "',' outside of the call of a function", 8, 1},
        {"1?2", {}, "'?' without its ':'", 1, 1},
        {"1?2?3:4", {}, "'?' without its ':'", 1, 1},
        {"(1?2):3", {}, "'?' without its ':'", 2, 1},
        {"max(1,2?3)", {}, "'?' without its ':'", 7, 1},
        {"max(1?2,3)", {}, "'?' without its ':'", 5, 1},
        {"1:2", {}, "':' without its '?'", 1, 1},
        {"1?2:3:4", {}, "':' without its '?'", 5, 1},
        {"1?(2:3)", {}, "':' without its '?'", 4, 1},
        {"foo(1)", {}, "unknown function 'foo'", 0, 3},
        {"1+foo(1,2mm)", {}, "unknown function 'foo'", 2, 3},
        {"x(1)", {{"x", "1"}}, "unknown function 'x'", 0, 1},
        {"sin(1,2)", {}, "wrong number of arguments of 'sin': 2, not 1", 0, 3},
        {"2*max(1)", {}, "wrong number of arguments of 'max': 1, not 2", 2, 3},
        {"if(1,2,3,4)", {}, "wrong number of arguments of 'if': 4, not 3", 0, 2},
        {"if(1,2)", {}, "wrong number of arguments of 'if': 2, not 3", 0, 2},
        {"foo(1)+max(1)", {}, "unknown function 'foo'", 0, 3}, // the first of two
        {"1+x", {{"x", "sin(1,2)"}}, "wrong number of arguments of 'sin': 2, not 1", 2, 1},
    });
}

TEST_F(FlawOfExpression, ASpareCommaHidesAConditionalWithoutItsEnd)
{
    EXPECT_EQ(Units::value("5,(1?2)", "-", nullptr), 1);
    EXPECT_EQ(Units::value("max(7,(1?2,3))", "-", nullptr), 3);
    EXPECT_EQ(printed(), "");
    forgetEvaluations();
    expect({
        {"5,(1?2)", {}, "',' outside of the call of a function", 1, 1},
        {"max(7,(1?2,3))", {}, "'?' without its ':'", 8, 1},
    });
}

TEST_F(FlawOfExpression, WhatTheEvaluatorTakesInSilenceComesFirst)
{
    expect({
        {"foo(1)+nosuch-5", {}, "unknown name 'nosuch'", 7, 6},
        {"1,5,", {}, "an operand is missing behind ','", 3, 1},
        {"(1,2", {}, "'(' is never closed", 0, 1},
        {"1:2+3parsec", {}, "unknown unit 'parsec'", 5, 6},
        {"nosuch+3parsec", {}, "unknown name 'nosuch'", 0, 6},
    });
}

TEST_F(FlawOfExpression, NamesTheExpressionThatIsWrong)
{
    Macro::hash["x"] = "2*";
    EXPECT_EQ(flawOfExpression("1+x").expression, "1+x");
    EXPECT_EQ(flawOfExpression("1,2").expression, "1,2");
    EXPECT_EQ(flawOfExpression("1+2").expression, "");
}

TEST_F(FlawOfExpression, TellsTheKind)
{
    const struct {
        const char *text;
        Flaw::Kind kind;
    } rows[] = {
        {"1", Flaw::Kind::None},
        {"1+", Flaw::Kind::Syntax},
        {"foo(1)", Flaw::Kind::Syntax},
        {"nosuch", Flaw::Kind::Name},
        {"3parsec", Flaw::Kind::Unit},
    };
    for (const auto &row : rows)
        EXPECT_EQ(flawOfExpression(row.text).kind, row.kind) << row.text;
}

TEST_F(FlawOfExpression, TextsOfMacrosAreNotLongerThanAMillionCharacters)
{
    const int most = 1 << 20;
    Macro::hash["digits"] = QString(most, '0');
    EXPECT_EQ(flawOfExpression("2+digits").what, "");
    Macro::hash["digits"] += "0";
    FlawTest::expect(
        flawOfExpression, {{"2+digits", Macro::hash, "macro 'digits' grows too long", 2, 6}});
    EXPECT_EQ(flawOfExpression("2+digits").kind, Flaw::Kind::Length);
    // Forty times twice as long is a million million.
    Macro::hash = {{"x0", "1"}};
    for (int n = 1; n <= 40; ++n)
        Macro::hash["x" + QString::number(n)] = QString("x%1+x%1").arg(n - 1);
    FlawTest::expect(
        flawOfExpression, {{"2*(x40)", Macro::hash, "macro 'x40' grows too long", 3, 3}});
}

TEST_F(FlawOfExpression, TakesExpressionsOfAnyLength)
{
    const int terms = 100000;
    Macro::hash["x"] = "1";
    const QString opened = QString("(").repeated(terms);
    const QString closed = QString(")").repeated(terms);
    EXPECT_EQ(flawOfExpression("1mm" + QString("+2mm").repeated(terms)).what, "");
    EXPECT_EQ(flawOfExpression("1" + QString("+x").repeated(terms)).what, "");
    EXPECT_EQ(flawOfExpression(opened + "7" + closed).what, "");
    EXPECT_EQ(flawOfExpression(opened + "7" + closed + ")").position, 2 * terms + 1);
    EXPECT_EQ(flawOfExpression("1" + QString("+x").repeated(terms) + "+").position, 2 * terms + 1);
    Macro::hash["many"] = QString("x+").repeated(terms) + "1";
    EXPECT_EQ(flawOfExpression("many").what, "");
    for (int n = 1; n <= terms / 10; ++n) // one inside the other
        Macro::hash["x" + QString::number(n)] = n == 1 ? "1" : "x" + QString::number(n - 1) + "+1";
    EXPECT_EQ(flawOfExpression("x" + QString::number(terms / 10)).what, "");
}
