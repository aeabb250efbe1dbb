#pragma once

#include "commandTable.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Talmo
{

/// What is to become of one key in a file of settings.
struct SettingsChange {
    QString key;
    std::optional<QString> value; ///< none: what is stored is removed
};

/// Makes \a change in \a text, the content of a file of settings; no such file is opened or locked.
/// All other keys keep their values; comments and foreign lines stay, too, unless the file is such
/// that only Qt can write it again. WrongCall if Qt would not read back the value that was to be
/// written, AtFault if that cannot be tried; then \a problem says so, and \a text is as it was.
ExitStatus changeSettingsText(QByteArray &text, const SettingsChange &change, QString &problem);

} // namespace Talmo
