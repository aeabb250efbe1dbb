#pragma once

#include "ShellLexer.h"

#include <QString>

#include <vector>

namespace Talmo
{

/// A redirection.
struct ShellRedirection {
    QString sign;       ///< ">", ">>", "<", ">&" and the like, without the number before it
    int position = 0;   ///< in the line, of the sign or of the number before it
    int descriptor = 0; ///< which is redirected; of "&>" the first of two
    ShellWord target;

    /// Whether it opens its target as a file, and makes it if it is not there.
    bool writesFile() const;
};

/// A command in a line for the shell, and the operator that ends it.
struct ShellPart {
    std::vector<ShellWord> words;
    std::vector<ShellRedirection> redirections;
    int group = -1; ///< the innermost one around it; -1 if there is none
    QString end;    ///< ";", "&", "|", "&&" and the like; empty at the end of the line or a group
    int endPosition = 0;

    /// The index of the first word behind the assignments to variables.
    size_t programIndex() const;

    /// That word without its quotes; empty if there is none.
    QString program() const;
};

/// Commands between "(" and ")", "{" and "}", "if" and "fi", or "do" and "done".
struct ShellGroup {
    int parent = -1; ///< the innermost group around it; -1 if there is none
    QString closing; ///< what ends it
    std::vector<ShellRedirection> redirections; ///< of all of its commands
    QString end;                                ///< as that of a part
};

/// A line for the shell, taken apart as far as that is possible without being a shell.
struct ShellLine {
    bool isUnderstood = true; ///< false: a quote that is not closed, "case", a function and so on
    std::vector<ShellPart> parts;   ///< one at least; some may be empty
    std::vector<ShellGroup> groups; ///< each one behind those around it
    int comment = -1;               ///< where the "#" of a comment is; -1 if there is none

    /// The redirections of all parts and groups.
    std::vector<ShellRedirection> redirections() const;
};

/// Takes \a text apart, from \a start on.
ShellLine shellLineOf(const QString &text, int start);

} // namespace Talmo
