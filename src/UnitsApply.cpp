// Units continued: what operators and functions do (Units::doit). This file owns no static member.
//
// The tables say how many values an operator or function needs and what it applies. What a row
// applies finds at least as many values on the stack as the row says; what it pops before it
// reports a problem stays popped.

#include "talmo/Units.h"

#include "UnitsGrammar.h"
#include "talmo/Error.h"
#include "talmo/StartupGuard.h"

#include <cmath>
#include <cstddef>
#include <functional>
#include <utility>

namespace Talmo
{

namespace
{

using Value = Units::Value;

bool hasUnits(const Value &value)
{
    return !value.units.isEmpty();
}

constexpr double smallestTruth = 1e-12; ///< a number of a smaller magnitude is false

} // namespace

bool isFalse(const Value &value)
{
    return std::fabs(value.value) < smallestTruth;
}

// Deliberate: this is not the opposite of isFalse. For NaN both are false, so NaN counts as true
// in && and as a condition, but not in ||.
bool isTrue(const Value &value)
{
    return std::fabs(value.value) >= smallestTruth;
}

namespace
{

struct Choice {
    Value condition;
    Value chosen; ///< of the two alternatives
};

/// Pops the second alternative, the first one, and the condition.
Choice popChoice()
{
    const Value second = Units::val.pop();
    const Value first = Units::val.pop();
    const Value condition = Units::val.pop();
    return {condition, isFalse(condition) ? second : first};
}

void chooseByOperator()
{
    const Choice choice = popChoice();
    if (hasUnits(choice.condition))
        reportInExpression("J:Units conversion error in '%1'");
    else
        Units::val.append(choice.chosen);
}

// Deliberate: here the condition may have units.
void chooseByFunction()
{
    Units::val.append(popChoice().chosen);
}

void logicalOr()
{
    const Value right = Units::val.pop();
    const Value left = Units::val.pop();
    Units::val.append(number(isTrue(left) || isTrue(right)));
}

void logicalAnd()
{
    const Value right = Units::val.pop();
    const Value left = Units::val.pop();
    Units::val.append(number(!isFalse(left) && !isFalse(right)));
}

/// Pops the right operand and returns the left one minus the right one. The left one stays.
double popDifference()
{
    const Value right = Units::val.pop();
    Value difference = Units::val.top();
    return difference.sub(right).value;
}

// Deliberate: numbers are compared exactly, without a tolerance.
template <typename Relation>
void compare()
{
    const double difference = popDifference();
    Units::val.top() = number(Relation()(difference, 0.0));
}

template <Value &(Value::*operation)(Value)>
void combine()
{
    Value right = Units::val.pop();
    (Units::val.top().*operation)(std::move(right));
}

void raise()
{
    const Value exponent = Units::val.pop();
    Value &base = Units::val.top();
    if (hasUnits(exponent) || hasUnits(base))
        reportInExpression("S:Invalid units in '%1'");
    else
        base.value = std::pow(base.value, exponent.value);
}

struct OperatorRow {
    int precedence;
    const char *name; ///< null for any
    int values;       ///< how many values it needs
    void (*apply)();
};

constexpr const char *any = nullptr;

// precedence, name, how many values it needs, what it applies. Two operators have no row and do
// nothing: the start of the evaluation, and ":", because its "?" does the work.
// clang-format off
const OperatorRow operatorRows[] = {
    { Parenthesis, any,  0, [] { reportInExpression("I:Syntax Error in '%1'"); } }, // never closed
    { Comma,       any,  0, [] { ++Units::commaCount; } },
    { Conditional, "?",  3, chooseByOperator },
    { LogicalOr,   any,  2, logicalOr },
    { LogicalAnd,  any,  2, logicalAnd },
    { Comparison,  "==", 2, compare<std::equal_to<>> },
    { Comparison,  "<=", 2, compare<std::less_equal<>> },
    { Comparison,  ">=", 2, compare<std::greater_equal<>> },
    { Comparison,  ">",  2, compare<std::greater<>> },
    { Comparison,  "<",  2, compare<std::less<>> },
    { Comparison,  "!=", 2, compare<std::not_equal_to<>> },
    { Comparison,  any,  2, [] { popDifference(); reportInExpression("K:Syntax Error in '%1'"); } },
    { Sum,         "+",  2, combine<&Value::add> },
    { Sum,         "-",  2, combine<&Value::sub> },
    { Sum,         any,  2, [] { Units::val.pop(); reportInExpression("L:Syntax Error in '%1'"); } },
    { Product,     "*",  2, combine<&Value::mul> },
    { Product,     "/",  2, combine<&Value::div> },
    { Product,     any,  2, [] { Units::val.pop(); reportInExpression("R:Syntax Error in '%1'"); } },
    { Power,       any,  2, raise },
    { UnaryMinus,  "-",  1, [] { Units::val.top().neg(); } },
    { UnaryMinus,  any,  1, [] { reportInExpression("T:Syntax Error in '%1'"); } },
};
// clang-format on

/// Pops the second argument and returns it in the units of the first argument, which stays.
double popConverted()
{
    Value second = Units::val.pop();
    return second.convert(Units::val.top().units);
}

void arcTangent()
{
    const double second = popConverted();
    Units::val.top() = number(std::atan2(Units::val.top().value, second));
}

void power()
{
    const Value exponent = Units::val.pop();
    const Value base = Units::val.pop();
    if (hasUnits(exponent) || hasUnits(base))
        reportInExpression("Q:Invalid units in '%1'");
    else
        Units::val.append(number(std::pow(base.value, exponent.value)));
}

/// Replaces two values by one, in the units of the first: the second value if \a Relation holds
/// between the second and the first, or else the first.
template <typename Relation>
void extreme()
{
    const double second = popConverted();
    Value &first = Units::val.top();
    if (Relation()(second, first.value))
        first.value = second;
}

struct FunctionRow {
    const char *name;
    int arguments;
    const char *wrongCount; ///< what is reported if the number of arguments is another one
    void (*apply)();
};

constexpr const char *notTwoArguments = "O:Syntax Error in '%1'";

// name, number of arguments, what is reported if that is another one, what it applies
// clang-format off
const FunctionRow functions[] = {
    { "if",    3, "M:Syntax Error in '%1'", chooseByFunction },
    { "atan2", 2, notTwoArguments,          arcTangent },
    { "pow",   2, "P:Syntax Error in '%1'", power },
    { "min",   2, notTwoArguments,          extreme<std::less_equal<>> },
    { "max",   2, notTwoArguments,          extreme<std::greater_equal<>> },
};

struct UnaryFunction {
    const char *name;
    double (*apply)(double);
};

// The functions of one number without units.
const UnaryFunction unaryFunctions[] = {
    { "sqrt",  std::sqrt  },
    { "sin",   std::sin   },
    { "cos",   std::cos   },
    { "tan",   std::tan   },
    { "asin",  std::asin  },
    { "acos",  std::acos  },
    { "atan",  std::atan  },
    { "exp",   std::exp   },
    { "sinh",  std::sinh  },
    { "cosh",  std::cosh  },
    { "tanh",  std::tanh  },
    { "log",   std::log   },
    { "log10", std::log10 },
    { "ceil",  std::ceil  },
    { "floor", std::floor },
    { "abs",   std::fabs  },
    { "fabs",  std::fabs  },
};
// clang-format on

/// The row of \a table that is called \a name, or null.
template <typename Row, std::size_t size>
const Row *findRow(const Row (&table)[size], const QString &name)
{
    for (const Row &row : table) {
        if (name == QLatin1String(row.name))
            return &row;
    }
    return nullptr;
}

/// True if a call has \a count arguments and the stack has as many values.
bool hasArguments(int count)
{
    return Units::commaCount == count - 1 && Units::val.size() >= count;
}

/// Applies a function of one number. A name that is not in the other table counts as one.
void applyUnaryFunction(const QString &name)
{
    if (!hasArguments(1)) {
        reportInExpression("G:Syntax Error in '%1'");
        return;
    }
    Value &argument = Units::val.top();
    if (hasUnits(argument)) {
        reportInExpression("H:Units conversion error in '%1'");
        return;
    }
    if (const UnaryFunction *const function = findRow(unaryFunctions, name))
        argument.value = function->apply(argument.value);
    else
        Error::syntax(
            QStringLiteral("Unknown function %1 in '%2'").arg(name, Units::currentExpression));
}

void applyFunction(const QString &name)
{
    const FunctionRow *const function = findRow(functions, name);
    if (function == nullptr)
        applyUnaryFunction(name);
    else if (!hasArguments(function->arguments))
        reportInExpression(function->wrongCount);
    else
        function->apply();
}

/// The row of \a pending, or null: then it does nothing.
const OperatorRow *findOperator(const Units::Operator &pending)
{
    for (const OperatorRow &row : operatorRows) {
        if (row.precedence == pending.precedence &&
            (row.name == any || pending.name == QLatin1String(row.name)))
            return &row;
    }
    return nullptr;
}

void applyOperator(const OperatorRow &row)
{
    if (Units::val.size() >= row.values)
        row.apply();
    else if (row.precedence == Conditional)
        reportInExpression("J:Syntax  error in '%1'"); // Deliberate: two blanks
    else
        reportInExpression("X:Syntax error in '%1'");
}

} // namespace

int argumentCount(const QString &function)
{
    if (const FunctionRow *const row = findRow(functions, function))
        return row->arguments;
    return findRow(unaryFunctions, function) != nullptr ? 1 : 0;
}

QStringList functionNames()
{
    QStringList names;
    for (const FunctionRow &row : functions)
        names += QString(row.name);
    for (const UnaryFunction &row : unaryFunctions)
        names += QString(row.name);
    names.sort();
    return names;
}

int operandCount(const Units::Operator &pending)
{
    if (pending.precedence == Function)
        return argumentCount(pending.name);
    const OperatorRow *const row = findOperator(pending);
    return row != nullptr ? row->values : 0;
}

void Units::doit(Operator pending)
{
    startupGuard();
    if (pending.precedence == Function) {
        applyFunction(pending.name);
        return;
    }
    if (const OperatorRow *const row = findOperator(pending))
        applyOperator(*row);
}

} // namespace Talmo
