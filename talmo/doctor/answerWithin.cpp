#include "answerWithin.h"

#include "Descriptor.h"

#include <QElapsedTimer>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// The child's side: writes what \a work returns into \a pipe. Does not return.
[[noreturn]] void answer(const std::function<QByteArray()> &work, int pipe)
{
    const QByteArray text = work();
    ssize_t done = 0;
    while (done < text.size()) {
        const ssize_t count =
            write(pipe, text.constData() + done, static_cast<size_t>(text.size() - done));
        if (count < 0 && errno != EINTR)
            _exit(1);
        done += std::max<ssize_t>(count, 0);
    }
    _exit(0);
}

/// Reads \a pipe to its end, or as long as it can be read. False if its end does not come within
/// \a milliseconds.
bool readAll(int pipe, int milliseconds, QByteArray &text)
{
    QElapsedTimer timer;
    timer.start();
    std::array<char, 4096> block = {};
    for (;;) {
        const qint64 left = milliseconds - timer.elapsed();
        pollfd input = {pipe, POLLIN, 0};
        if (left <= 0)
            return false;
        if (poll(&input, 1, static_cast<int>(left)) <= 0)
            continue; // it was interrupted, or the time is over
        const ssize_t count = read(pipe, block.data(), block.size());
        if (count == 0)
            return true;
        if (count > 0)
            text.append(block.data(), static_cast<int>(count));
        else if (errno != EINTR)
            return true;
    }
}

/// How a process ended whose \a status is not 0.
QString aboutEnd(int status)
{
    if (WIFSIGNALED(status))
        return QStringLiteral("ended by signal %1 (%2)")
            .arg(QString::number(WTERMSIG(status)),
                QString::fromLocal8Bit(strsignal(WTERMSIG(status))));
    return QStringLiteral("ended with exit status %1").arg(WEXITSTATUS(status));
}

} // namespace

Answer answerWithin(int milliseconds, const std::function<QByteArray()> &work)
{
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        return {Answer::Given, work(), QString()};
    const Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    std::fflush(stdout); // otherwise the child has a copy of what is not printed yet
    const pid_t child = fork();
    if (child < 0)
        return {Answer::Given, work(), QString()};
    if (child == 0)
        answer(work, input.get());
    input = Descriptor();
    QByteArray text;
    if (!readAll(output.get(), milliseconds, text)) {
        kill(child, SIGKILL); // which has no effect while a call of the system waits for a drive
        waitpid(child, nullptr, WNOHANG);
        return {Answer::Late, QByteArray(), QString()};
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (status != 0)
        return {Answer::Broken, QByteArray(), aboutEnd(status)};
    return {Answer::Given, text, QString()};
}

} // namespace Talmo
