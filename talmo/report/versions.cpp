// A simulation that knows no "--version" may take it for an input and begin to work, start other
// programs, or wait. Whatever it does, it does in a directory that is removed, and not for long.

#include "versions.h"

#include "Descriptor.h"
#include "DiskFile.h"
#include "Programs.h"
#include "details.h"
#include "processTree.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <csignal>
#include <ctime>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

constexpr qint64 mostMilliseconds = 5000;
constexpr int mostBytes = 65536;

/// The child's side: becomes the program \a path. Does not return.
[[noreturn]] void becomeProgram(const QByteArray &path, const QByteArray &folder, int output)
{
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    if (nothing > STDERR_FILENO)
        close(nothing);
    if (chdir(folder) == 0)
        execl(path.constData(), path.constData(), "--version", nullptr);
    constexpr int cannotRun = 126;
    _exit(cannotRun);
}

/// Appends what can be read from \a pipe now to \a text, up to mostBytes; the rest is passed over.
void drain(int pipe, QByteArray &text)
{
    std::array<char, 4096> block;
    for (ssize_t count = read(pipe, block.data(), block.size()); count > 0;
         count = read(pipe, block.data(), block.size())) {
        const auto room = mostBytes - static_cast<int>(text.size());
        text.append(block.data(), std::min(static_cast<int>(count), room));
        if (static_cast<int>(count) >= room)
            return;
    }
}

/// Kills all that this process has started or adopted, and waits for it.
void killAll()
{
    constexpr long aHundredth = 10000000;
    const timespec pause = {0, aHundredth};
    QElapsedTimer timer;
    timer.start();
    for (auto left = descendantsOf(getpid()); !left.empty() && timer.elapsed() < mostMilliseconds;
         left = descendantsOf(getpid())) {
        for (const pid_t process : left)
            kill(process, SIGKILL);
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        nanosleep(&pause, nullptr);
    }
}

/// The first line of \a text that is not blank, for one line.
QString firstLineOf(const QByteArray &text)
{
    for (const QByteArray &line : text.split('\n')) {
        if (!line.trimmed().isEmpty())
            return shown(line.trimmed());
    }
    return {};
}

/// What \a child, which prints into \a pipe, says.
QString answerOf(pid_t child, int pipe)
{
    QElapsedTimer timer;
    timer.start();
    QByteArray text;
    int status = 0;
    pid_t ended = 0;
    while (ended == 0 && timer.elapsed() < mostMilliseconds) {
        pollfd input = {pipe, POLLIN, 0};
        poll(&input, 1, 20);
        drain(pipe, text);
        ended = waitpid(child, &status, WNOHANG);
        if (ended == 0 && (input.revents & POLLHUP) != 0)
            poll(nullptr, 0, 20); // it has closed its output and goes on
    }
    drain(pipe, text);
    const QString line = firstLineOf(text);
    if (ended == 0)
        return QStringLiteral("it did not end within 5 s");
    if (WIFSIGNALED(status))
        return QStringLiteral("it was ended by signal %1").arg(WTERMSIG(status));
    if (WEXITSTATUS(status) != 0)
        return QStringLiteral("exit status %1").arg(WEXITSTATUS(status)) +
               (line.isEmpty() ? QString() : QStringLiteral(": ") + line);
    return line.isEmpty() ? QStringLiteral("it printed nothing") : line;
}

/// Where \a program is: where it was \a given, a list as in RunResults, or else in the PATH. Empty
/// if it is not there.
QString pathOf(const QString &program, const QStringList &given)
{
    const QString start = program + QLatin1Char('=');
    for (const QString &text : given) {
        if (!text.startsWith(start))
            continue;
        const QFileInfo file(text.mid(start.size()));
        return file.isAbsolute() && file.isFile() && file.isExecutable() ? file.filePath()
                                                                         : QString();
    }
    return isNameOfProgram(program) ? QStandardPaths::findExecutable(program) : QString();
}

/// What \a program says that lies at \a path; empty: nowhere.
QString versionOf(const QString &path)
{
    if (path.isEmpty())
        return QStringLiteral("it was not found");
    const QTemporaryDir folder;
    std::array<int, 2> ends = {-1, -1};
    if (!folder.isValid() || pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return QStringLiteral("it cannot be asked");
    const Descriptor output(ends[0]);
    Descriptor input(ends[1]);
    fcntl(input.get(), F_SETFL, 0); // the program may expect that writing waits
    const QByteArray place = QFile::encodeName(folder.path());
    const QByteArray name = QFile::encodeName(path);
    const pid_t child = fork();
    if (child == 0)
        becomeProgram(name, place, input.get());
    input = Descriptor();
    QString answer =
        child < 0 ? QStringLiteral("it cannot be started") : answerOf(child, output.get());
    killAll();
    return answer;
}

} // namespace

std::vector<ProgramVersion> versionsOf(const RunResults &results)
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    QStringList programs;
    for (const RunRecord &run : results.runs) {
        if (!run.program.isEmpty() && (programs.isEmpty() || programs.last() != run.program))
            programs += run.program;
    }
    programs.removeDuplicates();
    std::vector<ProgramVersion> versions;
    for (const QString &program : programs)
        versions.push_back({program, versionOf(pathOf(program, results.programs))});
    return versions;
}

} // namespace Talmo
