#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace Talmo
{

class Script;
struct ScriptLine;

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

/// Reads what \a script, which is open, says into \a needs. For each comment that is wrong a
/// sentence is appended to \a problems, which begins with the script's name and the line,
/// "test3:5: ". True if there is none.
bool readNeeds(const Script &script, Needs &needs, QStringList &problems);

/// The checks that \a line, a comment "# talmo: allow CHECK...", allows to find something; none if
/// it is another comment.
std::optional<QStringList> allowedChecks(const ScriptLine &line);

/// Why \a pattern, as that of "=ignore", could never match a message; null if it can.
QString problemOfPattern(const QString &pattern);

} // namespace Talmo
