#pragma once

#include <QSettings>

namespace Talmo
{

/// The user's settings as Qt keeps them, read only if that does not wait for ever.
class SettingsStore : public QSettings
{
public:
    /// Opens the settings. If they cannot be read, \a problem becomes the reason, and the store has
    /// no values and saves none. The caller owns it.
    static SettingsStore *open(QString &problem);

protected:
    /// Saves when Qt asks for it, unless there is nothing to save into.
    bool event(QEvent *event) override;

private:
    SettingsStore() = default;
    explicit SettingsStore(const QString &fileName);

    bool isUsable = true;
};

} // namespace Talmo
