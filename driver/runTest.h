#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

/// Debug level of the process. Above 0, lines are traced and passing runs keep their directories.
extern int Debug;

/// The platform that the driver runs on: "WINDOWS", "LINUX" or "DARWIN". Empty before main sets it.
extern QString platformName;

/// The configured simulation programs whose whole name matches the wildcard \a pattern, in the
/// order of their preferences; a name configured twice is there twice.
QStringList configuredSimPrograms(const QString &pattern);

/// Runs the test script \a path, an absolute path as the system takes it, once for each simulation
/// program that it applies to. True if every run passed, and if there was none to make.
bool runTest(const QByteArray &path);
