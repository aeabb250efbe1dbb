#include "LibraryTest.h"
#include "talmo/Units.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <vector>

// Tries on random inputs what must be true for all inputs.

using Talmo::Units;
using Value = Talmo::Units::Value;

namespace
{

class UnitsProperties : public LibraryTest
{
protected:
    /// A random index below \a count.
    std::size_t pick(std::size_t count) { return random() % count; }

    std::mt19937_64 random{1};
};

constexpr double epsilon = std::numeric_limits<double>::epsilon();

} // namespace

TEST_F(UnitsProperties, ConvertingThereAndBackGivesTheSame)
{
    std::uniform_real_distribution<double> exponent(-30, 30);
    for (const QStringList &kind : Units::types) {
        for (const QString &from : kind) {
            for (const QString &to : kind) {
                for (int n = 0; n < 20; ++n) {
                    const double number = (n % 2 == 0 ? 1 : -1) * std::pow(10, exponent(random));
                    const double there = value(number, from).convert(to);
                    const double back = value(there, to).convert(from);
                    // Two products and two quotients, each rounded once.
                    ASSERT_NEAR(back, number, std::fabs(number) * 2 * epsilon)
                        << from.toStdString() << ' ' << to.toStdString();
                    ASSERT_EQ(std::signbit(there), std::signbit(number));
                }
            }
        }
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(UnitsProperties, UnitsOfOneKindAddAndOthersAreReported)
{
    const QList<QString> names = Units::typeHash.keys();
    for (const QString &left : names) {
        for (const QString &right : names) {
            Value sum = value(1, left);
            sum.add(value(2, right));
            EXPECT_EQ(sum.units, left);
            const bool sameKind = Units::typeHash.value(left) == Units::typeHash.value(right);
            ASSERT_EQ(printed().isEmpty(), sameKind);
            if (!sameKind) {
                EXPECT_EQ(sum.value, 3);
            }
        }
    }
}

namespace
{

/// An expression as a tree: its value and its text.
struct Tree {
    double value;
    QString text;
    int precedence; ///< of the outermost operator; 12 if the text needs no parentheses
};

using Trees = std::vector<Tree>;

constexpr int primary = 12;

struct BinaryOperator {
    const char *name;
    int precedence;
    double (*apply)(double, double);
};

double truth(bool holds)
{
    return holds ? 1 : 0;
}

bool isFalse(double value)
{
    return std::fabs(value) < 1e-12;
}

// clang-format off
const BinaryOperator binaryOperators[] = {
    { "||", 5,  [](double a, double b) { return truth(std::fabs(a) >= 1e-12 || std::fabs(b) >= 1e-12); } },
    { "&&", 6,  [](double a, double b) { return truth(!isFalse(a) && !isFalse(b)); } },
    { "==", 7,  [](double a, double b) { return truth(a - b == 0); } },
    { "!=", 7,  [](double a, double b) { return truth(a - b != 0); } },
    { "<",  7,  [](double a, double b) { return truth(a - b < 0); } },
    { "<=", 7,  [](double a, double b) { return truth(a - b <= 0); } },
    { ">",  7,  [](double a, double b) { return truth(a - b > 0); } },
    { ">=", 7,  [](double a, double b) { return truth(a - b >= 0); } },
    { "+",  8,  [](double a, double b) { return a + b; } },
    { "-",  8,  [](double a, double b) { return a - b; } },
    { "*",  9,  [](double a, double b) { return a * b; } },
    { "/",  9,  [](double a, double b) { return a / b; } },
    { "^",  10, [](double a, double b) { return std::pow(a, b); } },
};

struct Function {
    const char *name;
    int arguments;
    double (*apply)(const Trees &);
};

const Function functions[] = {
    { "sqrt",  1, [](const Trees &a) { return std::sqrt(a[0].value); } },
    { "sin",   1, [](const Trees &a) { return std::sin(a[0].value); } },
    { "atan",  1, [](const Trees &a) { return std::atan(a[0].value); } },
    { "floor", 1, [](const Trees &a) { return std::floor(a[0].value); } },
    { "abs",   1, [](const Trees &a) { return std::fabs(a[0].value); } },
    { "pow",   2, [](const Trees &a) { return std::pow(a[0].value, a[1].value); } },
    { "atan2", 2, [](const Trees &a) { return std::atan2(a[0].value, a[1].value); } },
    { "min",   2, [](const Trees &a) { return a[1].value <= a[0].value ? a[1].value : a[0].value; } },
    { "max",   2, [](const Trees &a) { return a[1].value >= a[0].value ? a[1].value : a[0].value; } },
    { "if",    3, [](const Trees &a) { return isFalse(a[0].value) ? a[2].value : a[1].value; } },
};
// clang-format on

/// The text of \a tree, in parentheses if its precedence is lower than \a precedence.
QString written(const Tree &tree, int precedence)
{
    return tree.precedence >= precedence ? tree.text : "(" + tree.text + ")";
}

class RandomExpressions : public UnitsProperties
{
protected:
    Tree leaf()
    {
        const double number =
            std::ldexp(static_cast<double>(pick(1000)), static_cast<int>(pick(20)) - 10);
        return {number, QString::number(number, 'g', 17), primary};
    }

    Tree binary(int depth)
    {
        const BinaryOperator &chosen = binaryOperators[pick(std::size(binaryOperators))];
        const Tree left = tree(depth);
        const Tree right = tree(depth);
        const bool toTheRight = chosen.precedence == 10;
        return {chosen.apply(left.value, right.value),
            written(left, chosen.precedence + (toTheRight ? 1 : 0)) + chosen.name +
                written(right, chosen.precedence + (toTheRight ? 0 : 1)),
            chosen.precedence};
    }

    Tree negated(int depth)
    {
        const Tree operand = tree(depth);
        return {-operand.value, "-" + written(operand, primary), 11};
    }

    Tree conditional(int depth)
    {
        const Tree condition = tree(depth);
        const Tree first = tree(depth);
        const Tree second = tree(depth);
        return {isFalse(condition.value) ? second.value : first.value,
            written(condition, 5) + "?" + written(first, 5) + ":" + written(second, 5), 4};
    }

    Tree call(int depth)
    {
        const Function &chosen = functions[pick(std::size(functions))];
        Trees arguments;
        QStringList texts;
        for (int n = 0; n < chosen.arguments; ++n) {
            arguments.push_back(tree(depth));
            texts.append(arguments.back().text);
        }
        return {
            chosen.apply(arguments), chosen.name + QString("(") + texts.join(",") + ")", primary};
    }

    /// A random tree with at most \a depth levels below its root.
    Tree tree(int depth)
    {
        if (depth == 0)
            return leaf();
        switch (pick(8)) {
        case 0:
            return leaf();
        case 1:
            return negated(depth - 1);
        case 2:
            return conditional(depth - 1);
        case 3:
            return call(depth - 1);
        default:
            return binary(depth - 1);
        }
    }
};

} // namespace

TEST_F(RandomExpressions, AreWorthWhatTheirTreesAre)
{
    int finite = 0;
    for (int n = 0; n < 20000; ++n) {
        const Tree whole = tree(n % 7);
        bool ok = false;
        const double result = Units::value(whole.text, "-", &ok);
        ASSERT_TRUE(ok) << whole.text.toStdString();
        ASSERT_TRUE(result == whole.value || (std::isnan(result) && std::isnan(whole.value)))
            << whole.text.toStdString() << " is " << whole.value << ", not " << result;
        finite += std::isfinite(whole.value);
    }
    EXPECT_GT(finite, 10000);
    EXPECT_EQ(printed(), "");
}
