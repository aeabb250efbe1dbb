// Checks of a script as a whole: its first two lines, its name, and its comments for talmo.

#include "Needs.h"
#include "Script.h"
#include "checks.h"
#include "details.h"
#include "lineText.h"
#include "nearest.h"

namespace Talmo
{

void findNoHeading(const Situation &situation, Mistakes &mistakes)
{
    if (situation.script.text().substr(0, 1) == "=")
        return;
    mistakes.add(situation.heading, 1,
        QStringLiteral("this is no test script: the first line must begin with '='"));
}

void findMissingProgram(const Situation &situation, Mistakes &mistakes)
{
    if (!situation.script.programPatterns() || !situation.script.problem().isNull())
        return;
    const QStringList &patterns = *situation.script.programPatterns();
    const LintLine &line = situation.selection;
    if (patterns.isEmpty())
        mistakes.add(line, line.columnOf(0),
            QStringLiteral("'=simprogram' names no program, so the script never runs"));
    if (situation.programs.isEmpty())
        return; // then nothing can be told
    for (int index = 0; index < static_cast<int>(patterns.size()); ++index) {
        const QString &pattern = patterns[index];
        if (programsMatching(pattern, situation.programs).isEmpty())
            mistakes.add(line, line.columnOf(index + 1),
                QStringLiteral("no configured program matches '%1'%2")
                    .arg(shown(pattern), suggestion(pattern, situation.programs)));
    }
}

void findStraySimProgram(const Situation &situation, Mistakes &mistakes)
{
    const auto position = situation.line.text.indexOf(QLatin1String("$simProgram"));
    if (position < 0 || situation.script.programPatterns())
        return;
    mistakes.add(situation.line, columnAt(situation.line.text, position),
        QStringLiteral("'$simProgram' stands for nothing, because there is no '=simprogram' on "
                       "line 2"));
}

void findSameName(const Situation &situation, Mistakes &mistakes)
{
    for (const QString &name : situation.sameNames)
        mistakes.add(situation.heading, 1,
            QStringLiteral("the name of '%1' beside it differs in case only, so a filter for one "
                           "selects both")
                .arg(shown(name)));
}

void findWrongComment(const Situation &situation, Mistakes &mistakes)
{
    Needs needs;
    QStringList problems;
    readNeeds(situation.script, needs, problems);
    const int nameLength = static_cast<int>(situation.script.name().size());
    for (const QString &problem : problems) { // "test3:5: ..."
        const QString rest = problem.mid(nameLength + 1);
        const QString number = rest.section(QLatin1Char(':'), 0, 0);
        LintLine line;
        line.number = number.toLongLong();
        mistakes.add(line, 1, shown(rest.mid(number.size() + 2)));
    }
}

void findUnknownCheck(const Situation &situation, Mistakes &mistakes)
{
    const QStringList names = checkNames();
    for (const LintLine &line : situation.wrongAllowances) {
        LintLine comment = line; // which must not allow its own mistakes
        comment.allowed.clear();
        const int words = static_cast<int>(line.words.size());
        const int named = static_cast<int>(line.allowed.size());
        if (named == 0)
            mistakes.add(comment, comment.columnOf(0),
                QStringLiteral("'talmo: allow' takes the names of checks"));
        for (int index = 0; index < named; ++index) {
            const QString &name = line.allowed[index];
            if (!names.contains(name))
                mistakes.add(comment, comment.columnOf(words - named + index),
                    QStringLiteral("unknown check '%1'%2")
                        .arg(shown(name), suggestion(name, names)));
        }
    }
}

} // namespace Talmo
