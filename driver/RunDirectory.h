#pragma once

#include "Descriptor.h"
#include "removeDir.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <sys/stat.h>

/// The directory of one run: made below the current directory, which it replaces until it is left.
/// While the object lives, no other driver takes the directory for a leftover. Only what was
/// entered is ever written into or removed, whatever else takes its name.
class RunDirectory
{
public:
    explicit RunDirectory(const QString &directoryName);

    /// Makes the directory and enters it; false if that is not possible. What an earlier run left
    /// there is removed. As far as that is not permitted, the run takes place among it.
    bool enter();

    /// True if that is not possible because another driver is at work in it.
    bool isInUse() const { return inUse; }

    /// Goes back to where enter began, whatever became of the directory meanwhile.
    void leave();

    /// Removes the directory that was left.
    void remove();

    /// What stays although nobody would expect it, and why, in a sentence each.
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
    bool mustBeThere = false; ///< unless another driver took it away
    bool inUse = false;
    QByteArray aside;          ///< where the leftover is that could not be removed; null if nowhere
    struct stat leftover = {}; ///< its identity
    Obstacle obstacle;         ///< of the latest removal
    QByteArrayList mounted;    ///< where removals met other file systems
};
