#pragma once

#include "Draft.h"

#include <QString>
#include <QStringList>

namespace Talmo
{

/// Compares \a output with its reference in \a directory, that of a later run, and takes out of its
/// test what differs from run to run: columns, the comparison, or the whole test if the file is
/// missing. A sentence for each thing that was taken out; none if nothing was.
QStringList takeOutWhatVaries(Output &output, const QString &directory, const QString &program);

} // namespace Talmo
