#include "WrittenFiles.h"

#include "Situation.h"
#include "commands.h"
#include "shellLine.h"

#include <QDir>

#include <algorithm>

namespace Talmo
{

namespace
{

/// Programs that only print, whatever their arguments are.
bool onlyPrints(const ShellPart &part)
{
    static const QStringList programs = {QStringLiteral("["), QStringLiteral(":"),
        QStringLiteral("cat"), QStringLiteral("cmp"), QStringLiteral("diff"),
        QStringLiteral("echo"), QStringLiteral("expr"), QStringLiteral("false"),
        QStringLiteral("grep"), QStringLiteral("head"), QStringLiteral("ls"),
        QStringLiteral("printf"), QStringLiteral("pwd"), QStringLiteral("seq"),
        QStringLiteral("sleep"), QStringLiteral("sort"), QStringLiteral("tail"),
        QStringLiteral("test"), QStringLiteral("true"), QStringLiteral("wc")};
    const size_t index = part.programIndex();
    if (index == part.words.size())
        return true;
    if (!programs.contains(part.program()))
        return false;
    // sort -o FILE, sort --output=FILE; also when an expansion may bring that.
    const auto mayWrite = [](const ShellWord &word) {
        return word.isExpanded ||
               (word.text.startsWith(QLatin1Char('-')) && word.text.contains(QLatin1Char('o')));
    };
    return part.program() != QLatin1String("sort") ||
           std::none_of(part.words.begin(), part.words.end(), mayWrite);
}

/// Whether the shell may run something inside of a word.
bool hasCommandInside(const ShellPart &part)
{
    return std::any_of(part.words.begin(), part.words.end(), [](const ShellWord &word) {
        return word.isExpanded &&
               (word.text.contains(QLatin1String("$(")) || word.text.contains(QLatin1Char('`')));
    });
}

} // namespace

void WrittenFiles::add(const LintLine &line, const Command &command)
{
    const QString name = QLatin1String(command.name);
    isAnyPossible = isAnyPossible || line.isGuessed;
    if (name == QLatin1String("=file") || name == QLatin1String("=testbeam"))
        addName(line.words[1]);
    else if (name == QLatin1String("=run"))
        addRun(line);
}

void WrittenFiles::addRun(const LintLine &line)
{
    const QString capture = captureOf(line.words);
    if (!capture.isNull())
        addName(capture);
    const ShellLine shell = shellLineOf(line.words.mid(1).join(QLatin1Char(' ')), 0);
    isAnyPossible = isAnyPossible || !shell.isUnderstood;
    for (const ShellPart &part : shell.parts)
        isAnyPossible = isAnyPossible || !onlyPrints(part) || hasCommandInside(part);
    for (const ShellRedirection &redirection : shell.redirections()) {
        if (redirection.writesFile())
            addName(redirection.target.text);
        isAnyPossible = isAnyPossible || redirection.target.isExpanded;
    }
}

void WrittenFiles::addName(const QString &name)
{
    const QString path = QDir::cleanPath(name);
    if (known.insert(path).second)
        inOrder += path;
}

bool WrittenFiles::mayHold(const QString &name) const
{
    const QString path = QDir::cleanPath(name);
    if (isAnyPossible || path == QLatin1String(".") || known.count(path) != 0)
        return true;
    const QString inside = path + QLatin1Char('/');
    const auto next = known.lower_bound(inside);
    return next != known.end() && next->startsWith(inside);
}

} // namespace Talmo
