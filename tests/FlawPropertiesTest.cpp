#include "FlawChecks.h"
#include "FlawTrace.h"
#include "LibraryTest.h"
#include "PlainEvaluation.h"
#include "Soundness.h"
#include "sanitized.h"

#include <QRegularExpression>

#include <cmath>
#include <optional>
#include <random>

// What holds for all texts, tried on random ones: flaws are found in what is no expression, and
// nowhere else; what has none is evaluated without a report, to the value that it has by the
// grammar; and a flaw that the library is said to report is reported.

using Talmo::Error;
using Talmo::Flaw;
using Talmo::flawOfExpression;
using Talmo::flawOfLine;
using Talmo::isLineSurelySound;
using Talmo::isSurelySound;
using Talmo::Macro;
using Talmo::Trace;
using Talmo::Units;
using Talmo::walkOverLine;

namespace
{

class FlawProperties : public LibraryTest
{
protected:
    std::size_t pick(std::size_t count) { return random() % count; }

    template <std::size_t size>
    QString joined(const char *const (&pieces)[size], std::size_t most)
    {
        QString text;
        for (std::size_t count = pick(most + 1); count > 0; --count)
            text += QString::fromUtf8(pieces[pick(size)]);
        return text;
    }

    std::mt19937_64 random{1};
};

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// Compares what is found in \a expression with what PlainEvaluation makes of \a plain, the same
/// without macros. Returns whether it is an expression.
bool checkExpression(const QString &expression, const QString &plain)
{
    SCOPED_TRACE(expression.toStdString());
    const std::optional<double> expected = PlainEvaluation(plain).value();
    const Flaw flaw = flawOfExpression(expression);
    EXPECT_EQ(flaw.what.isEmpty(), expected.has_value()) << flaw.what.toStdString();
    EXPECT_TRUE(hasPlace(flaw, expression));

    const qint64 before = Error::reported();
    bool ok = false;
    const double value = Units::value(expression, "-", &ok);
    const bool isTold = !ok || Error::reported() > before;
    if (flaw.what.isEmpty() && expected.has_value()) {
        EXPECT_FALSE(isTold);
        EXPECT_TRUE(isSame(value, *expected)) << value << ", not " << *expected;
    } else if (flaw.isReported) {
        EXPECT_TRUE(isTold) << flaw.what.toStdString();
    }
    return expected.has_value();
}

} // namespace

TEST_F(FlawProperties, ExpressionsAreThoseOfTheGrammar)
{
    Macro::hash = {{"p", "3"}, {"q", "-2"}, {"r", "(p+1)*q"}};
    const QRegularExpression otherName("[pqr0-9][pqr]|[pqr][0-9]|[pqr](sin|max|if|foo)?\\(");
    const char *const pieces[] = {"1", "2", "0", "p", "q", "r", "+", "-", "-", "*", "^", "<",
        "==", "&&", "||", "?", "?", ":", ":", "(", "(", ")", ")", ",", ",", "sin(", "max(", "if(",
        "foo("};
    int good = 0;
    int wrong = 0;
    for (int n = 0; n < 100000 && !HasFailure(); ++n) {
        const QString expression = joined(pieces, 3 + pick(10));
        if (expression.contains(otherName))
            continue;
        QString plain = expression;
        for (const char *name : {"r", "q", "p"})
            plain.replace(name, Macro::value(name));
        const bool isGood = checkExpression(expression, plain);
        (isGood ? good : wrong) += 1;
    }
    EXPECT_GT(good, 2000);
    EXPECT_GT(wrong, 20000);
}

namespace
{

class CorrectExpressions : public FlawProperties
{
protected:
    /// The tokens of a random expression, of at most \a depth levels.
    QStringList tokens(int depth)
    {
        const auto inner = [&] { return tokens(depth - 1); };
        const char *const operators[] = {"+", "-", "*", "^", "<", "<=", "==", "&&", "||"};
        switch (depth > 0 ? pick(8) : 0) {
        case 0:
            return {QString::number(pick(20))};
        case 1:
            return QStringList{"-"} + closed("(", {inner()});
        case 2:
            return closed("(", {inner()});
        case 3:
            return closed("(", {inner() + QStringList{"?"} + inner() + QStringList{":"} + inner()});
        case 4:
            return closed("sin(", {inner()});
        case 5:
            return closed("max(", {inner(), inner()});
        case 6:
            return closed("if(", {inner(), inner(), inner()});
        default:
            return inner() + QStringList{operators[pick(std::size(operators))]} + inner();
        }
    }

    static QStringList closed(const QString &opening, const QList<QStringList> &arguments)
    {
        QStringList all = {opening};
        for (const QStringList &argument : arguments)
            all += argument + QStringList{","};
        all.last() = ")";
        return all;
    }

    static bool check(const QStringList &tokens)
    {
        const QString text = tokens.join("");
        return checkExpression(text, text);
    }
};

} // namespace

TEST_F(CorrectExpressions, ATokenTooManyOrTooFewIsNoticed)
{
    int wrong = 0;
    for (int n = 0; n < 800 && !HasFailure(); ++n) {
        const QStringList correct = tokens(n % 5);
        EXPECT_TRUE(check(correct));
        for (int index = 0; index < correct.size(); ++index) {
            QStringList fewer = correct;
            fewer.removeAt(index);
            QStringList more = correct;
            more.insert(index, correct[index]);
            wrong += check(fewer) ? 0 : 1;
            wrong += check(more) ? 0 : 1;
        }
    }
    EXPECT_GT(wrong, 5000);
}

TEST_F(FlawProperties, WithoutAFlawAnEvaluationReportsNothingButUnits)
{
    const char *const pieces[] = {"1", "2mm", "3s", ".5e-1", "1e", "3parsec", "x", "y", "merge",
        "nosuch", "+", "-", "*", "/", "^", "<", ">=", "!=", "&&", "||", "?", ":", "(", "(", ")",
        ")", ",", "sin(", "max(", "min(", "if(", "pow(", "atan2(", "foo(", " ", "$", "%", "."};
    Macro::hash = {{"x", "2mm"}, {"y", "x-1s"}, {"merge", "2e"}, {"a", "(a)"}};
    int silent = 0;
    int ofUnits = 0;
    for (int n = 0; n < 100000 && !HasFailure(); ++n) {
        const QString expression = joined(pieces, 2 + pick(10));
        SCOPED_TRACE(expression.toStdString());
        const Flaw flaw = flawOfExpression(expression);
        EXPECT_TRUE(hasPlace(flaw, expression));
        Units::value(expression, "-", nullptr);
        const QString report = printed();
        EXPECT_TRUE(isReportOf(flaw, report)) << flaw.what.toStdString() << report.toStdString();
        if (!flaw.what.isEmpty())
            continue;
        (report.isEmpty() ? silent : ofUnits) += 1;
    }
    EXPECT_GT(silent, 1000);
    EXPECT_GT(ofUnits, 300);
}

TEST_F(FlawProperties, WithoutAFlawALineIsExpanded)
{
    const char *const pieces[] = {"$", "$a", "$b", "${", "${", "${a", "${c", "{", "}", "}", "}",
        "++}", "+", "-", "3", "2mm", ";", ";mm}", ";parsec}", "%g;", "%.2f;", "%d;", "%g$;", " ",
        "(", ")", "a", "b", "c", "n", "m", "*", ",", "$n", "${(1", "1e"};
    int kinds[10] = {};
    for (int n = 0; n < 60000 && !HasFailure(); ++n) {
        Macro::globalHash = {{"m", joined(pieces, 2)}};
        Macro::hash = {{"a", joined(pieces, 3)}, {"b", joined(pieces, 3)}, {"n", "9"}};
        if (pick(2) == 0)
            Macro::hash["c"] = "2";
        const Macro::Table macros = Macro::hash;
        const QString line = joined(pieces, 8);
        SCOPED_TRACE(line.toStdString() + '\n' + Macro::inspect().toStdString());
        const Flaw flaw = flawOfLine(line);
        ++kinds[static_cast<int>(flaw.kind)];
        EXPECT_TRUE(hasPlace(flaw, line));
        EXPECT_EQ(printed(), "");
        EXPECT_EQ(Macro::hash, macros);
        if (!flaw.what.isEmpty() && !flaw.isReported)
            continue; // it might go on for ever
        Macro::expand(line);
        const QString report = printed();
        EXPECT_TRUE(isReportOf(flaw, report)) << flaw.what.toStdString() << report.toStdString();
    }
    for (const Flaw::Kind kind :
        {Flaw::Kind::None, Flaw::Kind::Syntax, Flaw::Kind::Name, Flaw::Kind::Unit, Flaw::Kind::Join,
            Flaw::Kind::Circle, Flaw::Kind::Counter, Flaw::Kind::Reference})
        EXPECT_GT(kinds[static_cast<int>(kind)], 20) << static_cast<int>(kind);
}

namespace
{

constexpr int manyTexts = isSanitized ? 50000 : 400000; // most of which are proved at once

/// Texts that the quick proofs may take for sound, and texts that only nearly are.
class SurelySound : public FlawProperties
{
protected:
    void defineMacros()
    {
        const char *const pieces[] = {"1", "2mm", "1e", "1e", "1e", ".5", "1e3", "3parsec", "x",
            "y", "(x)", "-", "+", "*", "<", "=", "(", ")", ",", "max(", "sin", "$", "{", "}", "$x",
            "_", "", "?"};
        Macro::hash = {{"x", joined(pieces, 2)}, {"y", joined(pieces, 3)}};
        Macro::globalHash = {{"z", joined(pieces, 2)}, {"e5", "1e"}, {"n", "9"}};
    }
};

} // namespace

TEST_F(SurelySound, ExpressionsHaveNoFlaw)
{
    const char *const pieces[] = {"1", "2mm", "1e", ".5e-1", "3parsec", "x", "y", "z", "e5", "n",
        "_", "+", "-", "*", "^", "<", "<=", "=", "&&", "!", "(", "(", ")", ")", ",", "sin(", "max(",
        "if(", "foo(", "?", ":", ".", "$", " ", "5", "+2.5"};
    int proved = 0;
    int sound = 0;
    for (int n = 0; n < manyTexts && !HasFailure(); ++n) {
        defineMacros();
        const QString expression = joined(pieces, 1 + pick(9));
        Trace trace;
        const Flaw flaw = Talmo::flawOfExpression({Talmo::traced(expression)}, trace);
        sound += flaw.what.isEmpty() ? 1 : 0;
        if (!isSurelySound(expression))
            continue;
        ++proved;
        EXPECT_EQ(flaw.what, "") << expression.toStdString() << Macro::inspect().toStdString();
    }
    EXPECT_GT(proved, manyTexts / 40);
    EXPECT_GT(2 * proved, sound);
}

TEST_F(SurelySound, LinesHaveNoFlaw)
{
    const char *const pieces[] = {"$", "$x", "$y", "$z", "${", "${", "${x", "${y", "{", "}", "}",
        "}", "++}", "+", "-", "3", "2mm", ";", ";mm}", ";parsec}", "%g;", "%.2f;", "%d;", "%{g;",
        " ", "(", ")", "x", "y", "n", "*", ",", "$z", "+2.5", "${%g%;", "${2*$x;mm}", "${%g$;"};
    int proved = 0;
    int expressions = 0;
    for (int n = 0; n < manyTexts && !HasFailure(); ++n) {
        defineMacros();
        const QString line = joined(pieces, 1 + pick(8));
        if (!isLineSurelySound(line))
            continue;
        ++proved;
        expressions += line.contains("*") && line.contains("${") ? 1 : 0;
        EXPECT_EQ(walkOverLine(line).what, "")
            << line.toStdString() << Macro::inspect().toStdString();
    }
    EXPECT_GT(proved, manyTexts / 20);
    EXPECT_GT(expressions, manyTexts / 400);
}

TEST_F(SurelySound, ReferencesWithTextsOfMacrosHaveNoFlaw)
{
    const char *const pieces[] = {"$x", "$y", "$x", "$y", "1", "2", "e", "-", "-3", "+", "*", "<",
        "=", "(", ")", ".5", "mm", ",", "&"};
    const char *const texts[] = {"1", "2mm", "1e", "e-3", "-3", "2*", "<", "=1", "", "mm", "(1)",
        ".5", "&", "1+", "x", "max(1"};
    int proved = 0;
    int refused = 0;
    for (int n = 0; n < 100000 && !HasFailure(); ++n) {
        Macro::hash = {{"x", joined(texts, 1)}, {"y", joined(texts, 2)}};
        const QString line = "${(" + joined(pieces, 6) + ")}";
        const Flaw flaw = walkOverLine(line);
        refused += flaw.kind == Flaw::Kind::Join ? 1 : 0;
        if (!isLineSurelySound(line))
            continue;
        ++proved;
        EXPECT_EQ(flaw.what, "") << line.toStdString() << Macro::inspect().toStdString();
    }
    EXPECT_GT(proved, 1000);
    EXPECT_GT(refused, 1000);
}
