#pragma once

#include "RunRecord.h"

#include <QString>

namespace Talmo
{

/// What the run \a run printed, and what is in its captures, each below a line that names it: at
/// most outputBeginning + outputEnd bytes (JUnit.h) and these lines. If there are more, each file
/// gets a share, of which a quarter is its beginning and the rest its end, and a line between the
/// two says how much is left out. Empty if nothing was printed and there are no captures.
QString outputText(const RunRecord &run);

} // namespace Talmo
