// We work from directory to directory by their descriptors, with at most two open at a time. So no
// path is too long, no tree is too deep, and no name can come to mean something else on the way. We
// go back up by "..", and check that it leads to the directory from which we went down. We never go
// into another mount: everything must be in the mount in which the name of the directory stands.

#include "removeDir.h"

#include "Descriptor.h"
#include "mountOf.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

struct Entry {
    std::string name;
    bool comesFirst;  ///< it is a directory, or a link to one
    bool isDirectory; ///< it is a directory itself
};

/// A directory on the way down. The last level is the directory that is being emptied.
struct Level {
    std::string name;
    std::vector<Entry> entries; ///< what is still to be removed, the next entry at the end
    struct stat identity;       ///< set when we go further down from here
};

bool isDirectory(int parent, const char *name, int flags)
{
    struct stat status = {};
    return fstatat(parent, name, &status, flags) == 0 && S_ISDIR(status.st_mode);
}

Entry entryOf(int parent, const dirent &found)
{
    const char *const name = found.d_name;
    const bool isKnown = found.d_type != DT_UNKNOWN;
    const bool itself =
        isKnown ? found.d_type == DT_DIR : isDirectory(parent, name, AT_SYMLINK_NOFOLLOW);
    const bool mayLead = !isKnown || found.d_type == DT_LNK;
    return {name, itself || (mayLead && isDirectory(parent, name, 0)), itself};
}

/// The entries of \a directory. The one to be removed first is at the end.
std::vector<Entry> entriesOf(DIR *directory)
{
    std::vector<Entry> entries;
    while (const dirent *const found = readdir(directory)) {
        const std::string_view name = found->d_name;
        if (name != "." && name != "..")
            entries.push_back(entryOf(dirfd(directory), *found));
    }
    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return a.comesFirst != b.comesFirst ? b.comesFirst : a.name > b.name;
    });
    return entries;
}

/// The directory that \a path lies in.
QByteArray directoryOf(const QByteArray &path)
{
    const auto slash = path.lastIndexOf('/');
    return slash < 0 ? "." : path.left(slash + 1);
}

class Removal
{
public:
    /// Removes the directory or link \a path. If there is an \a identity, removes only the
    /// directory that has it.
    bool run(const QByteArray &path, const struct stat *identity);

    Obstacle obstacle;

private:
    int here() const { return directory ? dirfd(directory.get()) : AT_FDCWD; }
    bool open(const char *name, int flags);
    bool enter(const char *name);
    bool leave();
    bool removeContents();
    bool removeEntry(const Entry &entry);
    bool isMounted(int descriptor, const char *name);
    bool fail();

    std::uint64_t mount = 0; ///< the mount in which everything must be
    Directory directory;     ///< the one that is being emptied; null for the working directory
    std::vector<Level> levels;
};

bool Removal::run(const QByteArray &path, const struct stat *identity)
{
    mount = mountOf(openDirectory(directoryOf(path), asPlace).get());
    struct stat status = {};
    if (lstat(path, &status) != 0)
        return fail();
    if (S_ISLNK(status.st_mode))
        return identity == nullptr && (unlink(path) == 0 || fail());
    const bool isEntered = enter(path);
    const bool isKnown = !directory || fstat(here(), &status) == 0;
    if (!isKnown || (identity != nullptr && !isSameFile(status, *identity)))
        return false;
    if (isEntered)
        return removeContents();
    return !directory && (rmdir(path) == 0 || fail()); // it cannot be read, but may be empty
}

/// Notes why a call has just failed, unless an earlier call failed. Returns false.
bool Removal::fail()
{
    if (obstacle.error == 0)
        obstacle.error = errno;
    return false;
}

/// Whether \a name, open as \a descriptor, is in another mount than the rest. If so, notes it.
bool Removal::isMounted(int descriptor, const char *name)
{
    if (mountOf(descriptor) == mount)
        return false;
    obstacle.error = EBUSY;
    for (const Level &level : levels)
        obstacle.mounted += QByteArray::fromStdString(level.name) + '/';
    obstacle.mounted += name;
    return true;
}

bool Removal::removeContents()
{
    while (!levels.empty()) {
        std::vector<Entry> &entries = levels.back().entries;
        if (entries.empty()) {
            if (!leave())
                return false;
            continue;
        }
        const Entry entry = std::move(entries.back());
        entries.pop_back();
        if (!removeEntry(entry))
            return false;
    }
    return true;
}

/// Opens \a name, seen from the directory that is being emptied, to be emptied next.
bool Removal::open(const char *name, int flags)
{
    const int descriptor = openat(here(), name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
    if (descriptor < 0)
        return false;
    directory.reset(fdopendir(descriptor));
    if (!directory) // there is no memory for it
        close(descriptor);
    return directory != nullptr;
}

/// Goes down into the directory \a name.
bool Removal::enter(const char *name)
{
    // fstat fails only if the disk is broken. Without the identity we could not go back up.
    const bool known = levels.empty() || fstat(here(), &levels.back().identity) == 0;
    if (!known || !open(name, O_NOFOLLOW))
        return fail();
    if (isMounted(here(), name))
        return false;
    levels.push_back({name, entriesOf(directory.get()), {}});
    return true;
}

/// Goes up, and removes the directory that we came from, which is empty.
bool Removal::leave()
{
    const std::string name = std::move(levels.back().name);
    levels.pop_back();
    if (levels.empty()) {
        directory.reset();
    } else {
        struct stat status = {};
        if (!open("..", 0) || fstat(here(), &status) != 0)
            return fail();
        if (!isSameFile(status, levels.back().identity)) { // somebody moved the directory
            obstacle.error = ESTALE;
            return false;
        }
    }
    return unlinkat(here(), name.c_str(), AT_REMOVEDIR) == 0 || fail();
}

bool Removal::removeEntry(const Entry &entry)
{
    const char *const name = entry.name.c_str();
    if (entry.isDirectory)
        return unlinkat(here(), name, AT_REMOVEDIR) == 0 || enter(name); // it may be empty already
    if (unlinkat(here(), name, 0) == 0)
        return true;
    fail();
    if (obstacle.error == EBUSY) // another file may be mounted on this one
        isMounted(Descriptor(openat(here(), name, asPlace | O_NOFOLLOW | O_CLOEXEC)).get(), name);
    return false;
}

} // namespace

bool isSameFile(const struct stat &one, const struct stat &other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool removeDir(const QByteArray &path, const struct stat *identity, Obstacle *obstacle)
{
    Removal removal;
    const bool isRemoved = removal.run(path, identity);
    if (obstacle != nullptr)
        *obstacle = removal.obstacle;
    return isRemoved;
}
