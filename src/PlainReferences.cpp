// In most lines no reference comes of another one: no text of a macro holds a "$" or a brace, no
// "$" stands before another reference, and references do not nest. Then it makes no difference in
// which order they are replaced. Any other line is left to the passes of References.h.

#include "PlainReferences.h"

#include "References.h"
#include "findMacro.h"

#include <algorithm>

namespace Talmo
{

namespace
{

bool isOfReferences(QChar character)
{
    return isDollar(character) || isBrace(character);
}

void append(QStringView text, TextBuffer<QString> &replaced)
{
    replaced.append(text.data(), static_cast<int>(text.size()));
}

/// Appends the text of the macro \a name. False if there is none, or if a reference may come of it.
bool appendMacro(QStringView name, TextBuffer<QString> &replaced, Joints *joints)
{
    const QString *const text = findMacro(lookUpKey(name));
    if (text == nullptr || std::any_of(text->begin(), text->end(), isOfReferences))
        return false;
    if (joints != nullptr)
        joints->append(static_cast<int>(replaced.size()));
    append(*text, replaced);
    if (joints != nullptr)
        joints->append(static_cast<int>(replaced.size()));
    return true;
}

/// How many characters at the front of \a text can be those of a name.
qsizetype wordLength(QStringView text)
{
    return std::find_if(text.begin(), text.end(), isNoWordCharacter) - text.begin();
}

/// Appends "${", \a inside with each $name in it replaced, and "}". False if it is not sure that
/// this is an expression or a counter.
bool appendExpression(QStringView inside, TextBuffer<QString> &replaced, Joints *joints)
{
    const auto begin = replaced.size() + 2;
    append(QStringLiteral("${"), replaced);
    for (auto dollar = inside.indexOf('$'); dollar >= 0; dollar = inside.indexOf('$')) {
        append(inside.left(dollar), replaced);
        const qsizetype length = wordLength(inside.mid(dollar + 1));
        if (length == 0 || !appendMacro(inside.mid(dollar + 1, length), replaced, joints))
            return false;
        inside = inside.mid(dollar + 1 + length);
    }
    append(inside, replaced);
    const bool isName = std::all_of(replaced.begin() + begin, replaced.end(), isWordCharacter);
    replaced.append(QLatin1Char('}'));
    return !isName;
}

/// Appends what \a text begins with, a "$" and perhaps a reference, with names replaced. Returns
/// how much of \a text that was; 0 if it is not sure.
qsizetype appendReference(QStringView text, TextBuffer<QString> &replaced, Joints *joints)
{
    const qsizetype length = wordLength(text.mid(1));
    if (length > 0)
        return appendMacro(text.mid(1, length), replaced, joints) ? 1 + length : 0;
    const QChar next = text.size() > 1 ? text[1] : QChar();
    if (isOpening(next)) {
        const auto end = text.indexOf('}');
        const QStringView inside = text.mid(2, std::max<qsizetype>(end - 2, 0));
        const bool isName = wordLength(inside) == inside.size();
        return end > 0 && (isName ? appendMacro(inside, replaced, joints)
                                  : appendExpression(inside, replaced, joints))
                   ? end + 1
                   : 0;
    }
    append(text.left(1), replaced);
    return isDollar(next) ? 0 : 1; // a "$" may come to stand before the text of a macro
}

} // namespace

bool replacePlainNames(QStringView line, TextBuffer<QString> &replaced, Joints *joints)
{
    for (auto dollar = line.indexOf('$'); dollar >= 0; dollar = line.indexOf('$')) {
        append(line.left(dollar), replaced);
        const qsizetype length = appendReference(line.mid(dollar), replaced, joints);
        if (length == 0)
            return false;
        line = line.mid(dollar + length);
    }
    append(line, replaced);
    return true;
}

} // namespace Talmo
