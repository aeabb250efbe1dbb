#pragma once

// What most files of the companion include, compiled once for all of them. A file includes what it
// uses all the same; clang-tidy, which reads each file without this one, holds that.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
