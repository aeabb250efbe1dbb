#pragma once

#include <QString>
#include <QtGlobal>

namespace Talmo
{

/// Where a LineReader has its text from: a file, or what somebody makes of one. It is read once,
/// from its beginning to its end.
class TextSource
{
public:
    TextSource() = default;
    TextSource(const TextSource &) = delete;
    TextSource &operator=(const TextSource &) = delete;
    virtual ~TextSource() = default;

    /// Reads up to \a size bytes, at least 1, without carriage returns. Returns how many there
    /// are, 0 only at the end and when reading failed.
    virtual qint64 readText(char *target, qint64 size) = 0;

    /// How many bytes there may be in all; 0 if nobody knows.
    virtual qint64 sizeAtOpening() const { return 0; }

    /// True once reading has failed.
    virtual bool failed() const = 0;

    /// Text to append to a message about that; usually empty.
    virtual QString remark() const { return {}; }

    /// Which line of the file the line \a number of this text is, both from 1. Of a text that is
    /// read in blocks it is known for lines that were in memory at the latest call of readText.
    virtual qint64 numberInFile(qint64 number) const { return number; }
};

} // namespace Talmo
