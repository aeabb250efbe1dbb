#pragma once

#include <QString>

namespace Talmo
{

/// Sets \a text to \a number as printf prints it with \a format in the C locale. The format may
/// come from users. It must consist of plain text, in which "%%" stands for "%", and exactly one
/// conversion out of aAeEfFgG, with any flags, and with width and precision up to 4095. For any
/// other format, returns false and does not change \a text. This is the form of a format:
/// ^((?:[^%]|%%)*)(%[-+ #0]*([0-9]*)(?:\.([0-9]*))?l?[aAeEfFgG])((?:[^%]|%%)*)$
bool printNumber(const QString &format, double number, QString &text);

/// Whether \a format is one that printNumber accepts.
bool isNumberFormat(const QString &format);

} // namespace Talmo
