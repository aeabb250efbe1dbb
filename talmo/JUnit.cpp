// The schemas by which Jenkins checks a file know properties of a suite, but not of a test case,
// and the reader of GitLab passes over both. So the properties of the runs stand with those of the
// suite. The name of each has the number of its run: the third run's directory is
// "run.3.directory".

#include "JUnit.h"

#include "counts.h"
#include "outputText.h"
#include "regularFile.h"
#include "replacing.h"
#include "resultProperties.h"
#include "saving.h"
#include "xmlText.h"

#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QXmlStreamWriter>

#include <cerrno>
#include <cmath>

namespace Talmo
{

namespace
{

/// \a seconds as the schemas want it, with three digits behind the point and no exponent.
QString timeOf(double seconds)
{
    return QString::number(std::isfinite(seconds) && seconds > 0 ? seconds : 0, 'f', 3);
}

class JUnitWriter
{
public:
    JUnitWriter(const RunResults &someResults, QIODevice &device)
        : results(someResults)
        , counts(countsOf(someResults.runs))
        , xml(&device)
    {
        xml.setAutoFormatting(true);
        xml.setAutoFormattingIndent(1);
    }

    bool write();

private:
    void attribute(const char *name, const QString &value);
    void writeCounts();
    void writeProperty(const QString &name, const QString &value);
    void writeProperties();
    void writeRun(const RunRecord &run);
    void writeEnd(const RunRecord &run);

    const RunResults &results;
    const Counts counts;
    QXmlStreamWriter xml;
};

bool JUnitWriter::write()
{
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("testsuites"));
    attribute("name", QStringLiteral("talmo"));
    writeCounts();
    xml.writeStartElement(QStringLiteral("testsuite"));
    attribute("name", QFileInfo(results.suite).fileName());
    writeCounts();
    attribute("skipped", QString::number(counts.known + counts.skipped));
    if (!results.started.isEmpty())
        attribute("timestamp", results.started);
    if (!results.host.isEmpty())
        attribute("hostname", results.host);
    writeProperties();
    for (const RunRecord &run : results.runs) {
        if (xml.hasError())
            return false; // and the device's error is the latest one of the system
        writeRun(run);
    }
    xml.writeEndDocument();
    return !xml.hasError();
}

void JUnitWriter::attribute(const char *name, const QString &value)
{
    xml.writeAttribute(QLatin1String(name), xmlText(value));
}

/// The attributes that the whole and its only suite have in common.
void JUnitWriter::writeCounts()
{
    attribute("tests", QString::number(counts.all()));
    attribute("failures", QString::number(counts.failed));
    attribute("errors", QString::number(counts.notRun));
    attribute("time", timeOf(results.seconds));
}

void JUnitWriter::writeProperty(const QString &name, const QString &value)
{
    xml.writeEmptyElement(QStringLiteral("property"));
    xml.writeAttribute(QStringLiteral("name"), name);
    attribute("value", value);
}

void JUnitWriter::writeProperties()
{
    xml.writeStartElement(QStringLiteral("properties"));
    for (const auto &property : propertiesOfResults()) {
        for (const QString &value : property.values(results))
            writeProperty(QLatin1String(property.word), value);
    }
    qint64 number = 0;
    for (const RunRecord &run : results.runs) {
        const QString prefix = QStringLiteral("run.%1.").arg(++number);
        for (const auto &property : propertiesOfRun()) {
            for (const QString &value : property.values(run))
                writeProperty(prefix + QLatin1String(property.word), value);
        }
    }
    xml.writeEndElement();
}

/// The element by which readers of all kinds know what became of a run, and the word for its kind;
/// null if it passed.
struct EndWords {
    const char *element;
    const char *type;
};

EndWords endOf(RunState state)
{
    switch (state) {
    case RunState::Failed:
        return {"failure", "failed"};
    case RunState::Known:
        return {"skipped", "known"};
    case RunState::Skipped:
        return {"skipped", "skipped"};
    case RunState::NotRun:
        return {"error", "not run"};
    case RunState::Passed:
        break;
    }
    return {nullptr, nullptr};
}

/// What somebody reads to whom only the text of the element is shown.
QString explanationOf(const RunRecord &run)
{
    QStringList lines(run.message);
    if (run.line > 0)
        lines += QStringLiteral("%1:%2").arg(run.script).arg(run.line);
    return (lines + run.details).join(QLatin1Char('\n'));
}

void JUnitWriter::writeEnd(const RunRecord &run)
{
    const EndWords words = endOf(run.state);
    if (words.element == nullptr)
        return;
    xml.writeStartElement(QLatin1String(words.element));
    attribute("type", QLatin1String(words.type));
    attribute("message", run.message);
    xml.writeCharacters(xmlText(explanationOf(run)));
    xml.writeEndElement();
}

void JUnitWriter::writeRun(const RunRecord &run)
{
    xml.writeStartElement(QStringLiteral("testcase"));
    attribute("name", run.name);
    attribute("classname", run.script);
    attribute("time", timeOf(run.seconds));
    writeEnd(run);
    const bool hasFailed = run.state == RunState::Failed || run.state == RunState::Known;
    const QString output = !run.systemOut.isNull() || !hasFailed ? run.systemOut : outputText(run);
    if (!output.isEmpty())
        xml.writeTextElement(QStringLiteral("system-out"), xmlText(output));
    xml.writeEndElement();
}

} // namespace

bool isResultFile(std::string_view text)
{
    constexpr std::string_view declaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";
    const std::string_view head = text.substr(0, resultFileHead);
    return head.substr(0, declaration.size()) == declaration &&
           head.find(R"(<testsuites name="talmo")") != std::string_view::npos;
}

bool writeJUnit(const RunResults &results, QIODevice &device)
{
    return JUnitWriter(results, device).write();
}

bool writeJUnitFile(const RunResults &results, const QString &name, QString &problem)
{
    problem = problemOfResultFile(name); // once more, since somebody may have made it meanwhile
    return problem.isNull() &&
           saveFile(
               name, [&results](QIODevice &file) { return writeJUnit(results, file); }, problem);
}

QString problemOfResultFile(const QString &name)
{
    return problemOfReplacing(name, isResultFile, QStringLiteral("results"));
}

} // namespace Talmo
