#pragma once

#include <QHash>
#include <QString>

class QSettings;
class QTimer;

namespace Talmo
{

/// The product's persistent settings: one store of keys and values for each user, shared by all
/// programs of the product. Values are text; numbers and booleans are written in decimal. A key
/// must be declared by a Pref before it can be read. What declarations add is saved when the
/// program makes its application object; a program without one saves nothing.
class Preferences
{
public:
    /// The first call opens the store, and prints where it is or sets `problem`. Later calls do
    /// nothing.
    static void init();

    /// The stored value of \a key. Throws a QString for a key that was never declared (and for the
    /// stored value "@"). Before main it crashes deliberately (see startupGuard).
    static QString get(QString key);

    static QSettings *qsettings; ///< the store; null before init, never freed

    /// Why the settings cannot be read, in words that can follow the program's name in a message;
    /// null if they can be read. If they cannot, every key has its default, and nothing is saved. A
    /// program that must not take the defaults for the user's settings looks here first.
    static QString problem;

    static QTimer *deferTimer; ///< for deferred saving in windowed programs; unused here
};

/// Declares one preference: the constructor stores \a defaultValue under \a name, unless the store
/// already has a value there, which may be empty.
class Pref
{
public:
    Pref(QString name, QString defaultValue, QString synopsisText);

    static QHash<QString, QString> synopsis; ///< one line about each declared key
};

} // namespace Talmo
