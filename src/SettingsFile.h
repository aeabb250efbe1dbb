#pragma once

#include <QString>
#include <QStringList>

namespace Talmo
{

/// The names of the organization and of the application, by which Qt finds the settings.
constexpr char settingsOrganization[] = "Brelund, Inc.";
constexpr char settingsApplication[] = "Talmo";

/// All files that a QSettings with these two names reads, whether they exist or not. The first is
/// the user's own file, the only one that is ever written.
QStringList settingsFiles();

/// Why the settings cannot be read, with the name of the file; null if they can. Qt itself would
/// wait for ever at a pipe, and takes a file that it fails to open for an empty one. A file that
/// does not exist or may not be read, a directory and a device are no problem: they count as empty.
QString settingsProblem();

/// True if \a name is an ordinary file, or does not exist. A link counts as what it leads to.
bool isOrdinaryOrMissing(const QString &name);

} // namespace Talmo
