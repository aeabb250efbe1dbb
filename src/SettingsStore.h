#pragma once

#include <QSettings>

namespace Talmo
{

/// The user's settings as Qt keeps them. They are read and saved only if that neither waits for
/// ever nor harms what stands in the place of the file.
class SettingsStore : public QSettings
{
public:
    /// Opens the settings. If they cannot be read, sets \a problem to the reason, and the store has
    /// no values and saves none. The caller owns the store.
    static SettingsStore *open(QString &problem);

protected:
    /// Saves when Qt asks for it. If something is in the way, nothing is saved later either, and
    /// the file stays as it is.
    bool event(QEvent *event) override;

private:
    SettingsStore();
    explicit SettingsStore(const QString &fileName);

    bool isUsable = true;
};

} // namespace Talmo
