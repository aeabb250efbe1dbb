#pragma once

// How a failing expectation prints texts of Qt and of ours.

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ostream>

inline void PrintTo(const QString &text, std::ostream *out)
{
    *out << (text.isNull() ? "null" : '"' + text.toStdString() + '"');
}

inline void PrintTo(const QByteArray &bytes, std::ostream *out)
{
    *out << '"' << bytes.toStdString() << '"';
}

inline void PrintTo(const QStringList &list, std::ostream *out)
{
    *out << '{' << list.join(QStringLiteral(", ")).toStdString() << '}';
}
