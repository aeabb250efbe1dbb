// Input: two lines with a value each, and the units into which they are converted.

#include "fuzzing.h"
#include "talmo/Units.h"

#include <QRegularExpression>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <string>

using Talmo::Units;
using Value = Talmo::Units::Value;

namespace
{

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// The kind of \a unit; if the table lacks it, the kind of "".
int kindOf(const QString &unit)
{
    return Units::typeHash.value(unit);
}

/// Reads the value for which \a text stands, and checks it.
Value read(const QString &text)
{
    static const QRegularExpression pattern(
        R"(\A([-+]?[0-9]*\.?[0-9]+([eE][-+]?[0-9]+)?)([A-Za-z][A-Za-z0-9]*)?\z)");
    const QRegularExpressionMatch match = pattern.match(text);
    const double number = std::strtod(match.captured(1).toStdString().c_str(), nullptr);
    printed();
    Value value(text);
    require(printed().isEmpty() == match.hasMatch(), "what is no value is reported");
    require(isSame(value.value, number) && std::signbit(value.value) == std::signbit(number),
        "a value is the nearest double");
    require(value.units == match.captured(3), "the unit is what follows the number");
    return value;
}

/// Checks that a value which is printed and read again is the same.
void checkPrinted(const Value &value)
{
    static const QRegularExpression exponent("\\A[eE][0-9]");
    if (!std::isfinite(value.value) || exponent.match(value.units).hasMatch())
        return; // it is no number, or its unit would be read as an exponent
    const QString text = value.to_s("%.17g", /*withUnits=*/true);
    const Value again = read(text);
    require(isSame(again.value, value.value) && again.units == value.units,
        "what is printed can be read");
}

bool isComparable(double number)
{
    return std::fabs(number) > 1e-250 && std::fabs(number) < 1e250;
}

void checkConversion(Value value, const QString &target)
{
    bool ok = false;
    const double there = value.convert(target, &ok);
    require(ok == (kindOf(value.units) == kindOf(target)), "kinds decide about a conversion");
    require(ok || isSame(there, value.value), "across kinds a number stays");
    const bool known = !Units::types.isEmpty() && Units::factorHash.value(value.units) != 0 &&
                       Units::factorHash.value(target) != 0;
    if (!ok || !known || !isComparable(value.value))
        return;
    Value converted;
    converted.value = there;
    converted.units = target;
    const double back = converted.convert(value.units, &ok);
    require(ok && std::fabs(back - value.value) <= 4 * DBL_EPSILON * std::fabs(value.value),
        "there and back is the same");
}

void checkArithmetic(const Value &a, const Value &b)
{
    const bool sameKind = kindOf(a.units) == kindOf(b.units);
    Value bAsA = b;
    bool ok = false;
    const double converted = bAsA.convert(a.units, &ok);

    printed();
    Value sum = a;
    sum.add(b);
    require(isSame(sum.value, a.value + converted) && sum.units == a.units, "a sum");
    require(printed().isEmpty() == sameKind, "a sum across kinds is reported");
    Value difference = a;
    difference.sub(b);
    require(isSame(difference.value, a.value - converted) && difference.units == a.units,
        "a difference");
    require(printed().isEmpty() == sameKind, "a difference across kinds is reported");

    Value product = a;
    product.mul(b);
    require(isSame(product.value, a.value * b.value), "a product");
    require(product.units == (a.units.isEmpty() ? b.units : a.units), "the unit of a product");
    require(printed().isEmpty() == (a.units.isEmpty() || b.units.isEmpty()),
        "a product of units is reported");

    Value ratio = a;
    ratio.div(b);
    const bool bare = b.units.isEmpty();
    require(isSame(ratio.value, a.value / (bare ? b.value : converted)), "a ratio");
    require(ratio.units == (bare ? a.units : ""), "the unit of a ratio");
    require(printed().isEmpty() == (bare || sameKind), "a ratio across kinds is reported");

    Value negative = a;
    negative.neg();
    require(std::signbit(negative.value) != std::signbit(a.value), "neg flips the sign");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QString text1 = input.takeLine();
    const QString text2 = input.takeLine();
    const QString target = input.takeRest();
    startAfresh();

    const Value a = read(text1);
    const Value b = read(text2);
    checkPrinted(a);
    checkConversion(a, target);
    checkArithmetic(a, b);
    checkArithmetic(b, a);
    printed();
    Units::check(text1, text2);
    require(printed().isEmpty(), "check has nothing to report");
    require(Units::compatibleUnits(target).first() == target, "a unit is compatible with itself");
    require(
        kindOf(Units::standardUnit(target)) == kindOf(target), "a standard unit is of its kind");
    return 0;
}
