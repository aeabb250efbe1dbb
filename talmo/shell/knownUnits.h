#pragma once

#include <QString>
#include <QStringList>

namespace Talmo
{

/// The names of the units in the table, kind by kind; without that of no unit, and without unknown
/// names that the library remembers.
QStringList knownUnits();

/// Whether the library takes \a units as what a result is wanted in: a known unit, "" for none, "-"
/// for its own, "*" for the standard one. If not, \a problem says so.
bool areUnits(const QString &units, QString &problem);

} // namespace Talmo
