#include "Inspection.h"

namespace Talmo
{

Inspection inspect(
    const RunRecord & /*run*/, const QByteArray & /*suiteDirectory*/, size_t /*keptLines*/)
{
    Inspection inspection;
    inspection.obstacle = QStringLiteral("It was not looked at");
    return inspection;
}

} // namespace Talmo
