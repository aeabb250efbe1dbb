// "=ignore" turns the outcome of one command around: its pattern is pending while the "=ignore"
// line itself is judged, and active for the next command.

#include "CommandWalk.h"

#include "commands.h"
#include "messages.h"

#include <cstdio>

namespace Talmo
{

void applyExpectation(QString &error, const std::optional<QString> &expectedFailure)
{
    if (!expectedFailure)
        return;
    if (matchesMessage(*expectedFailure, error))
        error = QString();
    else if (error.isNull())
        error = QStringLiteral("Command should have failed");
}

CommandWalk::CommandWalk(ScriptReader &itsScript, const QString &itsProgram)
    : script(itsScript)
    , program(itsProgram)
    , lineStart(itsScript.position())
{
}

std::optional<Invocation> CommandWalk::next()
{
    for (;;) {
        lineStart = script.position();
        QString line = script.readLine();
        if (line.isNull())
            return {};
        // Not QString::replace, which moves the rest of the line again and again.
        if (line.contains(QLatin1String("$simProgram")))
            line = line.split(QStringLiteral("$simProgram")).join(program);
        if (Debug > 0)
            std::printf("==== line='%s'\n", qPrintable(line));
        const QStringList words = line.simplified().split(QLatin1Char(' '));
        const bool isCommand = !words[0].isEmpty() && !words[0].startsWith(QLatin1Char('#'));
        if (isCommand)
            return Invocation{words, line, script};
    }
}

qint64 CommandWalk::line()
{
    lineNumber += script.linesBetween(counted, lineStart);
    counted = lineStart;
    return lineNumber;
}

void CommandWalk::settle(Invocation &command)
{
    applyExpectation(command.error, expectedFailure);
    expectedFailure = command.expectedFailure;
}

} // namespace Talmo
