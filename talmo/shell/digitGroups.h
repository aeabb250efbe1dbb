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

/// Where that begins which may be one number with the digits at \a begin of \a line, or has to be
/// computed before their unit counts, such as "1/2in" or "10^3mm"; \a begin if there is no such
/// thing.
///
/// Deliberate: only a number joins by "/", so "5mm/2in", "x/2in" and "1 / 2in" are ratios.
size_t termBegin(std::string_view line, size_t begin);

/// Where the number ends whose exponent, from \a unitBegin to \a end of \a line, has a sign that no
/// number has: the minus of mathematics, or a dash. \a end if that is no such exponent.
size_t brokenExponentEnd(std::string_view line, size_t unitBegin, size_t end);

} // namespace Talmo
