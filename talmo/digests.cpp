#include "digests.h"

#include "Descriptor.h"
#include "DiskFile.h"
#include "Script.h"
#include "Suite.h"
#include "mountOf.h"
#include "regularFile.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QHash>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

constexpr QCryptographicHash::Algorithm algorithm = QCryptographicHash::Sha256;

/// The digest of several things, of which it tells where one ends and the next begins.
class Digest
{
public:
    void add(const QByteArray &bytes)
    {
        addNumber(bytes.size());
        hash.addData(bytes);
    }
    void addNumber(qint64 number) { hash.addData(QByteArray::number(number) + ' '); }
    QByteArray result() const { return hash.result().toHex(); }

private:
    QCryptographicHash hash{algorithm};
};

/// The names of files in the "=compare" lines of \a script when it runs with \a program.
QStringList comparedNames(const Script &script, const QString &program)
{
    QStringList names;
    for (const ScriptLine &line : script.lines()) {
        if (line.words.value(0) != QLatin1String("=compare"))
            continue;
        const QString text = line.text.split(QStringLiteral("$simProgram")).join(program);
        names += text.simplified().split(QLatin1Char(' ')).mid(1, 2);
    }
    return names;
}

/// The path of the file \a name, as a script in \a runDirectory calls it, if that is outside the
/// directory; otherwise null. The directory need not exist: we go up from it by its name.
QByteArray pathOutside(const QString &name, const QByteArray &runDirectory)
{
    const QString path = QDir::cleanPath(name);
    const bool isAbsolute = path.startsWith(QLatin1Char('/'));
    if (path.contains(QChar(u'\0')) || (!isAbsolute && !path.startsWith(QLatin1String("../"))))
        return {};
    const auto nameBegin = runDirectory.lastIndexOf('/') + 1;
    const QByteArray above = isAbsolute ? QByteArray() : runDirectory.left(nameBegin);
    const QByteArray outside = above + systemName(isAbsolute ? path : path.mid(3));
    return outside.startsWith(runDirectory + '/') ? QByteArray() : outside;
}

/// The digest of what the regular file \a path holds; empty if it cannot be read.
QByteArray digestOfFile(const QByteArray &path)
{
    QFile file;
    QCryptographicHash hash(algorithm);
    const bool isRead = !path.isEmpty() && openRegular(file, path) && hash.addData(&file);
    return isRead ? hash.result() : QByteArray();
}

/// What tells that the file \a path is still the same; empty if it may have changed within the
/// grain of its times, or cannot be asked.
QByteArray identityOf(const QByteArray &path)
{
    constexpr time_t grain = 3; // seconds, also of file systems that count in twos
    struct stat status = {};
    if (path.isEmpty() || stat(path, &status) != 0 ||
        std::max(status.st_mtim.tv_sec, status.st_ctim.tv_sec) + grain > time(nullptr))
        return {};
    Digest identity;
    for (const auto number :
        {static_cast<qint64>(status.st_dev), static_cast<qint64>(status.st_ino),
            static_cast<qint64>(status.st_size), static_cast<qint64>(status.st_mtim.tv_sec),
            static_cast<qint64>(status.st_mtim.tv_nsec), static_cast<qint64>(status.st_ctim.tv_sec),
            static_cast<qint64>(status.st_ctim.tv_nsec)})
        identity.addNumber(number);
    return identity.result();
}

/// The same as digestOfFile. Many runs compare with one file, which is read once as long as it
/// stays the same.
QByteArray digestOfReference(const QByteArray &path)
{
    static QHash<QByteArray, QByteArray> known; // by what tells that it is the same
    const QByteArray identity = identityOf(path);
    const auto found = known.constFind(identity);
    if (!identity.isEmpty() && found != known.constEnd())
        return *found;
    QByteArray digest = digestOfFile(path);
    if (!identity.isEmpty() && identityOf(path) == identity)
        known.insert(identity, digest);
    return digest;
}

/// The target of the link \a name in the directory \a folder, as far as it fits.
QByteArray targetOf(int folder, const char *name)
{
    std::array<char, PATH_MAX> target;
    const ssize_t length = readlinkat(folder, name, target.data(), target.size());
    return QByteArray(target.data(), static_cast<int>(std::max<ssize_t>(length, 0)));
}

/// Goes through a directory and what is below, in the order of the names.
class DirectoryWalk
{
public:
    explicit DirectoryWalk(int mostEntries)
        : left(mostEntries)
    {
    }

    /// Goes through the directory that was opened as \a descriptor.
    QByteArray digestOf(int descriptor)
    {
        mount = mountOf(descriptor);
        walk(descriptor, 0);
        return digest.result();
    }

private:
    static constexpr int deepest = 100; ///< directories within one another that are entered

    std::vector<std::string> namesIn(int folder);
    void walk(int folder, int depth);
    void addEntry(int folder, const char *name, int depth);

    Digest digest;
    std::uint64_t mount = 0;
    int left; ///< entries that may still be looked at
};

/// The sorted names in the directory \a folder, as many as there may still be.
std::vector<std::string> DirectoryWalk::namesIn(int folder)
{
    std::vector<std::string> names;
    const int copy = fcntl(folder, F_DUPFD_CLOEXEC, 0);
    const Directory directory(fdopendir(copy));
    if (!directory) { // there is no memory for it
        close(copy);
        return names;
    }
    const dirent *found = readdir(directory.get());
    for (; found != nullptr && left > 0; found = readdir(directory.get())) {
        const std::string_view name = found->d_name;
        if (name == "." || name == "..")
            continue;
        names.emplace_back(name);
        --left;
    }
    std::sort(names.begin(), names.end());
    return names;
}

void DirectoryWalk::walk(int folder, int depth)
{
    const std::vector<std::string> names = namesIn(folder);
    digest.addNumber(static_cast<qint64>(names.size()));
    for (const std::string &name : names)
        addEntry(folder, name.c_str(), depth);
}

void DirectoryWalk::addEntry(int folder, const char *name, int depth)
{
    struct stat status = {};
    if (fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return;
    digest.add(name);
    digest.addNumber(status.st_mode & S_IFMT);
    digest.addNumber(status.st_size);
    digest.addNumber(status.st_mtim.tv_sec);
    digest.addNumber(status.st_mtim.tv_nsec);
    if (S_ISLNK(status.st_mode))
        digest.add(targetOf(folder, name));
    if (!S_ISDIR(status.st_mode) || depth == deepest)
        return;
    const Descriptor inside(
        openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (inside.isOpen() && mountOf(inside.get()) == mount)
        walk(inside.get(), depth + 1);
}

} // namespace

QByteArray digestOfScript(const Script &script)
{
    QCryptographicHash hash(algorithm);
    const std::string_view text = script.text();
    hash.addData(QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
    return hash.result().toHex();
}

QByteArray digestOfScripts(const std::vector<SuiteScript> &scripts)
{
    Digest digest;
    for (const SuiteScript &script : scripts) {
        digest.add(script.name.toUtf8());
        digest.add(digestOfFile(script.path));
    }
    return digest.result();
}

QByteArray digestOfReferences(
    const Script &script, const QString &program, const QByteArray &runDirectory)
{
    Digest digest;
    bool isEmpty = true;
    for (const QString &name : comparedNames(script, program)) {
        const QByteArray content = digestOfReference(pathOutside(name, runDirectory));
        if (content.isEmpty())
            continue;
        digest.add(name.toUtf8());
        digest.add(content);
        isEmpty = false;
    }
    return isEmpty ? QByteArray() : digest.result();
}

QByteArray digestOfDirectory(const QByteArray &path, int mostEntries)
{
    const Descriptor folder = openDirectory(path, O_RDONLY | O_NOFOLLOW);
    return folder.isOpen() ? DirectoryWalk(mostEntries).digestOf(folder.get()) : QByteArray();
}

QByteArray digestOfNames(const QStringList &names)
{
    QCryptographicHash hash(algorithm);
    for (const QString &name : names)
        hash.addData(name.toUtf8() + '\n');
    return hash.result().toHex();
}

} // namespace Talmo
