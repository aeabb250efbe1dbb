#pragma once

#include <QByteArray>

#include <sys/stat.h>

/// Why something was not removed.
struct Obstacle {
    int error = 0;      ///< the system's number
    QByteArray mounted; ///< where another file system is mounted; empty if that is not the reason
};

/// Removes the directory \a path with all that it holds; false if there is none, or if something
/// could not be removed: that and what comes after it stays, and \a obstacle tells why. In each
/// directory, directories come first, each kind sorted by name. Nothing outside is touched: a
/// symbolic link, also one in the directory's place, is removed as a link, and a file system that
/// is mounted inside, or in the directory's place, stays. If there is an \a identity, only the
/// directory that has it is removed, whatever is called \a path by then.
bool removeDir(
    const QByteArray &path, const struct stat *identity = nullptr, Obstacle *obstacle = nullptr);

/// True if \a one and \a other are of the same file or directory.
bool isSameFile(const struct stat &one, const struct stat &other);
