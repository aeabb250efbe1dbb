#include "Expression.h"

#include "Text.h"
#include "talmo/Numbers.h"
#include "talmo/Units.h"

#include <cmath>

namespace tracker
{

using Talmo::Flaw;
using Talmo::Units;

namespace
{

std::string noExpression(const std::string &word)
{
    return quoted(word) + " is not an expression";
}

} // namespace

bool readQuantity(
    const std::string &word, const Quantity &quantity, double &number, std::string &what)
{
    if (Talmo::toNumber(word, number)) // it also takes "+5" and "5.", which no expression holds
        return true;
    what = messageAbout(Talmo::flawOfExpression(fromBytes(word)));
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

std::string messageAbout(const Flaw &flaw)
{
    if (flaw.isReported)
        return {};
    return flaw.kind == Flaw::Kind::Syntax ? noExpression(toBytes(flaw.expression))
                                           : toBytes(flaw.what);
}

} // namespace tracker
