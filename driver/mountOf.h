#pragma once

#include <cstdint>

/// The number of the mount through which \a descriptor was opened. It differs wherever a file
/// system is mounted inside another one, even if it is a part of the same one (a bind mount).
/// Before Linux 5.8 we need /proc for it; without /proc it is the number of the device. 0 if
/// nothing is open.
std::uint64_t mountOf(int descriptor);
