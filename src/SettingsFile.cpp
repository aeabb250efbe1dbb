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

/// No settings that are meant come near this size. It takes Qt up to a minute to read them.
constexpr off_t largestSize = 64 << 20;

/// How many bytes of memory Qt takes at most for one of the file. Measured with names of four
/// letters.
constexpr size_t memoryForAByte = 64;

/// True if there is as much memory as Qt takes for a file of \a size bytes. To try is the only way
/// to know: Qt does not survive it while it reads.
bool fitsIntoMemory(off_t size)
{
    const size_t room = (1 << 20) + static_cast<size_t>(size) * memoryForAByte;
    void *const memory =
        mmap(nullptr, room, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return memory != MAP_FAILED && munmap(memory, room) == 0;
}

/// Why a call of the system's failed that was to look at a file; null if the file is missing, or
/// may not be read.
QString reasonOf(int error)
{
    if (error == ENOENT || error == ENOTDIR || error == EACCES)
        return {};
    return QString::fromLocal8Bit(std::strerror(error));
}

/// Why Qt cannot read the file \a name; null if it can, and where there is nothing to read.
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

/// True if the user's settings are in a folder whose name is no text. Qt would look for them in
/// another one, which does not exist, and find none.
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
