// Checks of single lines: whether the driver would know the command, and whether it would find it.

#include "TestBeam.h"
#include "checks.h"
#include "commands.h"
#include "compare.h"
#include "details.h"
#include "nearest.h"
#include "utf8.h"

#include <QStringList>

#include <algorithm>

namespace Talmo
{

namespace
{

/// Where the numbers of a "=testbeam" begin among its words.
constexpr int firstOfBeam = 2;

bool isCommand(const Situation &situation, const char *name)
{
    return situation.command != nullptr &&
           QLatin1String(situation.command->name) == QLatin1String(name);
}

/// The words of the usage of \a command, its first alternative.
QStringList usageOf(const Command &command)
{
    const QString usage = QLatin1String(command.usage);
    return usage.section(QLatin1Char('\n'), 0, 0).split(QLatin1Char(' '));
}

void findInvalidTolerances(const Situation &situation, Mistakes &mistakes)
{
    const QStringList &words = situation.line.words;
    const int count = static_cast<int>(words.size());
    for (int index = 3; index < count && !mistakes.areMany(); ++index) {
        std::vector<double> tolerances;
        if (!readTolerances(words.mid(0, 3) + QStringList(words[index]), tolerances))
            mistakes.add(situation.line, situation.line.columnOf(index),
                QStringLiteral("the tolerance '%1' is no number").arg(shown(words[index])));
    }
}

/// Each word of a "=testbeam" is tried alone, between others that are right.
void findInvalidBeam(const Situation &situation, Mistakes &mistakes)
{
    const QStringList &words = situation.line.words;
    const QStringList names = usageOf(*situation.command);
    const int end = situation.command->leastWords;
    QStringList right = words;
    std::fill(right.begin() + firstOfBeam, right.begin() + end, QStringLiteral("2"));
    for (int index = firstOfBeam; index < end; ++index) {
        QStringList tried = right;
        tried[index] = words[index];
        TestBeam beam;
        if (!beam.parse(tried, firstOfBeam))
            mistakes.add(situation.line, situation.line.columnOf(index),
                QStringLiteral("'%1' is no value for %2")
                    .arg(shown(words[index]), names.value(index)));
    }
}

/// The command that \a line, of the text of a file, would be without the blanks before it; null if
/// there are none, or if it would be none.
const Command *commandHiddenIn(std::string_view line)
{
    const size_t mark = byteOrderMarkLength(line);
    const bool isBlank = !line.empty() && (line[0] == ' ' || line[0] == '\t');
    if (mark == 0 && !isBlank)
        return nullptr;
    line.remove_prefix(mark);
    const size_t start = line.find_first_not_of(" \t");
    if (start == std::string_view::npos || line[start] != '=')
        return nullptr;
    const QStringList words = decoded(line).simplified().split(QLatin1Char(' '));
    const Command *const command = commandOf(words[0]);
    const bool isCounted = command != nullptr && words.size() >= command->leastWords &&
                           words.size() <= command->mostWords;
    return isCounted ? command : nullptr;
}

} // namespace

void findUnknownCommand(const Situation &situation, Mistakes &mistakes)
{
    const QString &name = situation.line.words[0];
    if (commandOf(name) != nullptr || situation.isTorn || situation.isExpected(situation.error))
        return;
    if (situation.failingFile && !situation.line.text.startsWith(QLatin1Char('='))) {
        mistakes.add(situation.line, situation.line.columnOf(0),
            QStringLiteral("unknown command '%1': this is no text, because the '=file' above is "
                           "expected to fail")
                .arg(shown(name)));
        return;
    }
    QStringList names;
    for (const Command &command : commands)
        names += QLatin1String(command.name);
    const bool selects = name == QLatin1String("=simprogram");
    mistakes.add(situation.line, situation.line.columnOf(0),
        selects
            ? QStringLiteral("'=simprogram' must stand on line 2")
            : QStringLiteral("unknown command '%1'%2").arg(shown(name), suggestion(name, names)));
}

void findWordCount(const Situation &situation, Mistakes &mistakes)
{
    const Command *const command = commandOf(situation.line.words[0]);
    if (command == nullptr || situation.command != nullptr || situation.isExpected(situation.error))
        return;
    const bool isTooLong = situation.line.words.size() > command->mostWords;
    mistakes.add(situation.line, situation.line.columnOf(isTooLong ? command->mostWords : 0),
        QStringLiteral("too %1 words for '%2'")
            .arg(isTooLong ? QStringLiteral("many") : QStringLiteral("few"),
                usageOf(*command).join(QLatin1Char(' '))));
}

void findInvalidNumber(const Situation &situation, Mistakes &mistakes)
{
    std::vector<double> tolerances;
    if (isCommand(situation, "=compare") && !readTolerances(situation.line.words, tolerances) &&
        !situation.isExpected(invalidTolerance()))
        findInvalidTolerances(situation, mistakes);
    TestBeam beam;
    if (isCommand(situation, "=testbeam") && !beam.parse(situation.line.words, firstOfBeam) &&
        !situation.isExpected(beamSyntaxError()))
        findInvalidBeam(situation, mistakes);
}

void findInvalidPlatform(const Situation &situation, Mistakes &mistakes)
{
    if (!isCommand(situation, "=platform"))
        return;
    const QStringList &words = situation.line.words;
    const int count = static_cast<int>(words.size());
    for (int index = 1; index < count && !mistakes.areMany(); ++index) {
        if (platformNames().contains(words[index]))
            continue;
        if (situation.isExpected(invalidPlatform(words[index])))
            return; // the driver looks no further
        mistakes.add(situation.line, situation.line.columnOf(index),
            QStringLiteral("unknown platform '%1'%2")
                .arg(shown(words[index]), suggestion(words[index], platformNames())));
    }
}

void findCutText(const Situation &situation, Mistakes &mistakes)
{
    if (!situation.isTorn || !situation.bodyBefore)
        return;
    const LintLine &file = situation.bodyBefore->line;
    mistakes.add(situation.line, 1,
        QStringLiteral("the text of '%1' ends here, because this line begins with '='")
            .arg(shown(file.words[1])));
}

void findHiddenCommand(const Situation &situation, Mistakes &mistakes)
{
    const LintLine &line = situation.line;
    const bool isBehindBlank = !line.text.startsWith(QLatin1Char('='));
    if (isCommand(situation, "=platform") && isBehindBlank && situation.isInSection)
        mistakes.add(line, line.columnOf(0),
            QStringLiteral("a section that is skipped does not end here, because of what stands "
                           "before '=platform'"));
    if (!situation.body)
        return;
    std::string_view text = situation.body->text;
    for (qint64 number = line.number + 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        const std::string_view inside = text.substr(0, end);
        if (const Command *const command = commandHiddenIn(inside))
            mistakes.addInBody(line, number, static_cast<qint64>(decoded(inside).indexOf('=')) + 1,
                QStringLiteral("'%1' belongs to the text of '%2', because of what stands before it")
                    .arg(QLatin1String(command->name), shown(line.words[1])));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

} // namespace Talmo
