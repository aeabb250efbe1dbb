#pragma once

#include <string>

/// How the shell, and with it the program that it ran, came to its end.
struct ShellEnd {
    int exitStatus = -1; ///< -1 if a signal ended the shell, and if it could not be started
    int signal = 0;      ///< the signal that ended the shell; 0 if none did

    bool isSuccess() const { return exitStatus == 0; }
};

/// Has the shell run \a line and waits for its end. SIGTERM and SIGHUP, which may be sent to this
/// process alone, are passed on to all that the shell has started; Ctrl-C reaches it from the
/// terminal. Once this process was interrupted, nothing is started any more.
ShellEnd runInShell(const std::string &line);
