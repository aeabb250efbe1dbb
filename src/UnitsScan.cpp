// Units continued: scan and parse expressions (Units::value). This file owns no static member.
//
// The evaluator works by operator precedence, with two stacks. Scan takes one token after the other
// from the front of the text. A number goes to `val`. Before an operator goes to `op`, the pending
// operators that bind as strongly or more strongly are popped and applied (doit); only a "^" leaves
// another "^" pending. So the precedence of the pending operators rises from an open "(" or
// function upwards. A ")" applies all operators that came after its "(", and the end of the text
// applies all that are left.
//
// An operator that fails is reported, what it leaves on the stacks stays there, and the scan goes
// on. An evaluation fails only at a text that is no token, at a ":" or ")" without its partner, and
// if `val` does not hold exactly one value at the end.

#include "talmo/Units.h"

#include "EvaluationWatch.h"
#include "Tokens.h"
#include "UnitsGrammar.h"
#include "WorkingText.h"
#include "talmo/Macro.h"
#include "talmo/StartupGuard.h"

#include <utility>

namespace Talmo
{

namespace
{

using Value = Units::Value;

// The scan takes the first row with which the text begins, so the longer names come first.
// clang-format off
const OperatorToken operatorTokens[] = {
    { QStringLiteral("("),  Parenthesis, AboveAll    },
    { QStringLiteral(","),  Comma,       Conditional },
    { QStringLiteral("?"),  Conditional, Conditional },
    { QStringLiteral(":"),  Conditional, LogicalOr   },   // then a "?" must be pending on top
    { QStringLiteral("||"), LogicalOr,   LogicalOr   },
    { QStringLiteral("&&"), LogicalAnd,  LogicalAnd  },
    { QStringLiteral("=="), Comparison,  Comparison  },
    { QStringLiteral(">="), Comparison,  Comparison  },
    { QStringLiteral("<="), Comparison,  Comparison  },
    { QStringLiteral(">"),  Comparison,  Comparison  },
    { QStringLiteral("<"),  Comparison,  Comparison  },
    { QStringLiteral("!="), Comparison,  Comparison  },
    { QStringLiteral("+"),  Sum,         Sum         },
    { QStringLiteral("-"),  Sum,         Sum         },
    { QStringLiteral("*"),  Product,     Product     },
    { QStringLiteral("/"),  Product,     Product     },
    { QStringLiteral("^"),  Power,       UnaryMinus  },   // right-associative: another ^ stays pending
};

// Where an operand is expected, this row serves in the place of "-". There is no unary plus.
const OperatorToken unaryMinus =
    { QStringLiteral("-"),  UnaryMinus,  UnaryMinus  };
// clang-format on

/// Whether \a text begins with \a token; neither may be empty.
bool startsWith(QStringView text, const QString &token)
{
    // Comparing the first character saves time: it nearly always decides, without the call.
    return text.front() == token.front() && text.startsWith(token);
}

} // namespace

const OperatorToken *operatorAhead(QStringView text, bool expectOperand)
{
    if (expectOperand && startsWith(text, unaryMinus.name))
        return &unaryMinus;
    for (const OperatorToken &token : operatorTokens) {
        if (startsWith(text, token.name))
            return &token;
    }
    return nullptr;
}

namespace
{

void apply(const Units::Operator &pending)
{
    if (EvaluationWatch *const watch = EvaluationWatch::current)
        watch->apply(pending);
    else
        Units::doit(pending);
}

/// Pops and applies the pending operators from \a precedence upwards.
void applyPending(int precedence)
{
    while (!Units::op.isEmpty() && Units::op.top().precedence >= precedence)
        apply(Units::op.pop());
}

/// One pass over an expression.
class Scan
{
public:
    explicit Scan(QString expression)
        : rest(std::move(expression))
    {
    }

    /// Takes all tokens. Returns false where the text does not begin with a token.
    bool run();

private:
    bool takeToken();
    void takeName();
    bool takeNumber();
    bool takeOperator();
    bool closeParenthesis();

    WorkingText rest;
    int token = 0; ///< how many have been begun
    bool expectOperand = true;
};

bool Scan::run()
{
    while (!rest.isEmpty()) {
        ++token;
        if (!takeToken())
            return false;
    }
    return true;
}

// The first character tells which kind of token it is.
bool Scan::takeToken()
{
    const QChar first = rest.ahead().front();
    if (isNumberStart(first))
        return takeNumber();
    if (isWordCharacter(first)) {
        takeName();
        return true;
    }
    if (first == ')')
        return closeParenthesis();
    return takeOperator();
}

void Scan::takeName()
{
    const QStringView ahead = rest.ahead();
    const int length = nameAhead(ahead);
    const QString name = ahead.left(length).toString();
    if (length < ahead.size() && ahead[length] == '(') {
        rest.drop(length + 1);
        Units::op.append({name, Function, token});
        expectOperand = true;
        return;
    }
    // Deliberate: the text of the macro is scanned in the place of its name. It may be empty, and
    // its end may form one token with the text that follows. A macro that holds its own name goes
    // on for ever.
    rest.replaceFront(length, Macro::value(name));
}

bool Scan::takeNumber()
{
    const NumberToken ahead = numberAhead(rest.ahead());
    if (!ahead.isNumber())
        return false;
    Value value = number(toDouble(ahead.number));
    value.units = ahead.unit.toString();
    Units::val.append(std::move(value));
    rest.drop(ahead.size());
    expectOperand = false;
    return true;
}

bool Scan::takeOperator()
{
    const OperatorToken *const ahead = operatorAhead(rest.ahead(), expectOperand);
    if (ahead == nullptr)
        return false;
    rest.drop(static_cast<int>(ahead->name.size()));
    applyPending(ahead->appliedFirst);
    if (ahead->name == QLatin1String(":") && Units::op.top().name != "?")
        return false;
    Units::op.append({ahead->name, ahead->precedence, token});
    expectOperand = true;
    return true;
}

bool Scan::closeParenthesis()
{
    rest.drop(1);
    Units::commaCount = 0; // Deliberate: commas are counted from here, and not from a "("
    applyPending(Comma);
    const int opening = Units::op.top().precedence;
    if (opening != Parenthesis && opening != Function)
        return false;
    const Units::Operator opened = Units::op.pop();
    if (opening == Function)
        apply(opened);
    expectOperand = false;
    return true;
}

/// Evaluates \a text, which must not be empty, onto the stack. Returns false if it is no
/// expression.
bool evaluateText(QString text)
{
    Units::val.clear();
    Units::op.clear();
    Units::op.append({QStringLiteral("--start--"), Start});
    Units::commaCount = 0;
    if (!Scan(std::move(text)).run())
        return false;
    applyPending(Start);
    return Units::val.size() == 1;
}

/// Expresses the top value in \a units (see Value::convert) and returns its number.
double expressTop(const QString &units, bool *ok)
{
    Value &top = Units::val.top();
    top.value = top.convert(units, ok);
    top.units = units;
    return top.value;
}

} // namespace

double Units::value(QString expr, QString units, bool *ok)
{
    startupGuard();
    if (units == QLatin1String("*")) {
        value(expr, QStringLiteral("-"), ok);
        return val.isEmpty() ? 0 : expressTop(standardUnit(val.top().units), nullptr);
    }
    currentExpression = expr;
    // Deliberate: blanks stay in the working text, so "1 + 2" is a syntax error.
    expr.remove('$');
    if (expr.isEmpty())
        return 0; // Deliberate: this changes neither the flag nor the stacks
    static bool my_ok;
    bool &flag = ok != nullptr ? *ok : my_ok;
    flag = evaluateText(std::move(expr));
    if (!flag) {
        if (ok == nullptr)
            reportInExpression("D:Syntax Error in '%1'");
        return 0;
    }
    return units == QLatin1String("-") ? val.top().value : expressTop(units, ok);
}

} // namespace Talmo
