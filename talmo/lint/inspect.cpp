// Walks through a script with the driver's own walk, but also through the sections for other
// platforms, and performs nothing: only "=ignore" is handled, since it says what is expected of the
// next command. All checks look at each command.

#include "inspect.h"

#include "CommandWalk.h"
#include "Needs.h"
#include "Script.h"
#include "commands.h"
#include "messages.h"
#include "nearest.h"
#include "utf8.h"

#include <algorithm>

namespace Talmo
{

namespace
{

/// The words of a line, as the driver takes them.
QStringList wordsOf(const QString &text)
{
    return text.simplified().split(QLatin1Char(' '));
}

/// The program that a script is looked at for.
struct ChosenProgram {
    QString name;
    bool isGuessed = false; ///< the name is made up
};

/// The first one that \a script runs for. If there is none, the first one that it names; a name is
/// made up if it has only wildcards.
ChosenProgram programFor(const Script &script, const QStringList &configured)
{
    const QString program = programsFor(script, configured).value(0);
    if (!program.isEmpty() || !script.programPatterns())
        return {program};
    const auto isWildcard = [](QChar character) {
        return character == QLatin1Char('*') || character == QLatin1Char('?') ||
               character == QLatin1Char('[');
    };
    for (const QString &pattern : *script.programPatterns()) {
        if (std::none_of(pattern.begin(), pattern.end(), isWildcard))
            return {pattern};
    }
    return {QStringLiteral("simProgram"), true};
}

class Inspector
{
public:
    Inspector(Script &itsScript, const Surroundings &surroundings)
        : script(itsScript)
        , lines(itsScript.linesToRun())
        , program(programFor(itsScript, surroundings.programs))
        , walk(lines, program.name)
        , situation{itsScript, surroundings.programs, surroundings.folder, surroundings.sameNames}
        , number(1 + lines.linesBetween(0, lines.position()))
    {
    }

    Mistakes inspect();

private:
    void readFirstLines();
    QStringList readComments(std::string_view text);
    void addAllowance(const LintLine &comment, QStringList &allowed);
    void look(Invocation &invocation, const LintLine &line);
    bool mustFail() const;
    void readBody();
    bool isTornLine() const;
    void goOn(Invocation &invocation);
    void lookWith(Subject subject);

    Script &script;
    ScriptReader &lines;
    ChosenProgram program;
    CommandWalk walk;
    Situation situation;
    qint64 number; ///< of the line at which the walk is
    Mistakes mistakes;
    const QStringList checks = checkNames();
};

void Inspector::readFirstLines()
{
    const std::string_view text = script.text();
    const size_t end = std::min(text.find('\n'), text.size());
    situation.heading.number = 1;
    situation.heading.text = decoded(text.substr(0, end));
    situation.heading.words = wordsOf(situation.heading.text);
    const std::string_view rest = text.substr(std::min(end + 1, text.size()));
    situation.selection.number = 2;
    situation.selection.text = decoded(rest.substr(0, std::min(rest.find('\n'), rest.size())));
    situation.selection.words = wordsOf(situation.selection.text);
}

/// Adds the checks that \a comment names to \a allowed, or keeps it, if it is wrong.
void Inspector::addAllowance(const LintLine &comment, QStringList &allowed)
{
    constexpr size_t mostComments = 1000;
    bool isWrong = comment.allowed.isEmpty();
    for (const QString &name : comment.allowed) {
        const bool isKnown = checks.contains(name);
        isWrong = isWrong || !isKnown;
        if (isKnown && !allowed.contains(name))
            allowed += name;
    }
    if (isWrong && situation.wrongAllowances.size() < mostComments)
        situation.wrongAllowances.push_back(comment);
}

/// Takes the comments in \a text, whole lines without a command, the first of which has the number
/// that was reached. Returns the checks that they allow to find something in what follows.
QStringList Inspector::readComments(std::string_view text)
{
    QStringList allowed;
    const bool hasAny = text.find("talmo") != std::string_view::npos;
    for (; hasAny && !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const QString line = decoded(text.substr(0, end));
        const ScriptLine comment{number, wordsOf(line), line};
        const std::optional<QStringList> named =
            comment.isComment() ? allowedChecks(comment) : std::nullopt;
        if (named)
            addAllowance({number, line, comment.words, *named, false}, allowed);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    number += std::count(text.begin(), text.end(), '\n');
    return allowed;
}

/// Whether the "=file" at hand is expected not to make a file. Then the driver takes the lines
/// behind it for commands. A device is there, and takes the text, before it fails.
bool Inspector::mustFail() const
{
    const QString &name = situation.line.words[1];
    return situation.pattern && !name.startsWith(QLatin1String("/dev/")) &&
           !matchesMessage(*situation.pattern, QString()) &&
           countOfMatches(*situation.pattern, failuresOf(situation.line.words)) > 0;
}

/// Takes the text of the "=file" at hand.
void Inspector::readBody()
{
    const std::string_view text = lines.readUntil("=");
    situation.body = LintBody{situation.line, text};
    number += std::count(text.begin(), text.end(), '\n');
}

/// Whether the line at hand is no command because it was meant for the text above. Of a command
/// that is only misspelt, the name is nearly right.
bool Inspector::isTornLine() const
{
    const QString &name = situation.line.words[0];
    if (commandOf(name) != nullptr || situation.isExpected(situation.error))
        return false;
    if (!situation.line.text.startsWith(QLatin1Char('=')))
        return situation.isTorn;
    QStringList names = {QStringLiteral("=simprogram")};
    for (const Command &command : commands)
        names += QLatin1String(command.name);
    return situation.bodyBefore && nearestName(name, names).isNull();
}

void Inspector::lookWith(Subject subject)
{
    for (const Check &check : checkTable()) {
        if (check.subject != subject && check.subject != Subject::Both)
            continue;
        mistakes.check = QLatin1String(check.name);
        check.look(situation, mistakes);
    }
}

/// Has the checks look at \a invocation, the command of \a line.
void Inspector::look(Invocation &invocation, const LintLine &line)
{
    situation.line = line;
    situation.command = commandToPerform(invocation);
    situation.error = invocation.error;
    situation.pattern = walk.expectation();
    situation.bodyBefore = situation.body;
    if (situation.bodyBefore) // nothing but text can stand between the two
        situation.line.allowed += situation.bodyBefore->line.allowed;
    if (situation.failingFile) // whose text this was meant to be
        situation.line.allowed += situation.failingFile->allowed;
    situation.body.reset();
    situation.isTorn = isTornLine();
    const bool hasBody =
        situation.command != nullptr && situation.command->following == FollowingLines::AreBody;
    if (hasBody && !mustFail())
        readBody();
    constexpr int longest = 1000000; // a line that is longer is not meant to be read
    if (line.text.size() <= longest)
        lookWith(Subject::Command);
}

/// Notes what \a invocation means for the commands behind it.
void Inspector::goOn(Invocation &invocation)
{
    const Command *const command = situation.command;
    const LintLine &line = situation.line;
    const QString name = command == nullptr ? QString() : QLatin1String(command->name);
    situation.ignore.reset();
    if (name == QLatin1String("=ignore")) {
        command->handler(invocation);
        situation.ignore = line;
    }
    walk.settle(invocation);
    if (name == QLatin1String("=platform")) {
        situation.isInSection = line.words.size() > 1;
        situation.inlineFiles.addSection();
    }
    if (command != nullptr)
        situation.written.add(line, *command);
    if (situation.body)
        situation.inlineFiles.add(line.words[1], situation.body->text);
    else
        situation.inlineFiles.addCommand(line.words);
    // The text behind it is told once, not line by line.
    situation.isTorn = situation.isTorn || (situation.failingFile && command == nullptr);
    situation.failingFile.reset();
    if (name == QLatin1String("=file") && !situation.body)
        situation.failingFile = line;
}

Mistakes Inspector::inspect()
{
    readFirstLines();
    const bool canRun = script.problem().isNull();
    bool isFirst = true;
    while (canRun && !mistakes.areMany()) {
        const size_t begin = lines.position();
        std::optional<Invocation> invocation = walk.next();
        std::string_view passed = script.text().substr(begin, lines.position() - begin);
        std::string_view text;
        if (invocation) { // the last line is the command
            text = passed.substr(0, passed.size() - (passed.back() == '\n' ? 1 : 0));
            text.remove_prefix(text.rfind('\n') + 1);
            passed = passed.substr(0, static_cast<size_t>(text.data() - passed.data()));
        }
        const QStringList allowed = readComments(passed);
        if (isFirst) // nothing can stand above the first two lines
            situation.heading.allowed = situation.selection.allowed = allowed;
        isFirst = false;
        if (!invocation)
            break;
        LintLine line{number, decoded(text), invocation->words, allowed};
        line.isGuessed = program.isGuessed && line.text.contains(QLatin1String("$simProgram"));
        ++number;
        look(*invocation, line);
        goOn(*invocation);
    }
    situation.pattern = walk.expectation();
    lookWith(Subject::Script);
    return mistakes;
}

} // namespace

std::vector<Mistake> inspectScript(Script &script, const Surroundings &surroundings)
{
    return Inspector(script, surroundings).inspect().sorted();
}

} // namespace Talmo
