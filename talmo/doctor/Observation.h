#pragma once

#include <QString>

#include <vector>

namespace Talmo
{

/// What was found out about one thing.
struct Observation {
    enum Verdict {
        Ok,
        Note,    ///< worth knowing
        Problem, ///< something does not work
    };

    Verdict verdict = Ok;
    QString subject;
    QString text;
    QString advice; ///< what to do about it; may be empty if nothing is to be done
};

using Observations = std::vector<Observation>;

} // namespace Talmo
