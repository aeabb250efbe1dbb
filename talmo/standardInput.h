#pragma once

#include <QtGlobal>

#include <cerrno>

#include <poll.h>
#include <unistd.h>

namespace Talmo
{

/// Reads up to \a size bytes from standard input, in whatever state it was inherited; waits for the
/// first of them. Returns how many, 0 at the end, and -1 if that fails.
inline qint64 readStandardInput(char *target, qint64 size)
{
    for (;;) {
        const ssize_t got = read(STDIN_FILENO, target, static_cast<size_t>(size));
        if (got >= 0)
            return got;
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            poll(&input, 1, -1);
        else if (errno != EINTR)
            return -1;
    }
}

} // namespace Talmo
