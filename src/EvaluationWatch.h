#pragma once

#include "talmo/Units.h"

#include <QString>
#include <QVarLengthArray>

namespace Talmo
{

/// Looks at the numbers that evaluations come through on their ways. The evaluator itself goes on
/// with one that is infinite or none, so 1/(1/0) is 0 and 0/0?1:2 is 1, and with a product, ratio
/// or power that a double does not hold, so 1e-200*1e-200/1e-300 is 0. As long as such an object
/// lives, it remembers the first operation that gave such a number, if a result depends on it. What
/// is evaluated and reported does not change. Deliberate: functions may become 0, as exp(-1000)
/// does.
///
/// A result does not depend on the alternative of a conditional that is not chosen, so n==0?0:1/n
/// is a number for every n. Nor does it depend on one operand of && and || where the other one
/// decides.
class EvaluationWatch
{
public:
    /// What is wrong with a number.
    enum class Defect {
        None,
        Infinite,
        NoNumber,
        TooSmall, ///< for a double, though no factor is 0
    };

    /// What was wrong first.
    struct Fault {
        int evaluation =
            0;             ///< which one by Units::evaluate since the last clear, from 1; 0 if none
        int token = 0;     ///< of the operation, from 1; 0 if it is the unit of the result
        QString operation; ///< an operator, or the name of a function; empty if it is the unit
        Defect defect = Defect::None;
    };

    EvaluationWatch();
    EvaluationWatch(const EvaluationWatch &) = delete;
    EvaluationWatch &operator=(const EvaluationWatch &) = delete;
    ~EvaluationWatch();

    void clear();
    const Fault &fault() const { return first; }

    /// The number of the latest evaluation.
    int evaluation() const { return evaluations; }

    // For the evaluator.
    static EvaluationWatch *current; ///< null if there is none

    void begin();
    void apply(const Units::Operator &pending);
    void noteConversion(double from, double converted);
    void end(double result);

private:
    /// The fault of a value, as an index into `faults`; 0 for none.
    using Stain = int;

    Stain stainAt(int index) const { return index < stains.size() ? stains[index] : 0; }
    Defect takeDefect(double number);
    Stain stainOfOperands(const Units::Operator &pending) const;
    void stain(int index, Stain with);

    EvaluationWatch *before; ///< the watch in whose place this one is
    int evaluations = 0;
    Defect ofConversion = Defect::None; ///< since it was asked last
    QVarLengthArray<Fault, 1> faults;   ///< of this evaluation, behind one that is none
    QVarLengthArray<Stain, 8> stains; ///< of the values in Units::val; none at all if all are clean
    Fault first;
};

} // namespace Talmo
