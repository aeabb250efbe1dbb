#pragma once

#include "Observation.h"

namespace Talmo
{

// What "talmo doctor" looks at. Nothing is changed.

Observations examineVersions();     ///< Talmo, Qt, the system
Observations examineLocale();       ///< the locale, and whether its encoding is UTF-8
Observations examineSettings();     ///< where they are, whether they can be read and saved
Observations examinePrograms();     ///< the configured simulation programs
Observations examineDistribution(); ///< the scripts that come with Talmo
Observations examineSuite();        ///< the working directory: its scripts, room, locks
Observations examineRecords();      ///< the results that are kept there
Observations examineTemporary();    ///< the folder for temporary files

} // namespace Talmo
