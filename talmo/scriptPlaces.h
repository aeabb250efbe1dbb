#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace Talmo
{

/// The paths of the files with the name of \a script, in the order in which they are looked for: in
/// \a suiteDirectory, and among the distribution's scripts. They may be of any kind. A name that is
/// none of a file has none.
std::vector<QByteArray> scriptPlaces(const QByteArray &suiteDirectory, const QString &script);

} // namespace Talmo
