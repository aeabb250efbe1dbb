#pragma once

#include <QString>

#include <string>
#include <string_view>

namespace Talmo
{

/// \a bytes, UTF-8, as text. A byte that is no UTF-8 becomes a single low surrogate, U+DC80 to
/// U+DCFF, which no text has otherwise.
QString textOf(std::string_view bytes);

/// Appends the bytes of which textOf has made, or would make, \a text. A part of one text, and
/// several texts in a row, give the bytes in the same way.
void appendBytes(std::string &bytes, const QString &text);

/// The column, from 1, of the character at \a position in \a text. Each byte that is no UTF-8 has
/// one, and so has a character that takes two places in \a text.
qint64 columnAt(const QString &text, qint64 position);

/// The column, from 1, of the character that begins at \a offset in the line \a bytes.
qint64 columnAt(std::string_view bytes, size_t offset);

/// How many bytes the character of UTF-8 takes that \a bytes, one at least, begin with; 0 if they
/// begin with none. \a character becomes its number.
size_t readCharacter(std::string_view bytes, char32_t &character);

} // namespace Talmo
