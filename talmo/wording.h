#pragma once

#include <QString>
#include <QtGlobal>

namespace Talmo
{

/// \a number with as many digits as it takes to read the same number again.
QString exactly(double number);

/// \a number with a few digits.
QString roughly(double number);

/// "1 line", "2 lines" of \a what, "line".
QString counted(qint64 count, const char *what);

} // namespace Talmo
