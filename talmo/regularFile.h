#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <fcntl.h>

namespace Talmo
{

/// Opens the regular file \a path, in the system's own bytes and seen from the directory \a folder,
/// as \a file, for reading. Waits for nothing, whatever \a path is by now. Returns false if it
/// cannot be opened; errno then tells why, as reasonOf wants it. \a flags are more of those of
/// open, such as O_NOFOLLOW.
bool openRegular(QFile &file, const QByteArray &path, int folder = AT_FDCWD, int flags = 0);

/// Why a call failed with \a error, a value of errno, in the words of the system.
QString reasonOf(int error);

} // namespace Talmo
