#include "configuredSimPrograms.h"

#include "SimPrograms.h"
#include "talmo/Preferences.h"

#include <cstdio>

using Talmo::Preferences;

QStringList configuredSimPrograms()
{
    static QStringList configured;
    if (!configured.isEmpty())
        return configured;
    configured = Talmo::simProgramNames(Preferences::get);
    std::printf("Configured SimPrograms: %s\n", qPrintable(configured.join(QLatin1Char(' '))));
    return configured;
}
