#pragma once

#include "Report.h"
#include "RunRecord.h"

#include <QByteArray>
#include <QString>

#include <functional>

namespace Talmo
{

/// How the runs in \a now differ from those in \a before. Failed is what failed and is not known
/// to; of runs that were not made, now or before, nothing is said but that they are new or gone.
/// Gone is a run whose script is not there any more, as \a isThere tells by its name, or does not
/// make it any more: the others may have been left out. Slower is a run that passed twice, and now
/// took more than 1.5 times as long and a tenth of a second more.
Changes changesBetween(const RunResults &before, const RunResults &now,
    const std::function<bool(const QString &script)> &isThere);

/// The results before \a now, the newest invocation that the suite in \a suiteDirectory keeps:
/// those of the invocation before it, and of a run that was not made there the latest one that is
/// kept. False if there is none; \a problem then says what is damaged, or is null.
bool readBefore(
    const RunResults &now, const QByteArray &suiteDirectory, RunResults &before, QString &problem);

} // namespace Talmo
