#pragma once

#include <QString>
#include <QStringList>

namespace Talmo
{

/// The names of the organization and of the application, by which Qt finds the settings.
constexpr char settingsOrganization[] = "Brelund, Inc.";
constexpr char settingsApplication[] = "Talmo";

/// Every file that a QSettings of these two names reads, whether it exists or not. The first is the
/// user's own, the only one that is ever written.
QStringList settingsFiles();

/// Why the settings cannot be read, with the name of the file; null if they can. Qt would wait for
/// ever for what a pipe might bring, and takes a file that it fails to open for an empty one. What
/// does not exist or may not be read, a directory and a device are no problem, and hold nothing.
QString settingsProblem();

} // namespace Talmo
