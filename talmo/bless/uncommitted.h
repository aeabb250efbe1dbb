#pragma once

#include <QByteArray>
#include <QString>

namespace Talmo
{

/// Why the file \a path, an absolute path, should not be replaced as far as git knows, in a few
/// words: it has changes that were not committed, or git does not know it yet, or it cannot tell.
/// Null if nothing is in the way, also where there is no repository. Nothing is written, and no
/// hook runs.
QString problemOfUncommitted(const QByteArray &path);

} // namespace Talmo
