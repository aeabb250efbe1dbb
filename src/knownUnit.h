#pragma once

#include "talmo/Units.h"

#include <QString>

namespace Talmo
{

/// Whether \a unit is in the table, as "" for none is. Units::typeHash would remember the question.
inline bool isKnownUnit(const QString &unit)
{
    // The library remembers an unknown unit that was asked for, with the factor 0.
    return Units::factorHash.value(unit) > 0;
}

} // namespace Talmo
