#pragma once

#include <QHash>
#include <QList>
#include <QString>

namespace Talmo
{

/// Named texts, and their substitution into input lines. Names are case-sensitive. A local macro
/// hides a global one with the same name. To define a macro, assign into `hash` or `globalHash`.
///
/// Before main, every operation crashes deliberately (see startupGuard).
class Macro
{
public:
    using Table = QHash<QString, QString>; ///< values by name

    /// The local value of \a name; without one, the global value; without that, "". To tell an
    /// empty macro from none, ask isDefined.
    static QString value(QString name);

    /// Whether \a name is a local or a global macro.
    static bool isDefined(QString name);

    /// Removes the local macro \a name, if there is one. A global one stays.
    static void deleteName(QString name);

    /// Saves the local macros; with \a clear the new scope starts empty, otherwise with a copy.
    static void pushDefinitions(bool clear);

    /// Restores the local macros that were saved last. Does nothing if none are saved.
    static void popDefinitions();

    /// Saves the local macros and starts a scope that holds exactly \a definitions.
    static void pushAndDefine(Table definitions);

    /// A listing of all macros, each on a line "  NAME=>VALUE", sorted. The global ones are apart.
    static QString inspect();

    /// Returns \a text with its references replaced: $name, ${name}, the counter ${name++} (a local
    /// macro, replaced by its value and then advanced to its successor), and ${expression}, which
    /// is evaluated with units. An expression may have a format in front and a unit behind:
    /// ${%.3f;2*x;mm}.
    ///
    /// A name that is not defined and a "${" that is never closed are errors. Error::syntax reports
    /// them, and the result is "". Counters that were replaced before the error stay advanced. With
    /// a macro that refers to itself, expand goes on for ever, or until memory runs out.
    static QString expand(QString text);

    /// The text that follows \a text in a counter. The last character counts up. The last digit and
    /// the last letters start again and carry to the left: "10" follows "9", "ba" follows "az", and
    /// "AAa" follows "Zz". Any other character becomes the next one, without a carry.
    static QString successor(QString text);

    static Table hash;         ///< the local macros, those of the current scope
    static Table globalHash;   ///< the global macros, which every scope sees
    static QList<Table> stack; ///< saved local macros, the latest last
};

} // namespace Talmo
