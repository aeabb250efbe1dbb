#pragma once

#include "Descriptor.h"

#include <QDir>
#include <QFile>

#include <cstdlib>

namespace Talmo
{

/// A new file without a name, in the folder for temporary files, open for reading and appending: it
/// goes with the last process that has it open. -1 if there can be none; errno tells why.
inline int openAnonymousFile()
{
    QByteArray path = QFile::encodeName(QDir::tempPath()) + "/talmo-XXXXXX";
    const int file = mkostemp(path.data(), O_APPEND | O_CLOEXEC);
    if (file >= 0)
        unlink(path);
    return file;
}

} // namespace Talmo
