#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

namespace Talmo
{

class Script;

/// What a script says about its runs, in comments "# talmo: ..." before its first command.
struct Needs {
    int processors = 1;
    double timeout = 0; ///< seconds; 0 if the script does not say
    QStringList labels;
    QStringList locks;     ///< names; no two runs that have one in common are at work at once
    bool isSerial = false; ///< nothing else is at work meanwhile
    int retries = 0;       ///< attempts after the first one that failed
    QStringList known;     ///< patterns of messages, as those of "=ignore"
};

/// Reads what \a script, which is open, says into \a needs. False if a comment is wrong; \a problem
/// then begins with the script's name and the line, "test3:5: ".
bool readNeeds(const Script &script, Needs &needs, QString &problem);

/// Why \a pattern could never match a message; null if it can.
QString problemOfPattern(const QString &pattern);

} // namespace Talmo
