#pragma once

#include <QByteArray>

/// Runs the test script \a path, an absolute path as the system takes it, once for each configured
/// simulation program that it applies to, and reports. True if every run passed, and if there was
/// none to make.
bool runTest(const QByteArray &path);
