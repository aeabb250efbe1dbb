#include "Situation.h"

#include "lineText.h"
#include "messages.h"

namespace Talmo
{

int LintLine::positionOf(int word) const
{
    int found = -1;
    bool isInWord = false;
    for (int index = 0; index < static_cast<int>(text.size()); ++index) {
        const bool isBlank = text[index].isSpace();
        if (!isBlank && !isInWord && ++found == word)
            return index;
        isInWord = !isBlank;
    }
    return 0;
}

qint64 LintLine::columnOf(int word) const
{
    return columnAt(text, positionOf(word));
}

bool Situation::isExpected(const QString &message) const
{
    return pattern && matchesMessage(*pattern, message);
}

} // namespace Talmo
