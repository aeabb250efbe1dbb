// A script that is not found is not run, and nobody notices. So selecting scripts must never miss
// one silently: every call of the system is checked, and lack of memory is an error like any other.
// An error that concerns one name only tells that this name is no script; any other error could
// hide scripts, so it is reported to the caller.

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
#include <tuple>
#include <utility>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// True if \a error concerns only one name, which is then no script: it is a link that leads
/// nowhere or to a place where we may not go, or it is a file that was removed or may not be read.
bool isOfOneName(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == EACCES;
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
    return QFile::encodeName(QCoreApplication::applicationFilePath()); // there is no /proc
}

} // namespace

bool ScriptFolder::fail(int error)
{
    reason = std::strerror(error);
    return false;
}

bool ScriptFolder::list(const QByteArray &path)
{
    folder = path;
    try {
        return readNames();
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM);
    }
}

bool ScriptFolder::select(const QString &pattern, QStringList &names)
{
    const auto isSpecial = [](QChar character) { return QStringView(u"*?[").contains(character); };
    // A shell may have expanded a pattern to thousands of names, so a plain name is looked up.
    const bool isWildcard = std::any_of(pattern.begin(), pattern.end(), isSpecial);
    try {
        return isWildcard ? selectByWildcard(pattern, names) : selectByName(pattern, names);
    } catch (const std::bad_alloc &) {
        return fail(ENOMEM);
    }
}

bool ScriptFolder::readNames()
{
    const Directory directory(opendir(folder));
    if (!directory)
        return fail(errno);
    for (;;) {
        errno = 0; // readdir returns null at the end, and also on failure, but then it sets errno
        const dirent *const found = readdir(directory.get());
        if (found == nullptr)
            break;
        const QByteArray bytes = found->d_name;
        const QString name = QFile::decodeName(bytes);
        const bool isText = QFile::encodeName(name) == bytes;
        if (!bytes.startsWith('.'))
            entries.push_back({name, name.toLower(), isText ? QByteArray() : bytes});
    }
    if (errno != 0)
        return fail(errno);
    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return std::tie(a.sortedAs, a.name) < std::tie(b.sortedAs, b.name);
    });
    return true;
}

bool ScriptFolder::selectByName(const QString &name, QStringList &names)
{
    if (byFoldedName.empty()) { // no QHash, because that ends the process when memory runs out
        for (const Entry &entry : entries)
            byFoldedName[entry.name.toCaseFolded()].push_back(&entry);
    }
    const auto found = byFoldedName.find(name.toCaseFolded());
    if (found == byFoldedName.end())
        return true;
    for (const Entry *const candidate : found->second) {
        // Folding makes "ss" of a sharp s. We compare letter by letter, as a wildcard does, and so
        // take them for different names.
        const bool isMeant = candidate->name.compare(name, Qt::CaseInsensitive) == 0;
        if (isMeant && !appendIfReadable(*candidate, names))
            return false;
    }
    return true;
}

bool ScriptFolder::selectByWildcard(const QString &pattern, QStringList &names)
{
    errno = 0;
    const QRegularExpression wildcard(QRegularExpression::wildcardToRegularExpression(pattern),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    if (!wildcard.isValid()) // an invalid pattern such as "[" matches nothing
        return errno != ENOMEM || fail(ENOMEM);
    for (const Entry &entry : entries) {
        const QRegularExpressionMatch match = wildcard.match(entry.name);
        if (!match.isValid()) // matching needs more memory, or more time, than there is
            return fail(ENOMEM);
        if (match.hasMatch() && !appendIfReadable(entry, names))
            return false;
    }
    return true;
}

/// Appends the name of \a entry to \a names if it is a readable file. Returns false if that cannot
/// be found out.
bool ScriptFolder::appendIfReadable(const Entry &entry, QStringList &names)
{
    struct stat status = {};
    if (!entry.bytes.isNull()) {
        if (stat(folder + '/' + entry.bytes, &status) != 0 || !S_ISDIR(status.st_mode))
            passOver(entry, "its name is no valid text");
        return true;
    }
    const QByteArray path = folder + '/' + QFile::encodeName(entry.name);
    // Any error but ENOENT says that we may not look at what is in the directory.
    if (lstat(path, &status) != 0)
        return errno == ENOENT || fail(errno);
    const bool isLink = S_ISLNK(status.st_mode);
    if (isLink && stat(path, &status) != 0) {
        if (!isOfOneName(errno))
            return fail(errno);
        passOver(entry, std::strerror(errno));
        return true;
    }
    // Deliberate: a link to a device or to a FIFO counts as a file, so that its test fails.
    if (isLink ? S_ISDIR(status.st_mode) : !S_ISREG(status.st_mode))
        return true;
    if (access(path, R_OK) != 0) {
        if (!isOfOneName(errno))
            return fail(errno);
        passOver(entry, std::strerror(errno));
        return true;
    }
    names += entry.name;
    return true;
}

/// Remembers that \a entry was passed over.
void ScriptFolder::passOver(const Entry &entry, QByteArray why)
{
    const QByteArray name = entry.bytes.isNull() ? QFile::encodeName(entry.name) : entry.bytes;
    notSelected.push_back({name, std::move(why)});
}

QByteArray workingDirectory()
{
    char path[PATH_MAX];
    if (getcwd(path, sizeof path) != nullptr)
        return path;
    if (errno == ERANGE)
        errno = ENAMETOOLONG; // scripts could not be opened by such a path either
    return {};
}

QByteArray distributionDirectory()
{
    const QByteArray above = directoryAbove(directoryAbove(executable()));
    const QByteArray folder = above == "/" ? "/test" : above + "/test";
    struct stat status = {};
    const bool isThere =
        stat(folder, &status) == 0 ? S_ISDIR(status.st_mode) : errno != ENOENT && errno != ENOTDIR;
    return isThere ? folder : above; // Deliberate: without "test", the directory above serves
}

} // namespace Talmo
