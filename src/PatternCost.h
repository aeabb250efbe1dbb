#pragma once

#include <QString>

namespace Talmo
{

/// True if it takes at most about a second and 20 MB to compile \a pattern, a regular expression of
/// QRegExp, and to search a line of 200 characters for it. Other patterns can use up all time,
/// memory and stack.
///
/// The cost of a pattern is the number of pairs of its characters that may match side by side,
/// after all repetitions have been written out. n characters in a row cost n; n characters in a
/// loop, or n times ".*", cost about n * n / 2 or more. Lookaheads, captures, back-references and
/// long sets multiply the cost. A pattern may cost 10000, and may have 50 groups open at once.
bool isAffordable(const QString &pattern);

/// The same for a wildcard pattern, in which '*', '?' and '[' are special.
bool isAffordableWildcard(const QString &pattern);

} // namespace Talmo
