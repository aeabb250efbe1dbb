#pragma once

#include "changeSettingsText.h"
#include "commandTable.h"

#include <functional>
#include <vector>

namespace Talmo
{

class StoredSettings;

/// Decides, from what is stored, what is to be changed. A \a problem, a sentence, means nothing.
using SettingsDecision =
    std::function<std::vector<SettingsChange>(const StoredSettings &settings, QString &problem)>;

/// Why the user's settings could not be saved, as a sentence, apart from their lock; null if they
/// could. Their folder must exist. Nothing is written.
QString problemOfSavingSettings();

/// Changes the file of the user's settings, under its lock. From \a decide on until they are saved,
/// no other program of the product saves them; for that it waits up to ten seconds. The file keeps
/// its owner and its permissions, and a link stays one. AtFault if the settings cannot be saved,
/// WrongCall if they cannot be read or \a decide refuses; then nothing was written, and \a problem
/// says why.
ExitStatus changeUserSettings(const SettingsDecision &decide, QString &problem);

} // namespace Talmo
