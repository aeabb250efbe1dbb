#pragma once

#include "Difference.h"
#include "shell.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <QtGlobal>

#include <optional>

namespace Talmo
{

/// What became of the program of a "=run", as the shell tells.
struct ProgramRun {
    QString program; ///< the first word behind "=run"
    ShellEnd end;
    QString capture; ///< the file that has what it printed; null if the script says where that goes
};

/// The first difference that a "=compare" found.
struct Comparison {
    QString file1; ///< as the script names it
    QString file2;
    Difference difference; ///< its word is empty here; the next member has it
    QByteArray word;       ///< the beginning of the word that is no number, if that differs
    Lengths lengths;       ///< the lines of each file, as far as they were read
};

/// What a command found out beyond its message, for those who tell more than that.
struct Findings {
    std::optional<ProgramRun> program;    ///< of a "=run"
    std::optional<Comparison> comparison; ///< of a "=compare" of two files that differ
};

/// What became of one run.
struct Result {
    QString message;   ///< why the run failed; null if it passed
    qint64 line = 0;   ///< the number, from 1, of the script's line that failed; 0 if none did
    Findings findings; ///< of the command on that line
    QString directory; ///< of the run; null if it could not be entered, and once it was removed
    QByteArrayList remarks; ///< what else the user should know, in a sentence each

    bool hasLeftover = false; ///< what an earlier run left in the directory could not be removed
    bool isInUse = false;     ///< another driver is at work in the directory, so there was no run

    bool passed() const { return message.isNull(); }
};

} // namespace Talmo
