#pragma once

#include "PushbackText.h"

#include <QString>
#include <QStringView>

namespace Talmo
{

/// Sets \a replaced to \a line with each $name and ${name} replaced, as the first two passes of
/// replaceReferences do, but in one pass and quicker. Returns false if that is not surely the same;
/// nothing can be said of the line then.
bool replacePlainNames(QStringView line, TextBuffer<QString> &replaced);

} // namespace Talmo
