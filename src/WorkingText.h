#pragma once

#include <QString>

namespace Talmo
{

/// Whether \a character belongs to names, numbers and units: an ASCII letter, a digit or "_".
inline bool isWordCharacter(QChar character)
{
    return character == '_' || (character.unicode() < 128 && character.isLetterOrNumber());
}

/// Whether \a character begins a number: a digit or ".".
inline bool isNumberStart(QChar character)
{
    return character == '.' || (character >= '0' && character <= '9');
}

/// What is left of an expression while it is scanned. Tokens are dropped from its front, and a name
/// there is replaced by what it stands for. Either costs as much as the token and its replacement,
/// however long the rest is: what was dropped stays as room for replacements.
class WorkingText
{
public:
    explicit WorkingText(const QString &whole)
        : text(whole)
    {
    }

    bool isEmpty() const { return front == text.size(); }

    /// At least as much of the front as one token takes up, and what it takes to see that it ends
    /// there. A copy on purpose: a pattern keeps a reference to the text that it searched last, so
    /// a replacement would have to copy the whole first. Not for an empty text.
    QString nextToken() const;

    /// Drops the first \a length characters.
    void drop(int length) { front += length; }

    /// Replaces the first \a length characters by \a replacement.
    void replaceFront(int length, const QString &replacement);

private:
    /// The character at \a position; null behind the end.
    QChar characterAt(int position) const;

    /// Where the letters, digits and underscores from \a position on end.
    int wordEnd(int position) const;

    QString text;  ///< what was dropped, then what is left
    int front = 0; ///< where that begins
};

} // namespace Talmo
