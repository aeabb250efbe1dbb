#pragma once

#include <QString>
#include <QStringList>

namespace Talmo
{

/// The one of \a names that whoever wrote \a name has probably meant: it differs in upper and lower
/// case only, or else in few characters; null if there is none. Of several it is the first.
QString nearestName(const QString &name, const QStringList &names);

/// " (did you mean NAME?)" for the nearest of \a names, to be put behind a message; empty if there
/// is none.
QString suggestion(const QString &name, const QStringList &names);

} // namespace Talmo
