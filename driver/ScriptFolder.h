#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace Talmo
{

/// The files of one directory, from which scripts are selected by name. It is listed once, by the
/// system's own calls: QDir does not tell that it could not see everything, and scripts that are
/// silently missing look like a success.
class ScriptFolder
{
public:
    /// Lists the directory \a path, "." for the working directory. False if not all of it can be
    /// listed; error() then says why.
    bool list(const QByteArray &path);

    /// Appends to \a names the readable files that match the wildcard \a pattern, sorted by name;
    /// case does not count in either. A link to a file is one. Passed over are hidden files, and
    /// those whose names are no text. False if that cannot be found out; error() then says why.
    bool select(const QString &pattern, QStringList &names);

    /// Why list or select failed, in the words of the system.
    const QByteArray &error() const { return reason; }

private:
    struct Entry {
        QString name;
        QString sortedAs;
    };

    bool readNames();
    bool selectByName(const QString &name, QStringList &names);
    bool selectByWildcard(const QString &pattern, QStringList &names);
    bool appendIfReadable(const QString &name, QStringList &names);
    bool fail(int error);

    QByteArray folder;
    std::vector<Entry> entries;                   // sorted
    std::map<QString, QStringList> namesByFolded; // filled once it is asked
    QByteArray reason;
};

/// The working directory as the system names it, which need not be text in any encoding. Null if it
/// has no name, since it was removed or its path is too long; errno tells which.
QByteArray workingDirectory();

/// The directory of the distribution's scripts: "test" beside the directory of the executable, or
/// the level above if there is none.
QByteArray distributionDirectory();

} // namespace Talmo
