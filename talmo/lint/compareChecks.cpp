// Checks of "=compare" and "=exists": whether there can be anything to compare, and whether a
// comparison can fail.

#include "DiskFile.h"
#include "Words.h"
#include "checks.h"
#include "commands.h"
#include "compare.h"
#include "details.h"
#include "nearest.h"
#include "talmo/Numbers.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

#include <unistd.h>

namespace Talmo
{

namespace
{

const QString above = QStringLiteral("../");

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

void checkFile(const Situation &situation, int word, const QString &message, Mistakes &mistakes)
{
    const QString &name = situation.line.words[word];
    const QString path = QDir::cleanPath(name);
    if (situation.written.mayHold(name) || situation.isExpected(message))
        return;
    const bool isOutside =
        path.startsWith(QLatin1Char('/')) || path.startsWith(above) || path == QLatin1String("..");
    if (isOutside && (path == QLatin1String("..") || mayExistOutside(path, situation.folder)))
        return;
    mistakes.add(situation.line, situation.line.columnOf(word),
        isOutside ? QStringLiteral("'%1' is not there, and nothing in the script writes it")
                        .arg(shown(name))
                  : QStringLiteral("nothing above has written '%1'%2")
                        .arg(shown(name), suggestion(name, situation.written.names())));
}

/// The magnitudes of the numbers in the first columns of a text.
struct Magnitudes {
    std::vector<double> largest; ///< of each column; infinite if a word is no number
    bool hasLines = false;
};

/// Those of the lines of \a text that are no comments, in \a count columns.
Magnitudes magnitudesOf(std::string_view text, size_t count)
{
    Magnitudes magnitudes;
    magnitudes.largest.resize(count);
    Words words;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        words.split(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (words[0].substr(0, 1) == "#")
            continue;
        magnitudes.hasLines = true;
        for (size_t column = 0; column < count; ++column) {
            double value = std::numeric_limits<double>::infinity();
            if (column < words.count())
                toNumber(words[column], value);
            magnitudes.largest[column] = std::max(magnitudes.largest[column], std::fabs(value));
        }
    }
    return magnitudes;
}

/// Whether any number that a program would write passes \a tolerance beside values of up to
/// \a largest. Values that are almost 0 stand for 0, beside which nothing is large.
bool isHuge(double tolerance, double largest)
{
    constexpr double almostZero = 1e-9;
    constexpr double times = 100;
    return largest > almostZero && tolerance >= times * largest;
}

} // namespace

void findNeverWritten(const Situation &situation, Mistakes &mistakes)
{
    if (situation.command == nullptr)
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
    std::vector<Magnitudes> references;
    for (int word = 1; word <= 2; ++word) {
        const auto file = situation.inlineFiles.find(QDir::cleanPath(words[word]));
        if (file == situation.inlineFiles.end())
            continue;
        if (file->second.count > 1)
            return; // which of them it is, is not known
        references.push_back(magnitudesOf(file->second.text, tolerances.size()));
    }
    for (size_t column = 0; column < tolerances.size() && !references.empty(); ++column) {
        const bool passesAll =
            std::all_of(references.begin(), references.end(), [&](const Magnitudes &reference) {
                return reference.hasLines && isHuge(tolerances[column], reference.largest[column]);
            });
        const int word = static_cast<int>(column) + 3;
        if (passesAll)
            mistakes.add(situation.line, situation.line.columnOf(word),
                QStringLiteral("any number passes the tolerance %1: the largest in column %2 of "
                               "the reference is %3")
                    .arg(words[word], QString::number(column + 1),
                        QString::number(references.back().largest[column])));
    }
}

} // namespace Talmo
