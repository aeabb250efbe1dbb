// A value that is not finite, or has lost its digits because it is too small, or that was computed
// from one, is stained: 1/(1/0) is 0, but stained. The stains are kept beside the stack of values.
// As long as there is none, all that is done for an operation is to look at its result.

#include "EvaluationWatch.h"

#include "UnitsGrammar.h"

#include <cmath>
#include <limits>
#include <utility>

namespace Talmo
{

namespace
{

bool isTiny(double number)
{
    return std::fabs(number) < std::numeric_limits<double>::min();
}

/// Whether the result of \a pending is 0 only if a double cannot hold it.
bool hasFactors(const Units::Operator &pending)
{
    const auto count = Units::val.size();
    const bool isPower = pending.precedence == Power || pending.name == QLatin1String("pow");
    if ((!isPower && pending.precedence != Product) || count < 2)
        return false;
    return Units::val.at(count - 2).value != 0 && (isPower || Units::val.at(count - 1).value != 0);
}

EvaluationWatch::Defect defectOf(double number)
{
    if (std::isnan(number))
        return EvaluationWatch::Defect::NoNumber;
    return std::isinf(number) ? EvaluationWatch::Defect::Infinite : EvaluationWatch::Defect::None;
}

} // namespace

EvaluationWatch *EvaluationWatch::current = nullptr;

EvaluationWatch::EvaluationWatch()
    : before(current)
    , faults(1)
{
    current = this;
}

EvaluationWatch::~EvaluationWatch()
{
    current = before;
}

void EvaluationWatch::clear()
{
    evaluations = 0;
    first = Fault();
}

void EvaluationWatch::begin()
{
    ++evaluations;
    faults.resize(1);
    stains.clear();
    ofConversion = Defect::None;
}

void EvaluationWatch::noteConversion(double from, double converted)
{
    if (!std::isfinite(converted))
        ofConversion = Defect::Infinite;
    else if (isTiny(converted) && from != 0)
        ofConversion = Defect::TooSmall;
}

/// What is wrong with \a number, to which conversions may have led; these count from now on.
EvaluationWatch::Defect EvaluationWatch::takeDefect(double number)
{
    const Defect conversion = std::exchange(ofConversion, Defect::None);
    const Defect own = defectOf(number);
    return own == Defect::None ? conversion : own;
}

void EvaluationWatch::apply(const Units::Operator &pending)
{
    const Stain ofOperands = stains.isEmpty() ? 0 : stainOfOperands(pending);
    const bool isNeverZero = hasFactors(pending);
    Units::doit(pending);
    const int top = static_cast<int>(Units::val.size()) - 1;
    if (top < 0)
        return;
    const double result = Units::val.at(top).value;
    Defect defect = takeDefect(result);
    if (defect == Defect::None && isNeverZero && isTiny(result))
        defect = Defect::TooSmall;
    if ((stains.isEmpty() && defect == Defect::None) || operandCount(pending) == 0)
        return;
    if (ofOperands != 0 || defect == Defect::None)
        return stain(top, ofOperands);
    faults.append({evaluations, pending.token, pending.name, defect});
    stain(top, static_cast<Stain>(faults.size()) - 1);
}

EvaluationWatch::Stain EvaluationWatch::stainOfOperands(const Units::Operator &pending) const
{
    const int count = operandCount(pending);
    const int begin = static_cast<int>(Units::val.size()) - count;
    if (count == 0 || begin < 0)
        return 0; // it does nothing, or reports that values are missing
    const auto isConditional = pending.precedence == Conditional || pending.name == "if";
    if (isConditional && stainAt(begin) == 0)
        return stainAt(isFalse(Units::val.at(begin)) ? begin + 2 : begin + 1);
    const auto isDecided = [&](int index) {
        const Units::Value &value = Units::val.at(index);
        return stainAt(index) == 0 && ((pending.precedence == LogicalAnd && isFalse(value)) ||
                                          (pending.precedence == LogicalOr && isTrue(value)));
    };
    Stain found = 0;
    for (int index = begin; index < begin + count; ++index) {
        if (isDecided(index))
            return 0;
        found = found == 0 ? stainAt(index) : found;
    }
    return found;
}

/// Stains the value at \a index, the top of the stack.
void EvaluationWatch::stain(int index, Stain with)
{
    const int size = static_cast<int>(stains.size());
    stains.resize(index + 1);
    for (int each = size; each < index; ++each)
        stains[each] = 0;
    stains[index] = with;
}

void EvaluationWatch::end(double result)
{
    if (first.evaluation != 0)
        return;
    const Defect defect = takeDefect(result);
    if (stainAt(0) != 0)
        first = faults[stainAt(0)];
    else if (defect != Defect::None)
        first = {evaluations, 0, QString(), defect};
}

} // namespace Talmo
