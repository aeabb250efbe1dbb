#pragma once

#include <QString>

#include <vector>

namespace Talmo
{

/// A word of a line for the shell.
struct ShellWord {
    QString text;            ///< without its quotes
    int position = 0;        ///< in the line
    bool isQuoted = false;   ///< a part of it is
    bool isExpanded = false; ///< the shell replaces a part of it

    bool isEmpty() const { return text.isEmpty() && !isQuoted; }
};

/// A redirection.
struct ShellRedirection {
    QString sign;     ///< ">", ">>", "<", ">&" and the like, without the number before it
    int position = 0; ///< in the line, of the sign or of the number before it
    ShellWord target;
};

/// A command in a line for the shell, and the operator that ends it.
struct ShellPart {
    std::vector<ShellWord> words;
    std::vector<ShellRedirection> redirections;
    QString end; ///< ";", "&", "|", "&&" and the like; empty at the end of the line
    int endPosition = 0;

    /// The text of its first word; empty if there is none.
    QString program() const { return words.empty() ? QString() : words[0].text; }
};

/// A line for the shell, taken apart as far as that is possible without being a shell.
struct ShellLine {
    bool isUnderstood = true; ///< false: a quote that is not closed, parentheses, "if" and so on
    std::vector<ShellPart> parts; ///< one at least; the last one may be empty
    int comment = -1;             ///< where the "#" of a comment is; -1 if there is none
};

/// Takes \a text apart, from \a start on.
ShellLine shellLineOf(const QString &text, int start);

} // namespace Talmo
