#pragma once

#include <QString>

#include <csignal>

/// From here on the signals that ask a program to stop, SIGINT, SIGTERM and SIGHUP, no longer end
/// the process: the first one is noted. Another one, two seconds later, does end it, whatever it
/// waits for. One that is ignored, as under nohup, stays ignored.
void noteInterruptions();

/// From here on a write into a pipe that nobody reads any more is noted like one of these signals,
/// as SIGPIPE.
void noteClosedPipes();

/// For a process that can hurry: from here on another signal, which would end the process, does so
/// only the second time. The first time, isInterruptedAgain becomes true.
void hurryWhenInterruptedAgain();
bool isInterruptedAgain();

/// For a process whose end would leave programs running: from here on SIGTERM is noted even if the
/// process was started with it ignored or blocked, and no signal that is noted ends the process,
/// however often it comes.
void insistOnNoting();

/// From here on a write beyond the size that a file may have (ulimit -f) fails, as a write on a
/// full disk does, instead of ending the process.
void outliveFileSizeLimit();

/// The name of the signal that was noted, such as "SIGINT"; null if none was.
QString interruption();

/// Ends the process by the signal that was noted, as whoever sent it expects; returns if none was.
void endIfInterrupted();

// For those who start programs:

/// The signals that noteInterruptions is about.
sigset_t interruptionSignals();

/// The latest of them that the programs which this process started may not have received; 0 if
/// there is none. Each one is returned once.
int takeSignalToPassOn();

/// The signals that this process ignores for itself alone. Programs must not inherit that.
sigset_t signalsIgnoredHere();
