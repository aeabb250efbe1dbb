// A run is made by a child, so that its time can be limited and its end seen, whatever it does. The
// signals that matter are blocked between a look and a wait, so none is missed. At all other times
// they come at once: one may have to end this process while it waits for a reader of its report.
//
// A child that is asked to end (SIGTERM) ends its programs itself. If they hold it up, we kill all
// that it has started; if it is stuck itself, we kill it, and then what it had started has become
// ours.

#include "Crew.h"

#include "DiskFile.h"
#include "anonymousFile.h"
#include "interruption.h"
#include "processTree.h"

#include <QScopeGuard>

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// \a seconds as the clock counts.
constexpr std::chrono::steady_clock::duration clockTime(double seconds)
{
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(seconds));
}

constexpr auto grace = clockTime(gracePeriod);
constexpr auto glance = std::chrono::milliseconds(50); ///< at what short runs have reported
constexpr auto pressing =
    std::chrono::milliseconds(100); ///< between one attempt to kill and the next

double secondsBetween(
    std::chrono::steady_clock::time_point from, std::chrono::steady_clock::time_point to)
{
    return std::chrono::duration<double>(to - from).count();
}

} // namespace

Crew::Crew(const Suite &itsSuite, std::vector<double> itsSeconds, bool keepsAllDirectories)
    : suite(itsSuite)
    , seconds(std::move(itsSeconds))
    , keepsAll(keepsAllDirectories)
{
    hurryWhenInterruptedAgain();
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    inherited = childrenOf(getpid()); // of what this process was before
    struct sigaction waking = {};
    waking.sa_handler = [](int) {}; // it ends a wait
    sigaction(SIGCHLD, &waking, nullptr);
    handled = interruptionSignals();
    sigaddset(&handled, SIGPIPE);
    sigprocmask(SIG_UNBLOCK, &handled, nullptr);
    sigset_t ends; // of children, about which only a wait wants to know
    sigemptyset(&ends);
    sigaddset(&ends, SIGCHLD);
    sigprocmask(SIG_BLOCK, &ends, &awake);
    sigdelset(&awake, SIGCHLD);
}

bool Crew::start(const std::vector<size_t> &job)
{
    auto worker = std::make_unique<Worker>();
    worker->job = job;
    worker->isLight = std::none_of(job.begin(), job.end(),
        [this](size_t run) { return suite.scripts[suite.runs[run].script].startsPrograms; });
    worker->output = takeOutput();
    if (!worker->output->isOpen())
        return fail(QStringLiteral("cannot make a file for the output in '%1'")
                        .arg(QFile::decodeName(temporaryFolder())));
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return fail(QStringLiteral("cannot start a process"));
    worker->reports = Descriptor(ends[0]);
    const Descriptor writing(ends[1]);
    std::fflush(stdout); // or the child would print it once more
    const pid_t parent = getpid();
    worker->process = fork();
    if (worker->process == 0) {
        sigprocmask(SIG_SETMASK, &awake, nullptr);
        closeFiles(); // or many children at once would have no descriptors left for themselves
        makeRuns(suite, {job, worker->output->get(), writing.get(), keepsAll}, parent);
    }
    if (worker->process < 0)
        return fail(QStringLiteral("cannot start a process"));
    fcntl(worker->reports.get(), F_SETFL, O_NONBLOCK);
    worker->began = Clock::now();
    workers.push_back(std::move(worker));
    return true;
}

/// Says that \a what is not possible, and why. Returns false.
bool Crew::fail(const QString &what)
{
    reason = what + QStringLiteral(": ") + QString::fromLocal8Bit(std::strerror(errno));
    return false;
}

/// In a child: closes what the parent has open for other children.
void Crew::closeFiles() const
{
    for (const auto &other : workers) {
        close(other->reports.get());
        close(other->output->get());
    }
    for (const auto &output : outputs)
        close(output->get());
}

/// An empty file for what a child's runs print. It is one that no process writes into any more, if
/// there is one.
std::shared_ptr<Descriptor> Crew::takeOutput()
{
    if (outputs.empty())
        return std::make_shared<Descriptor>(openAnonymousFile());
    std::shared_ptr<Descriptor> output = std::move(outputs.back());
    outputs.pop_back();
    [[maybe_unused]] const int status = ftruncate(output->get(), 0);
    return output;
}

std::vector<size_t> Crew::atWork() const
{
    std::vector<size_t> runs;
    for (const auto &worker : workers) {
        if (!worker->isDone())
            runs.push_back(worker->run());
    }
    return runs;
}

void Crew::stop(const QString &signal)
{
    isStopped = true;
    for (const auto &worker : workers)
        ask(*worker, QStringLiteral("interrupted by ") + signal);
}

/// Asks \a worker to end. The run at work then fails because of \a cause. False if there is none,
/// or if it was asked before.
bool Crew::ask(Worker &worker, const QString &cause)
{
    if (worker.isAsked() || worker.isDone())
        return false;
    worker.cause = cause;
    worker.askedFor = worker.run();
    worker.asked = Clock::now();
    kill(worker.process, SIGTERM);
    kill(worker.process, SIGCONT);
    return true;
}

/// Does what the time has come for: asks \a worker to end, kills its programs, or kills it.
void Crew::press(Worker &worker, Clock::time_point now)
{
    if (worker.isAsked()) {
        const bool isUrgent = isInterruptedAgain();
        if (now < worker.asked + grace && !isUrgent)
            return;
        for (const pid_t process : descendantsOf(worker.process))
            kill(process, SIGKILL);
        // Without programs the child has nothing left to do but to report.
        if (isUrgent || now > worker.asked + grace + std::chrono::seconds(1))
            kill(worker.process, SIGKILL);
        return;
    }
    const double limit = worker.isDone() ? 0 : seconds[worker.run()];
    if (limit > 0 && secondsBetween(worker.began, now) >= limit)
        worker.isTimeOut = ask(worker, QStringLiteral("timed out after %1 s").arg(limit));
}

/// When something is to be done, whatever happens.
Crew::Clock::time_point Crew::nextDeadline() const
{
    const Clock::time_point now = Clock::now();
    Clock::time_point next = Clock::time_point::max();
    for (const auto &worker : workers) {
        const double limit = worker->isDone() ? 0 : seconds[worker->run()];
        if (worker->isAsked())
            next = std::min(next, std::max(worker->asked + grace, now + pressing));
        else if (limit > 0)
            next = std::min(next, worker->began + clockTime(limit));
        if (worker->isLight && !worker->isDone())
            next = std::min(next, now + glance);
    }
    return next;
}

/// Waits until a child has reported or ended, a signal came, or a deadline is there. Short runs
/// would wake us all the time, so what they report is read at a glance from time to time, and at
/// the end of their child.
void Crew::waitForSomething()
{
    std::vector<pollfd> files;
    bool isEndAwaited = true; // nothing but the end of a process is to be waited for
    for (const auto &worker : workers) {
        if (worker->reports.isOpen()) {
            files.push_back({worker->reports.get(), short(worker->isLight ? 0 : POLLIN), 0});
            isEndAwaited = false;
        }
    }
    for (const auto &worker : workers)
        isEndAwaited = isEndAwaited || (!worker->isDone() && !worker->reports.isOpen());
    sigset_t blocked = awake;
    if (!isEndAwaited)
        sigaddset(&blocked, SIGCHLD);
    const Clock::time_point next = nextDeadline();
    timespec time = {};
    if (next != Clock::time_point::max()) {
        constexpr long billion = 1000000000;
        const auto remaining = std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::max(next - Clock::now(), Clock::duration::zero()));
        time = {static_cast<time_t>(remaining.count() / billion),
            static_cast<long>(remaining.count() % billion)};
    }
    ppoll(files.data(), files.size(), next == Clock::time_point::max() ? nullptr : &time, &blocked);
}

Happenings Crew::wait()
{
    Happenings happenings;
    if (workers.empty())
        return happenings;
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    const auto afterwards = qScopeGuard([this] { sigprocmask(SIG_UNBLOCK, &handled, nullptr); });
    if (!interruption().isNull() && !isStopped)
        return happenings; // it came while nobody waited, and the caller has yet to see it
    waitForSomething();
    for (const auto &worker : workers)
        read(*worker, happenings);
    int status = 0;
    for (pid_t process = 0; (process = waitpid(-1, &status, WNOHANG)) > 0;) {
        const auto found = std::find_if(workers.begin(), workers.end(),
            [process](const auto &worker) { return worker->process == process; });
        if (found == workers.end())
            continue; // a program that a run had left behind
        const std::unique_ptr<Worker> worker = std::move(*found);
        workers.erase(found);
        end(*worker, status, happenings);
    }
    const Clock::time_point now = Clock::now();
    for (const auto &worker : workers)
        press(*worker, now);
    return happenings;
}

/// Reads what \a worker has reported up to now.
void Crew::read(Worker &worker, Happenings &happenings)
{
    char block[65536];
    while (worker.reports.isOpen()) {
        const ssize_t count = ::read(worker.reports.get(), block, sizeof block);
        if (count > 0)
            worker.bytes.append(block, static_cast<int>(count));
        else if (count == 0)
            worker.reports = Descriptor();
        else if (errno != EINTR)
            break;
    }
    RunReport report;
    while (!worker.isDone() && takeReport(worker.bytes, report)) {
        accept(worker, std::move(report), happenings);
        report = RunReport();
    }
    if (worker.isDone()) { // what is left is the end of the process, which holds up nothing
        worker.reports = Descriptor();
        endJob(worker, happenings);
    }
}

/// Takes \a report, of the run at work, for what happened.
void Crew::accept(Worker &worker, RunReport report, Happenings &happenings)
{
    const size_t run = worker.run();
    ++worker.reported;
    worker.began = Clock::now();
    worker.printed = report.record.output.offset + report.record.output.length;
    for (const LeftBehind &program : report.leftBehind) {
        const bool isKnown = std::any_of(left.begin(), left.end(), [&program](const auto &known) {
            return known.second.process == program.process &&
                   known.second.started == program.started;
        });
        if (!isKnown) // by an earlier run of the job
            left.emplace_back(run, program);
    }
    worker.hasLeft = worker.hasLeft || !report.leftBehind.empty();
    RunRecord &record = report.record;
    if (worker.isTimeOut && run != worker.askedFor && !record.isOwn) {
        worker.again.push_back(run); // it began when the time of the one before was just up
        return;
    }
    // One that ends well although it was told that its time is up has taken too long all the same.
    const bool isTooLate = worker.isTimeOut && run == worker.askedFor && record.message.isNull();
    if (worker.isAsked() && (!record.isOwn || isTooLate)) {
        record.state = RunState::Failed;
        record.message = worker.cause;
        record.isOwn = worker.isTimeOut;
    }
    record.output.path = "/proc/self/fd/" + QByteArray::number(worker.output->get());
    happenings.reports.push_back(std::move(report));
}

/// \a worker has ended, with a \a status of waitpid.
void Crew::end(Worker &worker, int status, Happenings &happenings)
{
    read(worker, happenings);
    const bool endedWell = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!endedWell && !worker.isDone())
        accept(worker, lostReport(worker, status, happenings), happenings);
    if (worker.isAsked() && !endedWell) // it was killed, or a second signal ended it
        killStrays(happenings);
    endJob(worker, happenings);
    const bool isNeeded = worker.output.use_count() > 1;
    if (endedWell && !worker.hasLeft && !isNeeded)
        outputs.push_back(std::move(worker.output));
}

/// The job of \a worker has ended, if nobody has said so yet: its process makes no run any more.
void Crew::endJob(Worker &worker, Happenings &happenings)
{
    if (std::exchange(worker.hasEnded, true))
        return;
    EndedJob ended = {worker.job, std::move(worker.again), worker.output};
    ended.notStarted.insert(ended.notStarted.end(),
        worker.job.begin() + static_cast<std::ptrdiff_t>(worker.reported), worker.job.end());
    happenings.ended.push_back(std::move(ended));
}

/// The report of the run at work of \a worker, which has ended without one.
RunReport Crew::lostReport(const Worker &worker, int status, Happenings &happenings)
{
    RunReport report;
    report.run = worker.run();
    RunRecord &record = report.record;
    record.isOwn = false;
    record.state = RunState::Failed;
    record.seconds = secondsBetween(worker.began, Clock::now());
    const QString directory = suite.runs[report.run].directory();
    record.directory = existsOnDisk(directory) ? directory : QString();
    record.output.offset = worker.printed;
    record.output.length = -1;
    if (WIFSIGNALED(status))
        record.message = QStringLiteral("the process of the run was ended by signal %1 (%2)")
                             .arg(QString::number(WTERMSIG(status)),
                                 QString::fromLocal8Bit(strsignal(WTERMSIG(status))));
    else
        record.message =
            QStringLiteral("the process of the run ended without a result (exit status %1)")
                .arg(WEXITSTATUS(status));
    if (!worker.isAsked()) {
        for (const pid_t stray : strays(happenings)) {
            std::vector<pid_t> processes = descendantsOf(stray);
            processes.push_back(stray);
            for (const pid_t process : processes) {
                const ProcessStatus program = statusOf(process);
                report.leftBehind.push_back({process, program.name, program.started});
            }
        }
    }
    return report;
}

/// What has become ours, and belongs neither to a child nor to what was left behind before.
std::vector<pid_t> Crew::strays(Happenings &happenings)
{
    std::vector<pid_t> found = childrenOf(getpid());
    for (const auto &worker : workers)
        read(*worker, happenings); // one that has just ended may have told what it left behind
    const auto isKnown = [this](pid_t process) {
        const auto isWorker = [process](const auto &worker) { return worker->process == process; };
        const auto isLeft = [process](
                                const auto &known) { return known.second.process == process; };
        return std::count(inherited.begin(), inherited.end(), process) > 0 ||
               std::any_of(workers.begin(), workers.end(), isWorker) ||
               std::any_of(left.begin(), left.end(), isLeft);
    };
    found.erase(std::remove_if(found.begin(), found.end(), isKnown), found.end());
    return found;
}

/// Kills what a child that was killed had started.
void Crew::killStrays(Happenings &happenings)
{
    constexpr int attempts = 100; // of ten milliseconds: a killed program can take its time
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const std::vector<pid_t> found = strays(happenings);
        if (found.empty())
            return;
        for (const pid_t process : found) {
            for (const pid_t descendant : descendantsOf(process))
                kill(descendant, SIGKILL);
            kill(process, SIGKILL);
        }
        poll(nullptr, 0, 10);
        for (const pid_t process : found)
            waitpid(process, nullptr, WNOHANG);
    }
}

std::vector<std::pair<size_t, LeftBehind>> Crew::leftBehind() const
{
    std::vector<std::pair<size_t, LeftBehind>> present;
    for (const auto &[run, program] : left) {
        const ProcessStatus status = statusOf(static_cast<pid_t>(program.process));
        if (status.started == program.started && status.state != 'Z')
            present.emplace_back(run, program);
    }
    return present;
}

} // namespace Talmo
