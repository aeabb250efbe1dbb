#pragma once

#include <QByteArray>

#include <sys/stat.h>

/// Why something was not removed.
struct Obstacle {
    int error = 0;      ///< as errno has it
    QByteArray mounted; ///< where another file system is mounted; empty if that is not the reason
};

/// Removes the directory \a path with all that it holds. Returns false if there is none, or if
/// something could not be removed; this and what comes after it stays, and \a obstacle tells why.
/// In each directory, directories and links to directories come first, then the rest, both sorted
/// by name.
///
/// Nothing outside is touched. A symbolic link is removed as a link, even in the place of the
/// directory. A file system that is mounted inside, or in the place of the directory, stays. If
/// there is an \a identity, only the directory that has it is removed, whatever is called \a path
/// by then.
bool removeDir(
    const QByteArray &path, const struct stat *identity = nullptr, Obstacle *obstacle = nullptr);

/// True if \a one and \a other describe the same file or directory.
bool isSameFile(const struct stat &one, const struct stat &other);
