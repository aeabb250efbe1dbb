#pragma once

#include "Invocation.h"
#include "ScriptReader.h"

#include <QString>
#include <QtGlobal>

#include <optional>

namespace Talmo
{

/// Applies "=ignore": clears \a error if it is the failure that was expected, and sets one if
/// nothing failed although a failure was expected.
void applyExpectation(QString &error, const std::optional<QString> &expectedFailure);

/// The way of a run through the lines of its script, from command to command. What is done with a
/// command is up to the caller, who then settles it.
class CommandWalk
{
public:
    /// Begins at the position of \a itsScript, and replaces "$simProgram" by \a itsProgram. The
    /// script must live as long as this object.
    CommandWalk(ScriptReader &itsScript, const QString &itsProgram);

    /// The next command, whether it exists or not; none at the end of the script. If Debug is above
    /// 0, the lines on the way are traced.
    std::optional<Invocation> next();

    /// The pattern of the "=ignore" before the command at hand; none if no failure is expected.
    const std::optional<QString> &expectation() const { return expectedFailure; }

    /// Applies that to what became of \a command, and notes what \a command expects of the next
    /// one.
    void settle(Invocation &command);

    /// The number, from 1, of the line that was reached, also if there was no memory for it.
    qint64 line();

private:
    ScriptReader &script;
    QString program;
    std::optional<QString> expectedFailure;
    size_t lineStart;      ///< of the line that was reached
    size_t counted = 0;    ///< up to where lines were counted
    qint64 lineNumber = 1; ///< of the line there
};

} // namespace Talmo
