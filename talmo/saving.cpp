#include "saving.h"

#include "DiskFile.h"
#include "regularFile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// Why the latest call for \a file failed, before which errno was 0. Qt often does not know: if a
/// part was written before, or if the file under construction cannot have a longer name.
QString reasonFor(const QFileDevice &file)
{
    return errno == 0 ? file.errorString() : reasonOf(errno);
}

/// Has \a write write all of \a file. False if that fails, for the \a reason.
bool fill(QFileDevice &file, const std::function<bool(QIODevice &)> &write, QString &reason)
{
    errno = 0;
    // Without flush, the end of a file could be lost, and QSaveFile::commit would not know.
    if (write(file) && file.flush())
        return true;
    reason = reasonFor(file);
    return false;
}

} // namespace

QString cannotWrite(const QString &name, const QString &reason)
{
    return QStringLiteral("cannot write '%1': %2").arg(name, reason);
}

bool saveFile(const QString &name, const std::function<bool(QIODevice &)> &write, QString &problem)
{
    problem = problemOfSaving(name); // Qt would replace a device
    if (!problem.isNull())
        return false;
    QSaveFile file(name);
    errno = 0;
    if (!file.open(QIODevice::WriteOnly)) {
        problem = cannotWrite(name, reasonFor(file));
        return false;
    }
    QString reason;
    const bool isFilled = fill(file, write, reason);
    errno = 0;
    if (isFilled && file.commit())
        return true;
    problem = cannotWrite(name, isFilled ? reasonFor(file) : reason);
    return false;
}

QString problemOfSaving(const QString &name)
{
    const QByteArray path = systemName(name);
    struct stat status = {};
    const bool isThere = !path.isEmpty() && stat(path, &status) == 0;
    if (isThere && S_ISDIR(status.st_mode))
        return cannotWrite(name, reasonOf(EISDIR));
    if (isThere && !S_ISREG(status.st_mode))
        return cannotWrite(name, QStringLiteral("It is no regular file"));
    if (isThere && access(path, W_OK) != 0)
        return cannotWrite(name, reasonOf(errno));
    if (!isThere && (path.isEmpty() || path.endsWith('/')))
        return cannotWrite(name, reasonOf(path.isEmpty() ? ENOENT : EISDIR));
    // The new file is made beside the one that it replaces.
    const QFileInfo link(name);
    const QString target = link.isSymLink() ? link.symLinkTarget() : name;
    const QByteArray folder = systemName(QFileInfo(target).path());
    if (stat(folder, &status) != 0)
        return cannotWrite(name, reasonOf(errno));
    if (!S_ISDIR(status.st_mode))
        return cannotWrite(name, reasonOf(ENOTDIR));
    return access(folder, W_OK | X_OK) == 0 ? QString() : cannotWrite(name, reasonOf(errno));
}

bool saveFileIn(int folder, const QByteArray &name, const std::function<bool(QIODevice &)> &write,
    QString &reason)
{
    constexpr int access = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
    constexpr mode_t allMayReadAndWrite = 0666; // the umask of the process removes some of them
    unlinkat(folder, unfinishedName, 0);        // of a process that was killed
    const int descriptor = openat(folder, unfinishedName, access, allMayReadAndWrite);
    if (descriptor < 0) {
        reason = reasonOf(errno);
        return false;
    }
    QFile file;
    const bool isWritten = file.open(descriptor, QIODevice::WriteOnly) && fill(file, write, reason);
    file.close();
    if (close(descriptor) == 0 && isWritten && renameat(folder, unfinishedName, folder, name) == 0)
        return true;
    if (isWritten)
        reason = reasonOf(errno);
    unlinkat(folder, unfinishedName, 0);
    return false;
}

} // namespace Talmo
