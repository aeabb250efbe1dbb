#pragma once

#include "RunRecord.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

/// A property in a result file: what it is called, which values it has, none, one or several, and
/// what reading a value does. It returns false if the value is not possible.
template <typename Owner>
struct Property {
    const char *word;
    QStringList (*values)(const Owner &owner);
    bool (*take)(Owner &owner, const QString &value);
};

/// The version of the format, the value of the property "format".
constexpr char resultFormat[] = "1";

/// The properties of results as a whole, and of each run.
const std::vector<Property<RunResults>> &propertiesOfResults();
const std::vector<Property<RunRecord>> &propertiesOfRun();

} // namespace Talmo
