#include "SimPrograms.h"

#include "SettingsStore.h"

#include <memory>

namespace Talmo
{

QStringList simProgramNames(const std::function<QString(const QString &key)> &valueOf)
{
    constexpr int mostPrograms = 9;
    QStringList names;
    for (int n = 1; n <= mostPrograms; ++n) {
        const QString name = valueOf(QStringLiteral("SimProgram%1.name").arg(n));
        if (!name.isEmpty())
            names += name;
    }
    return names;
}

QStringList storedSimPrograms(QString &problem)
{
    const std::unique_ptr<SettingsStore> store(SettingsStore::open(problem));
    return simProgramNames([&](const QString &key) {
        QString name = store->value(key).toString();
        // Preferences take this value for a key that was never declared, and the driver ends.
        if (name == QLatin1String("@"))
            problem = QStringLiteral("the setting '%1' is '@', which is no name").arg(key);
        return name;
    });
}

} // namespace Talmo
