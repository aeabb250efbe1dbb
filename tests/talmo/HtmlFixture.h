#pragma once

#include "ReportForTests.h"
#include "htmlReport.h"

#include <QBuffer>
#include <QMap>
#include <QSet>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

/// A page, as a strict reader sees it.
struct Page {
    QByteArray bytes;
    QMap<QString, int> elements; ///< how many there are of each
    QStringList ids;
    QStringList links;
    QSet<QString> attributes;         ///< their names
    QMap<QString, QStringList> texts; ///< of elements, by their class
    QString text;
};

class HtmlFixture : public testing::Test
{
protected:
    static QByteArray bytesOf(const Talmo::Report &report)
    {
        QBuffer buffer;
        EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
        QString problem;
        EXPECT_TRUE(Talmo::writeHtml(report, buffer, problem)) << problem.toStdString();
        return buffer.data();
    }

    /// The page about \a report. It must be well-formed.
    static Page pageOf(const Talmo::Report &report)
    {
        Page page;
        page.bytes = bytesOf(report);
        QXmlStreamReader xml(page.bytes);
        QStringList open;
        while (!xml.atEnd()) {
            xml.readNext();
            if (xml.isStartElement())
                open += readElement(xml, page);
            else if (xml.isEndElement())
                open.removeLast();
            else if (xml.isCharacters())
                take(xml.text().toString(), open, page);
        }
        EXPECT_FALSE(xml.hasError())
            << xml.errorString().toStdString() << " on line " << xml.lineNumber();
        return page;
    }

    const QTemporaryDir folder;

private:
    /// Returns the element's class.
    static QString readElement(QXmlStreamReader &xml, Page &page)
    {
        ++page.elements[xml.name().toString()];
        const auto attributes = xml.attributes();
        for (const auto &attribute : attributes) {
            page.attributes += attribute.name().toString();
            if (attribute.name() == QStringLiteral("id"))
                page.ids += attribute.value().toString();
            if (attribute.name() == QStringLiteral("href"))
                page.links += attribute.value().toString();
        }
        const QString kind = attributes.value(QStringLiteral("class")).toString();
        page.texts[kind] += QString();
        return kind;
    }

    static void take(const QString &text, const QStringList &open, Page &page)
    {
        page.text += text;
        for (const QString &kind : open) {
            if (!kind.isEmpty())
                page.texts[kind].last() += text;
        }
    }
};
