#include "Expression.h"

#include "Macro.h"
#include "Numbers.h"
#include "RegExp.h"
#include "Text.h"
#include "Units.h"

#include <QStringList>

#include <cmath>

namespace tracker
{

namespace
{

using Talmo::Macro;
using Talmo::RE;
using Talmo::RegExp;
using Talmo::Units;

/// A number, with its unit in capture 3; or a name, in capture 4, with what tells that it is no
/// macro in capture 5: the "(" of a function, or the "$" of a reference that completes it. Numbers
/// and names end where they do for the evaluator.
const QString token = QStringLiteral(R"(([0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?)"
                                     R"(|([A-Za-z_][A-Za-z_0-9]*)([($])?)");

const QString emptyPlace = QStringLiteral(R"((^|[(,])[,)]|,$)");

std::string noExpression(const std::string &word)
{
    return quoted(word) + " is not an expression";
}

/// Whether the table has \a unit. The library remembers an unknown one that was asked for, as 0.
bool isKnownUnit(const QString &unit)
{
    return Units::factorHash.value(unit) > 0;
}

/// See silentFlaw; \a within names the macros in whose text \a expression is.
std::string flawIn(const QString &expression, const QStringList &within)
{
    if (RE.match(emptyPlace, expression))
        return noExpression(toBytes(expression));
    int length = 0;
    for (int at = 0; (at = RE.findAt(token, expression, at)) >= 0; at += length) {
        length = RegExp::prev->matchedLength();
        const QString unit = RegExp::prev->cap(3);
        const QString name = RegExp::prev->cap(4);
        const bool isMacro = !name.isEmpty() && RegExp::prev->cap(5).isEmpty();
        if (!unit.isEmpty() && !isKnownUnit(unit))
            return "unknown unit " + quoted(toBytes(unit));
        if (!isMacro)
            continue;
        if (!Macro::isDefined(name))
            return "unknown name " + quoted(toBytes(name));
        if (within.contains(name))
            return "macro " + quoted(toBytes(name)) + " refers to itself";
        std::string flaw = flawIn(Macro::value(name), within + QStringList(name));
        if (!flaw.empty())
            return flaw;
    }
    return {};
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
    if (!ok || word.find('$') != std::string::npos) { // the library passes over any "$"
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

std::string silentFlaw(const std::string &expression)
{
    return flawIn(fromBytes(expression), {});
}

} // namespace tracker
