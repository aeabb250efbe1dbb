#pragma once

#include <QString>

/// Removes the directory \a path with all that it holds; false if there is none, or if something
/// could not be removed: that and what comes after it stays. In each directory, directories come
/// first, each kind sorted by name. Nothing outside is touched: a symbolic link, also one in the
/// directory's place, is removed as a link.
bool removeDir(const QString &path);
