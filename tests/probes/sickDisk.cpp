// Is loaded into a program from outside. With LOCKS_FAIL in the environment, the file system knows
// no locks; if that is "files", it knows those of directories. Whoever asks for the room in a
// folder whose path ends with that in DEAD_DRIVE waits for ever, as at a network drive that does
// not answer, and leaves its process id in the file PID_FILE before. With FILES_ARE_NOT_COUNTED,
// file systems tell of no files, used or free, as some do. Whoever asks for the room in a folder
// whose path ends with that in CRASH_AT is killed.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace
{

/// True if \a path ends with what the environment has for \a variable.
bool isMeant(const char *path, const char *variable)
{
    const char *const value = std::getenv(variable);
    const std::string_view wanted = value == nullptr ? "" : value;
    const std::string_view asked = path;
    return !wanted.empty() && asked.size() >= wanted.size() &&
           asked.substr(asked.size() - wanted.size()) == wanted;
}

void leaveProcessId()
{
    const char *const name = std::getenv("PID_FILE");
    std::FILE *const file = name == nullptr ? nullptr : std::fopen(name, "w");
    if (file == nullptr)
        return;
    std::fprintf(file, "%d", static_cast<int>(getpid()));
    std::fclose(file);
}

int roomIn(const char *path, struct statvfs *status, const char *function)
{
    if (isMeant(path, "CRASH_AT"))
        kill(getpid(), SIGKILL);
    if (isMeant(path, "DEAD_DRIVE")) {
        leaveProcessId();
        for (;;)
            pause();
    }
    using Function = int (*)(const char *, struct statvfs *);
    const int result = reinterpret_cast<Function>(dlsym(RTLD_NEXT, function))(path, status);
    if (std::getenv("FILES_ARE_NOT_COUNTED") != nullptr) {
        status->f_files = 0;
        status->f_favail = 0;
    }
    return result;
}

} // namespace

extern "C" int flock(int file, int operation)
{
    using Function = int (*)(int, int);
    const char *const which = std::getenv("LOCKS_FAIL");
    struct stat status = {};
    const bool isDirectory = fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
    if (which == nullptr || (isDirectory && std::string_view(which) == "files"))
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
