#pragma once

#include <QString>

namespace Talmo
{

/// True if compiling \a pattern, which is in the rich syntax of QRegExp, and searching a line of
/// 200 characters takes at most about a second and 20 MB. Others can take all the time, memory and
/// stack that there is.
///
/// A pattern costs one for each pair of its characters that may match side by side once all
/// repetitions are written out: n characters in a row cost n, n of them in a loop or n times ".*"
/// about n * n / 2 or more. Lookaheads, captures, back-references and long sets multiply that. The
/// cost may be 10000, and 50 groups may be open at once.
bool isAffordable(const QString &pattern);

/// The same for a wildcard pattern, in which '*', '?' and '[' are special.
bool isAffordableWildcard(const QString &pattern);

} // namespace Talmo
