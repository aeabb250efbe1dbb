// A folder has the old files, named 1, 2, ..., and the manifest, which is written last: without one
// nothing was replaced yet. It names the files, and the digests of what they hold before and after.

#include "BlessedFolder.h"

#include "Descriptor.h"
#include "regularFile.h"
#include "removeDir.h"
#include "saving.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QFile>
#include <QIODevice>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr char folderName[] = "blessed";
constexpr char manifestName[] = "manifest.json";
constexpr mode_t allMayUse = 0777; // the umask of the process removes some of them

/// A file of the manifest.
struct KeptFile {
    QByteArray path;
    QByteArray kept; ///< the name of the old file
    QByteArray digestBefore;
    QByteArray digestAfter;
};

QByteArray digestOf(const QByteArray &text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex();
}

Descriptor openIn(int folder, const QByteArray &name)
{
    return Descriptor(openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/// The folders in \a folder, which are named after moments, the oldest one first.
std::vector<QByteArray> momentsIn(int folder)
{
    std::vector<QByteArray> names;
    const int copy = fcntl(folder, F_DUPFD_CLOEXEC, 0);
    const Directory directory(copy < 0 ? nullptr : fdopendir(copy));
    while (const dirent *const entry = directory ? readdir(directory.get()) : nullptr) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The latest of the folders in \a place that has a manifest; null if there is none. Where it is
/// missing, nothing was replaced.
QByteArray latestIn(int place)
{
    std::vector<QByteArray> names = momentsIn(place);
    const auto isEmpty = [place](const QByteArray &name) {
        struct stat status = {};
        const QByteArray manifest = name + '/' + manifestName;
        return fstatat(place, manifest, &status, AT_SYMLINK_NOFOLLOW) != 0 && errno == ENOENT;
    };
    names.erase(std::remove_if(names.begin(), names.end(), isEmpty), names.end());
    return names.empty() ? QByteArray() : names.back();
}

QString pathOfMoment(const RecordFolder &folder, const QByteArray &name)
{
    return folder.pathOf(folderName + QByteArray("/") + name);
}

/// Removes the moment \a name, if it is not null, and the folder of all of them, if it is empty.
void removeMoment(const RecordFolder &folder, const QByteArray &name)
{
    if (!name.isNull())
        removeDir(QFile::encodeName(pathOfMoment(folder, name)));
    unlinkat(folder.descriptor(), folderName, AT_REMOVEDIR);
}

/// Makes a folder in \a folder, which gets the \a name, and opens it. The name comes behind those
/// that are there.
Descriptor makeMoment(int folder, QByteArray &name)
{
    constexpr int most = 1000;
    const std::vector<QByteArray> names = momentsIn(folder);
    QDateTime moment = QDateTime::currentDateTimeUtc();
    for (int attempt = 0; attempt < most; ++attempt, moment = moment.addMSecs(1)) {
        name = moment.toString(QStringLiteral("yyyy-MM-dd'T'HH-mm-ss.zzz'Z'")).toLatin1();
        const bool isLast = names.empty() || names.back() < name;
        if (isLast && mkdirat(folder, name, allMayUse) == 0)
            return openIn(folder, name);
    }
    return Descriptor();
}

bool save(int folder, const QByteArray &name, const QByteArray &text, QString &reason)
{
    return saveFileIn(
        folder, name, [&text](QIODevice &file) { return file.write(text) == text.size(); }, reason);
}

/// Keeps what \a changes replace in the open \a moment.
bool keep(int moment, const std::vector<FileChange> &changes, QString &reason)
{
    QJsonArray files;
    for (const FileChange &change : changes) {
        const QByteArray name = QByteArray::number(files.size() + 1);
        if (!save(moment, name, change.before, reason))
            return false;
        QJsonObject file;
        file[QStringLiteral("path")] = QString::fromLatin1(change.path.toPercentEncoding("/"));
        file[QStringLiteral("kept")] = QString::fromLatin1(name);
        file[QStringLiteral("before")] = QString::fromLatin1(digestOf(change.before));
        file[QStringLiteral("after")] = QString::fromLatin1(digestOf(change.after));
        files += file;
    }
    const QJsonObject manifest = {{QStringLiteral("files"), files}};
    return save(moment, manifestName, QJsonDocument(manifest).toJson(), reason);
}

/// Reads the file \a name in \a folder. False, with the \a reason, if that fails.
bool readIn(int folder, const QByteArray &name, QByteArray &text, QString &reason)
{
    QFile file;
    if (!openRegular(file, name, folder, O_NOFOLLOW)) {
        reason = reasonOf(errno);
        return false;
    }
    text = file.readAll();
    reason = file.errorString();
    return file.error() == QFileDevice::NoError;
}

/// Reads the manifest of \a moment. False if there is none, or if it is damaged.
bool readManifest(int moment, std::vector<KeptFile> &files, QString &reason)
{
    QByteArray text;
    if (!readIn(moment, manifestName, text, reason))
        return false;
    const QJsonArray array =
        QJsonDocument::fromJson(text).object().value(QStringLiteral("files")).toArray();
    for (const auto &value : array) {
        const QJsonObject object = value.toObject();
        const auto bytes = [&object](const char *key) {
            return object.value(QLatin1String(key)).toString().toLatin1();
        };
        files.push_back({QByteArray::fromPercentEncoding(bytes("path")), bytes("kept"),
            bytes("before"), bytes("after")});
        const bool isWhole = files.back().path.startsWith('/') &&
                             !files.back().path.contains('\0') && files.back().kept.toInt() > 0;
        if (!isWhole)
            files.clear();
        if (!isWhole)
            break;
    }
    reason = QStringLiteral("its manifest is damaged");
    return !files.empty();
}

bool replaceFile(const FileChange &change, QString &problem)
{
    QByteArray present;
    const QString name = QFile::decodeName(change.path);
    if (!readFile(change.path, present, problem))
        return false;
    if (present != change.before) {
        problem = QStringLiteral("'%1' was changed meanwhile").arg(name);
        return false;
    }
    return saveFile(
        name,
        [&change](QIODevice &file) { return file.write(change.after) == change.after.size(); },
        problem);
}

/// Finds out how the files of \a moment are brought back. What is as it was before needs nothing.
void planReturn(int moment, const QByteArray &suite, const std::vector<KeptFile> &files,
    std::vector<FileChange> &changes, QStringList &problems)
{
    for (const KeptFile &file : files) {
        FileChange change;
        change.path = file.path;
        QString problem;
        QByteArray present;
        if (!readFile(file.path, present, problem)) {
            problems += problem;
            continue;
        }
        change.before = present;
        const QByteArray digest = digestOf(present);
        if (digest == file.digestBefore)
            continue;
        if (digest != file.digestAfter)
            problems += QStringLiteral("'%1' was changed since it was blessed, and stays as it is")
                            .arg(nameBelow(suite, file.path));
        else if (!readIn(moment, file.kept, change.after, problem))
            problems += QStringLiteral("what '%1' was cannot be read: %2")
                            .arg(nameBelow(suite, file.path), problem);
        else if (digestOf(change.after) != file.digestBefore)
            problems += QStringLiteral("what '%1' was is damaged").arg(nameBelow(suite, file.path));
        changes.push_back(change);
    }
}

} // namespace

QString nameBelow(const QByteArray &suite, const QByteArray &path)
{
    const QByteArray folder = suite + '/';
    return QFile::decodeName(path.startsWith(folder) ? path.mid(folder.size()) : path);
}

bool readFile(const QByteArray &path, QByteArray &text, QString &problem)
{
    QString reason;
    if (readIn(AT_FDCWD, path, text, reason))
        return true;
    problem = QStringLiteral("cannot read '%1': %2").arg(QFile::decodeName(path), reason);
    return false;
}

bool replaceFiles(const RecordFolder &folder, const QByteArray &suite,
    const std::vector<FileChange> &changes, QString &problem)
{
    mkdirat(folder.descriptor(), folderName, allMayUse);
    const Descriptor place = openIn(folder.descriptor(), folderName);
    QByteArray name;
    const Descriptor moment = place.isOpen() ? makeMoment(place.get(), name) : Descriptor();
    QString reason = moment.isOpen() ? QString() : reasonOf(errno);
    if (!moment.isOpen() || !keep(moment.get(), changes, reason)) {
        problem = cannotWrite(folder.pathOf(folderName), reason);
        removeMoment(folder, moment.isOpen() ? name : QByteArray());
        return false;
    }
    bool isAnyReplaced = false;
    for (const FileChange &change : changes) {
        if (!replaceFile(change, problem)) {
            if (!isAnyReplaced) // the next undo is for the time before
                removeMoment(folder, name);
            return false;
        }
        isAnyReplaced = true;
        std::printf("replaced '%s'\n", qPrintable(nameBelow(suite, change.path)));
    }
    return true;
}

bool bringBack(
    const RecordFolder &folder, const QByteArray &suite, QStringList &names, QStringList &problems)
{
    const Descriptor place = openIn(folder.descriptor(), folderName);
    const QByteArray name = place.isOpen() ? latestIn(place.get()) : QByteArray();
    if (name.isNull()) {
        problems += QStringLiteral("nothing was blessed that could be brought back");
        return false;
    }
    std::vector<KeptFile> files;
    QString reason;
    const Descriptor moment = openIn(place.get(), name);
    if (!moment.isOpen() || !readManifest(moment.get(), files, reason)) {
        problems +=
            QStringLiteral("'%1' cannot be used: %2")
                .arg(pathOfMoment(folder, name), moment.isOpen() ? reason : reasonOf(ENOTDIR));
        return false;
    }
    std::vector<FileChange> changes;
    planReturn(moment.get(), suite, files, changes, problems);
    QString problem;
    for (const FileChange &change : changes) {
        if (!problems.isEmpty() || !replaceFile(change, problem))
            break;
        names += nameBelow(suite, change.path);
    }
    if (!problem.isNull())
        problems += problem;
    if (problems.isEmpty())
        removeMoment(folder, name);
    return problems.isEmpty();
}

} // namespace Talmo
