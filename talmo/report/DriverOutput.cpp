// What the driver has printed: first where it works, with which programs and scripts, then a line
// for each run, and the numbers. What scripts and programs print stands between, and may look like
// a line of the driver.
//
// The driver goes through the scripts in their order, and prints the line of a run when that has
// printed all of its own. So a line counts only if there is a way through all scripts over it; of
// several for one run the last one counts; a script either runs for programs or does not, as its
// last line tells; and the driver's numbers tell whether something is missing.

#include "Source.h"

#include "utf8.h"

#include <QHash>
#include <QRegularExpression>

#include <utility>
#include <vector>

namespace Talmo
{

namespace
{

class DriverOutput
{
public:
    DriverOutput(QIODevice &itsFile, const QString &itsName, Source &itsSource)
        : file(itsFile)
        , name(itsName)
        , source(itsSource)
    {
    }

    bool read(QString &problem);

private:
    bool readLine(QString &line);
    bool readHead(QString &problem);
    void take(const QString &line);
    bool takeSummary(const QString &line);
    bool isRun(const QString &word, RunRecord &run) const;
    void keepPossible();
    void keepLatest();
    QString objection() const;

    QIODevice &file;
    const QString name;
    Source &source;
    QString folder;  ///< of the scripts
    QString scripts; ///< their names, each between blanks
    QStringList programs;
    std::vector<RunRecord> lines; ///< that may be the driver's, in their order
    qint64 failedScripts = -1;    ///< as the summary says
};

/// The next line; false at the end. Of a long one the beginning.
bool DriverOutput::readLine(QString &line)
{
    constexpr qint64 most = 1 << 20;
    QByteArray bytes = file.readLine(most);
    if (bytes.isEmpty())
        return false;
    while (!bytes.endsWith('\n')) {
        const QByteArray rest = file.readLine(most);
        if (rest.isEmpty())
            break;
        if (rest.endsWith('\n'))
            bytes += '\n';
    }
    while (bytes.endsWith('\n') || bytes.endsWith('\r'))
        bytes.chop(1);
    line = decodedBytes(bytes);
    return true;
}

/// What stands in \a line between \a before and \a after; null if it does not begin and end so.
QString between(const QString &line, const QString &before, const QString &after)
{
    if (!line.startsWith(before) || !line.endsWith(after) ||
        line.size() < before.size() + after.size())
        return {};
    return line.mid(before.size(), line.size() - before.size() - after.size());
}

/// Reads up to the names of the scripts.
bool DriverOutput::readHead(QString &problem)
{
    QString line;
    while (folder.isNull() && readLine(line)) {
        const QString work =
            between(line, QStringLiteral("talmo_test: executing tests in '"), QStringLiteral("'"));
        if (!work.isNull())
            source.results.suite = work;
        const QString words = between(line, QStringLiteral("Configured SimPrograms: "), QString());
        if (!words.isNull())
            programs = words.split(QLatin1Char(' '));
        folder =
            between(line, QStringLiteral("talmo_test: tests to run from '"), QStringLiteral("':"));
    }
    if (!folder.isNull() && readLine(scripts)) {
        scripts = QLatin1Char(' ') + scripts + QLatin1Char(' ');
        return true;
    }
    problem = QStringLiteral("%1: it is damaged: it does not say which tests are run").arg(name);
    return false;
}

/// Whether \a word names a run, whose script and program are then set.
bool DriverOutput::isRun(const QString &word, RunRecord &run) const
{
    const auto isScript = [this](const QString &text) {
        return scripts.contains(QLatin1Char(' ') + text + QLatin1Char(' '));
    };
    run.name = word;
    run.script = word;
    if (isScript(word))
        return true;
    for (const QString &program : programs) {
        const QString end = QLatin1Char('(') + program + QLatin1Char(')');
        run.script = word.left(word.size() - end.size());
        run.program = program;
        if (word.endsWith(end) && isScript(run.script))
            return true;
    }
    return false;
}

void DriverOutput::take(const QString &line)
{
    static const QString error = QStringLiteral("***ERROR: ");
    const bool hasPath = line.startsWith(folder + QLatin1Char('/'));
    const QString text = hasPath ? line.mid(folder.size() + 1) : line;
    RunRecord run;
    auto colon = text.indexOf(QLatin1String(": "));
    while (colon > 0 && !isRun(text.left(colon), run))
        colon = text.indexOf(QLatin1String(": "), colon + 1);
    if (colon <= 0)
        return;
    const QString rest = text.mid(colon + 2);
    run.attempts = 1;
    if (rest.startsWith(error)) {
        run.message = rest.mid(error.size());
        const bool isStopped = run.message.startsWith(QLatin1String("not run, interrupted by "));
        run.state = isStopped ? RunState::NotRun : RunState::Failed;
        if (!isStopped && !hasPath)
            run.directory = run.name + QStringLiteral(".dir");
    } else if (hasPath) {
        run.state = RunState::Skipped;
        run.message = rest;
        run.attempts = 0;
    } else {
        run.state = RunState::Passed;
        run.heading = rest;
    }
    lines.push_back(std::move(run));
}

/// Leaves the lines over which a way leads through all scripts, if there is one.
void DriverOutput::keepPossible()
{
    const QStringList names = scripts.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const size_t count = static_cast<size_t>(names.size());
    QHash<QString, size_t> numberOf;
    for (const QString &script : names)
        numberOf.insert(script, static_cast<size_t>(numberOf.size()));
    // The scripts up to this one can all have had a line, and those from this one on.
    std::vector<size_t> reached(lines.size());
    std::vector<size_t> ahead(lines.size());
    size_t next = 0;
    for (size_t index = 0; index < lines.size(); ++index) {
        next += numberOf.value(lines[index].script, count) == next ? 1 : 0;
        reached[index] = next;
    }
    if (next < count || static_cast<size_t>(numberOf.size()) < count)
        return;
    size_t last = count;
    for (size_t index = lines.size(); index > 0; --index) {
        last -= numberOf.value(lines[index - 1].script, count) + 1 == last ? 1 : 0;
        ahead[index - 1] = last;
    }
    std::vector<RunRecord> possible;
    for (size_t index = 0; index < lines.size(); ++index) {
        const size_t script = numberOf.value(lines[index].script, count);
        if (script < reached[index] && script >= ahead[index])
            possible.push_back(std::move(lines[index]));
    }
    lines = std::move(possible);
}

/// Makes the results of the lines: of those for one run the last one.
void DriverOutput::keepLatest()
{
    QHash<QString, bool> hasProgram; // of scripts, by their last lines
    QHash<QString, int> count;       // of the lines of a run
    for (const RunRecord &run : lines) {
        hasProgram[run.script] = !run.program.isEmpty();
        ++count[run.name];
    }
    QHash<QString, int> seen;
    for (RunRecord &run : lines) {
        if (hasProgram.value(run.script) == run.program.isEmpty() ||
            ++seen[run.name] < count.value(run.name))
            continue;
        if (count.value(run.name) > 1)
            run.remarks += QStringLiteral("%1 lines begin with its name; the last one counts")
                               .arg(count.value(run.name));
        source.results.runs.push_back(std::move(run));
    }
}

/// Takes the numbers of the last line; false if \a line has none.
bool DriverOutput::takeSummary(const QString &line)
{
    static const QRegularExpression failures(
        QStringLiteral("^\\*\\*\\*talmo_test: ([0-9]+) tests failed out of ([0-9]+) tests$"));
    static const QRegularExpression success(
        QStringLiteral("^All tests passed \\(([0-9]+) total\\)$"));
    if (success.match(line).hasMatch())
        failedScripts = 0;
    else if (failures.match(line).hasMatch())
        failedScripts = failures.match(line).captured(1).toLongLong();
    return success.match(line).hasMatch() || failures.match(line).hasMatch();
}

/// What speaks against the lines; null if nothing does.
QString DriverOutput::objection() const
{
    if (failedScripts < 0)
        return QStringLiteral("; its end is missing, so more may have been run");
    QStringList scriptsThatFailed;
    for (const RunRecord &run : source.results.runs) {
        if (run.state == RunState::Failed || run.state == RunState::NotRun)
            scriptsThatFailed += run.script;
    }
    scriptsThatFailed.removeDuplicates();
    return scriptsThatFailed.size() == failedScripts
               ? QString()
               : QStringLiteral("; it says that %1 scripts failed, but lines tell so of %2: what "
                                "programs print stands between")
                     .arg(failedScripts)
                     .arg(scriptsThatFailed.size());
}

bool DriverOutput::read(QString &problem)
{
    source.kind = SourceKind::Driver;
    if (!readHead(problem))
        return false;
    QString line;
    while (readLine(line)) {
        if (!takeSummary(line))
            take(line);
    }
    keepPossible();
    keepLatest();
    source.description =
        QStringLiteral("What talmo_test has printed, in '%1'%2").arg(name, objection());
    return true;
}

} // namespace

bool readDriverOutput(QIODevice &file, const QString &name, Source &source, QString &problem)
{
    return DriverOutput(file, name, source).read(problem);
}

} // namespace Talmo
