#include "xmlText.h"

#include <algorithm>

namespace Talmo
{

namespace
{

constexpr char16_t firstPrintable = 0x20;
constexpr char16_t symbolOfNul = 0x2400; ///< those of the other control characters follow
constexpr char16_t firstNoCharacter = 0xFFFE;

bool isPlain(QChar character)
{
    const char16_t code = character.unicode();
    return code < firstPrintable ? code == u'\t' || code == u'\n'
                                 : !character.isSurrogate() && code < firstNoCharacter;
}

/// Appends the character that begins at \a text[\a index], or what stands for it. Returns how many
/// units it takes.
int appendReadable(QString &readable, const QString &text, decltype(QString().size()) index)
{
    const QChar character = text[index];
    const char16_t code = character.unicode();
    const bool isPair =
        character.isHighSurrogate() && index + 1 < text.size() && text[index + 1].isLowSurrogate();
    if (isPlain(character))
        readable += character;
    else if (isPair)
        readable.append(character).append(text[index + 1]);
    else if (code == u'\r')
        readable += QLatin1Char('\n');
    else if (code < firstPrintable)
        readable += QChar(static_cast<char16_t>(symbolOfNul + code));
    else
        readable += QChar(QChar::ReplacementCharacter);
    const bool isLineEnd =
        code == u'\r' && index + 1 < text.size() && text[index + 1] == QLatin1Char('\n');
    return isPair || isLineEnd ? 2 : 1;
}

} // namespace

QString xmlText(const QString &text)
{
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text;
    QString readable;
    readable.reserve(text.size());
    for (decltype(text.size()) index = 0; index < text.size();)
        index += appendReadable(readable, text, index);
    return readable;
}

} // namespace Talmo
