#include "PushbackText.h"

namespace Talmo
{

void PushbackText::putBack(const QString &text)
{
    if (!text.isEmpty())
        pieces.push_back({text, 0});
}

QChar PushbackText::take()
{
    const QChar character = pieces.back().text.at(pieces.back().front);
    drop(1);
    return character;
}

void PushbackText::moveThrough(QChar last, QString &target)
{
    moveUntil([last](QChar character) { return character == last; }, target);
    if (!isEmpty())
        target.append(take());
}

void PushbackText::drop(int count)
{
    Piece &piece = pieces.back();
    piece.front += count;
    if (piece.front == piece.text.size())
        pieces.pop_back();
}

} // namespace Talmo
