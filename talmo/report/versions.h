#pragma once

#include "Report.h"

#include <vector>

namespace Talmo
{

/// Asks each program of \a results for its version: "PROGRAM --version" is run in an empty
/// directory, without standard input, and killed with all that it has started after five seconds.
/// The version is the first line with a text that it prints, or says in words what went wrong.
std::vector<ProgramVersion> versionsOf(const RunResults &results);

} // namespace Talmo
