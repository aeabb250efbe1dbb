#include "WorkingText.h"

namespace Talmo
{

QString WorkingText::nextToken() const
{
    // The longest token is a number: digits, ".", digits with an "e", a sign, digits with a unit.
    const int point = wordEnd(front);
    const int sign = wordEnd(point + 1);
    return text.mid(front, wordEnd(sign + 1) - front);
}

void WorkingText::replaceFront(int length, const QString &replacement)
{
    const int size = static_cast<int>(replacement.size());
    drop(length);
    if (front < size) { // twice as long as it must be, so that this happens seldom
        const int room = size + static_cast<int>(text.size());
        text.insert(0, QString(room, ' '));
        front += room;
    }
    front -= size;
    text.replace(front, size, replacement);
}

int WorkingText::wordEnd(int position) const
{
    while (position < text.size() && isWordCharacter(text[position]))
        ++position;
    return position;
}

} // namespace Talmo
