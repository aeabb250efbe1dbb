#pragma once

#include <QString>
#include <QStringList>

namespace Talmo
{

/// A word of a line for the shell.
struct ShellWord {
    QString text;            ///< without its quotes
    int position = 0;        ///< in the line
    bool isQuoted = false;   ///< a part of it is
    bool isExpanded = false; ///< the shell replaces a part of it
};

/// Reads a line for the shell, word by word. What stands inside of quotes or "$( )" is for another
/// shell, or for later, and is only passed over.
class ShellLexer
{
public:
    /// Begins at \a start in \a itsText, which must live as long as this object.
    ShellLexer(const QString &itsText, int start);

    void skipBlanks();
    bool isAtEnd() const;

    /// The character here; it must not be the end.
    QChar character() const { return text[next]; }

    /// Where that is in the line.
    int position() const { return next; }

    /// Whether no word goes on here.
    bool isAtWordEnd() const;

    /// The first of \a signs that stands here; null if none does.
    QString sign(const QStringList &signs) const;

    void skip(int count) { next += count; }

    /// The word that begins here; empty if none does.
    ShellWord readWord();

    /// Whether a quote or a parenthesis was not closed, or something was not understood.
    bool isBroken() const { return hasFailed; }

private:
    void readQuoted(ShellWord &word);
    void readExpansion(ShellWord &word);
    void skipTo(QChar end);
    void skipDoubleQuoted();
    void skipSubstitution();
    void skipOne();

    const QString &text;
    int next;
    int depth = 0; ///< of quotes and "$( )" within each other
    bool hasFailed = false;
};

} // namespace Talmo
