#pragma once

#include <QHash>
#include <QList>
#include <QString>

namespace Talmo
{

/// Named texts, and their substitution into input lines. Names are case-sensitive; a local macro
/// hides a global one of its name. Define one by assigning into `hash` or `globalHash`.
///
/// Before main, every operation crashes deliberately (see startupGuard).
class Macro
{
public:
    using Table = QHash<QString, QString>; ///< values by name

    /// The local value of \a name, else the global one, else "": isDefined tells an empty macro
    /// from none.
    static QString value(QString name);

    /// Whether \a name is a local or a global macro.
    static bool isDefined(QString name);

    /// Removes the local macro \a name, if there is one. A global one stays.
    static void deleteName(QString name);

    /// Saves the local macros; with \a clear the new scope starts empty, otherwise with a copy.
    static void pushDefinitions(bool clear);

    /// Restores the local macros saved last. Without any, does nothing.
    static void popDefinitions();

    /// Saves the local macros and starts a scope that holds exactly \a definitions.
    static void pushAndDefine(Table definitions);

    /// A listing of all macros, one on a line as "  NAME=>VALUE", sorted, the global ones apart.
    static QString inspect();

    /// \a text with its references replaced: $name, ${name}, the counter ${name++} (a local macro,
    /// replaced by its value and then advanced to its successor), and ${expression}, evaluated with
    /// units, with an optional format in front and an optional unit behind: ${%.3f;2*x;mm}.
    ///
    /// After an error, which Error::syntax has reported, "": a name that is not defined, or a "${"
    /// that is never closed. Counters that were replaced before it stay advanced. A macro that
    /// refers to itself makes it go on for ever, or until memory runs out.
    static QString expand(QString text);

    /// What a counter holds after \a text: the last character counts up, digits and letters wrap
    /// round and carry to the left ("9" "10", "az" "ba", "Zz" "AAa"). Any other becomes the next
    /// character, without a carry.
    static QString successor(QString text);

    static Table hash;         ///< the local macros, those of the current scope
    static Table globalHash;   ///< seen from every scope
    static QList<Table> stack; ///< saved local macros, the latest last
};

} // namespace Talmo
