// Programs are not run by the C library's system(). That ignores SIGINT while a program runs, so a
// program that catches it and ends well would hide that the user wants to stop; and SIGTERM, which
// is often sent to the driver alone, would not reach the program.
//
// The signals that matter are blocked all the time but while we wait (see Quiet). So none can come
// between the question whether one was noted and the wait, and none is missed.

#include "shell.h"

#include "interruption.h"
#include "processTree.h"

#include <csignal>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// Lets SIGCHLD end a wait. Where it is ignored, as it may be inherited, the system would keep no
/// exit status for us.
void wakeWhenProgramsEnd()
{
    struct sigaction waking = {};
    waking.sa_handler = [](int) {};
    sigaction(SIGCHLD, &waking, nullptr);
}

/// While it lives, SIGCHLD and the interruptions are blocked; waitForOne lets them in. As under
/// system(), SIGQUIT is for the program alone.
class Quiet
{
public:
    Quiet()
    {
        sigset_t blocked = interruptionSignals();
        sigaddset(&blocked, SIGCHLD);
        sigprocmask(SIG_BLOCK, &blocked, &before);
        awake = before;
        sigdelset(&awake, SIGCHLD);
        struct sigaction ignoring = {};
        ignoring.sa_handler = SIG_IGN;
        sigaction(SIGQUIT, &ignoring, &onQuit);
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;
    ~Quiet()
    {
        sigaction(SIGQUIT, &onQuit, nullptr);
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }

    void waitForOne() const { sigsuspend(&awake); }

    const sigset_t &maskBefore() const { return before; }

    /// The signals that are ignored here, and that a program shall have as usual.
    sigset_t defaults() const
    {
        sigset_t usual = signalsIgnoredHere();
        if (onQuit.sa_handler != SIG_IGN)
            sigaddset(&usual, SIGQUIT);
        return usual;
    }

private:
    struct sigaction onQuit;
    sigset_t before;
    sigset_t awake;
};

/// Starts the shell, with signals as they were before \a quiet; 0 if that fails.
pid_t startShell(std::string line, const Quiet &quiet)
{
    const sigset_t defaults = quiet.defaults();
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setsigmask(&attributes, &quiet.maskBefore());
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    std::string name = "sh";
    std::string option = "-c";
    char *const arguments[] = {name.data(), option.data(), line.data(), nullptr};
    pid_t shell = 0;
    const int error = posix_spawn(&shell, "/bin/sh", nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    return error == 0 ? shell : 0;
}

std::vector<pid_t> askedToEnd;

void note(const std::vector<pid_t> &processes)
{
    askedToEnd.insert(askedToEnd.end(), processes.begin(), processes.end());
}

/// Whether \a process has ended; then \a status is what waitpid says of it. One that waitpid does
/// not know has ended somehow.
bool hasEnded(pid_t process, int &status)
{
    return waitpid(process, &status, WNOHANG) != 0;
}

/// What \a status, of waitpid, means.
ShellEnd endOf(int status)
{
    if (WIFEXITED(status))
        return {WEXITSTATUS(status), 0};
    return {-1, WIFSIGNALED(status) ? WTERMSIG(status) : 0};
}

} // namespace

ShellEnd runInShell(const std::string &line)
{
    wakeWhenProgramsEnd();
    const Quiet quiet;
    if (!interruption().isNull())
        return {}; // a program that starts now would never hear of the signal
    const pid_t shell = startShell(line, quiet);
    if (shell == 0)
        return {};
    int status = -1;
    while (!hasEnded(shell, status)) {
        if (const int signal = takeSignalToPassOn(); signal != 0)
            note(sendToTree(shell, signal));
        quiet.waitForOne();
        if (onSignalWhileWaiting != nullptr)
            onSignalWhileWaiting();
    }
    return endOf(status);
}

void (*onSignalWhileWaiting)() = nullptr;

const std::vector<pid_t> &processesAskedToEnd()
{
    return askedToEnd;
}
