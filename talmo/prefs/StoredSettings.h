#pragma once

#include <QString>
#include <QStringList>

#include <memory>

class QSettings;

namespace Talmo
{

struct PreferenceRow;

/// The keys of all declared preferences, in the order of their table.
QStringList declaredKeys();

/// The declared preference \a key; null if there is none.
const PreferenceRow *declaredPreference(const QString &key);

/// The file of the user's settings, whether it exists or not.
QString userSettings();

/// Why the user's settings cannot be read, as a sentence; null if they can, or if there are none.
/// Other than for the driver, a file that may not be read is a problem.
QString problemOfReadingSettings();

/// The settings as programs of the product find them when they start. Nothing is declared, printed
/// or saved.
class StoredSettings
{
public:
    StoredSettings();
    StoredSettings(const StoredSettings &) = delete;
    StoredSettings &operator=(const StoredSettings &) = delete;
    ~StoredSettings();

    /// Why they cannot be read; null if they can. If they cannot, every key has its default.
    const QString &problem() const { return reason; }

    bool isStored(const QString &key) const;

    /// What is stored for \a key, or else its default.
    QString value(const QString &key) const;

    /// Everything that is stored, also what is not declared.
    QStringList keys() const;

private:
    QString reason;
    std::unique_ptr<QSettings> store;
};

} // namespace Talmo
