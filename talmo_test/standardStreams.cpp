#include "standardStreams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace
{

int latestError = 0; // of writing the report

/// Writes \a size bytes of \a text to standard output; 0, as fopencookie wants it, if that fails.
ssize_t writeAll(void * /*cookie*/, const char *text, size_t size)
{
    for (size_t done = 0; done < size;) {
        const ssize_t count = write(STDOUT_FILENO, text + done, size - done);
        if (count >= 0) {
            done += static_cast<size_t>(count);
        } else if (errno == EAGAIN) {
            pollfd output = {STDOUT_FILENO, POLLOUT, 0};
            poll(&output, 1, -1);
        } else if (errno != EINTR) {
            latestError = errno;
            return 0;
        }
    }
    return static_cast<ssize_t>(size);
}

} // namespace

void occupyStandardStreams()
{
    // For reading: what is printed still cannot be written, and that is told in the end.
    int descriptor = STDIN_FILENO;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDONLY);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

void waitForReaders()
{
    cookie_io_functions_t writing = {};
    writing.write = writeAll;
    FILE *const patient = fopencookie(nullptr, "w", writing);
    if (patient == nullptr) // no memory: there is still the usual one
        return;
    std::setvbuf(patient, nullptr, isatty(STDOUT_FILENO) != 0 ? _IOLBF : _IOFBF, BUFSIZ);
    stdout = patient;
}

bool reportIsWritten()
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return true;
    std::fprintf(stderr, "talmo_test: cannot write the report: %s\n", std::strerror(latestError));
    return false;
}
