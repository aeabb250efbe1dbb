#pragma once

#include <QString>
#include <QXmlStreamWriter>

#include <initializer_list>

namespace Talmo
{

/// Writes a page of HTML that is well-formed XML, too, so that a strict reader can check it. All
/// text is escaped, and goes through pageText: nothing that comes from scripts, files and programs
/// can become markup.
///
/// Deliberate: over QXmlStreamWriter, which escapes and balances, but never with an element that
/// closes itself, except those that HTML wants so: "<td/>" would be a start tag to a browser.
class HtmlWriter
{
public:
    struct Attribute {
        Attribute(const char *itsName, const char *itsValue)
            : name(itsName)
            , value(QLatin1String(itsValue))
        {
        }
        Attribute(const char *itsName, const QString &itsValue)
            : name(itsName)
            , value(itsValue)
        {
        }
        const char *name;
        QString value;
    };
    using Attributes = std::initializer_list<Attribute>;

    explicit HtmlWriter(QIODevice &device)
        : target(device)
        , xml(&device)
    {
        xml.writeDTD(QStringLiteral("<!DOCTYPE html>"));
    }

    void open(const char *name, Attributes attributes = {});
    void close();
    void text(const QString &words);
    void text(const char *words) { text(QString::fromLatin1(words)); }

    /// An element with text and nothing else.
    void element(const char *name, const QString &words, Attributes attributes = {});
    void element(const char *name, const char *words, Attributes attributes = {});

    /// An element that HTML has without an end, such as "meta".
    void voidElement(const char *name, Attributes attributes);

    /// A block of \a words with their lines; also a first line that is empty.
    void preformatted(const QString &words, Attributes attributes = {});

    /// Markup of our own, as it is.
    void insert(const QByteArray &markup);

    bool hasError() const { return xml.hasError() || !isWritten; }

private:
    QIODevice &target;
    QXmlStreamWriter xml;
    bool isWritten = true;
};

} // namespace Talmo
