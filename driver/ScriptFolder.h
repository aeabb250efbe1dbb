#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <map>
#include <vector>

namespace Talmo
{

/// A file that is no script for the driver although a pattern matches its name.
struct PassedOver {
    QByteArray name; ///< as the system has it
    QByteArray reason;
};

/// The files of one directory, from which scripts are selected by name. The directory is listed
/// once, with the system's own calls: QDir does not tell when it could not see everything, and a
/// script that is silently missing would look like a success.
class ScriptFolder
{
public:
    /// Lists the directory \a path; "." is the working directory. Returns false if not all of it
    /// can be listed; error() then says why.
    bool list(const QByteArray &path);

    /// Appends to \a names the readable files that match the wildcard \a pattern, sorted by name.
    /// Upper and lower case are the same, both for matching and for sorting. A link to a file
    /// counts as a file. Hidden files and files whose names are no valid text are passed over.
    /// Returns false if it cannot be found out which files match; error() then says why.
    bool select(const QString &pattern, QStringList &names);

    /// What select passed over although the pattern matches: files that cannot be read, and those
    /// whose names are no valid text, each with a reason. What is no file, and hidden files, are
    /// not among them.
    const std::vector<PassedOver> &passedOver() const { return notSelected; }

    /// Why list or select failed, in the words of the system.
    const QByteArray &error() const { return reason; }

private:
    struct Entry {
        QString name;
        QString sortedAs;
        QByteArray bytes; ///< of a name that is no valid text; otherwise null
    };

    bool readNames();
    bool selectByName(const QString &name, QStringList &names);
    bool selectByWildcard(const QString &pattern, QStringList &names);
    bool appendIfReadable(const Entry &entry, QStringList &names);
    void passOver(const Entry &entry, QByteArray why);
    bool fail(int error);

    QByteArray folder;
    std::vector<Entry> entries;                                 // sorted
    std::map<QString, std::vector<const Entry *>> byFoldedName; // filled when it is needed first
    std::vector<PassedOver> notSelected;
    QByteArray reason;
};

/// The path of the working directory in the system's own bytes, which need not be text in any
/// encoding. Null if it was removed or its path is too long; errno tells which.
QByteArray workingDirectory();

/// The directory of the distribution's scripts: "../test", seen from the directory of the
/// executable, or ".." if there is no such directory.
QByteArray distributionDirectory();

} // namespace Talmo
