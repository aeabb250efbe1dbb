#include "strict.h"

#include "LibraryTest.h"
#include "PlainExpansion.h"
#include "PlainMeaning.h"
#include "talmo/Flaw.h"

#include <cmath>
#include <random>

using Talmo::Macro;
using Talmo::Problem;
using Talmo::Strict;

namespace
{

class StrictTest : public LibraryTest
{
protected:
    QString joined(const QStringList &pieces, int most)
    {
        QString text;
        for (auto left = random() % static_cast<size_t>(most + 1); left > 0; --left)
            text += pieces[static_cast<int>(random() % static_cast<size_t>(pieces.size()))];
        return text;
    }

    std::mt19937_64 random{3};
};

struct Row {
    const char *text;
    const char *problem; ///< POSITION MESSAGE, or the result
};

/// What becomes of \a expression: "= RESULT", or "POSITION MESSAGE".
QString outcomeOf(Strict &strict, const QString &expression)
{
    QString result;
    const Problem problem = strict.evaluate("%.12g", expression, "-", result);
    return problem.message.isEmpty() ? "= " + result
                                     : QString::number(problem.position) + ' ' + problem.message;
}

} // namespace

TEST_F(StrictTest, EvaluatesOnlyWhatSomebodyMeans)
{
    Macro::hash = {{"x", "-2"}, {"a", "b"}, {"b", "(a)"}, {"empty", ""}, {"e", "1e"}};
    const Row rows[] = {
        {"2*3mm+5mm", "= 11mm"},
        {"-(x)", "= 2"},
        {"2*$x", "2 '$' has no meaning here"},
        {"600,", "3 an operand is missing behind ','"},
        {"600,/2", "4 an operand is missing before '/'"},
        {"2(+3)", "1 an operator is missing before '('"},
        {"sin(1", "3 '(' is never closed"},
        {"2---3", "3 two minus signs in a row"},
        {"10+--3", "4 two minus signs in a row"},
        {"-x", "1 two minus signs in a row"},
        {"1+3Mev", "3 unknown unit 'Mev' (did you mean MeV?)"},
        {"1+3parsec", "3 unknown unit 'parsec'"},
        {"1+nosuch", "2 unknown name 'nosuch'"},
        {"2*a", "2 macro 'a' refers to itself: a -> b -> a"},
        {"1m+1s", "0 Units Conversion Error from s to m"},
        {"2m*3m", "0 U:Invalid units in '2m*3m'"},
        {"x-3", "= -5"},
        {"e-3", "0 the text of 'e' ends in '1e', which joins with '-3' behind it"},
        {"1e400", "0 the number '1e400' is too large"},
        {"1mm*1e-400", "4 the number '1e-400' is too small"},
        {"5mm+1", "0 Units Conversion Error from (none) to mm"},
        {"1+5mm", "0 Units Conversion Error from mm to (none)"},
    };
    Strict strict;
    for (const Row &row : rows)
        EXPECT_EQ(outcomeOf(strict, row.text), QString(row.problem)) << row.text;
    EXPECT_EQ(printed(), "");
}

TEST_F(StrictTest, GivesNoNumberThatDependsOnOneThatIsNotFinite)
{
    Macro::hash = {{"zero", "0"}, {"one", "1/zero"}};
    const Row rows[] = {
        {"1/0", "1 the result of '/' is infinite"},
        {"-(1mm)/0", "6 the result of '/' is infinite"},
        {"0/0", "1 the result of '/' is no number"},
        {"1/(1/0)", "4 the result of '/' is infinite"},
        {"1/-(2*one)", "6 the result of '/' is infinite"},
        {"0/0?1:2", "1 the result of '/' is no number"},
        {"if(1/0,1,2)", "4 the result of '/' is infinite"},
        {"1/0>2", "1 the result of '/' is infinite"},
        {"(0/0==1)+1", "2 the result of '/' is no number"},
        {"2<log(0)", "2 the result of 'log' is infinite"},
        {"sqrt(-1)!=1", "0 the result of 'sqrt' is no number"},
        {"min(1,1/0)", "7 the result of '/' is infinite"},
        {"max(0/0,1)", "5 the result of '/' is no number"},
        {"atan(1/0)", "6 the result of '/' is infinite"},
        {"atan2(1,pow(10,400))", "8 the result of 'pow' is infinite"},
        {"1+10^400*0", "4 the result of '^' is infinite"},
        {"1e308*10-1e308*10", "5 the result of '*' is infinite"},
        {"1/(1e308+1e308)", "8 the result of '+' is infinite"},
        {"1um/1e308km", "3 the result of '/' is infinite"},
        {"1um<1e308km", "3 the result of '<' is infinite"},
        {"exp(-exp(1000))", "5 the result of 'exp' is infinite"},
        // Nor may it have been too small for a double.
        {"1e-200*1e-200", "6 the result of '*' is too small"},
        {"1e-200*-1e-200/1e-300", "6 the result of '*' is too small"},
        {"1e-200mm/1e200+1m", "8 the result of '/' is too small"},
        {"3e-308/7", "6 the result of '/' is too small"},
        {"10^-400", "2 the result of '^' is too small"},
        {"pow(0.1,400)>0", "0 the result of 'pow' is too small"},
        {"0*1e-300+0/5+0^2+1e-200*0", "= 0"},
        {"(1-1)/1e300+1e-300*(2-2)", "= 0"},
        {"1e-300-1e-300", "= 0"},
        {"2.3e-308/1", "= 2.3e-308"},
        {"exp(-1000)", "= 0"},
        {"1e-200*1e-200||1", "= 1"},
        {"1?2:1e-200*1e-200", "= 2"},
        // What the result does not depend on may be anything.
        {"zero==0?7:one", "= 7"},
        {"if(zero!=0,1/one,8)", "= 8"},
        {"zero==1?7:one", "10 the result of '/' is infinite"},
        {"(1?2:1/0)+(0?1/0:3)", "= 5"},
        {"(0?1/0:2)/(1/0)", "12 the result of '/' is infinite"},
        {"zero!=0&&1/zero<5", "= 0"},
        {"1/0>5&&zero", "= 0"},
        {"zero==0||one>5", "= 1"},
        {"1/0>5||1", "= 1"},
        {"1/0||0", "1 the result of '/' is infinite"},
        {"1&&1/0", "4 the result of '/' is infinite"},
        {"1/0&&1/0&&0", "= 0"},
        {"max(1?1:1/0,3)", "= 3"},
    };
    Strict strict;
    for (const Row &row : rows)
        EXPECT_EQ(outcomeOf(strict, row.text), QString(row.problem)) << row.text;
    QString result;
    EXPECT_EQ(strict.evaluate("%.12g", "1e200km", "um", result).message, "");
    EXPECT_EQ(strict.evaluate("%g", "1e308km", "um", result).message,
        "the result in the units asked for is infinite");
    EXPECT_EQ(strict.evaluate("%g", "1e308km", "*", result).message,
        "the result in the units asked for is infinite");
    EXPECT_EQ(strict.evaluate("%g", "1e308km", "km", result).message,
        "the result in the units asked for is infinite"); // as the library converts it
    EXPECT_EQ(strict.evaluate("%g", "1e-306um", "mile", result).message,
        "the result in the units asked for is too small");
    EXPECT_EQ(strict.evaluate("%g", "0um", "mile", result).message, "");
    EXPECT_EQ(strict.evaluate("%g", "0mile+1e-306um", "-", result).message,
        "the result of '+' is too small");
}

TEST_F(StrictTest, TellsWhichReferenceIsWrong)
{
    Macro::hash = {{"x", "5"}, {"bad", "${1m+1s}"}, {"n", "9"}, {"a", "$b"}, {"b", "$a"},
        {"name", "n"}, {"inf", "inf"}, {"zero", "0"}, {"half", "2/0"}, {"x_9", "1"},
        {"x_10", "1/0"}};
    const Row rows[] = {
        {"$x ${2*3}", "= 5 6"},
        {"$inf ${inf} information ${(1)}", "= inf inf information 1"},
        {"$x ${2*3} ${1m+1s} ${1m+2s}", "10 Units Conversion Error from s to m"},
        {"${(1mm)} $bad ${1m+1kg}", "9 Units Conversion Error from s to m"},
        {"${2*${x}} ${2*${x}m*1m}", "10 U:Invalid units in '2*5m*1m'"},
        {"${(1)} inf ${1/0}", "14 the result of '/' is infinite"},
        {"${%E;1/0}", "6 the result of '/' is infinite"},
        {"a ${(1)}${1e308km;um}", "8 the result in the units asked for is infinite"},
        {"${(1)} ${2*$zero} ${1/(1/$zero)} ${0/0}", "24 the result of '/' is infinite"},
        {"${1/0?1:2} ${1m+1s}", "11 Units Conversion Error from s to m"},
        {"$x ${$half+1}", "5 the result of '/' is infinite"},
        {"${x_${n++}} ${x_${n++}} ${2*x_9} ${1+(x_10)}", "14 the result of '/' is infinite"},
        {"x ${3furlong;}", "5 unknown unit 'furlong'"},
        {"x ${1+", "2 '${' is never closed"},
        {"is $a", "3 macro 'a' refers to itself: a -> b -> a"},
        {"is $nosuch", "3 undefined macro 'nosuch'"},
    };
    Strict strict;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        QString result;
        const Problem problem = strict.expand(row.text, result);
        EXPECT_EQ(problem.message.isEmpty()
                      ? "= " + result
                      : QString::number(problem.position) + ' ' + problem.message,
            row.problem);
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(StrictTest, CountsOnInLinesThatAreWrong)
{
    Macro::hash = {{"n", "9"}, {"m", "a"}, {"name", "n"}, {"count", "${n++}"}};
    const struct {
        const char *line;
        const char *n;
        const char *m;
    } rows[] = {
        {"${n++} ${1m+1s}", "10", "a"},
        {"${1m+1s} ${n++} ${m++}", "10", "b"},
        {"${$name++} ${1m+1s}", "10", "a"},
        {"$count ${1/0}", "10", "a"},
        {"${m++} $count ${0/0}", "10", "b"},
        {"${n++} $nosuch", "10", "a"},
        {"$nosuch ${n++} ${nosuch} ${nosuch++} ${n++}", "11", "a"},
        {"${n++} ${2*} ${m++}", "10", "b"},
        {"$circle ${n++} ${circle}", "10", "a"},
        {"${k++} ${n++}", "10", "a"},
        {"${n++} ${3parsec+${n++}} ${", "11", "a"},
        {"${2*(${n++}} ${m++}", "10", "b"},
        {"$long ${n++}", "10", "a"},
        {"", "9", "a"},
    };
    Macro::hash.insert("circle", "x$circle");
    Macro::hash.insert("k", "-1");
    Macro::hash.insert("long", QString(2000000, 'x'));
    const Macro::Table before = Macro::hash;
    Strict strict;
    QString result;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        Macro::Table expected = before;
        expected["n"] = row.n;
        expected["m"] = row.m;
        Macro::hash = before;
        EXPECT_EQ(strict.expand(row.line, result).message.isEmpty(), *row.line == 0);
        EXPECT_EQ(Macro::hash, expected);
        Macro::hash = before;
        Talmo::advanceCounters(row.line);
        EXPECT_EQ(Macro::hash, expected);
    }
    Macro::hash = before;
    for (const char *line : {"${n++}${n++}${m++} inf", "$count ${$name++}"})
        EXPECT_EQ(strict.expand(line, result).message, "");
    EXPECT_EQ(result, "11 12");
    EXPECT_EQ(Macro::hash["n"], "13");
    EXPECT_EQ(Macro::hash["m"], "b");
}

TEST_F(StrictTest, KeepsTheUnitOfAKindWithoutAStandardUnit)
{
    const Row rows[] = {{"3kg", "3kg"}, {"2*3kV", "6kV"}, {"1coulomb", "1coulomb"}, {"2in", "50.8"},
        {"2*3", "6"}, {"1in/1mm", "25.4"}};
    Strict strict;
    for (const Row &row : rows) {
        QString result;
        EXPECT_EQ(strict.evaluate("%g", row.text, "*", result).message, "") << row.text;
        EXPECT_EQ(result, row.problem) << row.text;
    }
}

TEST_F(StrictTest, OneInsideOfAnotherGivesTheReportsBack)
{
    Strict strict;
    QString result;
    {
        Strict inner;
        EXPECT_EQ(inner.evaluate("%g", "1mm+1s", "-", result).message,
            "Units Conversion Error from s to mm");
    }
    EXPECT_EQ(strict.evaluate("%g", "1mm+2s", "-", result).message,
        "Units Conversion Error from s to mm");
    EXPECT_EQ(printed(), "");
}

TEST_F(StrictTest, IsDoneSoonWithManyReferences)
{
    QString line = "${(1)}";
    while (line.size() < 200000)
        line += line;
    Strict strict;
    QString result;
    const Problem problem = strict.expand(line + "${1m+1s}", result);
    EXPECT_EQ(problem.position, line.size());
    EXPECT_EQ(strict.expand("++}" + QString("n++}").repeated(100000) + "${1m+1s}", result).position,
        400003);
}

namespace
{

/// What the plain model makes of \a pieces, a number and a unit; empty if that is nothing.
QString meaningOf(const QList<PlainMeaning::Piece> &pieces)
{
    const auto meant = PlainMeaning(pieces, Macro::hash).value();
    return meant ? QString::number(meant->value, 'g', 17) + ' ' + meant->unit : QString();
}

/// \a result, a number and a unit as they are printed, in the same form.
QString meaningOf(const QString &result)
{
    const auto digits = QRegularExpression("^-?[0-9.]+(e[-+]?[0-9]+)?").match(result).captured(0);
    return QString::number(digits.toDouble(), 'g', 17) + ' ' + result.mid(digits.size());
}

} // namespace

TEST_F(StrictTest, ANumberIsThatOfThePlainModelOrThereIsNone)
{
    const QStringList pieces = {"1", "2", "0", "13", "2mm", "1in", "3s", "50ms", "1e", ".5", "1e3",
        "2Mev", "+", "-", "-", "*", "*", "/", "/", "^", "<", "=", "==", "&&", "&", "||", "?", ":",
        "(", "(", ")", ")", ",", "sin(", "max(", "if(", " ", "%", "x", "x", "y", "z", "w"};
    const QStringList texts = {"1", "2mm", "-2", "1e", "3s", "2*", "1+", "<", "1=", "&", ".5", "0",
        "(1", "1)", "1/0", "sin(0)", "-", "2?3:4", "z1", "5Mev"};
    int good = 0;
    int wrong = 0;
    int named = 0;
    for (int n = 0; n < 40000 && !HasFailure(); ++n) {
        Macro::hash = {{"x", joined(texts, 1)}, {"y", joined(texts, 2)}, {"z", "x*2"}};
        const QString expression = joined(pieces, 8);
        SCOPED_TRACE(expression.toStdString() + '\n' + Macro::inspect().toStdString());
        QString result;
        const Problem problem = Strict().evaluate("%.17g", expression, "-", result);
        const QString expected = meaningOf({{expression, false}});
        ASSERT_EQ(problem.message.isEmpty(), !expected.isEmpty()) << problem.message.toStdString();
        ASSERT_TRUE(problem.position >= 0 && problem.position <= expression.size());
        (problem.message.isEmpty() ? good : wrong) += 1;
        if (problem.message.isEmpty()) {
            ASSERT_EQ(meaningOf(result), expected);
            named += expression.contains(QRegularExpression("[xyz]")) ? 1 : 0;
        }
    }
    EXPECT_GT(good, 700);
    EXPECT_GT(named, 100);
    EXPECT_GT(wrong, 10000);
}

TEST_F(StrictTest, AReferenceIsThatOfThePlainModelOrThereIsNone)
{
    const QStringList texts = {"1", "2", "12", "mm", "m", "s", "e", "1e", "2mm", "-", "-3", "*",
        "/2", "+1", "<", "=", "(", ")", "x", "x_", "_9", "2*", "", "max(", ",", ".5", "?", ":"};
    int good = 0;
    int put = 0;
    int wrong = 0;
    for (int n = 0; n < 40000 && !HasFailure(); ++n) {
        Macro::hash = {{"x", "7mm"}, {"x_", "8"}, {"x_9", "2e"}, {"xm", "3"}};
        QList<PlainMeaning::Piece> pieces = {{"(", false}}; // else it may be the name of a macro
        for (auto count = random() % 6; count > 0; --count)
            pieces.append({joined(texts, 1), random() % 2 == 0});
        pieces.append({")", false});
        QString line;
        for (auto index = pieces.size() - 1; index >= 0; --index) {
            const QString name = "macro" + QString::number(index);
            const bool isWord = QRegularExpression("^\\w").match(line).hasMatch();
            const QString reference = isWord || index % 2 == 0 ? "${" + name + "}" : "$" + name;
            line.prepend(pieces[index].isMacro ? reference : pieces[index].text);
            if (pieces[index].isMacro)
                Macro::hash[name] = pieces[index].text;
        }
        line = "${%.17g;" + line + "}";
        SCOPED_TRACE(line.toStdString() + '\n' + Macro::inspect().toStdString());
        QString result;
        const Problem problem = Strict().expand(line, result);
        const QString expected = meaningOf(pieces);
        ASSERT_EQ(problem.message.isEmpty(), !expected.isEmpty()) << problem.message.toStdString();
        (problem.message.isEmpty() ? good : wrong) += 1;
        if (problem.message.isEmpty()) {
            ASSERT_EQ(meaningOf(result), expected);
            put += line.count("macro") > 1 ? 1 : 0;
        }
    }
    EXPECT_GT(good, 700);
    EXPECT_GT(put, 150);
    EXPECT_GT(wrong, 10000);
}

TEST_F(StrictTest, ALineIsThatOfThePlainModelOrThereIsNone)
{
    const QStringList pieces = {"$", "$a", "$b", "${", "${", "${a}", "${n++}", "{", "}", "}", "+",
        "-", "/0", "3", "2mm", "1s", ";", ";mm}", "%g;", "%.2f;", " ", "a", "b", "*", "inf"};
    int good = 0;
    int wrong = 0;
    for (int n = 0; n < 40000 && !HasFailure(); ++n) {
        Macro::hash = {
            {"a", joined(pieces, 2)}, {"b", joined(pieces, 3)}, {"n", "9"}, {"inf", "4"}};
        const Macro::Table before = Macro::hash;
        const QString line = joined(pieces, 8);
        SCOPED_TRACE(line.toStdString() + '\n' + Macro::inspect().toStdString());
        QString result;
        const Problem problem = Strict().expand(line, result);
        ASSERT_EQ(printed(), "");
        ASSERT_TRUE(problem.position >= 0 && problem.position <= line.size());
        (problem.message.isEmpty() ? good : wrong) += 1;
        const Macro::Table after = Macro::hash;
        Macro::hash = before;
        Talmo::advanceCounters(line);
        ASSERT_EQ(Macro::hash, after);
        if (!problem.message.isEmpty())
            continue;
        Macro::hash = before;
        ASSERT_EQ(PlainExpansion().expand(line), result);
        ASSERT_EQ(printed(), "");
        ASSERT_EQ(Macro::hash, after);
    }
    EXPECT_GT(good, 1000);
    EXPECT_GT(wrong, 1000);
}
