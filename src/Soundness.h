#pragma once

#include <QString>

// Before the walks over expressions (Flaw.cpp) and lines (FlawOfLine.cpp): most texts have no flaw,
// and of most of these that can be proved in a fraction of the time that the walks take.

namespace Talmo
{

/// Whether \a expression surely has no flaw. If not, it may have one or none.
bool isSurelySound(const QString &expression);

/// Whether \a line, for Macro::expand, surely has no flaw. If not, it may have one or none.
bool isLineSurelySound(const QString &line);

} // namespace Talmo
