#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace Talmo
{

/// As many simulation programs can be configured.
constexpr int mostSimPrograms = 9;

/// The key of what the settings say about the program \a number, from 1 on: \a what is "name",
/// "path" or "simdef".
QString simProgramKey(int number, const char *what);

/// The names of the simulation programs that are configured, in the order of their keys; a name
/// configured twice is there twice. \a valueOf gives the value of a key of the settings.
QStringList simProgramNames(const std::function<QString(const QString &key)> &valueOf);

/// The same from the user's settings, without what Preferences do at the start of a program:
/// nothing is printed, declared or saved. Sets \a problem if the settings cannot be read.
QStringList storedSimPrograms(QString &problem);

} // namespace Talmo
