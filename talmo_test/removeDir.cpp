// Works from directory to directory by their descriptors, with no more than two open at a time: so
// no path is too long, no tree is too deep, and no name can come to mean something else on the way.
// The way back up is "..", which must lead to where the way down began.

#include "removeDir.h"

#include "DiskFile.h"

#include <algorithm>
#include <memory>
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

struct Closer {
    void operator()(DIR *directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, Closer>;

struct Entry {
    std::string name;
    bool comesFirst;  ///< a directory, or a link to one
    bool isDirectory; ///< itself
};

/// A directory on the way down to the one at hand, which is the last.
struct Level {
    std::string name;
    std::vector<Entry> entries; ///< those still to be removed, the next one last
    struct stat identity;       ///< known once the way goes on from here
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

/// The entries of \a directory, the one to be removed first at the end.
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

/// Removes \a name of the current directory of the process if it is a link, or a directory that
/// cannot be read but is empty.
bool removeUnread(const char *name)
{
    struct stat status = {};
    if (lstat(name, &status) != 0)
        return false;
    return S_ISLNK(status.st_mode) ? unlink(name) == 0 : rmdir(name) == 0;
}

class Removal
{
public:
    /// Removes \a name of the current directory of the process, a directory or a link.
    bool run(const char *name);

private:
    int here() const { return directory ? dirfd(directory.get()) : AT_FDCWD; }
    bool open(const char *name, int flags);
    bool enter(const char *name);
    bool leave();
    bool removeEntry(const Entry &entry);

    Directory directory; ///< the one at hand; none for that of the process
    std::vector<Level> levels;
};

bool Removal::run(const char *name)
{
    if (!enter(name))
        return removeUnread(name);
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

/// Makes the directory \a name of the one at hand the one at hand.
bool Removal::open(const char *name, int flags)
{
    const int descriptor = openat(here(), name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | flags);
    if (descriptor < 0)
        return false;
    directory.reset(fdopendir(descriptor));
    if (!directory) // no memory for it
        close(descriptor);
    return directory != nullptr;
}

/// Goes down to \a name.
bool Removal::enter(const char *name)
{
    // Fails only with the disk; then there would be no way back up.
    const bool known = levels.empty() || fstat(here(), &levels.back().identity) == 0;
    if (!known || !open(name, O_NOFOLLOW))
        return false;
    levels.push_back({name, entriesOf(directory.get()), {}});
    return true;
}

/// Goes up and removes the directory left behind, which is empty.
bool Removal::leave()
{
    const std::string name = std::move(levels.back().name);
    levels.pop_back();
    if (levels.empty()) {
        directory.reset();
    } else {
        struct stat status = {};
        const struct stat &expected = levels.back().identity;
        if (!open("..", 0) || fstat(here(), &status) != 0 || status.st_ino != expected.st_ino ||
            status.st_dev != expected.st_dev)
            return false;
    }
    return unlinkat(here(), name.c_str(), AT_REMOVEDIR) == 0;
}

bool Removal::removeEntry(const Entry &entry)
{
    const char *const name = entry.name.c_str();
    if (!entry.isDirectory)
        return unlinkat(here(), name, 0) == 0;
    return unlinkat(here(), name, AT_REMOVEDIR) == 0 || enter(name); // it may be empty
}

} // namespace

bool removeDir(const QString &path)
{
    const QByteArray name = Talmo::systemName(path);
    return !name.isEmpty() && Removal().run(name);
}
