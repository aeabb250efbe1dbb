#pragma once

#include <QByteArray>
#include <QString>

#include <string_view>

namespace Talmo
{

/// A file that users name, on the system's own calls: a QFile takes several where one will do, and
/// looks at every byte that it reads as text. A name with a NUL in it is no file: the system would
/// cut it there and use another one.
class DiskFile
{
public:
    DiskFile() = default;
    DiskFile(const DiskFile &) = delete;
    DiskFile &operator=(const DiskFile &) = delete;
    ~DiskFile() { close(); }

    /// Opens \a name for reading; false if that fails, or if it is a directory. A FIFO is opened at
    /// once; the first read waits up to ten seconds for somebody who writes, or else fails.
    bool openToRead(const QString &name);

    /// Does the same with \a path as the system takes it.
    bool openPath(const QByteArray &path);

    /// Creates \a name, or empties it, for writing; false if that fails, as it does for a FIFO that
    /// nobody reads within ten seconds.
    bool openToWrite(const QString &name);

    /// Reads up to \a size bytes, at least 1, as text: carriage returns are dropped. Returns how
    /// many are left of them, 0 only at the end of the file and when reading failed.
    qint64 readText(char *target, qint64 size);

    /// All that is left of the file, as text; what is too large for memory fails.
    QByteArray readAllText();

    /// Writes \a bytes as they are; false if that fails, wholly or in part.
    bool write(std::string_view bytes);

    /// Closes the file; false if that fails, which may be the first news of a write that did.
    bool close();

    /// True once reading has failed.
    bool failed() const { return hasFailed; }

    /// What a message that the file cannot be read or written should add; usually nothing.
    QString remark() const;

    /// How many bytes the file had when it was opened to be read; 0 if it is none on a disk.
    qint64 sizeAtOpening() const { return size; }

private:
    qint64 readBytes(char *target, qint64 count);
    qint64 readFromWriter(char *target, size_t count);

    int descriptor = -1;
    qint64 size = 0;
    bool hasFailed = false;
    bool awaitsWriter = false;     ///< a FIFO that was not read yet
    const char *missing = nullptr; ///< what nobody did to the FIFO
};

/// The name of a file as the system takes it; null if it holds a NUL.
QByteArray systemName(const QString &name);

/// True if there is a file or a directory of that name. A dangling link is neither.
bool existsOnDisk(const QString &name);

} // namespace Talmo
