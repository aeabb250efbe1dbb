// What goes wrong on the way is thrown as the system's number of the error, in this file alone, and
// becomes the reason that list and select give. So does lack of memory, which may come anywhere.

#include "ScriptFolder.h"

#include "Descriptor.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <system_error>
#include <tuple>
#include <utility>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

[[noreturn]] void fail(int error)
{
    throw std::system_error(error, std::generic_category());
}

/// Fails with the system's latest error unless that concerns one name alone: a link that leads
/// nowhere, or to where we may not go, or a file that was removed or may not be read.
bool isPassedOver()
{
    if (errno != ENOENT && errno != ENOTDIR && errno != ELOOP && errno != EACCES)
        fail(errno);
    return true;
}

/// Calls \a action; false, with the reason in \a reason, if it fails.
template <typename Action>
bool succeeds(QByteArray &reason, Action action)
{
    int error = ENOMEM;
    try {
        action();
        return true;
    } catch (const std::bad_alloc &) {
    } catch (const std::system_error &failure) {
        error = failure.code().value();
    }
    reason = std::strerror(error);
    return false;
}

/// \a pattern as a regular expression. One that is not valid, such as "[", matches nothing.
QRegularExpression compiledWildcard(const QString &pattern)
{
    errno = 0;
    QRegularExpression compiled(QRegularExpression::wildcardToRegularExpression(pattern),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    if (!compiled.isValid() && errno == ENOMEM)
        fail(ENOMEM);
    return compiled;
}

/// The directory that \a path lies in; that of "/" is "/".
QByteArray directoryAbove(const QByteArray &path)
{
    const auto length = path.lastIndexOf('/');
    return length > 0 ? path.left(length) : "/";
}

QByteArray executable()
{
    char path[PATH_MAX];
    if (realpath("/proc/self/exe", path) != nullptr)
        return path;
    return QFile::encodeName(QCoreApplication::applicationFilePath()); // where there is no /proc
}

} // namespace

bool ScriptFolder::list(const QByteArray &path)
{
    folder = path;
    return succeeds(reason, [this] { readNames(); });
}

bool ScriptFolder::select(const QString &pattern, QStringList &names)
{
    const auto isSpecial = [](QChar character) { return QStringView(u"*?[").contains(character); };
    // Where a shell has expanded a pattern there are thousands of names: each is looked up.
    const bool isWildcard = std::any_of(pattern.begin(), pattern.end(), isSpecial);
    return succeeds(reason,
        [&] { isWildcard ? selectByWildcard(pattern, names) : selectByName(pattern, names); });
}

void ScriptFolder::readNames()
{
    const Directory directory(opendir(folder));
    if (!directory)
        fail(errno);
    for (;;) {
        errno = 0; // the only way to tell the end from a failure
        const dirent *const found = readdir(directory.get());
        if (found == nullptr)
            break;
        const QByteArray bytes = found->d_name;
        const QString name = QFile::decodeName(bytes);
        if (!bytes.startsWith('.') && QFile::encodeName(name) == bytes)
            entries.push_back({name, name.toLower()});
    }
    if (errno != 0)
        fail(errno);
    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return std::tie(a.sortedAs, a.name) < std::tie(b.sortedAs, b.name);
    });
}

void ScriptFolder::selectByName(const QString &name, QStringList &names)
{
    if (namesByFolded.empty()) { // not a QHash: that ends the process where memory does
        for (const Entry &entry : entries)
            namesByFolded[entry.name.toCaseFolded()] += entry.name;
    }
    const auto found = namesByFolded.find(name.toCaseFolded());
    if (found == namesByFolded.end())
        return;
    for (const QString &candidate : std::as_const(found->second)) {
        // A wildcard takes letters one by one, so that no "ss" is the same as a sharp s.
        if (candidate.compare(name, Qt::CaseInsensitive) == 0 && isReadableFile(candidate))
            names += candidate;
    }
}

void ScriptFolder::selectByWildcard(const QString &pattern, QStringList &names) const
{
    const QRegularExpression wildcard = compiledWildcard(pattern);
    if (!wildcard.isValid())
        return;
    for (const Entry &entry : entries) {
        const QRegularExpressionMatch match = wildcard.match(entry.name);
        if (!match.isValid()) // it needs more memory, or more time, than there is
            fail(ENOMEM);
        if (match.hasMatch() && isReadableFile(entry.name))
            names += entry.name;
    }
}

bool ScriptFolder::isReadableFile(const QString &name) const
{
    const QByteArray path = folder + '/' + QFile::encodeName(name);
    struct stat status = {};
    if (lstat(path, &status) != 0) {
        if (errno != ENOENT) // we may not look at what is in the directory
            fail(errno);
        return false;
    }
    const bool isLink = S_ISLNK(status.st_mode);
    if (isLink && stat(path, &status) != 0)
        return !isPassedOver();
    // Deliberate: a link to a device or to a FIFO counts as a file, so that its test fails.
    const bool isFile = isLink ? !S_ISDIR(status.st_mode) : S_ISREG(status.st_mode);
    return isFile && (access(path, R_OK) == 0 || !isPassedOver());
}

QByteArray workingDirectory()
{
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) != nullptr)
        return path;
    if (errno == ERANGE)
        errno = ENAMETOOLONG; // nor could the scripts be opened by it
    return {};
}

QByteArray distributionDirectory()
{
    const QByteArray above = directoryAbove(directoryAbove(executable()));
    const QByteArray folder = above == "/" ? "/test" : above + "/test";
    struct stat status = {};
    const bool isThere =
        stat(folder, &status) == 0 ? S_ISDIR(status.st_mode) : errno != ENOENT && errno != ENOTDIR;
    return isThere ? folder : above; // Deliberate: without it, the directory above serves
}

} // namespace Talmo
