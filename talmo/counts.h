#pragma once

#include "RunRecord.h"

#include <QString>

#include <cstddef>
#include <vector>

namespace Talmo
{

/// How many runs came to which end. Each run is counted once: a flaky one is not among those that
/// passed.
struct Counts {
    size_t passed = 0;
    size_t failed = 0;
    size_t known = 0;
    size_t flaky = 0;
    size_t skipped = 0;
    size_t notRun = 0;

    size_t all() const { return passed + failed + known + flaky + skipped + notRun; }

    /// Something was run, and all of it passed or is known to fail.
    bool areWell() const { return failed == 0 && notRun == 0 && passed + flaky + known > 0; }
};

Counts countsOf(const std::vector<RunRecord> &runs);

/// "5 runs: 3 passed, 1 failed, 0 known, ..."; \a seconds that they took, if not below 0, stand
/// behind the number of runs.
QString sentenceOf(const Counts &counts, double seconds = -1);

/// \a seconds as people read them: "3.14 s".
QString durationOf(double seconds);

} // namespace Talmo
