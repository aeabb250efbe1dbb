#include "visible.h"

#include "pageText.h"

#include <algorithm>

namespace Talmo
{

namespace
{

bool isPlain(QChar unit)
{
    return unit.unicode() >= 0x20 && unit.unicode() < 0x7F;
}

QString escapedByte(char32_t byte)
{
    constexpr int digits = 2;
    constexpr int hexadecimal = 16;
    return QStringLiteral("\\x%1").arg(
        static_cast<uint>(byte), digits, hexadecimal, QLatin1Char('0'));
}

} // namespace

QString visible(char32_t character)
{
    constexpr char32_t lastOfByte = 0xFF;
    constexpr char32_t beforeBytes = 0xDC00; // textOf has the bytes that are no UTF-8 from here on
    if (character >= beforeBytes + 0x80 && character <= beforeBytes + lastOfByte)
        return escapedByte(character - beforeBytes);
    if (isHidden(character) && character <= lastOfByte)
        return escapedByte(character);
    if (isHidden(character) || QChar::isSurrogate(character))
        return escaped(character);
    return QString::fromUcs4(&character, 1);
}

QString visible(const QString &text)
{
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text;
    QString line;
    for (auto unit = text.begin(); unit != text.end(); ++unit) {
        const bool isPair =
            unit->isHighSurrogate() && unit + 1 != text.end() && unit[1].isLowSurrogate();
        line += visible(isPair ? QChar::surrogateToUcs4(*unit, unit[1]) : unit->unicode());
        unit += isPair ? 1 : 0;
    }
    return line;
}

} // namespace Talmo
