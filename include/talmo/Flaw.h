#pragma once

#include <QString>
#include <QStringList>

namespace Talmo
{

/// What is wrong in an expression, or in a line with references, and where it stands.
///
/// The evaluator carries on where it can, often in silence: an unknown name is nothing to it, an
/// unknown unit counts as 0, and a spare operand is dropped. These are found before anything is
/// evaluated:
///
/// - operands and operators that do not take turns, and an expression of nothing;
/// - parentheses that are never closed or closed too often, a minus sign behind another;
/// - a "," outside of the call of a function, a "?" or ":" without the other;
/// - functions that do not exist, or have another number of arguments;
/// - characters that mean nothing there, and "$", which the evaluator drops;
/// - names that are no macro, and units that are not in the table;
/// - numbers that a double does not hold, because they are too large, or nearly 0;
/// - texts of macros that join with what stands beside them to a number, a unit or an operator, as
///   "1e" does with "-3" in x-3, or that end where an operand has to follow;
/// - macros that refer to themselves, also through others, so that the library would go on for
///   ever; macros that insert more than a million characters;
/// - in a line also undefined macros, counters that hold neither digits nor letters alone, a "${"
///   that is never closed, formats that are none, and results that begin another reference.
///
/// A number and a unit may come from two texts, and so may the parts of a name, as in cell_$n.
///
/// What depends on values is not found: units that do not fit together, and results that are not
/// finite. Nor is a "$name" that the text of a "${name}" brings, which stays as it is. An
/// expression or line without a flaw evaluates, and at most its units are reported.
struct Flaw {
    enum class Kind {
        None,
        Syntax,    ///< of an expression
        Name,      ///< that is no macro
        Unit,      ///< that is not in the table
        Number,    ///< too large or too small for a double
        Join,      ///< of the text of a macro with what stands beside it
        Circle,    ///< a macro that refers to itself
        Length,    ///< macros that insert too much
        Counter,   ///< a macro that cannot count
        Reference, ///< in a line: anything else
    };

    QString what;     ///< is wrong, in words: "unknown unit 'parsec'"; empty if all is well
    int position = 0; ///< where that begins in the text that was given, from 0
    int length = 0;   ///< of that in the text that was given; 0 if there is no expression at all

    Kind kind = Kind::None;

    /// Whether the library surely reports this itself when it comes to it. Anything else it may
    /// take in silence, or never end with.
    bool isReported = false;

    /// The expression that is wrong, with what stands for its references; empty outside of one.
    QString expression;

    /// The names from a macro that refers to itself to itself: "a", "b", "a".
    QStringList circle;
};

/// What is wrong in \a expression, before Units::value is given it. Of several flaws, it is the
/// first that may be taken in silence, or else the first. A flaw in the text of a macro stands
/// where the user has named the macro.
///
/// Nothing is evaluated, reported or remembered, and it ends for every expression. It takes about
/// as long as the evaluation. Before main it crashes deliberately (see startupGuard).
Flaw flawOfExpression(const QString &expression);

/// What is wrong in \a line, before Macro::expand is given it, in its references and in the
/// expressions among them; otherwise as flawOfExpression. A flaw in the text of a macro stands
/// where the user has referred to the macro. Counters stay as they are. Behind an undefined macro,
/// with which the expansion would end, nothing is looked at, and no expression before it, either.
/// A chain of macros, each in the text of another, takes time with the square of its length: 16,000
/// take two seconds.
Flaw flawOfLine(const QString &line);

} // namespace Talmo
