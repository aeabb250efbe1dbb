#include "knownUnits.h"

#include "knownUnit.h"
#include "nearest.h"
#include "talmo/Units.h"

#include <algorithm>

namespace Talmo
{

QStringList knownUnits()
{
    QStringList kinds = Units::types.keys();
    std::sort(kinds.begin(), kinds.end());
    QStringList units;
    for (const QString &kind : kinds)
        units += Units::types.value(kind);
    units.removeAll(QString());
    return units;
}

bool areUnits(const QString &units, QString &problem)
{
    if (units == QLatin1String("-") || units == QLatin1String("*") || isKnownUnit(units))
        return true;
    problem = QStringLiteral("unknown unit '%1'").arg(units) + suggestion(units, knownUnits());
    return false;
}

} // namespace Talmo
