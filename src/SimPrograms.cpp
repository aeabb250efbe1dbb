#include "SimPrograms.h"

#include "SettingsStore.h"

#include <memory>

namespace Talmo
{

QString simProgramKey(int number, const char *what)
{
    return QStringLiteral("SimProgram%1.%2").arg(number).arg(QLatin1String(what));
}

QStringList simProgramNames(const std::function<QString(const QString &key)> &valueOf)
{
    QStringList names;
    for (int n = 1; n <= mostSimPrograms; ++n) {
        const QString name = valueOf(simProgramKey(n, "name"));
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
