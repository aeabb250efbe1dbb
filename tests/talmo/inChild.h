#pragma once

#include <cstdlib>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

// What must not happen to the process of the tests happens to a child of it.

/// A child of this process that runs \a body, which returns whether all is as expected, and ends.
template <typename Body>
pid_t inChild(Body body)
{
    const pid_t child = fork();
    if (child == 0)
        _exit(body() ? EXIT_SUCCESS : EXIT_FAILURE);
    return child;
}

/// Waits for the end of \a child. True if all was as expected there.
inline bool succeeded(pid_t child)
{
    int status = -1;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) &&
           WEXITSTATUS(status) == EXIT_SUCCESS;
}

/// Runs \a body in a child for which permissions hold, as they do not for root. True if all was as
/// expected there.
template <typename Body>
bool asNobody(Body body)
{
    return succeeded(inChild([&body] {
        constexpr uid_t nobody = 65534;
        return (geteuid() != 0 || setuid(nobody) == 0) && body();
    }));
}

/// Gives this process, a child, mounts that nobody else sees. False if that is not allowed.
inline bool mountPrivately()
{
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

/// Whether a child may do that.
inline bool mayMount()
{
    return succeeded(inChild(mountPrivately));
}
