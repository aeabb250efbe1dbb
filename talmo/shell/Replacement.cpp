#include "Replacement.h"

#include "DiskFile.h"
#include "attributes.h"
#include "regularFile.h"
#include "removeDir.h"
#include "saving.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr mode_t permissions = 07777;
constexpr mode_t ownerOnly = 0600;

/// \a path without symbolic links; null if it leads nowhere.
QByteArray withoutLinks(const QByteArray &path)
{
    const std::unique_ptr<char, decltype(&std::free)> real(realpath(path, nullptr), &std::free);
    return QByteArray(real.get());
}

QByteArray folderOf(const QByteArray &path)
{
    return path.left(std::max(path.lastIndexOf('/'), decltype(path.size())(1)));
}

/// The path by which the system knows what is open as \a descriptor.
QByteArray pathOfOpen(int descriptor)
{
    return "/proc/self/fd/" + QByteArray::number(descriptor);
}

/// A name for an unfinished file beside the one that is called \a path.
QByteArray templateBeside(const QByteArray &path)
{
    return folderOf(path) + "/.talmo-XXXXXX";
}

bool isUnchanged(const struct stat &before, const struct stat &now)
{
    return isSameFile(before, now) && before.st_size == now.st_size &&
           before.st_mtim.tv_sec == now.st_mtim.tv_sec &&
           before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

} // namespace

Replacement::~Replacement()
{
    takeBack();
}

QString Replacement::takeBack()
{
    if (state == State::Replaced)
        return QStringLiteral("'%1' is changed already").arg(name);
    if (state == State::Exchanged &&
        renameat2(AT_FDCWD, contentPath, AT_FDCWD, path, RENAME_EXCHANGE) != 0) {
        state = State::Replaced;
        return QStringLiteral("'%1' is changed already, and what it held is in '%2'")
            .arg(name, QFile::decodeName(std::exchange(contentPath, QByteArray())));
    }
    state = State::Nothing;
    if (!contentPath.isEmpty())
        unlink(std::exchange(contentPath, QByteArray()));
    return {};
}

void Replacement::commit()
{
    if (!contentPath.isEmpty())
        unlink(std::exchange(contentPath, QByteArray()));
    state = State::Nothing;
}

bool Replacement::fail(int error)
{
    reason = cannotWrite(name, reasonOf(error));
    return false;
}

QString Replacement::prepare(bool followsLinks)
{
    const QByteArray given = systemName(name);
    struct stat status = {};
    if (lstat(given, &status) == 0 && S_ISLNK(status.st_mode) && !followsLinks)
        return QStringLiteral("'%1' is a symbolic link; --follow-links changes what it leads to")
            .arg(name);
    QString problem = problemOfSaving(name);
    if (!problem.isNull())
        return problem;
    path = withoutLinks(given);
    return path.isEmpty() || stat(path, &before) != 0 ? cannotWrite(name, reasonOf(errno))
                                                      : QString();
}

bool Replacement::isSameFileAs(const Replacement &other) const
{
    return isSameFile(before, other.before);
}

bool Replacement::openNew()
{
    struct stat status = {};
    if (stat("/proc/self/fd", &status) == 0)
        content = Descriptor(open(folderOf(path), O_TMPFILE | O_WRONLY | O_CLOEXEC, ownerOnly));
    if (content.isOpen() || errno == EMFILE || errno == ENFILE)
        return content.isOpen();
    QByteArray named = templateBeside(path);
    content = Descriptor(mkostemp(named.data(), O_CLOEXEC));
    if (content.isOpen()) {
        contentPath = named;
        state = State::Named;
    }
    return content.isOpen();
}

bool Replacement::write(
    const std::function<bool(const std::function<bool(std::string_view)> &)> &copy)
{
    const auto append = [this](std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t count = ::write(content.get(), bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR)
                return false;
            bytes.remove_prefix(static_cast<size_t>(std::max<ssize_t>(count, 0)));
        }
        return true;
    };
    errno = 0;
    if (!openNew() || !copy(append))
        return fail(errno == 0 ? EIO : errno);
    // Only root may give a file away. For all others, the file becomes theirs.
    const bool isOwned = fchown(content.get(), before.st_uid, before.st_gid) == 0;
    const mode_t mode = before.st_mode & (isOwned ? permissions : ACCESSPERMS);
    const QString problem = keepAttributes(path, content.get());
    if (!problem.isNull()) {
        reason = cannotWrite(name, problem);
        return false;
    }
    return (fchmod(content.get(), mode) == 0 && fsync(content.get()) == 0) || fail(errno);
}

bool Replacement::giveName()
{
    if (state == State::Named)
        return true;
    // The name that mkostemp has found free is free once more when its file is gone.
    for (int attempt = 0; attempt < 100; ++attempt) {
        QByteArray named = templateBeside(path);
        const int other = mkostemp(named.data(), O_CLOEXEC);
        if (other < 0)
            return fail(errno);
        close(other);
        unlink(named);
        if (linkat(AT_FDCWD, pathOfOpen(content.get()), AT_FDCWD, named, AT_SYMLINK_FOLLOW) == 0) {
            contentPath = named;
            state = State::Named;
            return true;
        }
        if (errno != EEXIST)
            return fail(errno);
    }
    return fail(EEXIST);
}

bool Replacement::putInPlace()
{
    struct stat now = {};
    if (lstat(path, &now) != 0)
        return fail(errno);
    if (!isUnchanged(before, now)) {
        reason = cannotWrite(name, QStringLiteral("It has been changed meanwhile"));
        return false;
    }
    if (renameat2(AT_FDCWD, contentPath, AT_FDCWD, path, RENAME_EXCHANGE) == 0) {
        state = State::Exchanged;
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS)
        return fail(errno);
    // Not every file system can exchange files; then there is no way back.
    if (rename(contentPath, path) != 0)
        return fail(errno);
    contentPath.clear();
    state = State::Replaced;
    return true;
}

void allowManyFiles()
{
    rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace Talmo
