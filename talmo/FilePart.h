#pragma once

#include <QByteArray>

#include <QtGlobal>

#include <functional>

namespace Talmo
{

/// A part of a file.
struct FilePart {
    QByteArray path; ///< as the system takes it
    qint64 offset = 0;
    qint64 length = 0; ///< bytes; -1: up to the end
};

/// Hands the bytes of \a part over to \a take, block by block, until there are no more of them or
/// it returns false. A part that cannot be read has none.
void forEachBlock(
    const FilePart &part, const std::function<bool(const char *bytes, size_t count)> &take);

} // namespace Talmo
