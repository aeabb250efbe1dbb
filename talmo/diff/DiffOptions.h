#pragma once

#include "DiffRequest.h"

#include <QStringList>

#include <optional>

namespace Talmo
{

/// Reads \a arguments, what follows "talmo diff". None, and the exit status in \a status, if
/// nothing is left to do: help was printed, or it was said what makes the call wrong.
std::optional<DiffRequest> diffRequestOf(const QStringList &arguments, int &status);

} // namespace Talmo
