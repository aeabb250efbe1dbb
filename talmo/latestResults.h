#pragma once

#include "RunRecord.h"

#include <QString>

#include <functional>
#include <optional>

namespace Talmo
{

/// The latest result of each run, when \a before is what was known of them and \a invocation comes
/// in addition. Of the runs that are not part of it, those are kept whose script there still is,
/// as \a isThere tells by its name, unless the invocation shows that the script does not make them
/// any more: it now runs for programs, and did not before, or the other way round. They keep their
/// order, and a new run comes behind the one that it follows in the invocation.
///
/// Of a run that is several times in the invocation the last one counts, and a run that was not
/// made keeps the time that it took before. What is said of all runs together is that of the
/// invocation. None if the latest results are the invocation as it is.
std::optional<RunResults> latestAfter(const RunResults &before, const RunResults &invocation,
    const std::function<bool(const QString &script)> &isThere);

} // namespace Talmo
