#pragma once

#include <QString>
#include <QVarLengthArray>

#include <algorithm>

namespace Talmo
{

/// Text that grows at its end; that of a line does so without allocations.
using TextBuffer = QVarLengthArray<QChar, 256>;

/// A text that is read from its front, where other texts can be put back. Either costs as much as
/// what is read or put back, however long the rest is.
class PushbackText
{
public:
    explicit PushbackText(const QString &text) { putBack(text); }

    bool isEmpty() const { return pieces.isEmpty(); }

    /// Puts \a text in front.
    void putBack(const QString &text);

    /// Takes the first character. Not for an empty text.
    QChar take();

    /// Moves what comes before the first character for which \a stops holds to the end of
    /// \a target; all, if there is none.
    template <typename Predicate>
    void moveUntil(Predicate stops, TextBuffer &target);

private:
    struct Piece {
        QString text;
        int front; ///< the first character left, always before the end
    };

    /// Drops the first \a count characters of the first piece.
    void drop(int count);

    QVarLengthArray<Piece, 4> pieces; ///< the last one comes first
};

template <typename Predicate>
void PushbackText::moveUntil(Predicate stops, TextBuffer &target)
{
    while (!pieces.isEmpty()) {
        const Piece &piece = pieces.last();
        const QChar *const begin = piece.text.constData() + piece.front;
        const QChar *const end = piece.text.constData() + piece.text.size();
        const QChar *const stop = std::find_if(begin, end, stops);
        const bool found = stop != end;
        target.append(begin, static_cast<int>(stop - begin));
        drop(static_cast<int>(stop - begin));
        if (found)
            return;
    }
}

} // namespace Talmo
