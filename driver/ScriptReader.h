#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace Talmo
{

/// A script, read into memory once: its lines, and the position of the next one. It is read in text
/// mode, as LineReader reads. Lines are UTF-8; readUntil returns bytes, whatever their encoding.
class ScriptReader
{
public:
    /// Reads the whole file \a path, which is in the system's own bytes. Returns false if that
    /// fails.
    bool open(const QByteArray &path);

    /// Text to append to a message that open failed; usually empty.
    const QString &remark() const { return addition; }

    /// The next line, without its end; null at the end of the script. An empty line is not null.
    QString readLine();

    /// Moves to the next line whose first bytes are \a prefix, or to the end of the script. Returns
    /// all lines that were passed over, with their ends.
    std::string_view readUntil(std::string_view prefix);

    size_t position() const { return next; }

    /// How many lines end between \a begin and \a end, which position() returned.
    qint64 linesBetween(size_t begin, size_t end) const;

    /// Goes to a \a position that position() returned.
    void seek(size_t position) { next = position; }

    /// Everything that was read, without a byte order mark; valid as long as this object.
    std::string_view text() const { return ownText; }

private:
    QByteArray content;
    std::string_view ownText; // of content
    size_t next = 0;
    QString addition;
};

} // namespace Talmo
