#include "FilePart.h"

#include "Descriptor.h"

#include <algorithm>

namespace Talmo
{

void forEachBlock(
    const FilePart &part, const std::function<bool(const char *bytes, size_t count)> &take)
{
    const Descriptor file(open(part.path, O_RDONLY | O_CLOEXEC));
    char block[65536];
    constexpr auto most = static_cast<qint64>(sizeof block);
    for (qint64 done = 0; part.length < 0 || done < part.length;) {
        const qint64 wanted = part.length < 0 ? most : std::min(most, part.length - done);
        const ssize_t count =
            pread(file.get(), block, static_cast<size_t>(wanted), part.offset + done);
        if (count <= 0 || !take(block, static_cast<size_t>(count)))
            return;
        done += count;
    }
}

} // namespace Talmo
