#pragma once

#include "EvaluationWatch.h"

#include <QString>

#include <functional>

namespace Talmo
{

struct Flaw;

/// What is wrong in a text.
struct Problem {
    QString message;  ///< empty if all is well
    int position = 0; ///< where it begins, from 0
};

/// Evaluates and expands without the freedoms that the library takes: what it would report, or take
/// in silence, is a problem, and there is no result. While there is such an object, nothing that
/// the library reports is printed.
class Strict
{
public:
    Strict();
    Strict(const Strict &) = delete;
    Strict &operator=(const Strict &) = delete;
    ~Strict();

    /// Sets \a result to what Units::evaluate gives, unless that depends on a number that is
    /// infinite or none. For "*", the unit follows if its kind has no standard unit.
    Problem evaluate(
        const QString &format, const QString &expression, const QString &units, QString &result);

    /// Sets \a result to what Macro::expand gives for \a line, unless an expression in it depends
    /// on a number that is infinite or none. Counters count also where something is wrong, as they
    /// will once it is mended: the lines behind keep their numbers.
    Problem expand(const QString &line, QString &result);

private:
    class Counters;

    /// Forgets the evaluations before.
    void begin();

    QString report;     ///< the first one of the library since then
    int reportedIn = 0; ///< in which evaluation that was
    EvaluationWatch watch;
    std::function<void(const QString &problem)> handlerBefore; // of another such object
};

/// Counts on as expanding \a line does, whatever is wrong in it.
void advanceCounters(const QString &line);

/// What is wrong in words, with all names of a circle, and with the unit that may have been meant.
QString messageOf(const Flaw &flaw);

} // namespace Talmo
