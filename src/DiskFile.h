#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace Talmo
{

/// A file that users name, read and written with the system's own calls. A QFile makes several
/// calls where one is enough, and looks at every byte that it reads as text. A name that contains a
/// NUL never names a file, because the system would cut it there and use another file.
class DiskFile
{
public:
    DiskFile() = default;
    DiskFile(const DiskFile &) = delete;
    DiskFile &operator=(const DiskFile &) = delete;
    ~DiskFile() { close(); }

    /// Opens \a name for reading. Returns false if that fails, or if it is a directory. A FIFO is
    /// opened at once; the first read waits up to ten seconds for a writer, and fails if none
    /// comes.
    bool openToRead(const QString &name);

    /// Does the same for \a path, which is in the system's own bytes.
    bool openPath(const QByteArray &path);

    /// Creates \a name, or empties it, and opens it for writing. Returns false if that fails. A
    /// FIFO fails if nobody opens it for reading within ten seconds.
    bool openToWrite(const QString &name);

    /// Reads up to \a size bytes as text, which means that it drops carriage returns; \a size must
    /// be at least 1. Returns how many bytes are left, 0 only at the end of the file and when
    /// reading failed.
    qint64 readText(char *target, qint64 size);

    /// Does the same, but keeps the carriage returns.
    qint64 readBytes(char *target, qint64 size);

    /// Reads all that is left of the file, as text. Reading fails if that is too large for memory.
    QByteArray readAllText();

    /// Writes \a bytes unchanged. Returns false if not all of them could be written.
    bool write(std::string_view bytes);

    /// Closes the file. Returns false if that fails; some file systems report a failed write only
    /// then.
    bool close();

    /// True once reading has failed.
    bool failed() const { return hasFailed; }

    /// Text to append to a message that the file cannot be read or written; usually empty.
    QString remark() const;

    /// What remark() says of a FIFO that nobody \a opens, "reads" or "writes".
    static QString remarkThatNobody(const char *opens);

    /// The size of the file in bytes when it was opened for reading; 0 if it is not a regular file.
    qint64 sizeAtOpening() const { return size; }

private:
    qint64 readFromWriter(char *target, size_t count);

    int descriptor = -1;
    qint64 size = 0;
    bool hasFailed = false;
    bool awaitsWriter = false;     ///< the file is a FIFO that has not been read from yet
    const char *missing = nullptr; ///< what nobody does with the FIFO: "reads" or "writes"
};

/// The bytes by which the system knows the file \a name; null if \a name contains a NUL.
QByteArray systemName(const QString &name);

/// True if a file or a directory \a name exists. A link that leads nowhere does not count.
bool existsOnDisk(const QString &name);

} // namespace Talmo
