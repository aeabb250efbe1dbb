#pragma once

#include "ScriptReader.h"

#include <QString>
#include <QStringList>

#include <optional>

/// One script line in the hands of its command.
struct Invocation {
    QStringList words;           ///< of the simplified line; words[0] is the command
    QString line;                ///< the raw line, "$simProgram" already replaced
    Talmo::ScriptReader &script; ///< after this line; a handler may read on
    QString program;             ///< simulation program, may be empty; for handlers to come
    QString error;               ///< null while all is well; set it to fail the run
    /// Pattern that the next command's failure must match, set by =ignore. An empty pattern is one.
    std::optional<QString> expectedFailure;
};

/// Runs one command in the run's own directory, which is the current one. A handler fails by
/// setting Invocation::error; it never throws and never ends the process.
using Handler = void (*)(Invocation &invocation);

/// The handler of the command \a name, "=" included; null if there is no such command.
Handler handlerOf(const QString &name);
