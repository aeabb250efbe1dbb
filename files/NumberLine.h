#pragma once

#include <cstddef>

namespace Talmo
{

/// True if the line from \a begin to \a end, its newline, surely consists of at least \a count
/// words between blanks and tabs, and each of them, also beyond \a count, is a number as toNumber
/// reads it. False only says that the caller must look closer: words of more than 63 characters and
/// exponents of more than two digits also give false. Reads up to LineReader::padding bytes beyond
/// the newline.
bool isNumberLine(const char *begin, const char *end, std::size_t count);

} // namespace Talmo
