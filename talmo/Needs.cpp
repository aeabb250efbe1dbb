// A script says what its runs need in comments, which the driver ignores. Since nobody would notice
// that such a comment is not understood, everything that looks like one and is wrong is an error. A
// comment is a word of the table below, and what the word takes.

#include "Needs.h"

#include "CommandLine.h"
#include "PatternCost.h"
#include "Script.h"

#include <QRegExp>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace Talmo
{

namespace
{

/// The word of a comment that may stand anywhere.
const QString allowing = QStringLiteral("allow");

/// What a comment says: the text behind its "talmo:".
struct Statement {
    QStringList words; ///< of the simplified text; the first one tells what it is about
    QString rest;      ///< what follows the first word, as it stands there

    QStringList arguments() const { return words.mid(1); }
    QString onlyArgument() const { return words.size() == 2 ? words[1] : QString(); }
};

QString withoutBlanksInFront(const QString &text)
{
    const auto *const start = std::find_if(
        text.begin(), text.end(), [](QChar character) { return !character.isSpace(); });
    return text.mid(static_cast<int>(start - text.begin()));
}

/// What stands behind the first "#" of \a line, a comment.
QString behindMark(const ScriptLine &line)
{
    return withoutBlanksInFront(line.text).mid(1);
}

/// What \a line, a comment, says to us; none if it is for people.
std::optional<Statement> statementOf(const ScriptLine &line)
{
    const QString mark = QStringLiteral("talmo:");
    const QString comment = withoutBlanksInFront(behindMark(line));
    if (!comment.startsWith(mark))
        return {};
    const QString said = withoutBlanksInFront(comment.mid(mark.size()));
    const QStringList words = said.simplified().split(QLatin1Char(' '));
    return Statement{words, said.mid(words[0].size())};
}

/// Whether \a line, a comment that says nothing to us, looks as if it were meant to: with another
/// number of "#", with capitals, or with blanks before the colon.
bool isAlmostStatement(const ScriptLine &line)
{
    const QString name = QStringLiteral("talmo");
    QString comment = behindMark(line);
    while (comment.startsWith(QLatin1Char('#')))
        comment.remove(0, 1);
    comment = withoutBlanksInFront(comment);
    return comment.startsWith(name, Qt::CaseInsensitive) &&
           withoutBlanksInFront(comment.mid(name.size())).startsWith(QLatin1Char(':'));
}

/// Whether "talmo" stands anywhere in \a text, in capitals or not.
bool mentionsTalmo(std::string_view text)
{
    constexpr std::string_view name = "talmo";
    constexpr unsigned lowerCase = 0x20; // of a letter, and no letter of the name has it otherwise
    const auto isSame = [](char character, char letter) {
        return (static_cast<unsigned char>(character) | lowerCase) ==
               static_cast<unsigned char>(letter);
    };
    return std::search(text.begin(), text.end(), name.begin(), name.end(), isSame) != text.end();
}

/// Adds the arguments of \a statement to \a names, each once. False if there are none.
bool addNames(const Statement &statement, QStringList &names)
{
    names += statement.arguments();
    names.removeDuplicates();
    return !statement.arguments().isEmpty();
}

// Each of the following takes what stands behind a word. False if that is not what the word takes;
// where there is more to say, \a problem says it.

bool takeProcessors(const Statement &statement, Needs &needs, QString & /*problem*/)
{
    const std::optional<int> count = countOf(statement.onlyArgument());
    needs.processors = count.value_or(needs.processors);
    return count.has_value();
}

bool takeTimeout(const Statement &statement, Needs &needs, QString & /*problem*/)
{
    const std::optional<double> seconds = secondsOf(statement.onlyArgument());
    needs.timeout = seconds.value_or(needs.timeout);
    return seconds.has_value();
}

bool takeLabels(const Statement &statement, Needs &needs, QString & /*problem*/)
{
    return addNames(statement, needs.labels);
}

bool takeLocks(const Statement &statement, Needs &needs, QString & /*problem*/)
{
    return addNames(statement, needs.locks);
}

bool takeSerial(const Statement &statement, Needs &needs, QString & /*problem*/)
{
    needs.isSerial = true;
    return statement.arguments().isEmpty();
}

bool takeRetries(const Statement &statement, Needs &needs, QString & /*problem*/)
{
    const std::optional<int> count = countOf(statement.onlyArgument());
    needs.retries = count.value_or(needs.retries);
    return count.has_value();
}

/// The pattern is the rest of the line with the blanks at its end, as that of "=ignore".
bool takeKnown(const Statement &statement, Needs &needs, QString &problem)
{
    const QString pattern = withoutBlanksInFront(statement.rest);
    problem = problemOfPattern(pattern);
    needs.known += pattern;
    return !pattern.isEmpty() && problem.isNull();
}

/// A word that a comment may begin with.
struct Word {
    const char *name;
    const char *taken; ///< what may follow it
    bool isOnce;       ///< a script has it at most once
    bool (*take)(const Statement &statement, Needs &needs, QString &problem);
};

// clang-format off
const Word words[] = {
    { "processors", "a whole number from 1 on",    true,  takeProcessors },
    { "timeout",    "a number of seconds above 0", true,  takeTimeout },
    { "labels",     "at least one label",          false, takeLabels },
    { "lock",       "at least one name",           false, takeLocks },
    { "serial",     "nothing",                     true,  takeSerial },
    { "retry",      "a whole number from 1 on",    true,  takeRetries },
    { "known",      "a pattern",                   false, takeKnown },
};
// clang-format on

/// Reads the comments of one script.
class NeedsReader
{
public:
    explicit NeedsReader(Needs &itsNeeds)
        : needs(itsNeeds)
    {
    }

    /// Takes what \a statement says. Returns why that is wrong; null if it is not.
    QString take(const Statement &statement, bool isBehindCommand)
    {
        const QString &name = statement.words[0];
        if (name == allowing) // the names of checks; they do not matter to a run
            return {};
        if (name.isEmpty())
            return QStringLiteral("nothing follows 'talmo:'");
        const auto *const word = std::find_if(std::begin(words), std::end(words),
            [&name](const Word &candidate) { return name == QLatin1String(candidate.name); });
        if (word == std::end(words))
            return QStringLiteral("unknown word '%1' behind 'talmo:'").arg(name);
        if (isBehindCommand)
            return QStringLiteral("'talmo: %1' must stand before the first command").arg(name);
        if (word->isOnce && seen.contains(name))
            return QStringLiteral("'talmo: %1' is there twice").arg(name);
        seen += name;
        QString problem;
        if (word->take(statement, needs, problem))
            return {};
        return problem.isNull()
                   ? QStringLiteral("'talmo: %1' takes %2").arg(name, QLatin1String(word->taken))
                   : problem;
    }

private:
    Needs &needs;
    QStringList seen; ///< words
};

} // namespace

bool readNeeds(const Script &script, Needs &needs, QStringList &problems)
{
    if (!mentionsTalmo(script.text()))
        return true; // as most scripts; so these are not walked through
    const auto before = problems.size();
    NeedsReader reader(needs);
    bool isBehindCommand = false;
    for (const ScriptLine &line : script.lines()) {
        isBehindCommand = isBehindCommand || line.isCommand();
        if (!line.isComment())
            continue;
        QString problem;
        if (const std::optional<Statement> statement = statementOf(line))
            problem = reader.take(*statement, isBehindCommand);
        else if (isAlmostStatement(line))
            problem = QStringLiteral("a comment for talmo begins with '# talmo:'");
        if (!problem.isNull())
            problems += QStringLiteral("%1:%2: %3")
                            .arg(script.name(), QString::number(line.number), problem);
    }
    return problems.size() == before;
}

std::optional<QStringList> allowedChecks(const ScriptLine &line)
{
    const std::optional<Statement> statement = statementOf(line);
    if (!statement || statement->words[0] != allowing)
        return {};
    return statement->arguments();
}

QString problemOfPattern(const QString &pattern)
{
    if (!isAffordable(pattern))
        return QStringLiteral("the pattern '%1' needs too much time or memory").arg(pattern);
    if (!QRegExp(pattern, Qt::CaseSensitive, QRegExp::RegExp).isValid())
        return QStringLiteral("the pattern '%1' is no regular expression").arg(pattern);
    return {};
}

} // namespace Talmo
