#pragma once

#include "talmo/Console.h"

namespace tracker
{

/// Tells whether the library has reported a problem since this object was made.
///
/// Some errors the library only prints, and then carries on with what it has: "sin(1mm)" comes to
/// 1mm. A simulation that went on with that would look right and be wrong. What the library prints
/// is kept in memory, so a report shows as growth there.
class ReportWatch
{
public:
    bool sawReport() const { return printed() != before; }

private:
    /// How much has been printed; before the first text there is none to ask.
    static qint64 printed()
    {
        return Talmo::Console::initial ? Talmo::Console::initial->size() : 0;
    }

    const qint64 before = printed();
};

} // namespace tracker
