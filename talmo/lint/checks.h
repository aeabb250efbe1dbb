#pragma once

#include "Situation.h"

#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <vector>

namespace Talmo
{

/// A mistake in a script.
struct Mistake {
    qint64 line;   ///< from 1
    qint64 column; ///< from 1
    QString check; ///< the name of the check that found it
    QString message;
};

/// Takes what one check finds in a script.
class Mistakes
{
public:
    /// Adds that there is a mistake in \a line, in \a column, unless a comment allows it.
    void add(const LintLine &line, qint64 column, const QString &message);

    /// The same about the line \a number in the text of the file behind \a line.
    void addInBody(const LintLine &line, qint64 number, qint64 column, const QString &message);

    /// Whether there are so many that nobody needs more of them.
    bool areMany() const;

    /// Whether add() would keep another mistake in \a line.
    bool areWanted(const LintLine &line) const;

    size_t count() const { return found.size(); }

    /// All that was found, in the order of the places.
    std::vector<Mistake> sorted() const;

    QString check; ///< the name of the one that looks now

private:
    std::vector<Mistake> found;
};

/// What a check looks at.
enum class Subject {
    Command, ///< each command of a script in turn
    Script,  ///< a script as a whole, when its commands have been looked at
    Both,
};

/// A row of the table of checks.
struct Check {
    const char *name;
    const char *explanation; ///< what it finds, in one line
    Subject subject;
    void (*look)(const Situation &situation, Mistakes &mistakes);
};

/// All checks, in the order in which they are listed.
const std::vector<Check> &checkTable();

/// The names of all checks.
QStringList checkNames();

// The checks, file by file. commandChecks:
void findUnknownCommand(const Situation &situation, Mistakes &mistakes);
void findWordCount(const Situation &situation, Mistakes &mistakes);
void findInvalidNumber(const Situation &situation, Mistakes &mistakes);
void findInvalidPlatform(const Situation &situation, Mistakes &mistakes);
void findCutText(const Situation &situation, Mistakes &mistakes);
void findHiddenCommand(const Situation &situation, Mistakes &mistakes);
// scriptChecks:
void findNoHeading(const Situation &situation, Mistakes &mistakes);
void findMissingProgram(const Situation &situation, Mistakes &mistakes);
void findStraySimProgram(const Situation &situation, Mistakes &mistakes);
void findSameName(const Situation &situation, Mistakes &mistakes);
void findWrongComment(const Situation &situation, Mistakes &mistakes);
void findUnknownCheck(const Situation &situation, Mistakes &mistakes);
// ignoreChecks:
void findBadPattern(const Situation &situation, Mistakes &mistakes);
void findDanglingIgnore(const Situation &situation, Mistakes &mistakes);
void findWideIgnore(const Situation &situation, Mistakes &mistakes);
void findVainIgnore(const Situation &situation, Mistakes &mistakes);
// runChecks:
void findEmptiedReport(const Situation &situation, Mistakes &mistakes);
void findLostCapture(const Situation &situation, Mistakes &mistakes);
void findLostStatus(const Situation &situation, Mistakes &mistakes);
// compareChecks:
void findNeverWritten(const Situation &situation, Mistakes &mistakes);
void findOverwrittenFile(const Situation &situation, Mistakes &mistakes);
void findHugeTolerance(const Situation &situation, Mistakes &mistakes);

} // namespace Talmo
