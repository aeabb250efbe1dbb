#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

namespace Talmo
{

/// What came of a piece of work.
struct Answer {
    enum End {
        Given,
        Late,   ///< the time is over
        Broken, ///< the work has ended without an answer
    };

    End end = Given;
    QByteArray text; ///< what was returned, if it was
    QString reason;  ///< how it is Broken, as in "ended by signal 11 (Segmentation fault)"
};

/// What \a work returns, if it does within so many milliseconds. It works in a process of its own.
/// So neither a crash nor a network drive that answers no more, on which a call of the system waits
/// for ever, stops anybody else.
Answer answerWithin(int milliseconds, const std::function<QByteArray()> &work);

} // namespace Talmo
