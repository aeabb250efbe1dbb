#include "lineText.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Talmo
{

namespace
{

/// Whether all of \a bytes are ASCII; eight are looked at at once.
bool isAscii(std::string_view bytes)
{
    std::uint64_t seen = 0;
    for (; bytes.size() >= sizeof seen; bytes.remove_prefix(sizeof seen)) {
        std::uint64_t next = 0;
        std::memcpy(&next, bytes.data(), sizeof next);
        seen |= next;
    }
    for (const char byte : bytes)
        seen |= static_cast<unsigned char>(byte);
    return (seen & 0x8080808080808080U) == 0;
}

/// Appends what \a text begins with, as far as it is ASCII. Returns how many characters that are.
qsizetype appendAscii(std::string &bytes, const QString &text)
{
    const size_t size = bytes.size();
    bytes.resize(size + static_cast<size_t>(text.size()));
    char *target = bytes.data() + size;
    const QChar *unit = text.constData();
    const QChar *const end = unit + text.size();
    for (; unit != end && unit->unicode() < 0x80; ++unit)
        *target++ = static_cast<char>(unit->unicode());
    bytes.resize(static_cast<size_t>(target - bytes.data()));
    return unit - text.constData();
}

constexpr char16_t firstEscape = 0xDC00; ///< plus the byte, which is 0x80 at least

/// Appends \a character, any but a surrogate, in UTF-8.
void appendCharacter(std::string &bytes, char32_t character)
{
    const size_t more = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr unsigned char leads[] = {0, 0xC0, 0xE0, 0xF0};
    bytes += static_cast<char>(leads[more] | character >> (6 * more));
    for (size_t index = more; index > 0; --index)
        bytes += static_cast<char>(0x80U | (character >> (6 * (index - 1)) & 0x3FU));
}

bool isEscape(QChar unit)
{
    return unit.unicode() >= firstEscape + 0x80 && unit.unicode() <= firstEscape + 0xFF;
}

} // namespace

size_t readCharacter(std::string_view bytes, char32_t &character)
{
    const auto first = static_cast<unsigned char>(bytes[0]);
    const size_t length = first < 0x80   ? 1
                          : first < 0xC2 ? 0
                          : first < 0xE0 ? 2
                          : first < 0xF0 ? 3
                          : first < 0xF5 ? 4
                                         : 0;
    if (length == 0 || length > bytes.size())
        return 0;
    character = length == 1 ? first : first & (0x7FU >> length);
    for (size_t index = 1; index < length; ++index) {
        const auto next = static_cast<unsigned char>(bytes[index]);
        if ((next & 0xC0U) != 0x80)
            return 0;
        character = character << 6U | (next & 0x3FU);
    }
    const bool isTooLong =
        (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return isTooLong || isSurrogate || character > 0x10FFFF ? 0 : length;
}

QString textOf(std::string_view bytes)
{
    if (isAscii(bytes))
        return QString::fromLatin1(bytes.data(), static_cast<int>(bytes.size()));
    QString text;
    while (!bytes.empty()) {
        char32_t character = 0;
        const size_t length = readCharacter(bytes, character);
        if (length == 0)
            text +=
                QChar(static_cast<char16_t>(firstEscape + static_cast<unsigned char>(bytes[0])));
        else if (character < 0x10000)
            text += QChar(static_cast<char16_t>(character));
        else
            text.append(QChar(QChar::highSurrogate(character)))
                .append(QChar(QChar::lowSurrogate(character)));
        bytes.remove_prefix(std::max<size_t>(length, 1));
    }
    return text;
}

void appendBytes(std::string &bytes, const QString &text)
{
    for (auto unit = text.begin() + appendAscii(bytes, text); unit != text.end(); ++unit) {
        const bool isPair =
            unit->isHighSurrogate() && unit + 1 != text.end() && unit[1].isLowSurrogate();
        if (isEscape(*unit)) {
            bytes += static_cast<char>(unit->unicode() - firstEscape);
        } else if (isPair) {
            appendCharacter(bytes, QChar::surrogateToUcs4(*unit, unit[1]));
            ++unit;
        } else {
            appendCharacter(bytes, unit->unicode());
        }
    }
}

qint64 columnAt(const QString &text, qint64 position)
{
    const auto isSecond = [&text](qint64 index) {
        const auto at = static_cast<decltype(text.size())>(index);
        return at > 0 && text[at].isLowSurrogate() && text[at - 1].isHighSurrogate();
    };
    qint64 column = 1;
    for (qint64 index = 0; index < position && index < text.size(); ++index)
        column += isSecond(index) ? 0 : 1;
    return column;
}

qint64 columnAt(std::string_view bytes, size_t offset)
{
    const QString before = textOf(bytes.substr(0, offset));
    return columnAt(before, before.size());
}

} // namespace Talmo
