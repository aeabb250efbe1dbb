#pragma once

#include <QString>

namespace Talmo
{

/// \a text with characters that XML can carry, since programs print anything. A control character
/// becomes the symbol that Unicode has for it, a carriage return a new line, and half of a
/// surrogate pair or what is no character U+FFFD. Tabs and newlines stay.
QString xmlText(const QString &text);

} // namespace Talmo
