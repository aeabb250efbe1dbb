#pragma once

// What most tests include, compiled once for all of them. A test includes what it uses all the
// same.

#include "Printing.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>
