#include "Produced.h"

#include "DiskFile.h"
#include "carrying.h"
#include "details.h"
#include "regularFile.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <filesystem>

namespace Talmo
{

namespace
{

/// The file \a path, whose name below its directory is \a name.
Produced produced(const QByteArray &path, const QByteArray &name)
{
    Produced file;
    file.name = QFile::decodeName(name);
    const bool isText = QFile::encodeName(file.name) == name;
    file.obstacle =
        isText ? problemOfFileName(file.name) : QStringLiteral("its name is no valid text");
    file.isNamed = file.obstacle.isNull();
    if (file.isNamed)
        file.obstacle = readText(path, file.text);
    else
        file.name = shown(name);
    return file;
}

} // namespace

QString readText(const QByteArray &path, QByteArray &text)
{
    QFile file;
    if (!openRegular(file, path, AT_FDCWD, O_NOFOLLOW))
        return reasonOf(errno);
    if (file.size() > largestText)
        return QStringLiteral("it is larger than 10 MB");
    text = file.read(file.size() + 1); // one more, in case that it is growing
    text.squeeze();
    if (file.error() != QFileDevice::NoError)
        return file.errorString();
    return text.size() > largestText ? QStringLiteral("it is larger than 10 MB") : QString();
}

std::vector<Produced> producedIn(const QString &directory)
{
    using Entries = std::filesystem::recursive_directory_iterator;
    const QByteArray root = systemName(directory);
    std::vector<Produced> files;
    std::error_code error;
    const auto options = std::filesystem::directory_options::skip_permission_denied;
    for (Entries entry(root.toStdString(), options, error); entry != Entries();
         entry.increment(error)) {
        if (entry->symlink_status(error).type() == std::filesystem::file_type::directory)
            continue;
        const std::string path = entry->path().native();
        const QByteArray bytes(path.data(), static_cast<int>(path.size()));
        files.push_back(produced(bytes, bytes.mid(root.size() + 1)));
    }
    std::sort(files.begin(), files.end(),
        [](const Produced &one, const Produced &other) { return one.name < other.name; });
    return files;
}

} // namespace Talmo
