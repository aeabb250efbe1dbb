// A JUnit file of ctest. It knows states and times, but no reasons. For a run that
// talmo_discover_tests() has added, the output is what "talmo run" has printed, and that ends in
// lines of its own, which no program can have printed: the failures, and a line with the numbers.
// If ctest has cut them off, nobody knows the reason.

#include "Source.h"

#include "talmo/Numbers.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace Talmo
{

namespace
{

/// What one run of "talmo run" says of it at its end.
struct Told {
    RunState state = RunState::Passed;
    QString run;     ///< its name
    QString message; ///< null if it passed
    qint64 line = 0;
};

/// The last line that is not empty of \a lines, which are then all before it.
QString takeLast(QStringList &lines)
{
    while (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines.isEmpty() ? QString() : lines.takeLast();
}

/// The state of the one run by the line with the numbers; false if \a line is none.
bool takeState(const QString &line, RunState &state)
{
    static const QRegularExpression numbers(
        QStringLiteral("^1 run in [0-9.]+ (?:s|min|h): ([01]) passed, ([01]) failed, ([01]) known, "
                       "([01]) flaky, ([01]) skipped, ([01]) not run$"));
    const QRegularExpressionMatch match = numbers.match(line);
    if (!match.hasMatch())
        return false;
    const RunState states[] = {RunState::Passed, RunState::Failed, RunState::Known,
        RunState::Passed, RunState::Skipped, RunState::NotRun};
    for (int index = 0; index < 6; ++index) {
        if (match.captured(index + 1) == QLatin1String("1"))
            state = states[index];
    }
    return true;
}

/// The longest name of a run that \a line begins with, for the test \a test; null if it does with
/// none.
QString runOfLine(const QString &line, const QString &test)
{
    QString run;
    for (auto colon = line.indexOf(QLatin1String(": ")); colon > 0;
         colon = line.indexOf(QLatin1String(": "), colon + 1)) {
        if (test.contains(line.left(colon)) && !line.startsWith(QLatin1Char(' ')))
            run = line.left(colon);
    }
    return run;
}

/// Looks for the line of the run from the last one of \a lines up. Its number; -1 if there is none.
int lineOfRun(const QStringList &lines, const QString &test, QString &run)
{
    auto index = static_cast<int>(lines.size()) - 1;
    for (; index >= 0 && run.isNull(); --index)
        run = runOfLine(lines[index], test);
    return run.isNull() ? -1 : index + 1;
}

/// Reads from \a output, of the test \a test, what "talmo run" says; false if it does not.
bool readTold(const QString &output, const QString &test, Told &told)
{
    QStringList lines = output.split(QLatin1Char('\n'));
    if (!takeState(takeLast(lines), told.state))
        return false;
    if (told.state == RunState::Failed) {
        const auto list = lines.lastIndexOf(QStringLiteral("Failed:"));
        lines = list < 0 ? QStringList() : lines.mid(0, list);
    }
    if (told.state == RunState::Skipped && !lines.isEmpty()) // it has the path of the script
        lines = QStringList(takeLast(lines).section(QLatin1Char('/'), -1));
    const int at = lineOfRun(lines, test, told.run);
    if (at < 0)
        return false;
    const QString failure = told.run + QStringLiteral(": ***ERROR: ");
    if (lines[at].startsWith(failure))
        told.message = lines[at].mid(failure.size());
    else if (told.state == RunState::Skipped)
        told.message = lines[at].mid(told.run.size() + 2);
    static const QRegularExpression place(QStringLiteral("^    [^:]*:([0-9]+): "));
    const QRegularExpressionMatch match = place.match(lines.value(at + 1));
    if (match.hasMatch())
        told.line = match.captured(1).toLongLong();
    return true;
}

class CTestReader
{
public:
    CTestReader(QIODevice &file, const QString &itsName, Source &itsSource)
        : xml(&file)
        , name(itsName)
        , source(itsSource)
    {
    }

    bool read(QString &problem);

private:
    void readTest();
    void take(const QString &output, const QString &status, RunRecord &run);
    QByteArray placeOf(const QString &test, const QString &run) const;
    QString attribute(const char *word) const
    {
        return xml.attributes().value(QLatin1String(word)).toString();
    }
    double secondsOf(const char *word);

    QXmlStreamReader xml;
    const QString name;
    Source &source;
    int ours = 0; ///< how many tests are runs of talmo
};

double CTestReader::secondsOf(const char *word)
{
    double seconds = 0;
    if (!toNumber(attribute(word).toStdString(), seconds) || !(seconds >= 0))
        xml.raiseError(QStringLiteral("'%1' is no time").arg(attribute(word)));
    return seconds;
}

bool CTestReader::read(QString &problem)
{
    source.kind = SourceKind::CTest;
    xml.readNextStartElement();
    source.results.host = attribute("hostname");
    source.results.started = attribute("timestamp");
    source.results.seconds = secondsOf("time");
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("testcase"))
            readTest();
        else
            xml.skipCurrentElement();
    }
    while (!xml.atEnd())
        xml.readNext();
    if (xml.hasError()) {
        problem = QStringLiteral("%1:%2: it is damaged: %3")
                      .arg(name, QString::number(xml.lineNumber()), xml.errorString());
        return false;
    }
    source.description =
        QStringLiteral("The results of ctest in '%1'; %2 of its %3 tests are runs "
                       "of talmo")
            .arg(name, QString::number(ours), QString::number(source.results.runs.size()));
    return true;
}

/// The state that ctest's word means; false if ctest has no such word.
bool takeStatus(const QString &word, RunState &state)
{
    static const struct {
        const char *word;
        RunState state;
    } rows[] = {
        {"run", RunState::Passed},
        {"fail", RunState::Failed},
        {"notrun", RunState::NotRun},
        {"disabled", RunState::Skipped},
    };
    for (const auto &row : rows) {
        if (word != QLatin1String(row.word))
            continue;
        state = row.state;
        return true;
    }
    return false;
}

void CTestReader::readTest()
{
    RunRecord run;
    run.name = attribute("name");
    run.seconds = secondsOf("time");
    const QString status = attribute("status");
    if (run.name.isEmpty())
        xml.raiseError(QStringLiteral("a test case has no name"));
    if (!takeStatus(status, run.state))
        xml.raiseError(QStringLiteral("'%1' is no status of ctest").arg(status));
    QString reason;
    QString output;
    while (xml.readNextStartElement()) {
        const bool isEnd = xml.name() == QLatin1String("skipped");
        if (isEnd)
            reason = attribute("message");
        // ctest has the same word for a test that was skipped and for one that could not be
        // started.
        if (isEnd && reason.startsWith(QLatin1String("SKIP_")))
            run.state = RunState::Skipped;
        if (xml.name() == QLatin1String("system-out"))
            output = xml.readElementText(QXmlStreamReader::SkipChildElements);
        else
            xml.skipCurrentElement();
    }
    if (run.state == RunState::Failed)
        reason = QStringLiteral("ctest does not tell why");
    if (run.state != RunState::Passed)
        run.message = reason.isEmpty() ? status : reason;
    const bool wasMade = run.state == RunState::Passed || run.state == RunState::Failed;
    run.attempts = wasMade ? 1 : 0;
    source.places.emplace_back();
    take(output, status, run);
    if (run.state == RunState::Failed)
        run.systemOut = output;
    source.results.runs.push_back(std::move(run));
}

/// Completes \a run by what "talmo run" has printed, if the \a output is of it.
void CTestReader::take(const QString &output, const QString &status, RunRecord &run)
{
    Told told;
    if (!readTold(output, run.name, told))
        return;
    ++ours;
    const bool isAgreed = (told.state == RunState::Failed) == (status == QLatin1String("fail"));
    if (!isAgreed) {
        run.remarks += QStringLiteral("ctest says '%1' of it").arg(status);
        return;
    }
    run.state = told.state;
    run.message = told.message;
    run.line = told.line;
    run.script = told.run.section(QLatin1Char('('), 0, 0);
    run.program = told.run.section(QLatin1Char('('), 1).section(QLatin1Char(')'), 0, 0);
    if (run.state == RunState::Failed)
        run.directory = told.run + QStringLiteral(".dir");
    source.places.back() = placeOf(run.name, told.run);
}

/// Where \a run, of the test \a test, was made, unless the project says otherwise: in the folder
/// talmo_tests/SUITE beside the file.
QByteArray CTestReader::placeOf(const QString &test, const QString &run) const
{
    if (!test.endsWith(QLatin1Char('.') + run))
        return {};
    const QString suite = test.left(test.size() - run.size() - 1);
    const QFileInfo folder(
        QFileInfo(name).absolutePath() + QStringLiteral("/talmo_tests/") + suite);
    return folder.isDir() && !suite.contains(QLatin1Char('/'))
               ? QFile::encodeName(folder.absoluteFilePath())
               : QByteArray();
}

} // namespace

bool readCTest(QIODevice &file, const QString &name, Source &source, QString &problem)
{
    return CTestReader(file, name, source).read(problem);
}

} // namespace Talmo
