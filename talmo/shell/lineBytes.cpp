#include "lineBytes.h"

#include "lineText.h"

#include <QChar>

namespace Talmo
{

namespace
{

/// Whether \a byte is one of a character of UTF-8, but not the first.
bool continues(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

bool isOfWord(char32_t character)
{
    constexpr char32_t raisedPlus = 0x207A;
    constexpr char32_t raisedMinus = 0x207B;
    return QChar::isLetterOrNumber(character) || QChar::isMark(character) ||
           character == raisedPlus || character == raisedMinus;
}

} // namespace

Character characterAt(std::string_view line, size_t position)
{
    if (position >= line.size())
        return {};
    Character character;
    character.size = readCharacter(line.substr(position), character.code);
    if (character.size == 0)
        character = {static_cast<unsigned char>(line[position]), 1};
    return character;
}

size_t anyWordEnd(std::string_view line, size_t position)
{
    while (position < line.size()) {
        const Character character = characterAt(line, position);
        if (!isOfWord(character.code))
            break;
        position += character.size;
    }
    return position;
}

bool isWordBefore(std::string_view line, size_t position)
{
    if (position == 0)
        return false;
    const char byte = line[position - 1];
    if (isAscii(byte))
        return isLetterOrDigit(byte) || byte == '_';
    size_t begin = position - 1;
    while (begin > 0 && position - begin < 4 && continues(line[begin]))
        --begin;
    const std::string_view bytes = line.substr(begin, position - begin);
    char32_t character = 0;
    return readCharacter(bytes, character) != bytes.size() || isOfWord(character);
}

/// A "}" may end a reference, such as "${x}5mm", and a "%" begin a format, such as "%-8.3f".
bool isBound(std::string_view line, size_t position)
{
    const char before = position == 0 ? '\0' : line[position - 1];
    if (before == '.')
        return isWordBefore(line, position - 1);
    const size_t format = before == '-' || before == '+' ? position - 1 : position;
    if (format > 0 && line[format - 1] == '%')
        return true;
    return before == '$' || before == '}' || isWordBefore(line, position);
}

} // namespace Talmo
