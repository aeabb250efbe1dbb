// Loaded into a program from outside: as if the disk had no room left for the user, closing the
// file that the variable CLOSE_FAILS_FOR names fails the first time. Such news may come that late.

#include <cerrno>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <unistd.h>

namespace
{

/// True if \a descriptor is that of the file that the variable names.
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
