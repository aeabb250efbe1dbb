#pragma once

#include <cstddef>
#include <string_view>

namespace Talmo
{

/// Where that begins which may be one number with the digits at \a begin of \a line, though it has
/// separators in it, such as "1,024m", "0,05m", "1'000mm" or "1 000mm"; \a begin if nothing before
/// the digits can belong to them. What their number has as a unit ends at \a end.
///
/// Deliberate: lists are everyday, so "(1,2mm)" and "1 200mm" are two numbers each.
size_t groupsBegin(std::string_view line, size_t begin, size_t end);

} // namespace Talmo
