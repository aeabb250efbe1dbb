#pragma once

#include <cstdint>
#include <optional>

/// The number of the mount that the file open as \a descriptor is reached through, which tells a
/// file system mounted inside another one, also a part of the same one (a bind mount). Nothing if
/// the system does not tell: before Linux 5.8 that takes /proc.
std::optional<std::uint64_t> mountOf(int descriptor);
