#pragma once

#include "checks.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// What a script is checked against.
struct Surroundings {
    const QStringList &programs; ///< those that are configured, or were given
    QByteArray folder;           ///< absolute: where the script is
    QStringList sameNames;       ///< of other files there, which differ from its name in case only
};

/// Looks at \a script, whose file was opened, whether it can be run or not; it must have been read.
/// Nothing is run or written.
std::vector<Mistake> inspectScript(Script &script, const Surroundings &surroundings);

} // namespace Talmo
