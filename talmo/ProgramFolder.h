#pragma once

#include "Descriptor.h"

#include <QByteArray>

#include <sys/stat.h>
#include <sys/types.h>

namespace Talmo
{

/// A folder for temporary files that only one process and its children use. It is locked as long as
/// one of them lives, so that what a killed process has left can be told from what is in use.
class ProgramFolder
{
public:
    ProgramFolder() = default;
    ProgramFolder(const ProgramFolder &) = delete;
    ProgramFolder &operator=(const ProgramFolder &) = delete;

    /// Removes the folder. A process that was forked meanwhile leaves it.
    ~ProgramFolder();

    /// Makes the folder in \a place, and removes those that killed processes of this user have left
    /// there since this machine was started, if nothing but links and executable files is in them.
    /// False, with errno, if it cannot be made.
    bool make(const QByteArray &place);

    /// Its path; null until it was made.
    const QByteArray &path() const { return folder; }

private:
    QByteArray folder;
    Descriptor lock;
    struct stat identity = {};
    pid_t owner = 0; ///< the process that made it
};

} // namespace Talmo
