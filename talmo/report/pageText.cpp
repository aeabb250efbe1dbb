#include "pageText.h"

#include "xmlText.h"

#include <QVector>

#include <algorithm>

namespace Talmo
{

namespace
{

bool isAscii(QChar character)
{
    return character.unicode() < 0x7F;
}

} // namespace

bool isHidden(char32_t character)
{
    switch (QChar::category(static_cast<uint>(character))) {
    case QChar::Other_Control:
    case QChar::Other_Format:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString escaped(char32_t character)
{
    constexpr int hexadecimal = 16;
    const int digits = character > 0xFFFF ? 8 : 4;
    return QLatin1String(digits == 4 ? "\\u" : "\\U") +
           QStringLiteral("%1").arg(
               static_cast<uint>(character), digits, hexadecimal, QLatin1Char('0'));
}

QString pageText(const QString &text)
{
    QString possible = xmlText(text); // so the pairs of surrogates are whole
    if (std::all_of(possible.begin(), possible.end(), isAscii))
        return possible;
    QString readable;
    readable.reserve(possible.size());
    for (const char32_t character : possible.toUcs4()) {
        const bool isLeft = character < 0x7F; // xmlText has left tabs and newlines only
        if (!isLeft && isHidden(character))
            readable += escaped(character);
        else if (QChar::requiresSurrogates(static_cast<uint>(character)))
            readable.append(QChar(QChar::highSurrogate(static_cast<uint>(character))))
                .append(QChar(QChar::lowSurrogate(static_cast<uint>(character))));
        else
            readable += QChar(static_cast<char16_t>(character));
    }
    return readable;
}

} // namespace Talmo
