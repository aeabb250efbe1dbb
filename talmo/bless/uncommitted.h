#pragma once

#include <QByteArray>
#include <QString>

#include <map>
#include <set>

namespace Talmo
{

/// Why files should not be replaced as far as git knows, in a few words: a file has changes that
/// were not committed, or git does not know it yet, or it cannot tell. \a paths are absolute; a
/// file that nothing is in the way of is missing, also where there is no repository. Nothing is
/// written, and no hook runs.
std::map<QByteArray, QString> problemsOfUncommitted(const std::set<QByteArray> &paths);

} // namespace Talmo
