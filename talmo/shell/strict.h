#pragma once

#include <QString>
#include <QStringList>

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

    /// Sets \a result to what Units::evaluate gives, unless that is infinite or no number. For "*",
    /// the unit follows if its kind has no standard unit.
    Problem evaluate(
        const QString &format, const QString &expression, const QString &units, QString &result);

    /// Sets \a result to what Macro::expand gives for \a line, unless an expression in it is
    /// infinite or no number. A line with which something is wrong advances no counter.
    Problem expand(const QString &line, QString &result);

private:
    class Counters;

    bool isWrong(const QString &reference);
    int positionOfWrong(const QString &line);

    QStringList reports; ///< of the library, since the latest call began
    std::function<void(const QString &problem)> handlerBefore; // of another such object
};

/// What is wrong in words, with all names of a circle, and with the unit that may have been meant.
QString messageOf(const Flaw &flaw);

} // namespace Talmo
