#pragma once

#include <QStringList>

namespace Talmo
{

/// Does "talmo prefs programs" with \a arguments, what follows. Returns the exit status.
int programsCommand(const QStringList &arguments);

} // namespace Talmo
