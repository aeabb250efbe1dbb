#pragma once

#include "Result.h"
#include "ScriptReader.h"

#include <QString>
#include <QStringList>

#include <optional>

/// One line of a script, as its command gets it.
struct Invocation {
    QStringList words;           ///< of the simplified line; words[0] is the command
    QString line;                ///< the raw line, "$simProgram" already replaced
    Talmo::ScriptReader &script; ///< after this line; a handler may read on
    QString error = {};          ///< null while all is well; set it to fail the run
    /// Pattern that the next command's failure must match, set by =ignore. An empty pattern is one.
    std::optional<QString> expectedFailure = {};
    Talmo::Findings findings = {}; ///< what else became known
};
