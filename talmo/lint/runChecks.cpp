// Checks of "=run". The driver passes its words to the shell, as one line. If no word begins with
// ">", it adds a redirection to the capture, which counts for the last command of the line only.

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

/// Where standard output and standard error of a command go, as far as it matters.
struct Streams {
    bool isReport[2] = {true, true}; ///< the file of the driver's report

    /// Whether \a descriptor is one of the two, and the report.
    bool leadsToReport(int descriptor) const
    {
        return (descriptor == 1 || descriptor == 2) && isReport[descriptor - 1];
    }
};

/// The descriptor that the name of a \a file stands for; -1 if it is an ordinary file.
int descriptorNamed(const ShellWord &file)
{
    static const QStringList outputs = {QStringLiteral("/dev/stdout"), QStringLiteral("/dev/fd/1"),
        QStringLiteral("/proc/self/fd/1")};
    static const QStringList errors = {QStringLiteral("/dev/stderr"), QStringLiteral("/dev/fd/2"),
        QStringLiteral("/proc/self/fd/2")};
    return outputs.contains(file.text) ? 1 : errors.contains(file.text) ? 2 : -1;
}

/// Whether \a redirection, with \a streams before it, empties the file of the report.
bool emptiesReport(const ShellRedirection &redirection, const Streams &streams)
{
    static const QStringList emptying = {
        QStringLiteral(">"), QStringLiteral(">|"), QStringLiteral("&>")};
    return emptying.contains(redirection.sign) &&
           streams.leadsToReport(descriptorNamed(redirection.target));
}

/// Has \a redirection change \a streams.
void redirect(const ShellRedirection &redirection, Streams &streams)
{
    const int descriptor = redirection.descriptor;
    if (descriptor != 1 && descriptor != 2)
        return;
    const bool copies = redirection.sign == QLatin1String(">&") && !redirection.writesFile();
    const int from = copies ? redirection.target.text.toInt() : descriptorNamed(redirection.target);
    streams.isReport[descriptor - 1] = streams.leadsToReport(from);
    if (redirection.sign.startsWith(QLatin1Char('&')))
        streams.isReport[1] = streams.isReport[0];
}

/// Applies \a redirections of what ends with \a end to \a streams, and tells which of them empty
/// the report.
Streams redirected(Streams streams, const std::vector<ShellRedirection> &redirections,
    const QString &end, const Situation &situation, Mistakes &mistakes)
{
    if (end == QLatin1String("|"))
        streams.isReport[0] = false;
    for (const ShellRedirection &redirection : redirections) {
        if (mistakes.areWanted(situation.line) && emptiesReport(redirection, streams))
            mistakes.add(situation.line, columnAt(situation.line.text, redirection.position),
                QStringLiteral("'%1%2' empties the file that the report goes to; '>&1' does not")
                    .arg(redirection.sign, redirection.target.text));
        redirect(redirection, streams);
    }
    return streams;
}

/// Whether \a part redirects what the rest of the line prints.
bool redirectsShell(const ShellPart &part)
{
    return part.program() == QLatin1String("exec") && part.words.size() == 1;
}

/// Commands that only prepare what follows, or end it, and an empty one.
bool isPreparation(const ShellPart &part)
{
    static const QStringList programs =
        QStringLiteral(": . alias cd chmod eval exit export kill mkdir module read rm set sleep "
                       "source touch trap true ulimit umask unset wait")
            .split(QLatin1Char(' '));
    const QString program = part.program();
    return program.isEmpty() || redirectsShell(part) || programs.contains(program);
}

/// Commands that only print what they were given.
bool isPrinter(const ShellPart &part)
{
    static const QStringList programs =
        QStringLiteral("date echo printf pwd seq yes").split(QLatin1Char(' '));
    return programs.contains(part.program());
}

/// Whether one of the words of \a part contains \a text.
bool mentions(const ShellPart &part, const char *text)
{
    return std::any_of(part.words.begin(), part.words.end(),
        [text](const ShellWord &word) { return word.text.contains(QLatin1String(text)); });
}

/// Whether \a part is awk with actions none of which prints, as one that only counts or exits.
bool isAwkWithoutOutput(const ShellPart &part)
{
    static const QStringList programs =
        QStringLiteral("awk gawk mawk nawk").split(QLatin1Char(' '));
    return programs.contains(part.program()) && mentions(part, "{") && !mentions(part, "print") &&
           !mentions(part, "system");
}

/// Commands that print nothing, but perhaps what is wrong with their arguments.
bool isSilent(const ShellPart &part)
{
    static const QStringList programs = QStringLiteral("[ false test").split(QLatin1Char(' '));
    const QString program = part.program();
    const auto isQuiet = [](const ShellWord &word) {
        const bool isShort = word.text.startsWith(QLatin1Char('-')) &&
                             !word.text.startsWith(QLatin1String("--")) &&
                             word.text.contains(QLatin1Char('q'));
        return isShort || word.text == QLatin1String("--quiet") ||
               word.text == QLatin1String("--silent");
    };
    const bool isQuietSearch = program.endsWith(QLatin1String("grep")) &&
                               std::any_of(part.words.begin(), part.words.end(), isQuiet);
    return isPreparation(part) || programs.contains(program) || isQuietSearch ||
           isAwkWithoutOutput(part);
}

/// Whether \a part prints nothing, or into a pipe.
bool leavesNothingToCapture(const ShellPart &part)
{
    return part.end == QLatin1String("|") || isSilent(part);
}

/// Commands that only bring text into a pipe, or pass on what others print there.
bool isSource(const ShellPart &part)
{
    static const QStringList programs = QStringLiteral(
        "awk bzcat cat column comm cut egrep fgrep find fold gawk grep gunzip head "
        "join ls mawk nawk nl od paste rev sed sort strings tac tail tee tr uniq wc xzcat zcat")
                                            .split(QLatin1Char(' '));
    return isPreparation(part) || isPrinter(part) || programs.contains(part.program());
}

/// Whether \a part is \a program with a word behind it.
bool isWithWord(const ShellPart &part, const char *program)
{
    return part.program() == QLatin1String(program) && part.words.size() > part.programIndex() + 1;
}

/// The last parts of a line that look at the status of those before, or decide about it; -1 if
/// there is none.
struct StatusUsers {
    int ofAll = -1;        ///< ends the line with a status of its own
    int ofBackground = -1; ///< waits for a program, or ends one
    int ofPipes = -1;
};

StatusUsers statusUsersIn(const ShellLine &line)
{
    StatusUsers users;
    for (int index = 0; index < static_cast<int>(line.parts.size()); ++index) {
        const ShellPart &part = line.parts[static_cast<size_t>(index)];
        const QString program = part.program();
        const bool isExit = isWithWord(part, "exit") && !mentions(part, "$?");
        if (isExit || program == QLatin1String("true") || program == QLatin1String(":"))
            users.ofAll = index;
        if (mentions(part, "$!") || isWithWord(part, "wait") || isWithWord(part, "kill"))
            users.ofBackground = index;
        if (mentions(part, "PIPESTATUS"))
            users.ofPipes = index;
    }
    return users;
}

/// Whether a part behind the one of \a index in \a line, which ends with an operator, looks at its
/// status or decides that of the line.
bool isStatusUsed(const ShellLine &line, int index, const StatusUsers &users)
{
    const QString &end = line.parts[static_cast<size_t>(index)].end;
    if (end == QLatin1String("|"))
        return users.ofPipes > index;
    if (end == QLatin1String("&"))
        return users.ofAll > index || users.ofBackground > index;
    return users.ofAll > index || mentions(line.parts[static_cast<size_t>(index) + 1], "$?");
}

/// The word, an index into those of the line at hand, that the driver takes for a redirection.
int redirectingWord(const QStringList &words)
{
    const auto found = std::find_if(words.begin(), words.end(),
        [](const QString &word) { return word.startsWith(QLatin1Char('>')); });
    return static_cast<int>(found - words.begin());
}

/// Whether a program in another language comes with \a word, or behind it.
bool announcesProgram(const ShellWord &word)
{
    static const QStringList shells = {
        QStringLiteral("eval"), QStringLiteral("ssh"), QStringLiteral("xargs")};
    constexpr int longest = 5; // "-lane" of perl
    const QString &text = word.text;
    const bool isOption = text.startsWith(QLatin1Char('-')) && text.size() <= longest &&
                          std::all_of(text.begin() + 1, text.end(),
                              [](QChar character) { return character.isLetter(); });
    const bool takesProgram = text.endsWith(QLatin1Char('c')) || text.endsWith(QLatin1Char('e'));
    return (isOption && takesProgram) || shells.contains(text);
}

/// Whether a quoted ">" that stands behind \a before may be a redirection for another program: for
/// a shell, or behind a "print" of awk.
bool isForAnotherShell(const ShellLine &line, const QString &before)
{
    for (const ShellPart &part : line.parts) {
        if (std::any_of(part.words.begin(), part.words.end(), announcesProgram))
            return true;
    }
    const auto begin =
        std::max(before.lastIndexOf(QLatin1Char('{')), before.lastIndexOf(QLatin1Char(';')));
    const QString statement = before.mid(begin + 1);
    return statement.contains(QLatin1String("print")) &&
           statement.count(QLatin1Char('(')) == statement.count(QLatin1Char(')'));
}

/// Finds a ">" in quotes that keeps the driver from capturing.
void findQuotedRedirection(const Situation &situation, const ShellLine &line, Mistakes &mistakes)
{
    const std::vector<ShellRedirection> redirections = line.redirections();
    if (std::any_of(redirections.begin(), redirections.end(), [](const ShellRedirection &one) {
            return one.sign.contains(QLatin1Char('>')) && one.descriptor == 1;
        }))
        return;
    const QStringList &words = situation.line.words;
    const int word = redirectingWord(words);
    const int position = situation.line.positionOf(word);
    if (line.comment >= 0 || situation.line.text.mid(position, 1) != QLatin1String(">") ||
        isForAnotherShell(line, situation.line.text.left(position)))
        return;
    mistakes.add(situation.line, columnAt(situation.line.text, position),
        QStringLiteral("nothing goes to '%1', because the driver takes this for a redirection")
            .arg(shown(captureOf(words.mid(0, 2)))));
}

/// Finds redirections that the one to \a capture, which the driver adds, makes vain.
void findVainRedirections(
    const Situation &situation, const ShellLine &line, const QString &capture, Mistakes &mistakes)
{
    // Of "sim1>log", too, the driver makes the name of a capture, in which the shell finds more.
    const bool isFile = !capture.contains(QLatin1Char('>'));
    const QString kept = isFile ? QStringLiteral("captures in '%1'").arg(shown(capture))
                                : QStringLiteral("adds another redirection");
    for (const ShellRedirection &redirection : line.parts.back().redirections) {
        const bool isOutput = redirection.descriptor == 1 || redirection.descriptor == 2;
        const bool isDevice = descriptorNamed(redirection.target) > 0 ||
                              redirection.target.text.startsWith(QLatin1String("/dev/"));
        if (!isOutput || !redirection.writesFile() || isDevice ||
            !mistakes.areWanted(situation.line))
            continue;
        mistakes.add(situation.line, columnAt(situation.line.text, redirection.position),
            QStringLiteral("nothing goes to '%1', because no word begins with '>', so that the "
                           "driver %2")
                .arg(shown(redirection.target.text), kept));
    }
}

} // namespace

void findEmptiedReport(const Situation &situation, Mistakes &mistakes)
{
    const std::optional<ShellLine> line = shellLineIn(situation);
    if (!line)
        return;
    Streams ofLine;
    std::vector<Streams> ofGroups; // those around a group come before it
    const auto around = [&](int group) {
        return group < 0 ? ofLine : ofGroups[static_cast<size_t>(group)];
    };
    for (const ShellGroup &group : line->groups)
        ofGroups.push_back(
            redirected(around(group.parent), group.redirections, group.end, situation, mistakes));
    for (const ShellPart &part : line->parts) {
        const Streams changed =
            redirected(around(part.group), part.redirections, part.end, situation, mistakes);
        if (redirectsShell(part))
            (part.group < 0 ? ofLine : ofGroups[static_cast<size_t>(part.group)]) = changed;
    }
}

void findLostCapture(const Situation &situation, Mistakes &mistakes)
{
    const std::optional<ShellLine> line = shellLineIn(situation);
    if (!line || std::all_of(line->parts.begin(), line->parts.end(), leavesNothingToCapture))
        return;
    const QString capture = captureOf(situation.line.words);
    if (capture.isNull()) {
        findQuotedRedirection(situation, *line, mistakes);
    } else if (line->comment < 0) {
        findVainRedirections(situation, *line, capture, mistakes);
    } else {
        const std::vector<ShellRedirection> &own = line->parts.back().redirections;
        const bool isRedirected = std::any_of(own.begin(), own.end(), [](const auto &redirection) {
            return redirection.descriptor == 1 && redirection.sign.contains(QLatin1Char('>'));
        });
        if (!isRedirected)
            mistakes.add(situation.line, columnAt(situation.line.text, line->comment),
                QStringLiteral("nothing goes to '%1', because a comment for the shell begins here")
                    .arg(shown(capture)));
    }
}

void findLostStatus(const Situation &situation, Mistakes &mistakes)
{
    const std::optional<ShellLine> line = shellLineIn(situation);
    if (!line || !line->groups.empty() || line->parts[0].program() == QLatin1String("set"))
        return;
    const bool isCaptured = !captureOf(situation.line.words).isNull();
    const StatusUsers users = statusUsersIn(*line);
    const int count = static_cast<int>(line->parts.size());
    for (int index = 0; index < count && mistakes.areWanted(situation.line); ++index) {
        const ShellPart &part = line->parts[static_cast<size_t>(index)];
        const bool isPipe = part.end == QLatin1String("|");
        const bool isList = part.end == QLatin1String(";") || part.end == QLatin1String("&");
        const bool printsElsewhere =
            isList && isCaptured && part.redirections.empty() && !isSilent(part);
        const bool losesNothing = isPipe ? isSource(part)
                                  : isList
                                      ? isPreparation(part) || (isPrinter(part) && !printsElsewhere)
                                      : true;
        if (losesNothing || isStatusUsed(*line, index, users))
            continue;
        mistakes.add(situation.line, columnAt(situation.line.text, part.endPosition),
            QStringLiteral("'%1' loses the exit status of '%2'%3")
                .arg(part.end, shown(part.program()),
                    printsElsewhere ? QStringLiteral(", and what it prints is not captured")
                                    : QString()));
    }
}

} // namespace Talmo
