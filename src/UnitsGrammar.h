#pragma once

// What the two halves of the evaluator share: UnitsScan.cpp and UnitsApply.cpp.

#include "talmo/Error.h"
#include "talmo/Units.h"

namespace Talmo
{

/// In ascending order; stands for the class of an operator, too.
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
    AboveAll ///< no operator's: nothing is applied first
};

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
