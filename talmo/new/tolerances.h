#pragma once

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace Talmo
{

/// The tolerances, as words, with which to compare the file \a name with a later one of its kind.
/// For each column, \a relative times the largest magnitude, rounded up to two significant digits;
/// 0 for a column of integers. No words, which stands for a comparison of the text, unless every
/// line that is no comment has the same number of words, and all of these are numbers. None if the
/// file cannot be read.
std::optional<std::vector<std::string>> tolerancesFor(const QString &name, double relative);

} // namespace Talmo
