// Is loaded into a program from outside. The file that the environment variable CLOSE_FAILS_FOR
// names cannot be closed the first time, as if the user had no room left on the disk. Some file
// systems report that only when a file is closed.

#include <cerrno>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace
{

/// True if \a descriptor belongs to the file that the variable names.
bool isToFail(int descriptor)
{
    const char *const wanted = std::getenv("CLOSE_FAILS_FOR");
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    char path[4096];
    const ssize_t length = readlink(link.c_str(), path, sizeof path);
    return wanted != nullptr && length > 0 &&
           std::string(path, static_cast<std::size_t>(length)) == wanted;
}

} // namespace

extern "C" int close(int descriptor)
{
    static auto *const next = reinterpret_cast<int (*)(int)>(dlsym(RTLD_NEXT, "close"));
    static bool hasFailed = false;
    const bool fails = !hasFailed && isToFail(descriptor);
    const int result = next(descriptor);
    if (!fails)
        return result;
    hasFailed = true;
    errno = EDQUOT;
    return -1;
}
