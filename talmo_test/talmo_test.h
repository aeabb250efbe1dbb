#pragma once

#include <QString>

/// Debug level of the process. Above 0, lines are traced and passing runs keep their directories.
extern int Debug;

/// The platform that the driver runs on: "WINDOWS", "LINUX" or "DARWIN". Empty before main sets it.
extern QString platformName;

/// Says on standard error how the driver is called. Deliberate: nothing calls it, since an unknown
/// option is a file pattern like any other.
void usage();
