// The marker is the first file in a new folder, and the last thing that two processes can disagree
// about: whoever has locked it records. The system keeps the lock until all descriptors of it are
// closed, also those of children, and drops it when the process ends, in whatever way. On a file
// system without locks we go on without one.
//
// The disk may be full when the marker is written. So half a marker is ours, too; and where there
// is nothing else, it is removed again, with the folder if that was made for it.
//
// The folder may be removed at any time, and made again by another process. So a lock counts only
// if the file that was locked still has its name.

#include "RecordFolder.h"

#include "regularFile.h"
#include "removeDir.h"

#include <QFile>
#include <QSysInfo>

#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr char folderName[] = ".talmo";
constexpr char markerName[] = "marker";
constexpr char firstLine[] = "results of talmo, format 1\n";
constexpr int linesStart = sizeof firstLine - 1; ///< of the line behind
constexpr qint64 mostOfMarker = 1000;            ///< bytes that are read
constexpr mode_t allMayUse = 0777;               // the umask of the process removes some of them
constexpr mode_t allMayReadAndWrite = 0666;

/// Whether there is nothing in \a folder but what is called \a allowed.
bool holdsNothingBut(int folder, std::string_view allowed)
{
    const int copy = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const Directory directory(copy < 0 ? nullptr : fdopendir(copy));
    if (!directory)
        return false;
    while (const dirent *const entry = readdir(directory.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != ".." && name != allowed)
            return false;
    }
    return true;
}

/// Writes \a text over the beginning of \a file. False if not all of it can be written.
bool writeAtStart(int file, const QByteArray &text)
{
    off_t done = 0;
    while (done < text.size()) {
        const ssize_t count =
            pwrite(file, text.constData() + done, static_cast<size_t>(text.size() - done), done);
        if (count < 0)
            return false;
        done += count;
    }
    return true;
}

/// Whether \a text, that of a marker, is ours. One that could not be written has only a part of it,
/// or has NULs in the place of what the disk did not take.
bool isOurs(QByteArray text)
{
    while (text.endsWith('\0'))
        text.chop(1);
    return text.startsWith(firstLine) || QByteArray(firstLine).startsWith(text);
}

/// Shortens \a file to \a size, if it is longer. To truncate alone could make it longer.
bool shorten(int file, off_t size)
{
    struct stat status = {};
    if (fstat(file, &status) != 0)
        return false;
    return status.st_size <= size || ftruncate(file, size) == 0;
}

/// What a message calls something that is no directory.
QString kindOf(const QByteArray &path)
{
    struct stat status = {};
    const bool isLink = lstat(path, &status) == 0 && S_ISLNK(status.st_mode);
    return isLink ? QStringLiteral("it is a link") : QStringLiteral("it is no directory");
}

} // namespace

RecordFolder::State RecordFolder::open(const QByteArray &suiteDirectory, QString &problem)
{
    close();
    path = suiteDirectory + '/' + folderName;
    const State state = openFolder(problem);
    return state == Ours ? readMarker(problem) : state;
}

RecordFolder::State RecordFolder::lock(const QByteArray &suiteDirectory, QString &problem)
{
    close();
    path = suiteDirectory + '/' + folderName;
    isFolderNew = false;
    // Somebody may remove the folder whenever we have just made it, but hardly this often.
    constexpr int mostAttempts = 100;
    State state = Absent;
    for (int count = 0; state == Absent && count < mostAttempts; ++count)
        state = attempt(problem);
    if (state == Absent)
        problem = QStringLiteral("'%1' is removed again and again").arg(pathOf({}));
    if (state == Ours)
        return state;
    close();
    if (isFolderNew)
        rmdir(path); // unless there is something in it
    return state;
}

/// Tries to open and lock the folder. If it returns Absent, another attempt makes sense.
RecordFolder::State RecordFolder::attempt(QString &problem)
{
    State state = openFolder(problem);
    if (state == Absent)
        return make(problem);
    if (state == Ours)
        state = readMarker(problem);
    if (state == Ours)
        state = lockMarker(problem);
    return state == Ours && !isStillThere() ? Absent : state;
}

/// Makes the folder. Returns Absent, since it still must be opened.
RecordFolder::State RecordFolder::make(QString &problem)
{
    isFolderNew = mkdir(path, allMayUse) == 0;
    return isFolderNew || errno == EEXIST ? Absent : failed("make", {}, problem);
}

RecordFolder::State RecordFolder::openFolder(QString &problem)
{
    folder = openDirectory(path, O_RDONLY | O_NOFOLLOW);
    if (folder.isOpen())
        return Ours;
    if (errno == ENOENT)
        return Absent;
    if (errno == ENOTDIR || errno == ELOOP)
        return notOurs(kindOf(path), problem);
    return failed("open", {}, problem);
}

/// Whether there is something that has the marker's name.
bool RecordFolder::isMarked() const
{
    struct stat status = {};
    return fstatat(folder.get(), markerName, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Finds out whether the folder is ours: it has our marker, or is empty.
RecordFolder::State RecordFolder::readMarker(QString &problem) const
{
    if (!isMarked()) {
        if (holdsNothingBut(folder.get(), {}))
            return Ours;
        if (!isMarked()) // nor was it made meanwhile, as the first file of all
            return notOurs(QStringLiteral("it has no marker"), problem);
    }
    QFile file;
    if (!openRegular(file, markerName, folder.get(), O_NOFOLLOW)) {
        if (errno == ENOENT) // somebody removes the folder
            return Absent;
        return failed("read", markerName, problem);
    }
    const QByteArray text = file.read(mostOfMarker);
    if (isOurs(text))
        return Ours;
    return notOurs(QStringLiteral("its marker is of another kind or version"), problem);
}

RecordFolder::State RecordFolder::lockMarker(QString &problem)
{
    constexpr int access = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    Descriptor file(openat(folder.get(), markerName, access, allMayReadAndWrite));
    if (!file.isOpen())
        return errno == ENOENT ? Absent : failed("write", markerName, problem);
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        problem = QStringLiteral("'%1' is in use by %2").arg(pathOf({}), holder());
        return InUse;
    }
    marker = std::move(file);
    const QByteArray text = firstLine + QStringLiteral("in use by process %1 on %2\n")
                                            .arg(getpid())
                                            .arg(QSysInfo::machineHostName())
                                            .toUtf8();
    const bool isWritten = writeAtStart(marker.get(), text) && shorten(marker.get(), text.size());
    return isWritten ? Ours : failedToMark(problem);
}

/// Says in \a problem why the marker, which is locked, cannot be written. Removes it if there is
/// nothing else, so nothing that it could mark.
RecordFolder::State RecordFolder::failedToMark(QString &problem)
{
    const State state = failed("write", markerName, problem);
    if (isStillThere() && holdsNothingBut(folder.get(), markerName))
        unlinkat(folder.get(), markerName, 0);
    return state;
}

/// Who has locked the marker, as far as it tells.
QString RecordFolder::holder() const
{
    QFile file;
    const QByteArray text = openRegular(file, markerName, folder.get(), O_NOFOLLOW)
                                ? file.read(mostOfMarker)
                                : QByteArray();
    const QString line = QString::fromUtf8(text.mid(linesStart)).section(QLatin1Char('\n'), 0, 0);
    const QString beginning = QStringLiteral("in use by ");
    return line.startsWith(beginning) ? line.mid(beginning.size())
                                      : QStringLiteral("another process");
}

bool RecordFolder::isStillThere() const
{
    struct stat opened = {};
    struct stat named = {};
    return fstat(marker.get(), &opened) == 0 && lstat(path + '/' + markerName, &named) == 0 &&
           isSameFile(opened, named);
}

QString RecordFolder::pathOf(const QByteArray &name) const
{
    return QFile::decodeName(name.isEmpty() ? path : path + '/' + name);
}

void RecordFolder::close()
{
    if (isLocked()) {
        // If this fails, the marker names a process that has ended, and nobody looks there.
        shorten(marker.get(), linesStart);
    }
    marker = Descriptor();
    folder = Descriptor();
}

/// Says in \a problem that what \a verb tells cannot be done with \a name in the folder, for the
/// reason that errno has.
RecordFolder::State RecordFolder::failed(
    const char *verb, const QByteArray &name, QString &problem) const
{
    const int error = errno;
    problem = QStringLiteral("cannot %1 '%2': %3")
                  .arg(QLatin1String(verb), pathOf(name), reasonOf(error));
    return error == EACCES || error == EPERM || error == EROFS ? NotPermitted : Failed;
}

RecordFolder::State RecordFolder::notOurs(const QString &reason, QString &problem) const
{
    problem = QStringLiteral("'%1' is not a folder of results: %2").arg(pathOf({}), reason);
    return NotOurs;
}

} // namespace Talmo
