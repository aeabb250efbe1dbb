#include "configuredSimPrograms.h"

#include "talmo/Preferences.h"

#include <cstdio>

using Talmo::Preferences;

QStringList configuredSimPrograms()
{
    static QStringList configured;
    if (!configured.isEmpty())
        return configured;
    for (int n = 1; n <= 9; ++n) {
        const QString name = Preferences::get(QStringLiteral("SimProgram%1.name").arg(n));
        if (!name.isEmpty())
            configured += name;
    }
    std::printf("Configured SimPrograms: %s\n", qPrintable(configured.join(QLatin1Char(' '))));
    return configured;
}
