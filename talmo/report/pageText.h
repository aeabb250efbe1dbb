#pragma once

#include <QString>

namespace Talmo
{

/// Whether \a character is not seen, and changes what is around it: it is a control character, ends
/// the line, or turns or joins the text.
bool isHidden(char32_t character);

/// What stands for such a character: "\u202e", and of one beyond U+FFFF "\U000e0001".
QString escaped(char32_t character);

/// \a text for a page or a picture, so that it shows what is there: what XML cannot carry as
/// xmlText has it, and other hidden characters escaped. Tabs and newlines stay.
QString pageText(const QString &text);

} // namespace Talmo
