#pragma once

#include "Descriptor.h"
#include "removeDir.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <sys/stat.h>

/// The directory of one run. It is made below the current directory, and is the current directory
/// itself until it is left. While the object lives, no other driver takes the directory for a
/// leftover. We only ever write into and remove the directory that was entered, even if something
/// else takes its name.
class RunDirectory
{
public:
    explicit RunDirectory(const QString &directoryName);

    /// Makes the directory and enters it. Returns false if that is not possible. Removes what an
    /// earlier run left there; what we are not permitted to remove stays in the directory of the
    /// run.
    bool enter();

    /// Instead of entering it: locks what an earlier run left there, for remove(). Returns false if
    /// there is no such directory, or if another driver is at work in it.
    bool takeLeftover();

    /// True if that failed because another driver is at work in the directory.
    bool isInUse() const { return inUse; }

    /// True if something that an earlier run left is still in the directory that was entered.
    bool hasLeftover() const { return leftoverStays; }

    /// Goes back to where enter began, even if the directory was moved or removed meanwhile.
    void leave();

    /// Removes the directory that was left.
    void remove();

    /// A sentence for each thing that stays on the disk although nobody would expect it.
    QByteArrayList remarks() const;

private:
    bool make();
    bool claim();
    void clear();
    bool moveAside();
    bool removeAside();
    bool removeIf(const struct stat &identity, const QByteArray &directory);

    QByteArray path; ///< as the system takes it
    Descriptor above;
    Descriptor claimed;       ///< the directory, locked
    bool mustBeThere = false; ///< if it is missing, another driver took it away
    bool inUse = false;
    bool leftoverStays = false;
    QByteArray aside;          ///< where a leftover was moved that could not be removed, or null
    struct stat leftover = {}; ///< the identity of the leftover
    Obstacle obstacle;         ///< of the latest removal
    QByteArrayList mounted;    ///< where removals found other file systems
};
