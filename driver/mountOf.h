#pragma once

#include <cstdint>

/// A number of the mount that the file open as \a descriptor is reached through, which tells a file
/// system mounted inside another one, also a part of the same one (a bind mount). Before Linux 5.8
/// that takes /proc; without it, the number is that of the device. 0 if nothing is open.
std::uint64_t mountOf(int descriptor);
