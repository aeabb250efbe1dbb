#pragma once

#include "DiffRequest.h"

#include <QString>

namespace Talmo
{

/// Compares the files as the request in \a result asks for, and puts what comes out into the rest
/// of it. Returns why there is no comparison, as a sentence; null if there is one.
QString compare(DiffResult &result);

} // namespace Talmo
