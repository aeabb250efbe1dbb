#pragma once

#include "DiffRequest.h"

#include <QByteArray>
#include <QString>

namespace Talmo
{

enum class OutputStyle { Plain, Coloured };

/// How standard output is written to: coloured only if it is a terminal that knows colours, and if
/// NO_COLOR is not set.
OutputStyle styleOfOutput();

/// What users read about \a result: the message of "=compare", then everything else, and as the
/// last line the reason in one sentence.
QByteArray textOf(const DiffResult &result, OutputStyle style);

/// The same for programs, as one JSON document.
QByteArray jsonOf(const DiffResult &result);

} // namespace Talmo
