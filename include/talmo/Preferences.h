#pragma once

#include <QHash>
#include <QString>

class QSettings;
class QTimer;

namespace Talmo
{

/// The product's persistent settings: one per-user store of keys and values, shared by all programs
/// of the product. Values are text, numbers and booleans in decimal. A key must be declared by a
/// Pref before it can be read. What declarations add is saved when the program makes its
/// application object; one without saves nothing.
class Preferences
{
public:
    /// Opens the store on its first call, and prints where it is, or sets `problem`; later calls do
    /// nothing.
    static void init();

    /// The stored value of \a key. Throws a QString for a key that was never declared (and for the
    /// stored value "@"). Before main it crashes deliberately (see startupGuard).
    static QString get(QString key);

    static QSettings *qsettings; ///< the store; null before init, never freed

    /// Why the settings cannot be read, in words that follow the program's name; null if they can.
    /// Every key then has its default, and nothing is saved. A program in which that could pass for
    /// the user's settings looks here first.
    static QString problem;

    static QTimer *deferTimer; ///< for deferred saving in windowed programs; unused here
};

/// Declares one preference: constructing it stores \a defaultValue under \a name unless the store
/// has a value already, an empty one included.
class Pref
{
public:
    Pref(QString name, QString defaultValue, QString synopsisText);

    static QHash<QString, QString> synopsis; ///< one line about each declared key
};

} // namespace Talmo
