#pragma once

#include "Descriptor.h"

#include <QByteArray>

#include <cstdlib>

#include <unistd.h>

namespace Talmo
{

/// The folder for temporary files, whether it exists or not.
inline QByteArray temporaryFolder()
{
    const QByteArray folder = qgetenv("TMPDIR"); // QDir::tempPath() is "/" if that does not exist
    return folder.isEmpty() ? QByteArray("/tmp") : folder;
}

/// A new file without a name, in the folder for temporary files, open for reading and appending: it
/// goes with the last process that has it open. -1 if there can be none; errno tells why.
inline int openAnonymousFile()
{
    QByteArray path = temporaryFolder() + "/talmo-XXXXXX";
    const int file = mkostemp(path.data(), O_APPEND | O_CLOEXEC);
    if (file >= 0)
        unlink(path);
    return file;
}

} // namespace Talmo
