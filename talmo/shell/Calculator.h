#pragma once

#include "strict.h"

#include <QString>
#include <QStringList>

#include <functional>

namespace Talmo
{

/// What may stand where a user types a word.
struct Completion {
    int length = 0;    ///< of that which is there already, directly before the cursor
    QStringList words; ///< each begins with that; sorted
};

/// What `talmo eval` says to a user who types line by line.
class Calculator
{
public:
    /// Sets \a result to the value of \a expression, or returns what is wrong.
    using Evaluate = std::function<Problem(const QString &expression, QString &result)>;

    /// What comes of a line.
    struct Answer {
        QString output;  ///< lines, each with its newline; empty if there is nothing to say
        QString problem; ///< what is wrong, without a newline; empty if all is well
        int place = -1;  ///< where that stands in the line, from 0; -1 for the line as a whole
    };

    explicit Calculator(Evaluate itsEvaluation)
        : evaluate(std::move(itsEvaluation))
    {
    }

    /// Evaluates the expression \a line, performs it if it is a definition, "NAME = TEXT", or a
    /// command, ":help". Blanks around it count for nothing.
    Answer answer(const QString &line);

    /// Whether the user has asked to leave.
    bool isOver() const { return hasEnded; }

    /// Takes lines from the terminal, which is standard input and output, until its user leaves.
    void run();

    /// What may stand behind \a before, the line up to the cursor: units behind the digits of a
    /// number, else functions, with their parenthesis, and macros; commands behind a ":" in front.
    static Completion completionOf(const QString &before);

private:
    Answer answerCommand(const QString &text);
    static Answer answerUnits(const QString &unit);

    Evaluate evaluate;
    bool hasEnded = false;
};

} // namespace Talmo
