#include "PushbackText.h"

namespace Talmo
{

void PushbackText::putBack(const QString &text)
{
    if (!text.isEmpty())
        pieces.append({text, 0});
}

QChar PushbackText::take()
{
    const QChar character = pieces.last().text.at(pieces.last().front);
    drop(1);
    return character;
}

void PushbackText::drop(int count)
{
    Piece &piece = pieces.last();
    piece.front += count;
    if (piece.front == piece.text.size())
        pieces.removeLast();
}

} // namespace Talmo
