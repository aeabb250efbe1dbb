#pragma once

#include <QByteArray>

#include <vector>

#include <sys/types.h>

/// The processes that the threads of \a process have started, and those that it has adopted, as far
/// as the system tells. One that has ended and was not waited for is among them.
std::vector<pid_t> childrenOf(pid_t process);

/// All that \a process has started, directly or not, without itself.
std::vector<pid_t> descendantsOf(pid_t process);

/// Sends \a signal to \a process and to all that it has started, as far as the system tells.
/// Returns all of these.
std::vector<pid_t> sendToTree(pid_t process, int signal);

/// What the system tells of a process.
struct ProcessStatus {
    char state = '\0';  ///< as ps abbreviates it: 'Z' for one that has ended; '\0': there is none
    QByteArray name;    ///< of its program, at most 15 bytes
    QByteArray started; ///< when it was started, in the system's own count
};

/// The status of \a process.
ProcessStatus statusOf(pid_t process);
