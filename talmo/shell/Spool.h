#pragma once

#include "Descriptor.h"

#include <QByteArray>
#include <QtGlobal>

#include <functional>
#include <string>
#include <string_view>

namespace Talmo
{

/// Results that are kept in a file without a name until it is known whether they count. So nothing
/// is left behind, however the process ends.
class Spool
{
public:
    /// False if there can be no such file; errno tells why.
    bool open();

    /// False if there is no room; errno tells why.
    bool append(std::string_view bytes);

    /// How many bytes there are.
    qint64 size() const { return written + static_cast<qint64>(pending.size()); }

    /// Gives \a write the bytes from \a begin to \a end, piece by piece. False if it, or reading,
    /// fails.
    bool copy(qint64 begin, qint64 end, const std::function<bool(std::string_view)> &write);

private:
    bool flush();

    Descriptor file;
    std::string pending;
    qint64 written = 0;
};

} // namespace Talmo
