#pragma once

#include <QByteArray>
#include <QString>

namespace Talmo
{

/// Why the system cannot start the executable \a path, a script whose first line names its
/// interpreter, as the end of a sentence: that is missing, or no executable. Null if it is there,
/// if the executable is no such script, or if it cannot be read. Of an interpreter that "env" is to
/// find, the PATH must have a program.
QString problemOfInterpreter(const QByteArray &path);

} // namespace Talmo
