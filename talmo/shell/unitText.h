#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Talmo
{

/// The unit of the table that \a bytes are; null if they are none. It is the same object each time.
const std::string *unitOf(std::string_view bytes);

/// Where the units end that are put together with the known one that ends at \a end of \a line, as
/// in "m/s" or "m^2"; \a end if there are none.
size_t compoundEnd(std::string_view line, size_t end);

/// Where the sizes end that begin at \a begin of \a line, behind a number, if the last of them has
/// a known unit, as in "x20mm" and "x4x2.5in"; \a begin if there are none.
size_t sizesEnd(std::string_view line, size_t begin);

/// Whether what stands at \a position of \a line, behind letters and digits, makes a word of them,
/// such as the name of a file, or "5m$x".
bool isContinued(std::string_view line, size_t position);

/// Whether the letters and digits from \a unitBegin up to \a end of \a line, which are no known
/// unit, are a word together with the number at \a begin, such as "2nd", "0x10", "3D" or "1e5e3".
bool isWord(std::string_view line, size_t begin, size_t unitBegin, size_t end);

} // namespace Talmo
