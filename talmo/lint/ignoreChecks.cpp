// Checks of "=ignore". Whether a pattern fits is not guessed: it is tried with the messages that
// the driver has, in the driver's own words.

#include "CommandWalk.h"
#include "Needs.h"
#include "PatternCost.h"
#include "Script.h"
#include "ScriptReader.h"
#include "checks.h"
#include "commands.h"
#include "details.h"
#include "messages.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// Messages of all kinds, with hardly a word in common.
QStringList allKindsOfMessages()
{
    QStringList messages;
    for (const char *const line : {"=run q", "=compare q q", "=compare q q 0", "=exists q",
             "=file q", "=testbeam q 0 1 2 0 1 2 0 13 200", "=platform q", "=meanandsigma"})
        messages += failuresOf(QString::fromLatin1(line).split(QLatin1Char(' ')));
    for (const Command &command : commands) {
        if (command.wrongCount != nullptr)
            messages += QLatin1String(command.wrongCount);
    }
    ScriptReader none;
    Invocation unknown{{QStringLiteral("=q")}, QStringLiteral("=q"), none};
    commandToPerform(unknown);
    return messages + QStringList(unknown.error);
}

/// Whether \a pattern matches all messages.
bool matchesAnything(const QString &pattern)
{
    static const QStringList messages = allKindsOfMessages();
    return countOfMatches(pattern, messages) == messages.size();
}

/// \a pattern with "[0-9]+" for each number and each set of digits, so that it also matches
/// messages with other numbers.
QString forAnyNumbers(const QString &pattern)
{
    const QString anyNumber = QStringLiteral("(?:[0-9]+)");
    const int size = static_cast<int>(pattern.size());
    QString result;
    for (int index = 0; index < size; ++index) {
        const QChar character = pattern[index];
        if (character == QLatin1Char('\\')) {
            const QString escaped = pattern.mid(index++, 2);
            result += escaped == QLatin1String("\\d") ? anyNumber : escaped;
        } else if (character == QLatin1Char('[')) {
            const int end = static_cast<int>(pattern.indexOf(QLatin1Char(']'), index + 2));
            const QString set = pattern.mid(index, end < 0 ? -1 : end + 1 - index);
            const bool mayBeDigit =
                std::any_of(set.begin(), set.end(), [](QChar member) { return member.isDigit(); });
            const bool isWidened = mayBeDigit && end > 0 && !set.startsWith(QLatin1String("[^"));
            result += isWidened ? QStringLiteral("(?:%1|[0-9]+)").arg(set) : set;
            index = end < 0 ? size : end;
        } else if (character == QLatin1Char('{')) { // how often, which stays
            const int end = static_cast<int>(pattern.indexOf(QLatin1Char('}'), index));
            result += pattern.mid(index, end < 0 ? -1 : end + 1 - index);
            index = end < 0 ? size : end;
        } else if (character.isDigit()) {
            while (index + 1 < size && pattern[index + 1].isDigit())
                ++index;
            result += anyNumber;
        } else {
            result += character;
        }
    }
    return result;
}

/// Whether \a pattern may match a message of a command of these \a words. Those of "=compare" have
/// numbers of lines and columns.
bool mayMatch(const QString &pattern, const QStringList &words)
{
    const QStringList messages = failuresOf(words);
    if (countOfMatches(pattern, messages) > 0)
        return true;
    if (words[0] != QLatin1String("=compare"))
        return false;
    const QString wider = forAnyNumbers(pattern);
    return !problemOfPattern(wider).isNull() || countOfMatches(wider, messages) > 0;
}

/// The column of the pattern in \a ignore, or of the command if there is none.
qint64 columnOfPattern(const LintLine &ignore)
{
    return ignore.columnOf(ignore.words.size() > 1 ? 1 : 0);
}

} // namespace

void findBadPattern(const Situation &situation, Mistakes &mistakes)
{
    const Script &script = situation.script;
    if (!situation.ignore && script.programPatterns() && !script.problem().isNull())
        mistakes.add(situation.selection, 1,
            QStringLiteral("a pattern of programs needs too much time or memory"));
    if (!situation.ignore)
        return;
    const QString problem = problemOfPattern(*situation.pattern);
    if (!problem.isNull())
        mistakes.add(*situation.ignore, columnOfPattern(*situation.ignore), shown(problem));
}

void findDanglingIgnore(const Situation &situation, Mistakes &mistakes)
{
    if (situation.ignore)
        mistakes.add(*situation.ignore, situation.ignore->columnOf(0),
            QStringLiteral("no command follows this '=ignore'"));
}

void findWideIgnore(const Situation &situation, Mistakes &mistakes)
{
    if (!situation.ignore || !matchesAnything(*situation.pattern))
        return;
    const bool acceptsSuccess = matchesMessage(*situation.pattern, QString());
    mistakes.add(*situation.ignore, columnOfPattern(*situation.ignore),
        QStringLiteral("the pattern '%1' matches any message%2")
            .arg(shown(*situation.pattern),
                acceptsSuccess ? QStringLiteral(", and accepts a command that does not fail")
                               : QString()));
}

void findVainIgnore(const Situation &situation, Mistakes &mistakes)
{
    if (!situation.ignore || situation.command == nullptr)
        return;
    const LintLine &ignore = *situation.ignore;
    const QString &pattern = *situation.pattern;
    const QStringList &words = situation.line.words;
    if (mayMatch(pattern, words) || matchesAnything(pattern) || !problemOfPattern(pattern).isNull())
        return;
    const bool hasPattern = ignore.text.startsWith(QLatin1String("=ignore "));
    const QString example = failuresOf(words).value(0);
    QString message;
    if (!hasPattern)
        message = QStringLiteral("'=ignore' must begin the line, and a blank and a pattern must "
                                 "follow it");
    else if (example.isNull())
        message = QStringLiteral("the '%1' behind this '=ignore' cannot fail")
                      .arg(QLatin1String(situation.command->name));
    else
        message = QStringLiteral("the pattern '%1' matches no message of '%2', such as \"%3\"")
                      .arg(shown(pattern), QLatin1String(situation.command->name), shown(example));
    mistakes.add(ignore, columnOfPattern(ignore), message);
}

} // namespace Talmo
