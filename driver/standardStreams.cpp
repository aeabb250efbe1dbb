#include "standardStreams.h"

#include <QString>
#include <QtGlobal>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace
{

int latestError = 0; // why writing the report failed last
bool inputWasClosed = false;

/// Writes \a size bytes of \a text to standard output. Returns 0 if that fails, as fopencookie
/// wants.
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

void printUnlessWarning(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type != QtWarningMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
}

} // namespace

void occupyStandardStreams()
{
    // We open it for reading. So printing still fails, and reportIsWritten reports that in the end.
    int descriptor = STDIN_FILENO;
    inputWasClosed = fcntl(STDIN_FILENO, F_GETFD) < 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDONLY);
    if (descriptor > STDERR_FILENO)
        close(descriptor);
}

bool standardInputWasClosed()
{
    return inputWasClosed;
}

void waitForReaders()
{
    cookie_io_functions_t writing = {};
    writing.write = writeAll;
    FILE *const patient = fopencookie(nullptr, "w", writing);
    if (patient == nullptr) // there is no memory for it, and stdout stays what it is
        return;
    std::setvbuf(patient, nullptr, isatty(STDOUT_FILENO) != 0 ? _IOLBF : _IOFBF, BUFSIZ);
    stdout = patient;
}

void dropWarningsOfQt()
{
    qInstallMessageHandler(printUnlessWarning);
}

bool reportIsWritten(const char *program, const char *output)
{
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return true;
    std::fprintf(stderr, "%s: cannot write %s: %s\n", program, output, std::strerror(latestError));
    return false;
}
