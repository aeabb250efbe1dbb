#pragma once

#include <QStringList>

/// The configured simulation programs, in the order of their preferences; a name configured twice
/// is there twice. They are looked for once, and printed then.
/// Deliberate: with no program configured every call looks again and prints the empty list.
QStringList configuredSimPrograms();
