// Programs are not run by the C library's system(). That ignores SIGINT while a program runs, so
// one that catches it and ends well would hide that the user wants to stop; and SIGTERM, which is
// often sent to the driver alone, would not reach the program.

#include "interruption.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

struct Interruption {
    int number;
    const char *name;
};

const Interruption interruptions[] = {
    {SIGINT, "SIGINT"},
    {SIGTERM, "SIGTERM"},
    {SIGHUP, "SIGHUP"},
};

volatile std::sig_atomic_t noted = 0;    ///< the first
volatile std::sig_atomic_t toPassOn = 0; ///< the latest that programs may not have got
time_t notedAt = 0;                      ///< only the handler's, in seconds
bool sizeLimitEndsPrograms = false;      ///< SIGXFSZ is ignored by us alone

time_t now()
{
    struct timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec;
}

void end(int number)
{
    std::signal(number, SIG_DFL);
    std::raise(number);
    if (getpid() == 1) // the first process of a container, which no signal of its own ends
        _exit(128 + number);
}

void note(int number)
{
    if (number == SIGCHLD) // only has to wake us
        return;
    if (noted == 0) {
        noted = number;
        notedAt = now();
    } else if (now() > notedAt + 1) { // not one signal sent to process and group
        end(number);
    }
    if (number != SIGINT) // Ctrl-C reaches all that runs in the terminal
        toPassOn = number;
}

/// Without SA_RESTART: all calls of ours that wait are repeated where they are made.
void handle(int number)
{
    struct sigaction noting = {};
    noting.sa_handler = note;
    for (const Interruption &interruption : interruptions) // notes one at a time
        sigaddset(&noting.sa_mask, interruption.number);
    sigaction(number, &noting, nullptr);
}

/// Puts off what the handler handles while it lives, but for the times of waitForOne. As under
/// system(), SIGQUIT is for the program alone.
class Quiet
{
public:
    Quiet()
    {
        sigset_t putOff;
        sigemptyset(&putOff);
        sigaddset(&putOff, SIGCHLD);
        for (const Interruption &interruption : interruptions)
            sigaddset(&putOff, interruption.number);
        sigprocmask(SIG_BLOCK, &putOff, &before);
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

    /// What is ignored only here, and not by a program.
    sigset_t defaults() const
    {
        sigset_t ours;
        sigemptyset(&ours);
        if (onQuit.sa_handler != SIG_IGN)
            sigaddset(&ours, SIGQUIT);
        if (sizeLimitEndsPrograms)
            sigaddset(&ours, SIGXFSZ);
        return ours;
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

/// The processes that the threads of \a process have started, each with a blank behind it.
QByteArray childrenOf(pid_t process)
{
    const QDir threads(QStringLiteral("/proc/%1/task").arg(process));
    const QStringList names = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QByteArray children;
    for (const QString &thread : names) {
        QFile list(threads.filePath(thread + QStringLiteral("/children")));
        if (list.open(QIODevice::ReadOnly))
            children += list.readAll();
    }
    return children;
}

/// Sends \a signal to \a process and to all that it has started, as far as the system tells.
void sendToTree(pid_t process, int signal)
{
    const QByteArray children = childrenOf(process);
    kill(process, signal);  // before its children, or a shell would go on to its next command
    kill(process, SIGCONT); // one that is stopped would not notice
    for (const QByteArray &child : children.simplified().split(' ')) {
        if (!child.isEmpty())
            sendToTree(child.toInt(), signal);
    }
}

bool hasEnded(pid_t process, int &status)
{
    return waitpid(process, &status, WNOHANG) != 0; // none such: it has ended somehow
}

} // namespace

void noteInterruptions()
{
    for (const Interruption &interruption : interruptions) {
        struct sigaction before = {};
        sigaction(interruption.number, nullptr, &before);
        if (before.sa_handler != SIG_IGN)
            handle(interruption.number);
    }
}

void outliveFileSizeLimit()
{
    if (std::signal(SIGXFSZ, SIG_IGN) != SIG_IGN)
        sizeLimitEndsPrograms = true;
}

QString interruption()
{
    for (const Interruption &interruption : interruptions) {
        if (interruption.number == noted)
            return QString::fromLatin1(interruption.name);
    }
    return {};
}

void endIfInterrupted()
{
    for (const Interruption &interruption : interruptions) {
        struct sigaction present = {};
        sigaction(interruption.number, nullptr, &present);
        if (present.sa_handler == note) // one that comes from here on would be lost
            std::signal(interruption.number, SIG_DFL);
    }
    if (noted != 0)
        end(noted);
}

bool runInShell(const std::string &line)
{
    handle(SIGCHLD); // where it is ignored, as it may be inherited, no status is kept
    const Quiet quiet;
    if (noted != 0)
        return false; // what a program that starts now would never hear of
    const pid_t shell = startShell(line, quiet);
    int status = -1;
    while (shell != 0 && !hasEnded(shell, status)) {
        if (toPassOn != 0)
            sendToTree(shell, std::exchange(toPassOn, 0));
        quiet.waitForOne();
    }
    return status == 0;
}
