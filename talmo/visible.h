#pragma once

#include <QString>

namespace Talmo
{

/// \a character as a part of one line: what is not seen there, or changes what is around it, is
/// escaped, as "\x1b" or "\u202e".
QString visible(char32_t character);

/// \a text as a part of one line, with such characters escaped. A byte that is no UTF-8, as textOf
/// has it, becomes "\xb5".
QString visible(const QString &text);

} // namespace Talmo
