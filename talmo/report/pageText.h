#pragma once

#include <QString>

namespace Talmo
{

/// \a text for a page or a picture, so that it shows what is there: what XML cannot carry as
/// xmlText has it, and characters that nobody sees but that turn or join the text around them, such
/// as U+202E, as "\u202e". Tabs and newlines stay.
QString pageText(const QString &text);

} // namespace Talmo
