#include "WorkingText.h"

namespace Talmo
{

void WorkingText::replaceFront(int length, const QString &replacement)
{
    const int size = static_cast<int>(replacement.size());
    drop(length);
    if (front < size) { // makes more room than needed, so that this happens seldom
        const int room = size + static_cast<int>(text.size());
        text.insert(0, QString(room, ' '));
        front += room;
    }
    front -= size;
    text.replace(front, size, replacement);
}

} // namespace Talmo
