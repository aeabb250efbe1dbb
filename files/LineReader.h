#pragma once

#include "DiskFile.h"

#include <QString>

#include <memory>
#include <string_view>

namespace Talmo
{

/// The lines of a file in text mode: a line ends at a newline, carriage returns are dropped, a last
/// line without a newline counts, and a UTF-8 byte order mark at the start of the file is skipped.
/// The file is read in blocks, so memory grows with its longest line only.
class LineReader
{
public:
    /// How many bytes may be read behind a line or a window: with these, those who look at many
    /// bytes at once need not ask where the last one is. What they hold means nothing.
    static constexpr size_t padding = 64;

    /// Opens \a fileName; false if it cannot be read.
    bool open(const QString &fileName);

    /// Moves to the next line; false at the end of the file, or when reading failed.
    /// \a line, without its end, is valid until the next call.
    bool readLine(std::string_view &line);

    /// The lines that come next, as many as are in memory, with their newlines: at least one,
    /// unless the file holds nothing more or only a last line without a newline. Valid until the
    /// next call.
    std::string_view window();

    /// Passes over the first \a length bytes of window(), whole lines.
    void skip(size_t length) { next += length; }

    /// True if the lines ended because reading failed, or because one is too long for memory.
    bool failed() const { return file.failed() || outOfMemory; }

    /// What a message about that should add; usually nothing.
    QString remark() const { return file.remark(); }

private:
    void readWholeLine();
    void readBlock();
    bool makeRoom();

    DiskFile file;
    std::unique_ptr<char[]> buffer; // text mode applied; padding beyond its capacity
    size_t capacity = 0;
    size_t next = 0;     // where the lines not yet handed out begin,
    size_t linesEnd = 0; // where the last whole one ends,
    size_t end = 0;      // and what was read
    bool begun = false;  // past a byte order mark
    bool ended = false;  // nothing more to read
    bool outOfMemory = false;
};

} // namespace Talmo
