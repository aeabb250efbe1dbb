// Opening a FIFO blocks until somebody opens its other end, possibly for ever. So files are opened
// without blocking. Whoever needs the other end of a FIFO looks for it again after short pauses,
// for ten seconds altogether; afterwards the descriptor is set to block, so that later calls wait
// as long as they must.
//
// Text mode drops carriage returns in the buffer that was read into. A block that consisted of
// nothing else is followed by another read, because 0 bytes would mean the end of the file.
//
// Every call that a signal may interrupt is repeated.

#include "DiskFile.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// Calls \a call again as long as a signal interrupts it.
template <typename Call>
auto uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// How long we wait for the other end of a FIFO: this many pauses, one after the other.
constexpr int pause = 10; // milliseconds
constexpr int mostPauses = 1000;

/// Opens \a path without waiting for the other end of a FIFO. Returns -1 if that fails.
int openDescriptor(const QByteArray &path, int flags)
{
    if (path.isEmpty())
        return -1;
    constexpr mode_t allMayReadAndWrite = 0666; // the umask of the process removes some of them
    const auto attempt = [&](int more) {
        return uninterrupted(
            [&] { return ::open(path, flags | more | O_CLOEXEC, allMayReadAndWrite); });
    };
    const int descriptor = attempt(O_NONBLOCK);
    // A file server holds a lease on the file. It gives the lease up to a call that waits.
    return descriptor < 0 && errno == EWOULDBLOCK ? attempt(0) : descriptor;
}

/// Makes later calls on \a descriptor wait as long as they must.
void waitFromNowOn(int descriptor)
{
    fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
}

bool isFifo(const QByteArray &path)
{
    struct stat status = {};
    return ::stat(path, &status) == 0 && S_ISFIFO(status.st_mode);
}

/// Drops the carriage returns among \a count bytes. Returns how many bytes are left.
qint64 dropCarriageReturns(char *bytes, qint64 count)
{
    // Most blocks have none, and memchr is much faster than anything that moves bytes.
    void *const first = std::memchr(bytes, '\r', static_cast<size_t>(count));
    return first == nullptr ? count
                            : std::remove(static_cast<char *>(first), bytes + count, '\r') - bytes;
}

using ByteCount = decltype(QByteArray().size()); // Qt 5 counts in int

/// Asks the system to use large pages for a large buffer. With small pages, clearing and mapping
/// them takes as long as reading the file.
void preferLargePages([[maybe_unused]] void *buffer, [[maybe_unused]] qint64 size)
{
#ifdef MADV_HUGEPAGE
    constexpr size_t pageSize = 4096;
    constexpr size_t manyLargePages = 1 << 24;
    auto room = static_cast<size_t>(size);
    if (room < manyLargePages)
        return;
    std::align(pageSize, 1, buffer, room);
    madvise(buffer, room, MADV_HUGEPAGE); // only a hint, which may fail
#endif
}

/// Makes \a text \a size bytes long. Returns false if there is no memory for it.
bool makeRoom(QByteArray &text, qint64 size)
{
    // Qt needs some bytes for itself. Only Qt 5, which counts in int, can reach this limit; that of
    // Qt 6 is larger than any disk.
    if (size > std::numeric_limits<ByteCount>::max() - 64)
        return false;
    try {
        text.resize(static_cast<ByteCount>(size));
    } catch (const std::bad_alloc &) {
        return false;
    }
    preferLargePages(text.data(), size);
    return true;
}

} // namespace

bool DiskFile::openToRead(const QString &name)
{
    return openPath(systemName(name));
}

bool DiskFile::openPath(const QByteArray &path)
{
    close();
    descriptor = openDescriptor(path, O_RDONLY);
    struct stat status = {}; // fstat fails for an open file only if the disk is broken
    if (descriptor < 0 || fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode)) {
        close();
        return false;
    }
    awaitsWriter = S_ISFIFO(status.st_mode);
    if (!S_ISREG(status.st_mode) && !awaitsWriter)
        waitFromNowOn(descriptor);
    size = S_ISREG(status.st_mode) ? status.st_size : 0;
    hasFailed = false;
    return true;
}

bool DiskFile::openToWrite(const QString &name)
{
    close();
    const QByteArray path = systemName(name);
    descriptor = openDescriptor(path, O_WRONLY | O_CREAT | O_TRUNC);
    const bool awaitsReader = descriptor < 0 && errno == ENXIO && isFifo(path);
    for (int pauses = 0; awaitsReader && descriptor < 0 && pauses < mostPauses; ++pauses) {
        poll(nullptr, 0, pause);
        descriptor = openDescriptor(path, O_WRONLY);
    }
    if (descriptor < 0 && awaitsReader)
        missing = "reads";
    if (descriptor >= 0)
        waitFromNowOn(descriptor);
    return descriptor >= 0;
}

/// Reads from a FIFO for the first time, after waiting for somebody to open it for writing.
qint64 DiskFile::readFromWriter(char *target, size_t count)
{
    for (int pauses = 0; pauses < mostPauses; ++pauses) {
        // poll reports bytes, and a writer that has gone, but not a writer that has written nothing
        // yet. Reading tells whether there is one: without a writer it finds the end of the file.
        pollfd fifo = {descriptor, POLLIN, 0};
        poll(&fifo, 1, pause);
        const qint64 got = uninterrupted([&] { return ::read(descriptor, target, count); });
        if (got == 0 && fifo.revents == 0)
            continue;
        awaitsWriter = false;
        waitFromNowOn(descriptor);
        const bool isSlow = got < 0 && errno == EWOULDBLOCK;
        return isSlow ? uninterrupted([&] { return ::read(descriptor, target, count); }) : got;
    }
    missing = "writes";
    return -1;
}

qint64 DiskFile::readBytes(char *target, qint64 count)
{
    const auto wanted = static_cast<size_t>(count);
    const qint64 got = awaitsWriter
                           ? readFromWriter(target, wanted)
                           : uninterrupted([&] { return ::read(descriptor, target, wanted); });
    if (got < 0)
        hasFailed = true;
    return std::max<qint64>(got, 0);
}

qint64 DiskFile::readText(char *target, qint64 count)
{
    for (;;) {
        const qint64 got = readBytes(target, count);
        const qint64 left = dropCarriageReturns(target, got);
        if (left > 0 || got == 0)
            return left;
    }
}

QByteArray DiskFile::readAllText()
{
    constexpr qint64 pieceSize = 1 << 18; // stays in the processor's cache while it is looked at
    QByteArray text;
    qint64 used = 0;
    // One byte more than the file has, so that reading finds the end. A file in /proc or /sys may
    // have the size 0 and give all its content only to the first read, so we offer it a full page.
    for (qint64 room = std::max<qint64>(size, 4095) + 1; !hasFailed; room *= 2) {
        hasFailed = !makeRoom(text, room);
        while (!hasFailed && used < room) {
            const qint64 count = readText(text.data() + used, std::min(room - used, pieceSize));
            used += count;
            if (count == 0) {
                text.truncate(static_cast<ByteCount>(used));
                return text;
            }
        }
    }
    return {};
}

bool DiskFile::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count =
            uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (count <= 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

bool DiskFile::close()
{
    const bool closed = descriptor < 0 || ::close(descriptor) == 0;
    descriptor = -1;
    size = 0;
    awaitsWriter = false;
    missing = nullptr;
    return closed;
}

QString DiskFile::remark() const
{
    return missing == nullptr ? QString() : remarkThatNobody(missing);
}

QString DiskFile::remarkThatNobody(const char *opens)
{
    return QStringLiteral(", a FIFO that nobody %1").arg(QLatin1String(opens));
}

QByteArray systemName(const QString &name)
{
    return name.contains(QChar(u'\0')) ? QByteArray() : QFile::encodeName(name);
}

bool existsOnDisk(const QString &name)
{
    const QByteArray path = systemName(name);
    return !path.isEmpty() && access(path, F_OK) == 0;
}

} // namespace Talmo
