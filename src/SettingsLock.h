#pragma once

#include <QLockFile>
#include <QString>

namespace Talmo
{

/// The lock under which all programs save the settings; it is the one that Qt takes. The file
/// "Talmo.conf.lock" exists while somebody has it. The object gives it up at its end.
class SettingsLock
{
public:
    /// \a settings is the name of the file that is to be saved.
    explicit SettingsLock(const QString &settings);

    enum State {
        Taken,
        InUse,      ///< another process has had it all the time
        Obstructed, ///< something else has its name, or one of its names
        Impossible, ///< no lock can be made there; Qt, too, then gives up at once
    };

    /// What keeps everybody from the lock of \a settings, because it has its name, or that of the
    /// lock under which Qt removes it; null if nothing does.
    static QString obstacleTo(const QString &settings);

    /// Tries to take the lock for so many milliseconds.
    State take(int longestWait);

    /// The file that is in the way if the lock is Obstructed.
    const QString &obstacle() const { return inTheWay; }

private:
    QString name;
    QLockFile lock;
    QString inTheWay;
};

} // namespace Talmo
