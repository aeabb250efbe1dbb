#pragma once

#include "Descriptor.h"

#include <QByteArray>
#include <QString>

namespace Talmo
{

/// The folder ".talmo" in the directory of a suite. A file in it, the marker, says that it is ours.
/// Who records there locks the marker, and writes into it who that is.
class RecordFolder
{
public:
    enum State {
        Ours,
        Absent,
        InUse,        ///< another process has locked it
        NotOurs,      ///< or of another version
        NotPermitted, ///< we lack the permission, or the disk is read-only
        Failed,
    };

    RecordFolder() = default;
    RecordFolder(const RecordFolder &) = delete;
    RecordFolder &operator=(const RecordFolder &) = delete;
    ~RecordFolder() { close(); }

    /// Opens the folder in \a suiteDirectory for reading. \a problem says why, unless it is Ours or
    /// Absent.
    State open(const QByteArray &suiteDirectory, QString &problem);

    /// Opens the folder in \a suiteDirectory, or makes it, and locks it. \a problem says why,
    /// unless it is Ours.
    State lock(const QByteArray &suiteDirectory, QString &problem);

    bool isLocked() const { return marker.isOpen(); }

    /// Whether the folder that was locked is still found by its path, with its marker.
    bool isStillThere() const;

    /// The folder, for openat.
    int descriptor() const { return folder.get(); }

    /// The path of \a name in the folder, as a message has it.
    QString pathOf(const QByteArray &name) const;

    /// Gives up the lock.
    void close();

private:
    State attempt(QString &problem);
    State openFolder(QString &problem);
    State readMarker(QString &problem) const;
    State lockMarker(QString &problem);
    State make(QString &problem);
    State failedToMark(QString &problem);
    bool isMarked() const;
    QString holder() const;
    State failed(const char *verb, const QByteArray &name, QString &problem) const;
    State notOurs(const QString &reason, QString &problem) const;

    QByteArray path;
    Descriptor folder;
    Descriptor marker;        ///< locked
    bool isFolderNew = false; ///< this object made it
};

} // namespace Talmo
