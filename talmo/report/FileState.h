#pragma once

#include <QString>

#include <ctime>
#include <optional>

#include <sys/types.h>

namespace Talmo
{

/// By what one sees later whether a file is another one by then, or was changed.
struct FileState {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = 0;
    timespec changed = {}; ///< when its content was
};

bool operator==(const FileState &one, const FileState &other);

/// The state of the file \a name, seen from the current directory. None if it is not there.
std::optional<FileState> stateOf(const QString &name);

} // namespace Talmo
