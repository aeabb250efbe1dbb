#pragma once

// The grammar of expressions: what the two halves of the evaluator share, UnitsScan.cpp and
// UnitsApply.cpp, and what others ask who only look at an expression.

#include "talmo/Error.h"
#include "talmo/Units.h"

#include <QStringList>
#include <QStringView>

namespace Talmo
{

/// In ascending order. A precedence also stands for the class of an operator.
enum Precedence {
    Start,
    Function,
    Parenthesis,
    Comma,
    Conditional,
    LogicalOr,
    LogicalAnd,
    Comparison,
    Sum,
    Product,
    Power,
    UnaryMinus,
    AboveAll ///< higher than that of any operator, so that none is applied first
};

/// An operator as it is written.
struct OperatorToken {
    QString name;
    int precedence;   ///< of the operator that is pushed
    int appliedFirst; ///< pending operators from this precedence upwards are applied first
};

/// The operator at the front of \a text, or null; \a text must not be empty. Where
/// \a expectOperand, a "-" is a minus sign.
const OperatorToken *operatorAhead(QStringView text, bool expectOperand);

/// How many arguments \a function takes; 0 if there is no such function.
int argumentCount(const QString &function);

/// The names of all functions, sorted.
QStringList functionNames();

/// How many values \a pending, an operator or a function, takes from the stack; 0 if it does
/// nothing.
int operandCount(const Units::Operator &pending);

/// Whether \a value counts as false or as true. One that is no number counts as neither.
bool isFalse(const Units::Value &value);
bool isTrue(const Units::Value &value);

/// Reports \a problem, whose %1 is the expression.
inline void reportInExpression(const char *problem)
{
    Error::syntax(QString(problem).arg(Units::currentExpression));
}

inline Units::Value number(double value)
{
    Units::Value result;
    result.value = value;
    return result;
}

} // namespace Talmo
