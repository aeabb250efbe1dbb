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

// To tell numbers of lines and columns from those in the names of files, their digits are replaced
// by another digit, which nobody types, and which patterns match as any digit.
const QString markDigit = QStringLiteral("\u0661");
constexpr char16_t firstHiddenDigit = 0xE100; // in the area for private use

bool isAsciiDigit(QChar character)
{
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

/// \a text with its digits hidden, so that they are taken for letters.
QString withHiddenDigits(QString text)
{
    for (QChar &character : text) {
        if (isAsciiDigit(character))
            character = QChar(static_cast<char16_t>(firstHiddenDigit + character.unicode() - u'0'));
    }
    return text;
}

/// \a text, a message with names with hidden digits, with these digits, and with the mark for each
/// of the others.
QString withMarkedDigits(QString text)
{
    for (QChar &character : text) {
        const int hidden = character.unicode() - firstHiddenDigit;
        if (isAsciiDigit(character))
            character = markDigit[0];
        else if (hidden >= 0 && hidden <= 9)
            character = QChar(static_cast<char16_t>(u'0' + hidden));
    }
    return text;
}

/// The messages that a command of these \a words can have, with marks for the numbers of lines and
/// columns.
QStringList markedFailuresOf(const QStringList &words)
{
    QStringList hidden;
    for (const QString &word : words)
        hidden += withHiddenDigits(word);
    QStringList messages;
    for (const QString &message : failuresOf(hidden))
        messages += withMarkedDigits(message);
    return messages;
}

/// Where the set of characters ends that begins at \a begin in \a pattern; -1 if it does not.
int endOfSet(const QString &pattern, int begin)
{
    int index = begin + (pattern.mid(begin + 1, 1) == QLatin1String("^") ? 2 : 1);
    const int first = index; // a "]" there is a member
    for (; index < static_cast<int>(pattern.size()); ++index) {
        if (pattern[index] == QLatin1Char('\\'))
            ++index;
        else if (pattern[index] == QLatin1Char(']') && index > first)
            return index + 1;
    }
    return -1;
}

/// Whether the \a set of characters, "[...]", matches a digit.
bool hasDigit(const QString &set)
{
    QStringList digits;
    for (int digit = 0; digit < 10; ++digit)
        digits += QString::number(digit);
    return countOfMatches(set, digits) > 0;
}

/// Where the item of \a pattern ends that begins at \a begin: a set, a number, how often something
/// is there, an escaped character, or a single one.
int endOfItem(const QString &pattern, int begin)
{
    const int size = static_cast<int>(pattern.size());
    const QChar first = pattern[begin];
    int end = begin + 1;
    if (first == QLatin1Char('\\')) { // "\x" takes four digits
        end += pattern.mid(begin, 2) == QLatin1String("\\x") ? 5 : 1;
    } else if (first == QLatin1Char('[')) {
        end = endOfSet(pattern, begin);
    } else if (first == QLatin1Char('{')) {
        end = static_cast<int>(pattern.indexOf(QLatin1Char('}'), begin)) + 1;
    } else if (isAsciiDigit(first)) {
        while (end < size && isAsciiDigit(pattern[end]))
            ++end;
    }
    return end <= begin || end > size ? size : end;
}

/// \a pattern, which also matches marks where it matches a number or a digit.
QString forAnyNumbers(const QString &pattern)
{
    const QString marked = QStringLiteral("(?:%1|") + markDigit + QStringLiteral("+)");
    QString result;
    for (int index = 0; index < static_cast<int>(pattern.size());) {
        const int end = endOfItem(pattern, index);
        const QString item = pattern.mid(index, end - index);
        const bool isDigits = item == QLatin1String("\\d") ||
                              item.startsWith(QLatin1String("\\x")) || isAsciiDigit(item[0]) ||
                              (item[0] == QLatin1Char('[') && hasDigit(item));
        result += isDigits ? marked.arg(item) : item;
        index = end;
    }
    return result;
}

/// Whether \a pattern may match a message of a command of these \a words. Those of "=compare" have
/// numbers of lines and columns.
bool mayMatch(const QString &pattern, const QStringList &words)
{
    if (countOfMatches(pattern, failuresOf(words)) > 0)
        return true;
    if (words[0] != QLatin1String("=compare"))
        return false;
    const QString wider = forAnyNumbers(pattern);
    return !problemOfPattern(wider).isNull() || countOfMatches(wider, markedFailuresOf(words)) > 0;
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
    if (script.programPatterns() && !script.problem().isNull())
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
    if (situation.line.isGuessed || ignore.isGuessed)
        return; // the pattern may be about the program
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
