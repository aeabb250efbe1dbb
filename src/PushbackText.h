#pragma once

#include <QString>
#include <QVarLengthArray>

#include <algorithm>

namespace Talmo
{

/// Text that grows at its end. Up to the length of a usual line it needs no allocation. \a Text is
/// QString, or a vector of characters that know more than a QChar and can be converted to one.
template <typename Text>
using TextBuffer = QVarLengthArray<typename Text::value_type, 256>;

/// A text that is read from its front, where other texts can also be put back. Both cost as much as
/// the piece that is read or put back, however long the rest is.
template <typename Text>
class PushbackText
{
public:
    using Character = typename Text::value_type;

    explicit PushbackText(const Text &text) { putBack(text); }

    bool isEmpty() const { return pieces.isEmpty(); }

    /// Puts \a text in front.
    void putBack(const Text &text)
    {
        if (!text.isEmpty())
            pieces.append({text, 0});
    }

    /// Takes the first character. The text must not be empty.
    Character take();

    /// Moves all that comes before the first character for which \a stops is true to the end of
    /// \a target. If there is no such character, moves the whole text.
    template <typename Predicate>
    void moveUntil(Predicate stops, TextBuffer<Text> &target);

private:
    struct Piece {
        Text text;
        int front; ///< index of the first character that is left; there always is one
    };

    /// Drops the first \a count characters of the piece at the front.
    void drop(int count);

    QVarLengthArray<Piece, 4> pieces; ///< in reverse order: the last one is at the front
};

template <typename Text>
typename PushbackText<Text>::Character PushbackText<Text>::take()
{
    const Character character = pieces.last().text.at(pieces.last().front);
    drop(1);
    return character;
}

template <typename Text>
void PushbackText<Text>::drop(int count)
{
    Piece &piece = pieces.last();
    piece.front += count;
    if (piece.front == piece.text.size())
        pieces.removeLast();
}

template <typename Text>
template <typename Predicate>
void PushbackText<Text>::moveUntil(Predicate stops, TextBuffer<Text> &target)
{
    while (!pieces.isEmpty()) {
        const Piece &piece = pieces.last();
        const Character *const begin = piece.text.constData() + piece.front;
        const Character *const end = piece.text.constData() + piece.text.size();
        const Character *const stop = std::find_if(begin, end, stops);
        const bool found = stop != end;
        target.append(begin, static_cast<int>(stop - begin));
        drop(static_cast<int>(stop - begin));
        if (found)
            return;
    }
}

} // namespace Talmo
