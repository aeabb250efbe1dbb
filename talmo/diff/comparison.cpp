// From the two files to all that they differ in.

#include "comparison.h"

#include "ComparedFile.h"
#include "DiskFile.h"

#include <algorithm>
#include <string_view>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

/// Whether \a name is a file that can be read any number of times.
bool mayReadAgain(const QString &name)
{
    struct stat status = {};
    return name != QLatin1String("-") && stat(systemName(name), &status) == 0 &&
           S_ISREG(status.st_mode);
}

/// The two files, open.
struct FilePair {
    BlockPairing blocks; // the files tell it of theirs
    ComparedFile file1;
    ComparedFile file2;

    /// The sentence says what is wrong; it is null if nothing is.
    QString open(const DiffRequest &request)
    {
        if (file1.open(request.file1, request.preparation, {&blocks, 1}))
            file2.open(request.file2, request.preparation, {&blocks, 2});
        return failure();
    }

    QString failure() const
    {
        const QString failure1 = file1.failure();
        return failure1.isNull() ? file2.failure() : failure1;
    }

    /// What is wrong with files that could be read, but hold not what was asked for.
    QString objection()
    {
        std::string_view line;
        bool mayGoOn1 = true;
        bool mayGoOn2 = true;
        while (mayGoOn1 || mayGoOn2) { // only at the end it is known what was not found
            mayGoOn1 = file1.lines.readLine(line);
            mayGoOn2 = file2.lines.readLine(line);
        }
        const QString objection1 = file1.objection();
        return objection1.isNull() ? file2.objection() : objection1;
    }
};

/// Why what \a request asks for is not possible with files like these; null if it is.
QString problemOfReadingAgain(const DiffRequest &request)
{
    const char *const option = request.relativeToColumn > 0 ? "relative-to-column" : "plot";
    if (request.relativeToColumn == 0 && request.plot.isNull())
        return {};
    for (const QString &name : {request.file1, request.file2}) {
        if (!mayReadAgain(name))
            return QStringLiteral("--%1 reads the files again, and '%2' can be read only once")
                .arg(QLatin1String(option), name);
    }
    return {};
}

/// Reads both files for the largest magnitudes in \a rules. Returns what is wrong, or null.
QString readMagnitudes(const DiffRequest &request, Rules &rules)
{
    FilePair files;
    QString problem = files.open(request);
    if (!problem.isNull())
        return problem;
    rules.magnitudes = magnitudesOf(files.file1.lines, files.file2.lines, rules.tolerances.size());
    return files.failure();
}

/// Why \a survey is no comparison, although the files were read; null if it is one.
QString problemOf(const DiffRequest &request, const Survey &survey)
{
    const Lengths &lengths = survey.lengths;
    const bool isEmpty = lengths.lines1 == 0 || lengths.lines2 == 0;
    if (request.ignoresExtraLines && isEmpty)
        return QStringLiteral("one of the files has no lines to compare");
    if (!request.preparation.isNone() && lengths.lines1 == 0 && lengths.lines2 == 0)
        return QStringLiteral("nothing is left to compare");
    return {};
}

/// Where the blocks part, if that counts.
std::optional<BlockParting> partingOf(
    const BlockPairing &blocks, const DiffRequest &request, const Survey &survey)
{
    const std::optional<BlockParting> &parting = blocks.parting();
    const qint64 common = std::min(survey.lengths.lines1, survey.lengths.lines2);
    const bool isBehind = parting && parting->linesPaired >= common;
    return request.ignoresExtraLines && isBehind ? std::nullopt : parting;
}

} // namespace

QString compare(DiffResult &result)
{
    const DiffRequest &request = result.request;
    FilePair files;
    QString problem = files.open(request);
    if (problem.isNull())
        problem = problemOfReadingAgain(request);
    if (!problem.isNull())
        return problem;
    LineReader &lines1 = files.file1.lines;
    LineReader &lines2 = files.file2.lines;
    const Head head = request.comparesNumbers ? readHead(lines1, lines2) : Head();
    if (problem = files.failure(); !problem.isNull())
        return problem;
    const std::optional<Tolerances> tolerances = tolerancesOf(request, head, problem);
    if (!tolerances) {
        const QString objection = files.objection();
        return objection.isNull() ? problem : objection;
    }
    result.tolerances = *tolerances;
    if (!request.plotX.isNull()) {
        result.plotX = columnOf(request.plotX, head.names, head.columns, problem);
        if (result.plotX == 0)
            return QStringLiteral("--x: ") + problem;
    }
    Rules rules;
    rules.tolerances = tolerances->values;
    rules.relative = request.relative;
    rules.relativeToColumn = request.relativeToColumn;
    rules.ignoresExtraLines = request.ignoresExtraLines;
    if (rules.relativeToColumn > 0)
        problem = readMagnitudes(request, rules);
    if (!problem.isNull())
        return problem;
    result.mayReadAgain =
        request.isPlain() && mayReadAgain(request.file1) && mayReadAgain(request.file2);
    result.survey = surveyOf(lines1, lines2, rules, request.keptLines, head);
    if (problem = files.failure(); !problem.isNull())
        return problem;
    problem = files.objection();
    result.parting = partingOf(files.blocks, request, result.survey);
    return problem.isNull() ? problemOf(request, result.survey) : problem;
}

} // namespace Talmo
