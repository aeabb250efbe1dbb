// The signals that ask this process to stop are only noted where they come, since a handler may do
// next to nothing. Whoever starts or ends something asks afterwards whether one was noted.

#include "interruption.h"

#include <ctime>
#include <utility>

#include <unistd.h>

namespace
{

struct Interruption {
    int number;
    const char *name;
};

const Interruption interruptions[] = {
    {SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"},
    {SIGPIPE, "SIGPIPE"}, // last: only those who call noteClosedPipes note it
};

volatile std::sig_atomic_t noted = 0;    ///< the first signal that came
volatile std::sig_atomic_t toPassOn = 0; ///< the latest one that programs may not have received
volatile std::sig_atomic_t insists = 0;  ///< a second signal does not end the process
volatile std::sig_atomic_t hurries = 0;  ///< the second signal does not end the process yet
volatile std::sig_atomic_t notedAgain = 0;
time_t notedAt = 0;                 ///< in seconds; only the handler uses it
bool sizeLimitEndsPrograms = false; ///< this process alone ignores SIGXFSZ

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
    // A second one at once is usually the same signal, sent to the process and to its group.
    if (noted == 0) {
        noted = number;
        notedAt = now();
    } else if (insists == 0 && now() > notedAt + 1) {
        if (hurries == 0 || notedAgain != 0)
            end(number);
        notedAgain = 1;
        notedAt = now();
    }
    // Ctrl-C reaches all that runs in the terminal, and a closed pipe concerns this process alone.
    if (number != SIGINT && number != SIGPIPE)
        toPassOn = number;
}

/// What makes the system call note.
struct sigaction noting()
{
    // Without SA_RESTART: all calls of ours that wait are repeated where they are made.
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_mask = interruptionSignals(); // so that the handler runs for one at a time
    return action;
}

} // namespace

void noteInterruptions()
{
    const struct sigaction action = noting();
    for (const Interruption &interruption : interruptions) {
        struct sigaction before = {};
        sigaction(interruption.number, nullptr, &before);
        if (before.sa_handler != SIG_IGN && interruption.number != SIGPIPE)
            sigaction(interruption.number, &action, nullptr);
    }
}

void noteClosedPipes()
{
    const struct sigaction action = noting();
    sigaction(SIGPIPE, &action, nullptr);
}

void hurryWhenInterruptedAgain()
{
    hurries = 1;
}

bool isInterruptedAgain()
{
    return notedAgain != 0;
}

void insistOnNoting()
{
    insists = 1;
    const struct sigaction action = noting();
    sigaction(SIGTERM, &action, nullptr);
    sigset_t signal;
    sigemptyset(&signal);
    sigaddset(&signal, SIGTERM);
    sigprocmask(SIG_UNBLOCK, &signal, nullptr);
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
        if (present.sa_handler == note) // nobody would ask for one that comes from here on
            std::signal(interruption.number, SIG_DFL);
    }
    if (noted != 0)
        end(noted);
}

sigset_t interruptionSignals()
{
    sigset_t set;
    sigemptyset(&set);
    for (const Interruption &interruption : interruptions) {
        if (interruption.number != SIGPIPE)
            sigaddset(&set, interruption.number);
    }
    return set;
}

int takeSignalToPassOn()
{
    return toPassOn == 0 ? 0 : std::exchange(toPassOn, 0);
}

sigset_t signalsIgnoredHere()
{
    sigset_t set;
    sigemptyset(&set);
    if (sizeLimitEndsPrograms)
        sigaddset(&set, SIGXFSZ);
    return set;
}
