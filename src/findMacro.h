#pragma once

#include "talmo/Macro.h"

#include <QString>
#include <QStringView>

namespace Talmo
{

/// \a text as a string that shares its characters and must not outlive them: for look-ups, which
/// would otherwise take longer to copy the name than to find it.
inline QString lookUpKey(QStringView text)
{
    return QString::fromRawData(text.data(), static_cast<int>(text.size()));
}

/// Points into the table that defines \a name, local before global; null if neither does.
inline const QString *findMacro(const QString &name)
{
    for (const Macro::Table *const table : {&Macro::hash, &Macro::globalHash}) {
        const auto macro = table->constFind(name);
        if (macro != table->constEnd())
            return &*macro;
    }
    return nullptr;
}

} // namespace Talmo
