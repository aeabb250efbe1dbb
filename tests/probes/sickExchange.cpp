// Is loaded into a program from outside, and disturbs it while it puts files in the places of
// others. EXCHANGES counts the exchanges of files from 1: "2 signal 9" sends the process the signal
// 9 behind the second one, and "2 error 5" has the second one, and all behind it, fail with the
// error 5. With ATTRIBUTES_FAIL, no extended attribute can be set.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dlfcn.h>
#include <sys/xattr.h>
#include <unistd.h>

extern "C" int renameat2(
    int folder, const char *path, int newFolder, const char *newPath, unsigned flags)
{
    using Function = int (*)(int, const char *, int, const char *, unsigned);
    const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "renameat2"));
    const char *const plan = std::getenv("EXCHANGES");
    static int count = 0;
    int wanted = 0;
    int number = 0;
    char what[8] = "";
    if (plan == nullptr || std::sscanf(plan, "%d %7s %d", &wanted, what, &number) != 3)
        return real(folder, path, newFolder, newPath, flags);
    ++count;
    if (std::strcmp(what, "error") == 0 && count >= wanted) {
        errno = number;
        return -1;
    }
    const int result = real(folder, path, newFolder, newPath, flags);
    if (std::strcmp(what, "signal") == 0 && count == wanted)
        kill(getpid(), number);
    return result;
}

extern "C" int fsetxattr(
    int file, const char *name, const void *value, size_t size, int flags) noexcept
{
    using Function = int (*)(int, const char *, const void *, size_t, int);
    if (std::getenv("ATTRIBUTES_FAIL") == nullptr)
        return reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fsetxattr"))(
            file, name, value, size, flags);
    errno = ENOSPC;
    return -1;
}
