#pragma once

#include <QString>

#include <string>

/// From here on the signals that ask a program to stop, SIGINT, SIGTERM and SIGHUP, no longer end
/// the process: the first one is noted. Another, two seconds later, does end it, whatever it waits
/// for. One that is ignored, as under nohup, stays ignored.
void noteInterruptions();

/// From here on a write beyond the size that a file may have (ulimit -f) fails, as one on a full
/// disk does, instead of ending the process. Programs that are started do not inherit that.
void outliveFileSizeLimit();

/// The name of the signal that was noted, such as "SIGINT"; null if none was.
QString interruption();

/// Ends the process by the signal that was noted, as whoever sent it expects; returns if none was.
void endIfInterrupted();

/// Has the shell run \a line and waits for its end. True if the shell reports success. SIGTERM and
/// SIGHUP, which may be sent to this process alone, are passed on to all that the shell has
/// started; Ctrl-C reaches it from the terminal.
bool runInShell(const std::string &line);
