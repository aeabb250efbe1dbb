#pragma once

#include "Survey.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

namespace Talmo
{

/// What two files differ in, for programs: the members "lines1", "lines2", "differingLines",
/// "columns" (those that are compared), "kinds" and "firstLines". docs/diff.md says what they hold.
QJsonObject membersOf(const Survey &survey);

/// The numbers that a line has in the two files, as a list of two, of which one may be null; null
/// if neither file has it.
QJsonValue valueOf(const LinePlaces &places);

/// \a number, or the text "infinite", since JSON has no numbers without end.
QJsonValue valueOf(double number);

/// \a text with U+FFFD for what is no character; null if it is null.
QJsonValue textOrNull(const QString &text);

} // namespace Talmo
