#include "Source.h"

#include "DiskFile.h"
#include "regularFile.h"

#include <QFile>
#include <QXmlStreamReader>

#include <cerrno>
#include <string_view>

namespace Talmo
{

namespace
{

enum class Content { OfTalmo, OfCTest, OfDriver, OfAnotherTool, Unknown };

/// Whether a document with the root "testsuite", at which \a xml is, is one of ctest: without an
/// outer element, with the number of tests that are disabled and none of errors, and with a status
/// of each test. Others have some of it.
bool isOfCTest(QXmlStreamReader &xml)
{
    const QXmlStreamAttributes suite = xml.attributes();
    if (!suite.hasAttribute(QLatin1String("disabled")) ||
        !suite.hasAttribute(QLatin1String("skipped")) ||
        suite.hasAttribute(QLatin1String("errors")))
        return false;
    while (!xml.atEnd()) {
        if (xml.readNext() == QXmlStreamReader::StartElement &&
            xml.name() == QLatin1String("testcase"))
            return xml.attributes().hasAttribute(QLatin1String("status"));
    }
    return true; // there is none, or the file is damaged, which its reader says
}

/// What the root of an XML document tells.
Content contentByRoot(QIODevice &file)
{
    QXmlStreamReader xml(&file);
    while (!xml.atEnd() && !xml.isStartElement()) {
        if (xml.readNext() == QXmlStreamReader::DTD)
            return Content::Unknown; // it could define entities
    }
    const QXmlStreamAttributes attributes = xml.attributes();
    if (xml.name() == QLatin1String("testsuites"))
        return attributes.value(QLatin1String("name")) == QLatin1String("talmo")
                   ? Content::OfTalmo
                   : Content::OfAnotherTool;
    if (xml.name() != QLatin1String("testsuite"))
        return Content::Unknown;
    return isOfCTest(xml) ? Content::OfCTest : Content::OfAnotherTool;
}

Content contentOf(QIODevice &file)
{
    constexpr qint64 enough = 65536;
    const QByteArray head = file.peek(enough);
    if (head.trimmed().startsWith('<') || head.startsWith("\xEF\xBB\xBF<")) {
        const Content content = contentByRoot(file);
        file.seek(0);
        return content;
    }
    return ("\n" + head).contains("\ntalmo_test: executing tests in '") ? Content::OfDriver
                                                                        : Content::Unknown;
}

} // namespace

bool readSource(const QString &name, SystemOut systemOut, Source &source, QString &problem)
{
    QFile file;
    if (!openRegular(file, systemName(name))) {
        problem = QStringLiteral("cannot read '%1': %2").arg(name, reasonOf(errno));
        return false;
    }
    switch (contentOf(file)) {
    case Content::OfTalmo:
        source.kind = SourceKind::TalmoRun;
        source.description = QStringLiteral("The results of talmo in '%1'").arg(name);
        return readJUnit(file, name, systemOut, source.results, problem);
    case Content::OfCTest:
        return readCTest(file, name, source, problem);
    case Content::OfDriver:
        return readDriverOutput(file, name, source, problem);
    case Content::OfAnotherTool:
        problem = QStringLiteral("%1: it is a JUnit file of another tool, not of talmo or ctest");
        break;
    case Content::Unknown:
        problem =
            QStringLiteral("%1: it is neither a JUnit file of talmo or ctest nor an output of "
                           "talmo_test");
        break;
    }
    problem = problem.arg(name);
    return false;
}

} // namespace Talmo
