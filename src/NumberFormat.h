#pragma once

#include <QString>

namespace Talmo
{

/// \a number as printf's \a format prints it in the C locale, in \a text. The format may come from
/// users: plain text, in which "%%" stands for "%", around one conversion out of aAeEfFgG, with
/// flags, and width and precision up to 4095. Returns false, and leaves \a text alone, for any
/// other.
/// ^((?:[^%]|%%)*)(%[-+ #0]*([0-9]*)(?:\.([0-9]*))?l?[aAeEfFgG])((?:[^%]|%%)*)$
bool printNumber(const QString &format, double number, QString &text);

} // namespace Talmo
