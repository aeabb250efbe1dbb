#include "WorkingText.h"

namespace Talmo
{

QString WorkingText::nextToken() const
{
    int end = wordEnd(front);
    if (isNumberStart(text[front])) { // digits, ".", digits with an "e", a sign, digits with a unit
        if (characterAt(end) == '.')
            end = wordEnd(end + 1);
        const QChar sign = characterAt(end);
        if ((sign == '+' || sign == '-') && text[end - 1].toLower() == 'e')
            end = wordEnd(end + 1);
    }
    return text.mid(front, end + 2 - front); // the "(" of a function; both characters of ">="
}

void WorkingText::replaceFront(int length, const QString &replacement)
{
    const int size = static_cast<int>(replacement.size());
    drop(length);
    if (front < size) { // more room than needed, so that this happens seldom
        const int room = size + static_cast<int>(text.size());
        text.insert(0, QString(room, ' '));
        front += room;
    }
    front -= size;
    text.replace(front, size, replacement);
}

QChar WorkingText::characterAt(int position) const
{
    return position < text.size() ? text[position] : QChar();
}

int WorkingText::wordEnd(int position) const
{
    while (position < text.size() && isWordCharacter(text[position]))
        ++position;
    return position;
}

} // namespace Talmo
