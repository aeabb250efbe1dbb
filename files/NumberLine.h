#pragma once

#include <cstddef>

namespace Talmo
{

/// Whether the line from \a begin to \a end, its newline, surely is a line of at least \a count
/// words, and each of them, also beyond \a count, a number as toNumber reads it, apart by blanks
/// and tabs. False only says that one must look closer: it is also given for words of more than 63
/// characters and exponents of more than two digits. Reads up to LineReader::padding bytes beyond
/// the newline.
bool isNumberLine(const char *begin, const char *end, std::size_t count);

} // namespace Talmo
