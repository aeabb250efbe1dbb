#pragma once

#include "PushbackText.h"

#include <QString>
#include <QStringView>

namespace Talmo
{

/// Where the texts of macros begin and end in a text, in ascending order; twice where one is empty.
using Joints = QVarLengthArray<int, 32>;

/// Sets \a replaced to \a line with each $name and ${name} replaced, as the first two passes of
/// replaceReferences do, but in one pass and quicker. Returns false if that is not surely the same;
/// nothing can be said of the line then. Sets \a joints, unless it is null.
bool replacePlainNames(QStringView line, TextBuffer<QString> &replaced, Joints *joints = nullptr);

} // namespace Talmo
