#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace Talmo
{

class StoredSettings;

/// A simulation program of the settings.
struct ConfiguredProgram {
    int number = 0; ///< N in SimProgramN.name
    QString name;
    QStringList places; ///< where the PATH leads to it; runs use the first one

    /// Why runs for it fail, as the end of a sentence; null if they can be started.
    QString problem;

    /// What is worth knowing although runs can be started; null if nothing is.
    QString remark;
};

/// All of them, in the order of their numbers.
std::vector<ConfiguredProgram> configuredPrograms(const StoredSettings &settings);

} // namespace Talmo
