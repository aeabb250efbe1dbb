#include "shell.h"

#include "Printing.h"

#include <cerrno>
#include <csignal>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <spawn.h>

#include <gtest/gtest.h>

// Which signals are blocked, and which have their default action, when a program is started. Some
// shells reset what they inherit before they start programs, so a program cannot tell. Instead,
// this file takes the place of the system's call and looks at its arguments.

namespace
{

using Signals = std::vector<int>;

struct System {
    std::string path;
    short flags = 0;
    Signals blocked;
    Signals usual;
    int error = 0; ///< the error with which the call fails; 0 if it does not
} theSystem;

Signals membersOf(const sigset_t &set)
{
    Signals members;
    for (int number = 1; number < SIGRTMIN; ++number) {
        if (sigismember(&set, number) == 1)
            members.push_back(number);
    }
    return members;
}

sigset_t setOf(const Signals &members)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : members)
        sigaddset(&set, number);
    return set;
}

} // namespace

extern "C" int posix_spawn(pid_t *process, const char *path,
    const posix_spawn_file_actions_t *actions, const posix_spawnattr_t *attributes,
    char *const arguments[], char *const environment[])
{
    static auto *const next =
        reinterpret_cast<decltype(posix_spawn) *>(dlsym(RTLD_NEXT, "posix_spawn"));
    sigset_t blocked;
    sigset_t usual;
    posix_spawnattr_getflags(attributes, &theSystem.flags);
    posix_spawnattr_getsigmask(attributes, &blocked);
    posix_spawnattr_getsigdefault(attributes, &usual);
    theSystem.path = path;
    theSystem.blocked = membersOf(blocked);
    theSystem.usual = membersOf(usual);
    return theSystem.error != 0 ? theSystem.error
                                : next(process, path, actions, attributes, arguments, environment);
}

namespace
{

/// Blocks and ignores some signals while it lives, and neither blocks nor ignores all others.
class Inherited
{
public:
    Inherited(const Signals &blocked, const Signals &ignored)
        : changed(ignored)
    {
        const sigset_t set = setOf(blocked);
        sigprocmask(SIG_SETMASK, &set, &maskBefore);
        for (const int number : changed)
            std::signal(number, SIG_IGN);
    }
    Inherited(const Inherited &) = delete;
    Inherited &operator=(const Inherited &) = delete;
    ~Inherited()
    {
        for (const int number : changed)
            std::signal(number, SIG_DFL);
        sigprocmask(SIG_SETMASK, &maskBefore, nullptr);
    }

private:
    Signals changed;
    sigset_t maskBefore;
};

Signals blockedNow()
{
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    return membersOf(mask);
}

bool isIgnored(int number)
{
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

} // namespace

TEST(ShellSystem, AProgramGetsTheSignalsAsTheyWereInherited)
{
    const struct {
        Signals blocked;
        Signals ignored;
        Signals usual; ///< what the driver ignores for itself
    } rows[] = {
        {{}, {}, {SIGQUIT}},
        {{SIGINT}, {}, {SIGQUIT}},
        {{SIGTERM}, {}, {SIGQUIT}},
        {{SIGHUP}, {}, {SIGQUIT}},
        {{SIGCHLD}, {}, {SIGQUIT}},
        {{SIGQUIT}, {}, {SIGQUIT}},
        {{SIGUSR1}, {SIGUSR1}, {SIGQUIT}},
        {{SIGHUP, SIGINT, SIGTERM, SIGCHLD}, {SIGQUIT}, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.blocked));
        const Inherited inherited(row.blocked, row.ignored);
        theSystem = System();
        EXPECT_TRUE(runInShell("true").isSuccess());
        EXPECT_EQ(theSystem.path, "/bin/sh");
        EXPECT_EQ(theSystem.flags, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        EXPECT_EQ(theSystem.blocked, membersOf(setOf(row.blocked))); // in ascending order
        EXPECT_EQ(theSystem.usual, row.usual);
    }
}

TEST(ShellSystem, SignalsAreAsBeforeOnceAProgramHasEnded)
{
    for (const int error : {0, ENOMEM}) { // with an error the shell could not be started
        SCOPED_TRACE(error);
        theSystem = System();
        theSystem.error = error;
        const Inherited inherited({SIGUSR1}, {});
        EXPECT_EQ(runInShell("true").isSuccess(), error == 0);
        EXPECT_EQ(theSystem.path, "/bin/sh"); // the system was asked to start it
        EXPECT_EQ(blockedNow(), Signals({SIGUSR1}));
        EXPECT_FALSE(isIgnored(SIGQUIT));
    }
}
