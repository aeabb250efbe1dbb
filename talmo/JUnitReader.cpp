// Reads what JUnit.cpp writes, from one end to the other. The file may have been cut, edited, or
// written by somebody else, so nothing is taken for granted.

#include "JUnit.h"

#include "regularFile.h"
#include "resultProperties.h"
#include "talmo/Numbers.h"

#include <QFile>
#include <QIODevice>
#include <QXmlStreamReader>

#include <cerrno>

namespace Talmo
{

namespace
{

using IsKept = std::function<bool(const QString &run)>;

class JUnitReader
{
public:
    JUnitReader(QIODevice &device, const IsKept &itsIsKept, RunResults &someResults)
        : xml(&device)
        , isKept(itsIsKept)
        , results(someResults)
    {
    }

    bool read();

    /// Why read failed, and on which line; 0 if the file is of another kind.
    QString problem;
    qint64 line = 0;

private:
    bool readRoot();
    void readSuites();
    void readSuite();
    void readProperties();
    void takeProperty(const QString &name, const QString &value);
    void takeRunProperty(qint64 run, const QString &word, const QString &value);
    void readRun();
    void readPart(RunRecord &run);
    QString attribute(const char *name) const;
    double secondsOf(const char *name);
    void fail(const QString &reason) { xml.raiseError(reason); }

    QXmlStreamReader xml;
    const IsKept &isKept; ///< whether the text of a run is
    RunResults &results;
    bool hasFormat = false;
    qint64 runs = 0; ///< that were read

    /// Runs of which only properties were read so far, with their numbers, in ascending order.
    std::vector<std::pair<qint64, RunRecord>> pending;
    size_t nextPending = 0;
};

bool JUnitReader::read()
{
    results = RunResults();
    if (!readRoot()) {
        problem = QStringLiteral("it is no result file of talmo");
        return false;
    }
    readSuites();
    while (!xml.atEnd())
        xml.readNext(); // what stands behind the root is an error
    if (!xml.hasError() && nextPending < pending.size())
        fail(QStringLiteral("run %1 is missing").arg(pending[nextPending].first));
    if (!xml.hasError())
        return true;
    problem = QStringLiteral("it is damaged: %1").arg(xml.errorString());
    line = xml.lineNumber();
    return false;
}

/// Goes to the root. False if it is another one than ours, or if there is a document type, which
/// could define entities.
bool JUnitReader::readRoot()
{
    while (!xml.atEnd()) {
        const QXmlStreamReader::TokenType token = xml.readNext();
        if (token == QXmlStreamReader::DTD)
            return false;
        if (token == QXmlStreamReader::StartElement)
            return xml.name() == QLatin1String("testsuites") &&
                   attribute("name") == QLatin1String("talmo");
    }
    return false;
}

QString JUnitReader::attribute(const char *name) const
{
    return xml.attributes().value(QLatin1String(name)).toString();
}

/// The value of the attribute \a name as a time.
double JUnitReader::secondsOf(const char *name)
{
    double seconds = 0;
    if (!toNumber(attribute(name).toStdString(), seconds) || !(seconds >= 0))
        fail(QStringLiteral("'%1' is no time").arg(attribute(name)));
    return seconds;
}

void JUnitReader::readSuites()
{
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("testsuite"))
            readSuite();
        else
            xml.skipCurrentElement();
    }
    if (!xml.hasError() && !hasFormat)
        fail(QStringLiteral("it does not say which format it has"));
}

void JUnitReader::readSuite()
{
    results.started = attribute("timestamp");
    results.host = attribute("hostname");
    results.seconds = secondsOf("time");
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("properties"))
            readProperties();
        else if (xml.name() == QLatin1String("testcase"))
            readRun();
        else
            xml.skipCurrentElement();
    }
}

void JUnitReader::readProperties()
{
    while (xml.readNextStartElement()) {
        if (xml.name() == QLatin1String("property"))
            takeProperty(attribute("name"), attribute("value"));
        xml.skipCurrentElement();
    }
}

void JUnitReader::takeProperty(const QString &name, const QString &value)
{
    if (name.startsWith(QLatin1String("run."))) {
        const auto dot = name.indexOf(QLatin1Char('.'), 4);
        takeRunProperty(name.mid(4, dot - 4).toLongLong(), name.mid(dot + 1), value);
        return;
    }
    for (const auto &property : propertiesOfResults()) {
        if (name != QLatin1String(property.word))
            continue;
        hasFormat = hasFormat || name == QLatin1String("format");
        if (!property.take(results, value))
            fail(QStringLiteral("the property '%1' cannot be '%2'").arg(name, value));
    }
}

void JUnitReader::takeRunProperty(qint64 run, const QString &word, const QString &value)
{
    const qint64 latest = pending.empty() ? 0 : pending.back().first;
    if (run < 1 || run < latest)
        return fail(QStringLiteral("the properties of the runs are not in order"));
    if (run > latest) {
        pending.emplace_back(run, RunRecord());
        pending.back().second.attempts = -1;
    }
    for (const auto &property : propertiesOfRun()) {
        if (word == QLatin1String(property.word) && !property.take(pending.back().second, value))
            fail(QStringLiteral("the property '%1' cannot be '%2'").arg(word, value));
    }
}

void JUnitReader::readRun()
{
    RunRecord run;
    run.attempts = -1;
    if (nextPending < pending.size() && pending[nextPending].first == runs + 1)
        run = std::move(pending[nextPending++].second);
    ++runs;
    run.name = attribute("name");
    run.seconds = secondsOf("time");
    run.state = RunState::Passed;
    if (run.name.isEmpty())
        fail(QStringLiteral("a test case has no name"));
    while (xml.readNextStartElement())
        readPart(run);
    const bool wasMade = run.state != RunState::NotRun && run.state != RunState::Skipped;
    if (run.attempts < 0)
        run.attempts = wasMade ? 1 : 0;
    results.runs.push_back(std::move(run));
}

/// Reads an element inside a test case.
void JUnitReader::readPart(RunRecord &run)
{
    // element, type, what became of the run; the first row that fits
    static const struct {
        const char *element;
        const char *type; ///< null: any
        RunState state;
    } ends[] = {
        {"failure", nullptr, RunState::Failed},
        {"error", nullptr, RunState::NotRun},
        {"skipped", "known", RunState::Known},
        {"skipped", nullptr, RunState::Skipped},
    };
    for (const auto &end : ends) {
        if (xml.name() != QLatin1String(end.element) ||
            (end.type != nullptr && attribute("type") != QLatin1String(end.type)))
            continue;
        run.state = end.state;
        run.message = attribute("message");
        break;
    }
    if (xml.name() == QLatin1String("system-out") && isKept(run.name))
        run.systemOut = xml.readElementText();
    else
        xml.skipCurrentElement();
}

} // namespace

bool readJUnit(QIODevice &device, const QString &name, SystemOut systemOut, RunResults &results,
    QString &problem)
{
    const auto isKept = [systemOut](const QString &) { return systemOut == SystemOut::Kept; };
    return readJUnit(device, name, isKept, results, problem);
}

bool readJUnit(QIODevice &device, const QString &name, const IsKept &isKept, RunResults &results,
    QString &problem)
{
    JUnitReader reader(device, isKept, results);
    if (reader.read())
        return true;
    results = RunResults();
    problem = reader.line == 0
                  ? QStringLiteral("%1: %2").arg(name, reader.problem)
                  : QStringLiteral("%1:%2: %3").arg(name).arg(reader.line).arg(reader.problem);
    return false;
}

bool readJUnitFile(
    const QByteArray &path, SystemOut systemOut, RunResults &results, QString &problem)
{
    QFile file;
    const QString name = QFile::decodeName(path);
    if (openRegular(file, path))
        return readJUnit(file, name, systemOut, results, problem);
    problem = QStringLiteral("cannot read '%1': %2").arg(name, reasonOf(errno));
    return false;
}

} // namespace Talmo
