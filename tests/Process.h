#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

class QProcess;

/// How long a process may take, in milliseconds. This is less than CTest gives to the whole test
/// program (CMakeLists.txt), so that the name of the waiting test is printed.
constexpr int waitingTime = 240000;

/// What a process printed and how it ended.
struct Outcome {
    QByteArray output;
    QByteArray errors; ///< what went to standard error
    int status = -1;   ///< exit status; -1 if a signal ended the process
    int signal = 0;    ///< the signal that ended the process; 0 if none
};

using Environment = QMap<QString, QString>;

/// Starts \a program as \a process in the directory \a folder, with the variables \a environment
/// and those that steer the sanitizers, and nothing on standard input.
void startProcess(QProcess &process, const QString &program, const QStringList &arguments,
    const Environment &environment, const QString &folder);

/// Waits for the end of a process that was started.
Outcome outcomeOf(QProcess &process);

/// Starts a process in the same way and waits for its end.
Outcome runProcess(const QString &program, const QStringList &arguments,
    const Environment &environment, const QString &folder);

/// The state of the process with the number \a process, as the system abbreviates it: 'S' if it
/// sleeps, 'Z' if it has ended and nobody has asked for its status yet, '?' if it does not exist.
char stateOf(const QByteArray &process);
