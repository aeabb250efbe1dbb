#pragma once

#include <QFile>
#include <QString>

#include <string>
#include <string_view>

namespace Talmo
{

/// The lines of a file in text mode: a line ends at a newline, carriage returns are dropped, a last
/// line without a newline counts, and a UTF-8 byte order mark at the start of the file is skipped.
/// The file is read in blocks, so memory grows with its longest line only.
class LineReader
{
public:
    /// Opens \a fileName; false if it cannot be read.
    bool open(const QString &fileName);

    /// Moves to the next line; false at the end of the file, or when reading failed.
    /// \a line, without its end, is valid until the next call.
    bool readLine(std::string_view &line);

    /// True if the lines ended because reading failed.
    bool failed() const { return file.error() != QFile::NoError; }

private:
    bool readBlock();

    QFile file;
    std::string buffer;   // text mode applied
    size_t lineStart = 0; // in buffer, where the next line begins
    bool begun = false;   // past a byte order mark
};

} // namespace Talmo
