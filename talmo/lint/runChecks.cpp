// Checks of "=run": what the driver adds to the line goes to its last command only.

#include "checks.h"
#include "commands.h"
#include "details.h"
#include "lineText.h"
#include "shellLine.h"

#include <QStringList>

#include <algorithm>

namespace Talmo
{

namespace
{

/// The line for the shell at hand; none if it is not for a shell, or not understood.
std::optional<ShellLine> shellLineIn(const Situation &situation)
{
    const bool isRun = situation.command != nullptr &&
                       QLatin1String(situation.command->name) == QLatin1String("=run");
    if (!isRun)
        return {};
    ShellLine line = shellLineOf(situation.line.text, situation.line.positionOf(1));
    return line.isUnderstood ? std::optional<ShellLine>(std::move(line)) : std::nullopt;
}

bool isReport(const ShellWord &file)
{
    static const QStringList names = {QStringLiteral("/dev/stdout"), QStringLiteral("/dev/stderr"),
        QStringLiteral("/dev/fd/1"), QStringLiteral("/dev/fd/2"), QStringLiteral("/proc/self/fd/1"),
        QStringLiteral("/proc/self/fd/2")};
    return names.contains(file.text);
}

/// Commands that only prepare the shell, and an empty one.
bool isPreparation(const ShellPart &part)
{
    static const QStringList programs = {QStringLiteral(":"), QStringLiteral("export"),
        QStringLiteral("set"), QStringLiteral("trap"), QStringLiteral("ulimit"),
        QStringLiteral("umask"), QStringLiteral("unset"), QStringLiteral("true"),
        QStringLiteral("sleep")};
    const auto isAssignment = [](const ShellWord &word) {
        return word.text.indexOf(QLatin1Char('=')) > 0;
    };
    return programs.contains(part.program()) ||
           std::all_of(part.words.begin(), part.words.end(), isAssignment);
}

/// Commands that only bring text into a pipe.
bool isSource(const ShellPart &part)
{
    static const QStringList programs = {QStringLiteral("cat"), QStringLiteral("echo"),
        QStringLiteral("printf"), QStringLiteral("yes")};
    return isPreparation(part) || programs.contains(part.program());
}

} // namespace

void findEmptiedReport(const Situation &situation, Mistakes &mistakes)
{
    const std::optional<ShellLine> line = shellLineIn(situation);
    if (!line)
        return;
    static const QStringList emptying = {
        QStringLiteral(">"), QStringLiteral(">|"), QStringLiteral("&>")};
    for (const ShellPart &part : line->parts) {
        const bool isIntoPipe = part.end == QLatin1String("|");
        for (const ShellRedirection &redirection : part.redirections) {
            if (!isIntoPipe && emptying.contains(redirection.sign) && isReport(redirection.target))
                mistakes.add(situation.line, columnAt(situation.line.text, redirection.position),
                    QStringLiteral(
                        "'%1%2' empties the file that the report goes to; '>&1' does not")
                        .arg(redirection.sign, redirection.target.text));
        }
    }
}

void findLostCapture(const Situation &situation, Mistakes &mistakes)
{
    const std::optional<ShellLine> line = shellLineIn(situation);
    if (!line || line->comment < 0)
        return;
    const QString capture = captureOf(situation.line.words);
    if (!capture.isNull())
        mistakes.add(situation.line, columnAt(situation.line.text, line->comment),
            QStringLiteral("nothing goes to '%1', because a comment for the shell begins here")
                .arg(shown(capture)));
}

void findLostStatus(const Situation &situation, Mistakes &mistakes)
{
    const std::optional<ShellLine> line = shellLineIn(situation);
    if (!line || line->parts[0].program() == QLatin1String("set"))
        return;
    const bool isCaptured = !captureOf(situation.line.words).isNull();
    for (const ShellPart &part : line->parts) {
        const bool isPipe = part.end == QLatin1String("|");
        const bool isList = part.end == QLatin1String(";") || part.end == QLatin1String("&");
        if (!(isPipe && !isSource(part)) && !(isList && !isPreparation(part)))
            continue;
        const bool printsElsewhere = isList && isCaptured && part.redirections.empty();
        mistakes.add(situation.line, columnAt(situation.line.text, part.endPosition),
            QStringLiteral("'%1' loses the exit status of '%2'%3")
                .arg(part.end, shown(part.program()),
                    printsElsewhere ? QStringLiteral(", and what it prints is not captured")
                                    : QString()));
    }
}

} // namespace Talmo
