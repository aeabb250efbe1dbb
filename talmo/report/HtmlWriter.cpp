#include "HtmlWriter.h"

#include "pageText.h"

#include <QIODevice>

namespace Talmo
{

void HtmlWriter::open(const char *name, Attributes attributes)
{
    xml.writeStartElement(QLatin1String(name));
    for (const Attribute &attribute : attributes)
        xml.writeAttribute(QLatin1String(attribute.name), pageText(attribute.value));
}

void HtmlWriter::close()
{
    xml.writeCharacters(QString()); // so that an empty element has an end tag of its own
    xml.writeEndElement();
}

void HtmlWriter::text(const QString &words)
{
    xml.writeCharacters(pageText(words));
}

void HtmlWriter::element(const char *name, const QString &words, Attributes attributes)
{
    open(name, attributes);
    text(words);
    close();
}

void HtmlWriter::element(const char *name, const char *words, Attributes attributes)
{
    element(name, QString::fromLatin1(words), attributes);
}

void HtmlWriter::voidElement(const char *name, Attributes attributes)
{
    open(name, attributes);
    xml.writeEndElement();
}

void HtmlWriter::preformatted(const QString &words, Attributes attributes)
{
    open("pre", attributes);
    text(QLatin1Char('\n') + words); // HTML drops a newline there
    close();
}

void HtmlWriter::insert(const QByteArray &markup)
{
    xml.writeCharacters(QString()); // ends the start tag
    isWritten = target.write(markup) == markup.size() && isWritten;
}

} // namespace Talmo
