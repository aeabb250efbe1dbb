#include "standardStreams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

void occupyStandardStreams()
{
    // For reading: what is printed still cannot be written, and that is told in the end.
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDONLY);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

bool reportIsWritten()
{
    const bool wasWritten = std::ferror(stdout) == 0;
    errno = 0;
    if (std::fflush(stdout) == 0 && wasWritten)
        return true;
    std::fputs("talmo_test: cannot write the report", stderr);
    if (errno != 0)
        std::fprintf(stderr, ": %s", std::strerror(errno));
    std::fputs("\n", stderr);
    return false;
}
