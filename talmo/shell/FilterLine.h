#pragma once

#include <QString>
#include <QtGlobal>

#include <cstdio>
#include <string_view>

namespace Talmo
{

/// Prints "PLACE:COLUMN: MESSAGE" on \a stream, in the form that editors look for: \a place is
/// "FILE:LINE", or "argument N". What cannot be seen of either is escaped.
void printProblem(
    const QString &place, qint64 column, const QString &message, std::FILE *stream = stderr);

/// One line of an input, without its end, and whether something is wrong in it.
class FilterLine
{
public:
    /// The line \a itsText of \a itsFile; what is wrong in it is printed on \a itsStream.
    FilterLine(const QString &itsFile, qint64 itsNumber, std::string_view itsText,
        std::FILE *itsStream = stderr)
        : text(itsText)
        , file(itsFile)
        , number(itsNumber)
        , stream(itsStream)
    {
    }

    /// Prints \a message about the character in \a column, from 1.
    void report(qint64 column, const QString &message);

    bool isWrong() const { return hasProblem; }
    qint64 lineNumber() const { return number; }

    std::string_view text; ///< as it stands in the file

private:
    const QString &file;
    qint64 number;
    std::FILE *stream;
    bool hasProblem = false;
};

} // namespace Talmo
