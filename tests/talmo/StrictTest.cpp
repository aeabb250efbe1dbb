#include "strict.h"

#include "LibraryTest.h"
#include "PlainEvaluation.h"
#include "PlainExpansion.h"
#include "talmo/Flaw.h"

#include <cmath>
#include <random>

using Talmo::Error;
using Talmo::Macro;
using Talmo::Problem;
using Talmo::Strict;
using Talmo::Units;

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

} // namespace

TEST_F(StrictTest, EvaluatesOnlyWhatSomebodyMeans)
{
    Macro::hash = {{"x", "-2"}, {"a", "b"}, {"b", "(a)"}, {"empty", ""}};
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
        {"1/0", "0 the result is not finite"},
        {"-(1mm)/0", "0 the result is not finite"},
        {"0/0", "0 the result is not finite"},
        {"1e400", "0 the result is not finite"},
    };
    Strict strict;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.text);
        QString result;
        const Problem problem = strict.evaluate("%.12g", row.text, "-", result);
        EXPECT_EQ(problem.message.isEmpty()
                      ? "= " + result
                      : QString::number(problem.position) + ' ' + problem.message,
            row.problem);
    }
    QString result;
    EXPECT_EQ(strict.evaluate("%.12g", "1e200km", "um", result).message, "");
    EXPECT_EQ(strict.evaluate("%g", "1e308km", "um", result).message, "the result is not finite");
    EXPECT_EQ(printed(), "");
}

TEST_F(StrictTest, TellsWhichReferenceIsWrong)
{
    Macro::hash = {{"x", "5"}, {"bad", "${1m+1s}"}, {"n", "9"}, {"a", "$b"}, {"b", "$a"},
        {"name", "n"}, {"inf", "inf"}};
    const Row rows[] = {
        {"$x ${2*3}", "= 5 6"},
        {"$inf ${inf} information ${(1)}", "= inf inf information 1"},
        {"$x ${2*3} ${1m+1s} ${1m+2s}", "10 Units Conversion Error from s to m"},
        {"${(1mm)} $bad ${1m+1kg}", "9 Units Conversion Error from s to m"},
        {"${2*${x}} ${2*${x}m*1m}", "10 U:Invalid units in '2*5m*1m'"},
        {"${(1)} inf ${1/0}", "11 the result is not finite"},
        {"${%E;1/0}", "0 the result is not finite"},
        {"a ${1e308km;um}", "2 the result is not finite"},
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

TEST_F(StrictTest, CountsOnlyInLinesThatAreRight)
{
    Macro::hash = {{"n", "9"}, {"m", "a"}, {"name", "n"}, {"count", "${n++}"}};
    const char *const wrong[] = {"${n++} ${1m+1s}", "${1m+1s} ${n++} ${m++}", "${$name++} ${1m+1s}",
        "$count ${1/0}", "${n++} $nosuch", "${m++} $count ${0/0}"};
    const Macro::Table before = Macro::hash;
    Strict strict;
    QString result;
    for (const char *line : wrong) {
        SCOPED_TRACE(line);
        EXPECT_NE(strict.expand(line, result).message, "");
        EXPECT_EQ(Macro::hash, before);
    }
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

TEST_F(StrictTest, ANumberIsThatOfThePlainModelOrThereIsNone)
{
    const QStringList pieces = {"1", "2", "0", "13", "+", "-", "-", "*", "^", "<", "==", "&&", "||",
        "?", ":", "(", "(", ")", ")", ",", "sin(", "max(", "if(", " ", "%"};
    int good = 0;
    int wrong = 0;
    for (int n = 0; n < 60000 && !HasFailure(); ++n) {
        const QString expression = joined(pieces, 12);
        SCOPED_TRACE(expression.toStdString());
        QString result;
        const Problem problem = Strict().evaluate("%.17g", expression, "-", result);
        const std::optional<double> expected = PlainEvaluation(expression).value();
        ASSERT_EQ(problem.message.isEmpty(), expected && std::isfinite(*expected))
            << problem.message.toStdString();
        ASSERT_TRUE(problem.position >= 0 && problem.position <= expression.size());
        if (problem.message.isEmpty()) {
            ASSERT_EQ(result.toDouble(), *expected);
        }
        (problem.message.isEmpty() ? good : wrong) += 1;
    }
    EXPECT_GT(good, 1000);
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
        if (!problem.message.isEmpty()) {
            ASSERT_EQ(Macro::hash, before);
            continue;
        }
        const Macro::Table after = Macro::hash;
        Macro::hash = before;
        ASSERT_EQ(PlainExpansion().expand(line), result);
        ASSERT_EQ(printed(), "");
        ASSERT_EQ(Macro::hash, after);
    }
    EXPECT_GT(good, 1000);
    EXPECT_GT(wrong, 1000);
}
