// A value that is not finite, or that was computed from one, is stained: 1/(1/0) is 0, but stained.
// The stains are kept beside the stack of values. As long as there is none, all that is done for an
// operation is to look whether its result is finite.

#include "EvaluationWatch.h"

#include "UnitsGrammar.h"

#include <cmath>

namespace Talmo
{

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
    hasOverflown = false;
}

void EvaluationWatch::noteConversion(double converted)
{
    if (!std::isfinite(converted))
        hasOverflown = true;
}

void EvaluationWatch::apply(const Units::Operator &pending)
{
    const Stain ofOperands = stains.isEmpty() ? 0 : stainOfOperands(pending);
    Units::doit(pending);
    const int top = static_cast<int>(Units::val.size()) - 1;
    if (top < 0)
        return;
    const double result = Units::val.at(top).value;
    const bool isFinite = std::isfinite(result) && !hasOverflown;
    if (stains.isEmpty() && isFinite)
        return;
    hasOverflown = false;
    if (operandCount(pending) == 0)
        return;
    if (ofOperands != 0 || isFinite)
        return stain(top, ofOperands);
    faults.append({evaluations, pending.token, pending.name, std::isnan(result)});
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
    if (stainAt(0) != 0)
        first = faults[stainAt(0)];
    else if (hasOverflown || !std::isfinite(result))
        first = {evaluations, 0, QString(), std::isnan(result)};
}

} // namespace Talmo
