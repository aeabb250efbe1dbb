#pragma once

#include "Descriptor.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <string_view>

#include <sys/stat.h>

namespace Talmo
{

/// A new content for a file that is there, made beside it and then put in its place. Until commit,
/// the file gets its old content back if the object goes. What was written has no name before it is
/// whole, if the file system can do that: so a process that is killed hardly ever leaves anything.
///
/// The mode stays, and so do the access control list and other extended attributes, and the owner
/// if we may give files away. Another name of the file, a hard link, keeps the old content.
class Replacement
{
public:
    /// Of the file \a itsName.
    explicit Replacement(const QString &itsName)
        : name(itsName)
    {
    }
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;
    ~Replacement();

    /// Why the file cannot be replaced, as a sentence; null if it can. A symbolic link is a reason,
    /// unless \a followsLinks: then it is the file that the link leads to. Remembers the file as it
    /// is now.
    QString prepare(bool followsLinks);

    bool isSameFileAs(const Replacement &other) const;

    // The steps, which come in this order. False if one is not possible; `problem` then says why.

    /// Has \a copy give the new content to the function that it is passed, piece by piece.
    bool write(const std::function<bool(const std::function<bool(std::string_view)> &)> &copy);

    /// Gives the new content a name beside the file, if it has none yet.
    bool giveName();

    /// Puts the new content in the place of the file. That fails if somebody has changed the file
    /// since it was prepared. Where files cannot be exchanged, there is no way back from here.
    bool putInPlace();

    /// From here on it stays in place.
    void commit();

    /// Gives the file its old content back unless it was committed. Says, as a sentence, if that is
    /// not possible and the file is changed; null if all is as it was.
    QString takeBack();

    QString problem() const { return reason; }

    const QString name; ///< as the user has given it

private:
    enum class State { Nothing, Named, Exchanged, Replaced };

    bool openNew();
    bool fail(int error);

    QByteArray path; ///< of the file itself, without links
    struct stat before = {};
    Descriptor content;
    QByteArray contentPath; ///< the name that the new content has, or the old one after exchange
    State state = State::Nothing;
    QString reason;
};

/// Has as many files open at once as the system allows at all.
void allowManyFiles();

} // namespace Talmo
