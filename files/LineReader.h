#pragma once

#include "TextSource.h"

#include <QString>

#include <memory>
#include <string_view>

namespace Talmo
{

/// The lines of a file, or of another source of text, in text mode: a line ends at a newline,
/// carriage returns are dropped, a last line without a newline counts, and a UTF-8 byte order mark
/// at the start of the file is skipped. The file is read in blocks, so memory grows with its
/// longest line only.
class LineReader
{
public:
    /// How many bytes may be read behind a line or a window. So code that looks at many bytes at
    /// once need not ask where the last one is. What these bytes hold means nothing.
    static constexpr size_t padding = 64;

    LineReader() = default;
    LineReader(const LineReader &) = delete;
    LineReader &operator=(const LineReader &) = delete;

    /// Opens \a fileName. Returns false if it cannot be read.
    bool open(const QString &fileName);

    /// Reads from \a prepared instead of a file. A byte order mark at its front is text like any
    /// other, unless \a mayBeMarked.
    void readFrom(std::unique_ptr<TextSource> prepared, bool mayBeMarked = false);

    /// Moves to the next line. Returns false at the end of the file, or if reading failed. \a line
    /// comes without its newline and is valid until the next call.
    bool readLine(std::string_view &line);

    /// Tells the next line as readLine does, but does not move.
    bool peekLine(std::string_view &line);

    /// The lines that come next, as many as are in memory, with their newlines: at least one,
    /// unless the file holds nothing more or only a last line without a newline. Valid until the
    /// next call.
    std::string_view window();

    /// Passes over the first \a length bytes of window(), which must be whole lines.
    void skip(size_t length) { next += length; }

    /// True if the lines ended because reading failed, or because one is too long for memory.
    bool failed() const { return (source && source->failed()) || outOfMemory; }

    /// Text to append to a message about that; usually empty.
    QString remark() const { return source ? source->remark() : QString(); }

    /// Which line of the file the line \a number is, one of those that are in memory; both are
    /// counted from 1. They differ if the source leaves lines out.
    qint64 numberInFile(qint64 number) const { return source->numberInFile(number); }

private:
    void readWholeLine();
    void readBlock();
    bool makeRoom();

    std::unique_ptr<TextSource> source;
    std::unique_ptr<char[]> buffer; // what was read, in text mode; the padding is beyond capacity
    size_t capacity = 0;
    size_t next = 0;     // where the lines begin that the caller does not have yet
    size_t linesEnd = 0; // where the last whole line ends
    size_t end = 0;      // where that which was read ends
    bool begun = false;  // a byte order mark has been passed over
    bool ended = false;  // there is nothing more to read
    bool outOfMemory = false;
};

} // namespace Talmo
