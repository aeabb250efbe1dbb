#pragma once

#include "Descriptor.h"

#include <QByteArray>
#include <QString>

/// The directory of one run: made below the current directory, which it replaces until it is left.
/// While the object lives, no other driver takes the directory for a leftover.
class RunDirectory
{
public:
    explicit RunDirectory(const QString &directoryName);

    /// Makes the directory, without what an earlier run left there as far as that can be removed,
    /// and enters it; false if that is not possible.
    bool enter();

    /// True if that is not possible because another driver is at work in it.
    bool isInUse() const { return inUse; }

    /// Goes back to where enter began, whatever became of the directory meanwhile.
    void leave();

    /// Removes the directory that was left.
    void remove();

private:
    bool make();
    bool claim();

    QString name;
    QByteArray path; ///< the name as the system takes it
    Descriptor above;
    Descriptor claimed;       ///< the directory, locked
    bool mustBeThere = false; ///< unless another driver took it away
    bool inUse = false;
};
