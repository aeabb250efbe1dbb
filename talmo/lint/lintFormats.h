#pragma once

#include "checks.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace Talmo
{

/// What was found in a script.
struct ScriptMistakes {
    QByteArray file; ///< its path, as the user or the folder names it
    std::vector<Mistake> mistakes;
};

/// A form in which mistakes are printed.
struct LintFormat {
    const char *name;
    QByteArray (*write)(const std::vector<ScriptMistakes> &scripts);
};

/// All formats; the first one is the usual one.
const std::vector<LintFormat> &lintFormats();

} // namespace Talmo
