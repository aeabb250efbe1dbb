#pragma once

#include "Inspection.h"

#include <QString>

namespace Talmo
{

/// In words of one line: how many lines of \a comparison differ, and the worst value: that of the
/// column whose largest difference is the most times its tolerance. Empty if nothing was compared.
QString worstOf(const FailedComparison &comparison);

} // namespace Talmo
