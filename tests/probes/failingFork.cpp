// Is loaded into a program from outside. Of the processes that talmo forks, those fail whose
// numbers, from 1, stand in the environment variable FORKS_THAT_FAIL, with a blank around each, as
// if the user had as many processes as the system allows.

#include <cerrno>
#include <cstdlib>
#include <string>

#include <dlfcn.h>
#include <sys/types.h>

extern "C" pid_t fork()
{
    static auto *const next = reinterpret_cast<pid_t (*)()>(dlsym(RTLD_NEXT, "fork"));
    static int count = 0;
    const char *const wanted = std::getenv("FORKS_THAT_FAIL");
    const bool isTalmo = std::string(program_invocation_short_name) == "talmo";
    if (!isTalmo || wanted == nullptr)
        return next();
    const std::string number = " " + std::to_string(++count) + " ";
    if (std::string(wanted).find(number) == std::string::npos)
        return next();
    errno = EAGAIN;
    return -1;
}
