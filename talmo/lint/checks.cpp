#include "checks.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// A script with more mistakes than these is no script; nobody would read on.
constexpr size_t mostMistakes = 1000;

} // namespace

void Mistakes::add(const LintLine &line, qint64 column, const QString &message)
{
    addInBody(line, line.number, column, message);
}

void Mistakes::addInBody(const LintLine &line, qint64 number, qint64 column, const QString &message)
{
    if (areWanted(line))
        found.push_back({number, column, check, message});
}

bool Mistakes::areMany() const
{
    return found.size() >= mostMistakes;
}

bool Mistakes::areWanted(const LintLine &line) const
{
    return !areMany() && !line.allowed.contains(check);
}

std::vector<Mistake> Mistakes::sorted() const
{
    std::vector<Mistake> all = found;
    std::stable_sort(all.begin(), all.end(), [](const Mistake &one, const Mistake &other) {
        return one.line == other.line ? one.column < other.column : one.line < other.line;
    });
    return all;
}

const std::vector<Check> &checkTable()
{
    // clang-format off
    static const std::vector<Check> rows = {
        { "no-heading", "a script whose first line does not begin with '='",
          Subject::Script, findNoHeading },
        { "unknown-command", "a line whose first word is no command",
          Subject::Command, findUnknownCommand },
        { "word-count", "a command with too few or too many words",
          Subject::Command, findWordCount },
        { "invalid-number", "a word that should be a number, and is none",
          Subject::Command, findInvalidNumber },
        { "invalid-platform", "a word of =platform that is no platform",
          Subject::Command, findInvalidPlatform },
        { "missing-program", "a pattern of programs that matches no configured one",
          Subject::Script, findMissingProgram },
        { "stray-simprogram", "$simProgram in a script without =simprogram",
          Subject::Command, findStraySimProgram },
        { "bad-pattern", "a pattern that is no regular expression, or needs too much time",
          Subject::Both, findBadPattern },
        { "dangling-ignore", "an =ignore that no command follows",
          Subject::Script, findDanglingIgnore },
        { "wide-ignore", "an =ignore that matches any message",
          Subject::Command, findWideIgnore },
        { "vain-ignore", "an =ignore that matches no message of the command behind it",
          Subject::Command, findVainIgnore },
        { "cut-text", "the text of a =file that ends early, because a line begins with '='",
          Subject::Command, findCutText },
        { "hidden-command", "a command that is not executed because of a blank before its '='",
          Subject::Command, findHiddenCommand },
        { "never-written", "a file that is compared, or must exist, and that nothing writes",
          Subject::Command, findNeverWritten },
        { "overwritten-file", "a =file whose text another =file replaces before it was used",
          Subject::Command, findOverwrittenFile },
        { "huge-tolerance", "a tolerance so large that any number passes",
          Subject::Command, findHugeTolerance },
        { "emptied-report", "a redirection that empties the report",
          Subject::Command, findEmptiedReport },
        { "lost-capture", "a =run whose output is not captured, though it looks so",
          Subject::Command, findLostCapture },
        { "lost-status", "a program in a =run whose exit status does not count",
          Subject::Command, findLostStatus },
        { "same-name", "two files of a folder whose names differ in case only",
          Subject::Script, findSameName },
        { "wrong-comment", "a comment '# talmo: ...' that is not understood",
          Subject::Script, findWrongComment },
        { "unknown-check", "a comment '# talmo: allow ...' that names no check",
          Subject::Script, findUnknownCheck },
    };
    // clang-format on
    return rows;
}

QStringList checkNames()
{
    QStringList names;
    for (const Check &check : checkTable())
        names += QLatin1String(check.name);
    return names;
}

} // namespace Talmo
