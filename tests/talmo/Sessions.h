#pragma once

#include "Process.h"

#include <QString>

/// Expects that the sessions of \a manual are true: each command behind "$ " in its blocks marked
/// "session" prints what stands below it, on standard output and standard error together, and ends
/// with the exit status 0, or with that of the numbers behind "session": "session 0 1" is one with
/// a second command that ends with 1. A line "[...]" there stands for any lines; dates, and the
/// seconds in which "talmo run" says to have made so many runs, for any others. One shell takes the
/// commands one after the other, in the directory \a work; the path \a home reads "/home/me" in the
/// manual. A block marked "file NAME" is written to that file of \a work before. Returns how many
/// commands there are.
int expectSessions(const QString &manual, const Environment &environment, const QString &work,
    const QString &home);
