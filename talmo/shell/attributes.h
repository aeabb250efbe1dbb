#pragma once

#include <QString>

namespace Talmo
{

/// Gives the file that is open as \a target the extended attributes of the file \a path, and so its
/// access control list. The target loses a list of its own that the other file does not have. Those
/// that depend on the content, such as a checksum, are not kept. Returns why that is not possible,
/// as a sentence; null if it is.
QString keepAttributes(const char *path, int target);

} // namespace Talmo
