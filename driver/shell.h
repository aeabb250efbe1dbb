#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

/// How the shell came to its end.
struct ShellEnd {
    int exitStatus = -1; ///< -1 if a signal ended the shell, and if it was not started
    int signal = 0;      ///< the signal that ended the shell; 0 if none did

    bool isSuccess() const { return exitStatus == 0; }

    /// The signal that ended the last program of the line; 0 if none did. The shell tells that by
    /// an exit status above 128, which a program may also have chosen itself.
    int programSignal() const
    {
        constexpr int firstOfSignals = 128;
        return exitStatus > firstOfSignals ? exitStatus - firstOfSignals : signal;
    }
};

/// Has the shell run \a line and waits for its end. SIGTERM and SIGHUP, which may be sent to this
/// process alone, are passed on to all that the shell has started; Ctrl-C reaches it from the
/// terminal. Once this process was interrupted, nothing is started any more.
ShellEnd runInShell(const std::string &line);

/// For a process that must end its programs itself: runInShell calls it whenever a signal has ended
/// its wait. Null if there is nothing to do.
extern void (*onSignalWhileWaiting)();

/// The processes to which runInShell has passed a signal on. They may outlive the shell.
const std::vector<pid_t> &processesAskedToEnd();
