#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace Talmo
{

/// A script in memory, read once: its lines, and the position of the next one. Text mode, as in
/// LineReader. Lines are UTF-8; readUntil hands out bytes, whatever their encoding.
class ScriptReader
{
public:
    /// Reads \a path, as the system takes it, whole; false if that fails.
    bool open(const QByteArray &path);

    /// What a message that open failed should add; usually nothing.
    const QString &remark() const { return addition; }

    /// The next line, without its end; null at the end of the script. An empty line is not null.
    QString readLine();

    /// Moves to the next line that begins with \a prefix, at its very first byte, or to the end of
    /// the script. Returns all lines passed over, with their ends.
    std::string_view readUntil(std::string_view prefix);

    size_t position() const { return next; }

    /// How many lines end between \a begin and \a end, which position() returned.
    qint64 linesBetween(size_t begin, size_t end) const;

    /// Goes to a \a position that position() returned.
    void seek(size_t position) { next = position; }

private:
    QByteArray content;
    std::string_view text; // content without a byte order mark
    size_t next = 0;
    QString addition;
};

} // namespace Talmo
