#include "InlineFiles.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <string>

namespace Talmo
{

namespace
{

bool isPartOfName(QChar character)
{
    static const QString others = QStringLiteral("._-+");
    return character.isLetterOrNumber() || others.contains(character);
}

/// The words of \a text, which may be names of files.
QStringList namesIn(const QString &text)
{
    QStringList names;
    QString name;
    for (const QChar character : text + QLatin1Char(' ')) {
        if (isPartOfName(character)) {
            name += character;
        } else if (!name.isEmpty()) {
            names += name;
            name.clear();
        }
    }
    return names;
}

} // namespace

void InlineFiles::add(const QString &name, std::string_view text)
{
    File &file = files[QDir::cleanPath(name)];
    ++file.count;
    file.writtenAt = commands;
    file.text = text;
    file.magnitudes.reset();
}

void InlineFiles::addCommand(const QStringList &words)
{
    ++commands;
    const bool isRun = words[0] == QLatin1String("=run");
    if (isRun || words[0] == QLatin1String("=compare") || words[0] == QLatin1String("=exists"))
        latestUser = commands;
    if (!isRun)
        return;
    for (const QString &word : words) {
        static const QString wildcards = QStringLiteral("*?[$`");
        const bool mayNameAny = std::any_of(word.begin(), word.end(),
            [](QChar character) { return wildcards.contains(character); });
        latestWildcard = mayNameAny ? commands : latestWildcard;
        for (const QString &name : namesIn(word))
            namedAt[name] = commands;
    }
}

void InlineFiles::addSection()
{
    latestUser = ++commands;
}

const InlineFiles::File *InlineFiles::fileOf(const QString &name) const
{
    const auto found = files.find(QDir::cleanPath(name));
    return found == files.end() ? nullptr : &found->second;
}

bool InlineFiles::contains(const QString &name) const
{
    return fileOf(name) != nullptr;
}

/// Whether a "=run" behind the first \a time commands names the file \a name, or its stem.
bool InlineFiles::isNamedSince(const QString &name, int time) const
{
    const QFileInfo info(QDir::cleanPath(name));
    if (latestWildcard > time)
        return true;
    const QStringList names = {info.fileName(), info.completeBaseName(), info.baseName()};
    return std::any_of(names.begin(), names.end(), [&](const QString &one) {
        const auto found = namedAt.find(one);
        return found != namedAt.end() && found->second > time;
    });
}

const Magnitudes *InlineFiles::magnitudesOf(const QString &name) const
{
    const File *const file = fileOf(name);
    if (file == nullptr || file->count > 1 || isNamedSince(name, file->writtenAt))
        return nullptr;
    if (!file->magnitudes)
        file->magnitudes = Talmo::magnitudesOf(file->text);
    return &*file->magnitudes;
}

bool InlineFiles::isNamedInOther(const QString &name) const
{
    const File *const named = fileOf(name);
    const std::string base = QFileInfo(QDir::cleanPath(name)).fileName().toStdString();
    return named != nullptr && std::any_of(files.begin(), files.end(), [&](const auto &row) {
        return &row.second != named && row.second.text.find(base) != std::string_view::npos;
    });
}

bool InlineFiles::isUnused(const QString &name) const
{
    const File *const file = fileOf(name);
    return file != nullptr && latestUser <= file->writtenAt;
}

} // namespace Talmo
