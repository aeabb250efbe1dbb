// A run ends with its first comparison that fails, but its files are there for those behind it. We
// walk the script with the driver's own code, in the directory that the run has left, and note what
// each comparison compares: of a file, who has made it decides whether it is a reference. The walk
// ends at a command that would have changed something, since the run did not come to it.

#include "RunView.h"

#include "CommandWalk.h"
#include "DiskFile.h"
#include "Inspection.h"
#include "Remains.h"
#include "commands.h"
#include "compare.h"
#include "details.h"
#include "digests.h"
#include "messages.h"
#include "regularFile.h"
#include "replaceBodies.h"
#include "scriptPlaces.h"
#include "texts.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

bool isLink(const QByteArray &path)
{
    struct stat status = {};
    return lstat(path, &status) == 0 && S_ISLNK(status.st_mode);
}

/// Reads the file \a path. Returns why that is not possible; null if it is.
QString read(const QByteArray &path, QByteArray &text)
{
    QFile file;
    if (isLink(path))
        return QStringLiteral("it is a symbolic link");
    if (!openRegular(file, path, AT_FDCWD, O_NOFOLLOW))
        return reasonOf(errno);
    text = file.readAll();
    return file.error() == QFileDevice::NoError ? QString() : file.errorString();
}

/// The script of \a run that has not changed since, in the order in which they are looked for.
QByteArray pathOfScript(const RunRecord &run, const QByteArray &suiteDirectory)
{
    for (const QByteArray &path : scriptPlaces(suiteDirectory, run.script)) {
        Script script;
        if (script.open(path) && digestOfScript(script) == run.scriptDigest)
            return path;
    }
    return {};
}

/// Walks the script of a run in the directory that it has left, which is the current one.
class Viewer
{
public:
    Viewer(const RunRecord &itsRun, const QByteArray &itsSuiteDirectory, Script &itsScript)
        : run(itsRun)
        , suiteDirectory(itsSuiteDirectory)
        , script(itsScript)
        , scriptPath(pathOfScript(itsRun, itsSuiteDirectory))
        , lines(itsScript.linesToRun())
        , walk(lines, itsRun.program)
    {
    }

    /// Adds the comparisons to \a view; \a end is the line of the one that ended the run.
    void look(qint64 end, RunView &view);

private:
    void add(const Invocation &invocation, qint64 end, RunView &view);
    ComparedText compared(const QString &name) const;
    void findInside(const QString &name, ComparedText &file) const;
    void findOutside(const QString &name, ComparedText &file) const;
    QString problemOfInput(const QString &name, qint64 line) const;
    QString withProgram(const QString &text) const;

    const RunRecord &run;
    const QByteArray &suiteDirectory;
    Script &script;
    QByteArray scriptPath;
    ScriptReader &lines;
    CommandWalk walk;
};

void Viewer::look(qint64 end, RunView &view)
{
    if (platformName.isEmpty())
        platformName = platformOfThisBuild();
    while (std::optional<Invocation> invocation = walk.next()) {
        const Command *const command = commandToPerform(*invocation);
        const QString &name = invocation->words[0];
        const bool changesFiles =
            name == QLatin1String("=run") || name == QLatin1String("=testbeam");
        if (command == nullptr || (changesFiles && walk.line() > end)) {
            view.notReached = walk.line();
            return;
        }
        if (command->handler == compareCommand)
            add(*invocation, end, view);
        else if (name == QLatin1String("=ignore") || name == QLatin1String("=platform"))
            command->handler(*invocation);
        else if (command->following == FollowingLines::AreBody)
            lines.readUntil("=");
        walk.settle(*invocation);
    }
}

void Viewer::add(const Invocation &invocation, qint64 end, RunView &view)
{
    RunComparison comparison;
    if (!readTolerances(invocation.words, comparison.tolerances))
        return;
    comparison.line = walk.line();
    comparison.file1 = compared(invocation.words[1]);
    comparison.file2 = compared(invocation.words[2]);
    comparison.expectedFailure = walk.expectation();
    comparison.mayBeBlessed = comparison.line >= end;
    const bool isCertain = existsOnDisk(comparison.file1.name) || comparison.file1.reference;
    const bool isOtherCertain = existsOnDisk(comparison.file2.name) || comparison.file2.reference;
    if (comparison.line == end || (isCertain && isOtherCertain))
        view.comparisons.push_back(comparison);
}

ComparedText Viewer::compared(const QString &name) const
{
    ComparedText file;
    file.name = name;
    const QString clean = QDir::cleanPath(name);
    const bool isOutside =
        clean.startsWith(QLatin1Char('/')) || clean.startsWith(QLatin1String("../"));
    if (isOutside)
        findOutside(clean, file);
    else
        findInside(clean, file);
    if (file.reference && file.obstacle.isNull())
        file.obstacle = problemOfInput(clean, file.reference->line);
    return file;
}

QString Viewer::withProgram(const QString &text) const
{
    return text.split(QStringLiteral("$simProgram")).join(run.program);
}

/// Finds out about the file \a name in the directory of the run. It is a reference if it is still
/// as the script has written it. If it is not, something in the run has.
void Viewer::findInside(const QString &name, ComparedText &file) const
{
    const QString unread = read(systemName(name), file.text);
    int count = 0;
    for (const FileBody &body : script.bodies()) {
        if (QDir::cleanPath(withProgram(body.name)) != name)
            continue;
        ++count;
        const QByteArray text = textOf(body);
        const bool isMissing = !existsOnDisk(name); // the run did not come to it
        if (!isMissing && (!unread.isNull() || text != file.text))
            continue;
        file.text = text;
        file.reference = Reference{scriptPath, body.line};
    }
    if (!file.reference)
        file.obstacle = unread;
    else if (count > 1)
        file.obstacle = QStringLiteral("the script writes it with more than one =file");
    const QString real = QFileInfo(name).canonicalFilePath();
    const QString here = QDir::current().canonicalPath() + QLatin1Char('/');
    if (file.obstacle.isNull() && !file.reference && !real.startsWith(here))
        file.obstacle = QStringLiteral("it lies behind a symbolic link");
}

/// Finds out about the file \a name outside of the directory of the run. It is found from the
/// directory of the suite, where the run was made.
void Viewer::findOutside(const QString &name, ComparedText &file) const
{
    const bool isAbsolute = name.startsWith(QLatin1Char('/'));
    const QByteArray path =
        isAbsolute ? systemName(name) : suiteDirectory + '/' + systemName(name.mid(3));
    file.obstacle = read(path, file.text);
    const QString real = QFileInfo(QFile::decodeName(path)).canonicalFilePath();
    const QString here = QDir::current().canonicalPath() + QLatin1Char('/');
    if (!real.isEmpty() && !real.startsWith(here))
        file.reference = Reference{isLink(path) ? path : QFile::encodeName(real), 0};
}

/// Whether \a text has \a name as a word; what is before a path separator does not matter.
bool mentions(const QByteArray &text, const QByteArray &name)
{
    const auto isOfName = [](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return std::isalnum(byte) != 0 || byte >= 0x80 || character == '_' || character == '-' ||
               character == '.';
    };
    for (auto found = text.indexOf(name); found >= 0; found = text.indexOf(name, found + 1)) {
        const auto end = found + name.size();
        if ((name.startsWith('/') || found == 0 || !isOfName(text[found - 1])) &&
            (end == text.size() || !isOfName(text[end])))
            return true;
    }
    return false;
}

/// Why the reference \a name, which the script writes at \a line, or which is a file if that is 0,
/// may be an input of the programs, too: then the next run would be another one.
QString Viewer::problemOfInput(const QString &name, qint64 line) const
{
    // A file outside is only found through a folder, so a program of the same name is not meant.
    const auto above = name.lastIndexOf(QLatin1String("../"));
    const bool isInside = line > 0;
    const QByteArray base = isInside ? name.section(QLatin1Char('/'), -1).toUtf8()
                                     : name.mid(above < 0 ? 0 : above + 2).toUtf8();
    qint64 lastRun = 0;
    qint64 mentioning = 0;
    for (const ScriptLine &other : script.lines()) {
        if (other.words.value(0) != QLatin1String("=run"))
            continue;
        lastRun = other.number;
        if (mentioning == 0 && mentions(withProgram(other.text).toUtf8(), base))
            mentioning = other.number;
    }
    for (const FileBody &body : script.bodies()) {
        if (mentioning == 0 && body.line != line && body.line < lastRun &&
            mentions(textOf(body), base))
            mentioning = body.line;
    }
    if (mentioning == 0 || line > lastRun)
        return {};
    return QStringLiteral("it may be an input, too: see line %1").arg(mentioning);
}

} // namespace

bool RunComparison::involves(const Reference &reference) const
{
    return (file1.reference && *file1.reference == reference) ||
           (file2.reference && *file2.reference == reference);
}

bool RunComparison::holdsWith(const Reference &reference, const QByteArray &text) const
{
    const bool isFirst = file1.reference && *file1.reference == reference;
    const bool isSecond = file2.reference && *file2.reference == reference;
    const Survey survey =
        surveyOfTexts(isFirst ? text : file1.text, isSecond ? text : file2.text, tolerances);
    if (!expectedFailure || survey.unreadable != 0)
        return survey.agree();
    return survey.first &&
           matchesMessage(*expectedFailure, describe(*survey.first, file1.name, file2.name));
}

RunView viewOf(const RunRecord &run, const QByteArray &suiteDirectory)
{
    RunView view;
    view.run = &run;
    const Inspection inspection = inspect(run, suiteDirectory, 0);
    view.obstacle = inspection.obstacle;
    if (!view.obstacle.isNull())
        return view;
    const auto reported = std::find_if(inspection.comparisons.begin(), inspection.comparisons.end(),
        [](const FailedComparison &comparison) { return comparison.isReported; });
    const bool isReported = reported != inspection.comparisons.end() && !reported->survey.agree();
    if (!isReported) {
        view.obstacle = QStringLiteral("It failed for another reason: %1").arg(shown(run.message));
        return view;
    }
    Remains remains(run, suiteDirectory);
    view.obstacle = remains.open();
    if (view.obstacle.isNull() && !remains.areProven())
        view.obstacle = QStringLiteral("The results do not tell whether its script and its "
                                       "directory are still the same");
    if (view.obstacle.isNull())
        Viewer(run, suiteDirectory, remains.script).look(reported->line, view);
    if (view.obstacle.isNull())
        view.obstacle = remains.problemMeanwhile();
    return view;
}

} // namespace Talmo
