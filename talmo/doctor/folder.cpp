#include "folder.h"

#include "ScriptFolder.h"
#include "details.h"
#include "regularFile.h"
#include "wording.h"

#include <cerrno>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr double megabyte = 1e6;
constexpr double gigabyte = 1e9;
constexpr double tooLittle = megabyte;
constexpr double little = 100 * megabyte;

QString sizeOf(double bytes)
{
    return bytes < gigabyte ? roughly(bytes / megabyte) + QStringLiteral(" MB")
                            : roughly(bytes / gigabyte) + QStringLiteral(" GB");
}

} // namespace

Observation examineRoom(const QString &subject, const QByteArray &path)
{
    struct statvfs status = {};
    if (statvfs(path, &status) != 0)
        return {Observation::Note, subject,
            QStringLiteral("how much is free cannot be found out: %1").arg(reasonOf(errno)),
            QString()};
    const double free = static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize);
    const QString room = sizeOf(free) + QStringLiteral(" are free");
    if (free < tooLittle)
        return {
            Observation::Problem, subject, room, QStringLiteral("remove something from the disk")};
    if (status.f_files > 0 && status.f_favail == 0)
        return {Observation::Problem, subject,
            room + QStringLiteral(", but the disk takes no more files"),
            QStringLiteral("remove files from the disk")};
    return {free < little ? Observation::Note : Observation::Ok, subject, room,
        free < little ? QStringLiteral("that may be too little for large outputs") : QString()};
}

QString problemOfFolder(const QByteArray &path)
{
    struct stat status = {};
    if (stat(path, &status) != 0)
        return reasonOf(errno);
    if (!S_ISDIR(status.st_mode))
        return reasonOf(ENOTDIR);
    return access(path, W_OK | X_OK) == 0 ? QString() : reasonOf(errno);
}

Observations examineFolder(const QString &subject, const QByteArray &path, const QString &advice)
{
    const QString problem = problemOfFolder(path);
    if (problem.isNull())
        return {examineRoom(subject, path)};
    return {{Observation::Problem, subject,
        QStringLiteral("no files can be made in '%1': %2").arg(shown(path), problem), advice}};
}

Observations examineScripts(
    const QString &subject, const QByteArray &path, const Observation &ifNone)
{
    ScriptFolder folder;
    QStringList names;
    if (!folder.list(path) || !folder.select(QStringLiteral("test*"), names))
        return {{Observation::Problem, subject,
            QStringLiteral("'%1' cannot be listed: %2").arg(shown(path), shown(folder.error())),
            QString()}};
    Observations observations;
    if (names.isEmpty())
        observations.push_back(ifNone);
    else
        observations.push_back({Observation::Ok, subject,
            QStringLiteral("'%1', %2").arg(shown(path), counted(names.size(), "script")),
            QString()});
    for (const PassedOver &file : folder.passedOver())
        observations.push_back({Observation::Note, subject,
            QStringLiteral("'%1' is passed over: %2").arg(shown(file.name), shown(file.reason)),
            QString()});
    return observations;
}

} // namespace Talmo
