// Input: a line with the format, a line with the units, and the expression.

#include "FlawChecks.h"
#include "fuzzing.h"
#include "talmo/Macro.h"
#include "talmo/Units.h"

#include <QRegularExpression>

#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

using namespace Talmo;

namespace
{

/// Defines names for expressions. None leads back to itself, or an evaluation would go on for ever.
void defineMacros()
{
    Macro::hash = {{"x", "-2"}, {"sum", "1+2"}, {"e1", "2e"}, {"l", "3mm"}, {"empty", ""},
        {"call", "sin("}, {"twice", "sum*l"}};
}

/// \a number as printf prints it with \a format; no value if \a format is not one conversion in
/// plain text.
std::optional<QString> asPrintfPrints(const QString &format, double number)
{
    static const QRegularExpression pattern(
        R"(\A((?:[^%]|%%)*)(%[-+ #0]*([0-9]*)(?:\.([0-9]*))?l?[aAeEfFgG])((?:[^%]|%%)*)\z)",
        QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = pattern.match(format);
    const double longest = 4095;
    if (!match.hasMatch() || match.captured(3).toDouble() > longest ||
        match.captured(4).toDouble() > longest)
        return std::nullopt;
    const std::string conversion = match.captured(2).toStdString();
    char text[5000];
    const int length = std::snprintf(text, sizeof text, conversion.c_str(), number);
    require(length >= 0 && length < static_cast<int>(sizeof text), "a number fits");
    return match.captured(1).replace("%%", "%") + text + match.captured(5).replace("%%", "%");
}

/// Checks what is printed of the result that was left on the stack.
void checkPrinted(const QString &text, const QString &format, const QString &units)
{
    Units::Value result = Units::val.top();
    bool sameKind = true;
    const double number =
        units == "-" || units == "*" ? result.value : result.convert(units, &sameKind);
    const std::optional<QString> expected = asPrintfPrints(format, number);
    const QString behind = units == "-" ? result.units : "";
    require(text == (expected ? *expected + behind : ""), "evaluate prints as printf does");
}

bool isSame(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

/// Checks that the other entry points agree on \a expression.
void checkAgreement(const QString &expression)
{
    bool ok = false;
    const double number = Units::value(expression, "-", &ok);
    const bool isBlank = QString(expression).remove('$').isEmpty();
    const QString unit = ok ? Units::val.top().units : "";
    require(ok || number == 0, "what is no expression is 0");
    require(!ok || (Units::val.size() == 1 && isSame(Units::val.top().value, number)),
        "an expression leaves its value");
    require(isBlank || Units::unit(expression) == unit, "unit gives the unit of the value");
    require(Units::isFloat(expression) == ok, "isFloat tells what is an expression");
    bool stillOk = false;
    require(isSame(Units::value(expression, "-", &stillOk), number) && stillOk == ok,
        "an expression has one value");
}

/// Without a flaw, \a expression evaluates, and nothing but its units may be reported.
void checkFlaw(const QString &expression)
{
    printed();
    const Flaw flaw = flawOfExpression(expression);
    require(hasPlace(flaw, expression), "a flaw stands in the expression");
    require(printed().isEmpty(), "looking for flaws reports nothing");
    Units::value(expression, "-", nullptr);
    require(isReportOf(flaw, printed()), "what is reported is no flaw, or marked");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Input input(data, size);
    const QString format = input.takeLine();
    const QString units = input.takeLine();
    const QString expression = input.takeRest();
    startAfresh();
    defineMacros();

    const QString text = Units::evaluate(format, expression, units);
    const auto most = 4 * expression.size() + 2; // a name stands for at most four tokens
    require(Units::val.size() <= most && Units::op.size() <= most, "the stacks are bounded");
    checkPrinted(text, format, units);
    checkAgreement(expression);
    checkFlaw(expression);
    return 0;
}
