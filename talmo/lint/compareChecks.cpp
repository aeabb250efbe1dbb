// Checks of "=compare" and "=exists": whether there can be anything to compare, and whether a
// comparison can fail.

#include "DiskFile.h"
#include "checks.h"
#include "commands.h"
#include "compare.h"
#include "details.h"
#include "nearest.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <vector>

#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr double almostZero = 1e-6; ///< values up to this may stand for 0
constexpr double hugeFactor = 100;  ///< a tolerance is huge from so many times the values on
constexpr double leastHuge = almostZero * hugeFactor;

const QString above = QStringLiteral("../");

/// Whether the clean \a path leads out of the directory of the run.
bool isOutside(const QString &path)
{
    return path.startsWith(QLatin1Char('/')) || path.startsWith(above) ||
           path == QLatin1String("..");
}

/// Whether the file \a name, outside of the directory of the run, may be there. Where the script
/// lies we look; elsewhere files may come from anywhere.
bool mayExistOutside(const QString &name, const QByteArray &folder)
{
    const QString rest = name.mid(above.size());
    const bool isOfRun = rest.section(QLatin1Char('/'), 0, 0).endsWith(QLatin1String(".dir"));
    if (!name.startsWith(above) || isOfRun || systemName(rest).isNull())
        return true;
    const bool exists = access(folder + '/' + systemName(rest), F_OK) == 0;
    return exists || (errno != ENOENT && errno != ENOTDIR);
}

/// " (did you mean NAME?)" for a file \a name that nothing has written. Among many files it is
/// looked for only a few times, so that the time grows with the length of a script, not faster.
QString suggestedFile(const QString &name, const Situation &situation, const Mistakes &mistakes)
{
    constexpr size_t mostComparisons = 1000000;
    const QStringList &names = situation.written.names();
    const bool isTooMuch =
        static_cast<size_t>(names.size()) * (mistakes.count() + 1) > mostComparisons;
    return isTooMuch ? QString() : suggestion(name, names);
}

void checkFile(const Situation &situation, int word, const QString &message, Mistakes &mistakes)
{
    const QString &name = situation.line.words[word];
    const QString path = QDir::cleanPath(name);
    if (!mistakes.areWanted(situation.line) || situation.written.mayHold(name) ||
        situation.isExpected(message))
        return;
    const bool isElsewhere = isOutside(path);
    if (isElsewhere && (path == QLatin1String("..") || mayExistOutside(path, situation.folder)))
        return;
    mistakes.add(situation.line, situation.line.columnOf(word),
        isElsewhere ? QStringLiteral("'%1' is not there, and nothing in the script writes it")
                          .arg(shown(name))
                    : QStringLiteral("nothing above has written '%1'%2")
                          .arg(shown(name), suggestedFile(name, situation, mistakes)));
}

/// Whether any number that a program would write passes \a tolerance beside values of up to
/// \a largest, in a reference with values of up to \a largestOfAll. Values that are small beside
/// others, or at all, may stand for 0, beside which nothing is large.
bool isHuge(double tolerance, double largest, double largestOfAll)
{
    constexpr double smallPart = 1e-3;
    const bool mayBeZero = largest <= almostZero || largest <= smallPart * largestOfAll;
    return !mayBeZero && tolerance >= hugeFactor * largest;
}

/// The references among the two files of the "=compare" at hand: those in the script, if nothing
/// can have changed them. None if it is not certain which of them is there.
std::vector<const Magnitudes *> referencesOf(const Situation &situation)
{
    std::vector<const Magnitudes *> references;
    for (int word = 1; word <= 2; ++word) {
        const QString &name = situation.line.words[word];
        if (!situation.inlineFiles.contains(name)) {
            // What is outside has been there before, so the other file is not the reference.
            if (isOutside(QDir::cleanPath(name)))
                return {};
            continue;
        }
        references.push_back(situation.inlineFiles.magnitudesOf(name));
        if (references.back() == nullptr)
            return {};
    }
    return references;
}

} // namespace

void findNeverWritten(const Situation &situation, Mistakes &mistakes)
{
    if (situation.command == nullptr || situation.line.isGuessed)
        return;
    const QString name = QLatin1String(situation.command->name);
    const QStringList &words = situation.line.words;
    if (name == QLatin1String("=exists"))
        checkFile(situation, 1, fileDoesNotExist(words[1]), mistakes);
    if (name != QLatin1String("=compare"))
        return;
    checkFile(situation, 1, cannotCompare(words[1]), mistakes);
    const bool endsAtFirst =
        !situation.written.mayHold(words[1]) && situation.isExpected(cannotCompare(words[1]));
    if (!endsAtFirst && words[1] != words[2])
        checkFile(situation, 2, cannotCompare(words[2]), mistakes);
}

void findHugeTolerance(const Situation &situation, Mistakes &mistakes)
{
    const QStringList &words = situation.line.words;
    std::vector<double> tolerances;
    const bool isComparison = situation.command != nullptr &&
                              QLatin1String(situation.command->name) == QLatin1String("=compare");
    if (!isComparison || situation.pattern || !readTolerances(words, tolerances) ||
        tolerances.empty())
        return;
    const auto largest = std::max_element(tolerances.begin(), tolerances.end());
    if (*largest < leastHuge)
        return;
    const std::vector<const Magnitudes *> references = referencesOf(situation);
    const InlineFiles &files = situation.inlineFiles;
    for (size_t column = 0; column < tolerances.size() && !references.empty(); ++column) {
        const auto passesAll = [&](const Magnitudes *reference) {
            return column < reference->ofColumns.size() &&
                   isHuge(tolerances[column], reference->ofColumns[column], reference->ofAll);
        };
        if (!std::all_of(references.begin(), references.end(), passesAll))
            continue;
        if (files.isNamedInOther(words[1]) || files.isNamedInOther(words[2]))
            return;
        const int word = static_cast<int>(column) + 3;
        mistakes.add(situation.line, situation.line.columnOf(word),
            QStringLiteral("any number passes the tolerance %1: the largest in column %2 of the "
                           "reference is %3")
                .arg(words[word], QString::number(column + 1),
                    QString::number(references.back()->ofColumns[column])));
    }
}

void findOverwrittenFile(const Situation &situation, Mistakes &mistakes)
{
    const LintLine &line = situation.line;
    if (!situation.body || line.isGuessed || !situation.inlineFiles.isUnused(line.words[1]) ||
        line.words[1].startsWith(QLatin1String("/dev/")))
        return; // a device does not forget what was written
    mistakes.add(line, line.columnOf(1),
        QStringLiteral("the text that an earlier '=file' writes to '%1' is lost here, and nothing "
                       "has used it")
            .arg(shown(line.words[1])));
}

} // namespace Talmo
