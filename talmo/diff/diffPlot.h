#pragma once

#include "DiffRequest.h"

#include <QString>

namespace Talmo
{

/// Draws the columns that differ in \a result, and saves the picture under the name that was asked
/// for. False if that is not possible, also if no column of numbers differs; \a problem then says
/// why.
bool savePlot(const DiffResult &result, QString &problem);

} // namespace Talmo
