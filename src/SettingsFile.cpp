// Qt does not say why it could not read settings. It waits for ever at a pipe, takes a file that it
// cannot open for an empty one, and ends the process where memory runs out. So we look at every
// file that Qt will read before it does: what kind of file it is, how large it is, whether there is
// memory for it, and whether it can be opened. Each of these checks gives a reason in words, or
// null.

#include "SettingsFile.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// No real settings come near this size. Qt takes up to a minute to read a file that is so large.
constexpr off_t largestSize = 64 << 20;

/// How many bytes of memory Qt takes at most for each byte of the file. This was measured with
/// names of four letters.
constexpr size_t memoryForAByte = 64;

/// True if there is as much memory as Qt takes for a file of \a size bytes. We have to try before
/// Qt reads the file, because Qt does not survive a lack of memory.
bool fitsIntoMemory(off_t size)
{
    const size_t room = (1 << 20) + static_cast<size_t>(size) * memoryForAByte;
    void *const memory =
        mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, room) == 0;
}

/// The words for \a error, with which a call of the system for a file failed. Null if the file is
/// missing or may not be read, which is no problem.
QString reasonOf(int error)
{
    if (error == ENOENT || error == ENOTDIR || error == EACCES)
        return {};
    return QString::fromLocal8Bit(std::strerror(error));
}

/// Why Qt cannot read the file \a name; null if it can, or if there is nothing to read.
QString reasonAgainst(const QString &name)
{
    const QByteArray path = QFile::encodeName(name);
    struct stat status = {};
    if (stat(path, &status) != 0)
        return reasonOf(errno);
    if (S_ISFIFO(status.st_mode))
        return QStringLiteral("it is a pipe");
    if (S_ISSOCK(status.st_mode))
        return QStringLiteral("it is a socket");
    if (!S_ISREG(status.st_mode))
        return {};
    if (status.st_size > largestSize)
        return QStringLiteral("it is larger than 64 MiB");
    if (!fitsIntoMemory(status.st_size))
        return QStringLiteral("there is not enough memory");
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return reasonOf(errno);
    close(descriptor);
    return {};
}

/// True if the user's settings are in a folder whose name is no valid text. Qt would look for them
/// in a folder with another name, which does not exist, and find no settings.
bool areOutOfReach()
{
    QByteArray path = qgetenv("XDG_CONFIG_HOME");
    if (path.isEmpty())
        path = qgetenv("HOME") + "/.config";
    path += QByteArray("/") + settingsOrganization + '/' + settingsApplication + ".conf";
    return QFile::encodeName(QFile::decodeName(path)) != path && access(path, F_OK) == 0;
}

} // namespace

QStringList settingsFiles()
{
    const QString ofOrganization = QLatin1Char('/') + QLatin1String(settingsOrganization);
    const QString ofApplication =
        ofOrganization + QLatin1Char('/') + QLatin1String(settingsApplication);
    // The user's folder comes first, then those of the system.
    const QStringList folders =
        QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    QStringList names;
    for (const QString &folder : folders) {
        for (const QString &name : {ofApplication, ofOrganization})
            names += QFileInfo(folder + name + QStringLiteral(".conf")).absoluteFilePath();
    }
    return names;
}

bool isOrdinaryOrMissing(const QString &name)
{
    struct stat status = {};
    return stat(QFile::encodeName(name), &status) != 0 || S_ISREG(status.st_mode);
}

QString settingsProblem()
{
    const QString problem = QStringLiteral("cannot read the settings '%1': %2");
    const QStringList names = settingsFiles();
    if (areOutOfReach())
        return problem.arg(names[0], QStringLiteral("the name of their folder is not UTF-8"));
    for (const QString &name : names) {
        const QString reason = reasonAgainst(name);
        if (!reason.isNull())
            return problem.arg(name, reason);
    }
    return {};
}

} // namespace Talmo
