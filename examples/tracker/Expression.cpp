#include "Expression.h"

#include "Text.h"
#include "talmo/Macro.h"
#include "talmo/Numbers.h"
#include "talmo/RegExp.h"
#include "talmo/Units.h"

#include <QList>
#include <QRegExp>

#include <cmath>

namespace tracker
{

namespace
{

using Talmo::Macro;
using Talmo::RE;
using Talmo::RegExp;
using Talmo::Units;

/// A number, with its unit in capture 3; a function, in capture 4; the name of a macro, in capture
/// 5; or an operator, in capture 6. They end where they do for the evaluator.
const QString token =
    QStringLiteral(R"(^([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?)"
                   R"(|^([A-Za-z_][A-Za-z_0-9]*)\(|^([A-Za-z_][A-Za-z_0-9]*))"
                   R"(|^(\|\||&&|[=<>!]=|[-+*/^<>?:,()]))");

std::string noExpression(const std::string &word)
{
    return quoted(word) + " is not an expression";
}

/// Walks an expression as the evaluator does, with the texts of macros in place of their names, and
/// demands what that does not: operands and operators in turn, closed parentheses, one minus sign
/// at a time, names that are macros, units of the table.
class Walk
{
public:
    explicit Walk(const QString &expression)
        : rest(expression)
    {
    }

    /// Goes to the end; false, with `what` if it is nothing general, where something is wrong.
    bool run();

    std::string what;

private:
    struct OpenMacro {
        QString name;
        qint64 left; ///< how many characters are behind its text
    };

    bool takeToken();
    bool enterMacro(const QString &name);
    bool takeNumber(const QString &unit);

    /// Takes what an operand begins with, or may follow one, as \a symbol says.
    bool takeOperator(const QString &symbol);

    QString rest;
    QList<OpenMacro> open; ///< whose texts the walk is in, the innermost last
    bool wantsOperand = true;
    bool isNegated = false; ///< a minus sign was the last token
    int depth = 0;          ///< of open parentheses
};

bool Walk::run()
{
    while (!rest.isEmpty()) {
        if (!takeToken())
            return false;
    }
    return !wantsOperand && depth == 0;
}

bool Walk::takeToken()
{
    if (!RE.match(token, rest))
        return false;
    const QString text = RegExp::prev->cap(0);
    const QString unit = RegExp::prev->cap(3);
    const bool isFunction = !RegExp::prev->cap(4).isEmpty();
    const bool isMacro = !RegExp::prev->cap(5).isEmpty();
    const bool isOperator = !RegExp::prev->cap(6).isEmpty();
    rest.remove(0, text.size());
    while (!open.isEmpty() && rest.size() < open.last().left)
        open.removeLast();
    if (isMacro)
        return enterMacro(text);
    if (isFunction)
        return takeOperator("(");
    return isOperator ? takeOperator(text) : takeNumber(unit);
}

bool Walk::enterMacro(const QString &name)
{
    if (!Macro::isDefined(name)) {
        what = "unknown name " + quoted(toBytes(name));
        return false;
    }
    for (const OpenMacro &macro : open) {
        if (macro.name == name) {
            what = "macro " + quoted(toBytes(name)) + " refers to itself";
            return false;
        }
    }
    open.append({name, rest.size()});
    rest.prepend(Macro::value(name));
    return true;
}

bool Walk::takeNumber(const QString &unit)
{
    if (!isKnownUnit(toBytes(unit))) {
        what = "unknown unit " + quoted(toBytes(unit));
        return false;
    }
    const bool fits = wantsOperand;
    wantsOperand = false;
    return fits;
}

bool Walk::takeOperator(const QString &symbol)
{
    const bool isSign = symbol == "-" && wantsOperand;
    const bool beginsOperand = symbol == "(" || (isSign && !isNegated);
    if (beginsOperand != wantsOperand)
        return false;
    if (symbol == "(")
        ++depth;
    if (symbol == ")")
        --depth;
    isNegated = isSign;
    wantsOperand = symbol != ")";
    return depth >= 0;
}

} // namespace

bool readQuantity(
    const std::string &word, const Quantity &quantity, double &number, std::string &what)
{
    if (Talmo::toNumber(word, number)) // it also takes "+5" and "5.", which no expression holds
        return true;
    what = silentFlaw(word);
    if (!what.empty())
        return false;
    bool ok = false;
    Units::value(fromBytes(word), QStringLiteral("-"), &ok);
    if (!ok) {
        what = noExpression(word);
        return false;
    }
    Units::Value result = Units::val.top();
    number = result.units.isEmpty() ? result.value : result.convert(quantity.unit, &ok);
    if (!ok)
        what = quoted(word) + " is not " + quantity.name;
    else if (!std::isfinite(number))
        what = quoted(word) + " is not finite";
    return what.empty();
}

bool isKnownUnit(const std::string &unit)
{
    // The library remembers an unknown unit that was asked for, with the factor 0.
    return Units::factorHash.value(fromBytes(unit)) > 0;
}

std::string silentFlaw(const std::string &expression)
{
    Walk walk(fromBytes(expression));
    if (walk.run())
        return {};
    return walk.what.empty() ? noExpression(expression) : walk.what;
}

} // namespace tracker
