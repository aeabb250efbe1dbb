#include "Spool.h"

#include "anonymousFile.h"

#include <algorithm>
#include <cerrno>

namespace Talmo
{

namespace
{

constexpr size_t block = 1U << 16U;

} // namespace

bool Spool::open()
{
    file = Descriptor(openAnonymousFile());
    return file.get() >= 0;
}

bool Spool::append(std::string_view bytes)
{
    pending += bytes;
    return pending.size() < block || flush();
}

bool Spool::flush()
{
    size_t done = 0;
    while (done < pending.size()) {
        const ssize_t count = write(file.get(), pending.data() + done, pending.size() - done);
        if (count < 0 && errno != EINTR)
            return false;
        done += static_cast<size_t>(std::max<ssize_t>(count, 0));
    }
    written += static_cast<qint64>(pending.size());
    pending.clear();
    return true;
}

bool Spool::copy(qint64 begin, qint64 end, const std::function<bool(std::string_view)> &write)
{
    if (!flush())
        return false;
    std::string bytes(block, '\0');
    while (begin < end) {
        const auto wanted = std::min(block, static_cast<size_t>(end - begin));
        const ssize_t count = pread(file.get(), bytes.data(), wanted, begin);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || !write(std::string_view(bytes.data(), static_cast<size_t>(count))))
            return false;
        begin += count;
    }
    return true;
}

} // namespace Talmo
