// Is loaded into a program from outside. With LOCKS_FAIL in the environment, the file system knows
// no locks. Whoever asks for the room in a folder whose path ends with that in DEAD_DRIVE waits for
// ever, as at a network drive that does not answer.

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include <dlfcn.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{

int roomIn(const char *path, struct statvfs *status, const char *function)
{
    const char *const dead = std::getenv("DEAD_DRIVE");
    const std::string_view wanted = dead == nullptr ? "" : dead;
    const std::string_view asked = path;
    if (!wanted.empty() && asked.size() >= wanted.size() &&
        asked.substr(asked.size() - wanted.size()) == wanted) {
        for (;;)
            pause();
    }
    using Function = int (*)(const char *, struct statvfs *);
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, function))(path, status);
}

} // namespace

extern "C" int flock(int file, int operation)
{
    using Function = int (*)(int, int);
    if (std::getenv("LOCKS_FAIL") == nullptr)
        return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "flock"))(file, operation);
    errno = ENOLCK;
    return -1;
}

#undef statvfs
#undef statvfs64

extern "C" int roomOfFile(const char *path, struct statvfs *status) __asm__("statvfs");
extern "C" int roomOfFile(const char *path, struct statvfs *status)
{
    return roomIn(path, status, "statvfs");
}

extern "C" int roomOfLargeFile(const char *path, struct statvfs *status) __asm__("statvfs64");
extern "C" int roomOfLargeFile(const char *path, struct statvfs *status)
{
    return roomIn(path, status, "statvfs64");
}
