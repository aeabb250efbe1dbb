// The child's side of a run. It is a copy of the parent, so it knows the suite, and nothing is read
// or started anew. It adopts whatever its programs leave behind (a "child subreaper"), so it can
// name that, and end it if the run was asked to stop.

#include "RunChild.h"

#include "DiskFile.h"
#include "Run.h"
#include "anonymousFile.h"
#include "commands.h"
#include "details.h"
#include "digests.h"
#include "interruption.h"
#include "processTree.h"
#include "shell.h"

#include <QDataStream>
#include <QElapsedTimer>
#include <QFile>
#include <QIODevice>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <new>

#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

QDataStream &operator<<(QDataStream &stream, const LeftBehind &left)
{
    return stream << left.process << left.name << left.started;
}

QDataStream &operator>>(QDataStream &stream, LeftBehind &left)
{
    return stream >> left.process >> left.name >> left.started;
}

/// The members of a record that a report has, for reading and for writing.
template <typename Record, typename Visitor>
void visit(Record &record, Visitor &&with)
{
    with(record.message);
    with(record.isOwn);
    with(record.line);
    with(record.details);
    with(record.directory);
    with(record.remarks);
    with(record.seconds);
    with(record.scriptDigest);
    with(record.referencesDigest);
    with(record.directoryDigest);
    with(record.output.offset);
    with(record.output.length);
}

QByteArray packed(const RunReport &report)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << quint32(0) << quint64(report.run);
    visit(report.record, [&stream](const auto &member) { stream << member; });
    stream << quint32(report.record.captures.size());
    for (const Capture &capture : report.record.captures)
        stream << capture.name << capture.part.path;
    stream << quint32(report.leftBehind.size());
    for (const LeftBehind &left : report.leftBehind)
        stream << left;
    stream.device()->seek(0);
    stream << quint32(bytes.size());
    return bytes;
}

/// Writes all of \a bytes; what the parent no longer reads is of no use.
void send(int pipe, const QByteArray &bytes)
{
    for (qint64 done = 0; done < bytes.size();) {
        const ssize_t count =
            write(pipe, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (count < 0 && errno != EINTR)
            return;
        done += std::max<ssize_t>(count, 0);
    }
}

/// Forgets the children that have ended. False if there are no others.
bool reap()
{
    pid_t process = 0;
    do {
        process = waitpid(-1, nullptr, WNOHANG);
    } while (process > 0);
    return process == 0;
}

void sleepBriefly()
{
    constexpr long aHundredth = 10000000;
    const timespec pause = {0, aHundredth};
    nanosleep(&pause, nullptr);
}

/// Ends all that this process has started or adopted: asks first, and kills what does not end
/// within the grace period. What the shell has left behind was asked with it, and is not asked
/// again: some programs, mpirun for one, take a second request for an order to end at once, and do
/// not tidy up.
void endAll()
{
    QElapsedTimer timer;
    timer.start();
    const std::vector<pid_t> &asked = processesAskedToEnd();
    for (const pid_t child : childrenOf(getpid())) {
        if (std::find(asked.begin(), asked.end(), child) == asked.end())
            sendToTree(child, SIGTERM);
    }
    while (reap()) {
        if (timer.elapsed() > static_cast<qint64>(gracePeriod * 1000)) {
            for (const pid_t process : descendantsOf(getpid()))
                kill(process, SIGKILL);
        }
        sleepBriefly();
    }
}

/// Kills the programs that a command is waiting for if they have not ended within the grace period
/// after this process was asked to end. The parent does so, too, but it may have been killed.
void endStubborn()
{
    if (interruption().isNull())
        return;
    static QElapsedTimer sinceAsked;
    if (!sinceAsked.isValid()) {
        sinceAsked.start();
        const itimerval soon = {{0, 500000}, {0, 500000}}; // looks again, twice a second
        setitimer(ITIMER_REAL, &soon, nullptr);
    }
    if (sinceAsked.elapsed() <= static_cast<qint64>(gracePeriod * 1000))
        return;
    for (const pid_t process : descendantsOf(getpid()))
        kill(process, SIGKILL);
}

/// The programs that are still at work although the run has ended.
std::vector<LeftBehind> programsLeft()
{
    std::vector<LeftBehind> left;
    if (!reap())
        return left;
    for (const pid_t process : descendantsOf(getpid())) {
        const ProcessStatus status = statusOf(process);
        if (status.state != '\0' && status.state != 'Z')
            left.push_back({process, status.name, status.started});
    }
    return left;
}

/// Makes the process a place where runs can be made.
void prepare(const ChildTask &task, pid_t parent)
{
    // If the parent is killed, this process ends its programs, as it does when it is asked to stop.
    insistOnNoting();
    onSignalWhileWaiting = endStubborn;
    std::signal(SIGALRM, [](int) {}); // it ends a wait
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    if (getppid() != parent)
        _exit(0);
    const int nothing = open("/dev/null", O_RDONLY);
    dup2(nothing, STDIN_FILENO);
    if (nothing > STDERR_FILENO)
        close(nothing);
    dup2(task.output, STDOUT_FILENO);
    dup2(task.output, STDERR_FILENO);
}

/// Opens the script of \a run again, and looks whether the run is still one of it. Returns why not;
/// null if it is.
QString problemOf(const PlannedRun &run, const QByteArray &path, Script &script)
{
    struct stat status = {};
    const bool isKnown = stat(path, &status) == 0;
    if (isKnown && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) // it might keep us waiting
        return QStringLiteral("the script is no regular file any more");
    if (!script.open(path))
        return script.problem();
    if (run.program.isEmpty() && script.programPatterns())
        return QStringLiteral("the script has changed, and no longer runs without a program");
    if (!programsFor(script, QStringList(run.program)).contains(run.program))
        return QStringLiteral("the script has changed, and no longer runs for '%1'")
            .arg(run.program);
    return {};
}

/// The files in which the programs of \a script print when it runs with \a program.
QStringList capturesOf(const Script &script, const QString &program)
{
    QStringList names;
    for (const ScriptLine &line : script.lines()) {
        const QString text = QString(line.text).replace(QStringLiteral("$simProgram"), program);
        const QStringList words = text.simplified().split(QLatin1Char(' '));
        const bool isRun = words.size() > 1 && words[0] == QLatin1String("=run");
        const QString name = isRun ? captureOf(words) : QString();
        if (!name.isNull() && !names.contains(name))
            names += name;
    }
    return names;
}

/// Writes into \a record what is to be known of a run that failed, as long as its directory is
/// there.
void describeFailure(
    const Result &result, const Script &script, const QString &program, RunRecord &record)
{
    record.details = detailsOf(result, script);
    const QByteArray directory = systemName(result.directory);
    record.referencesDigest = digestOfReferences(script, program, directory);
    if (result.directory.isNull())
        return;
    record.directoryDigest = digestOfDirectory(directory);
    for (const QString &name : capturesOf(script, program)) {
        const QString path = result.directory + QLatin1Char('/') + name;
        if (existsOnDisk(path))
            record.captures.push_back({name, {systemName(path), 0, -1}});
    }
}

/// Makes \a run, of an open \a script with \a program, and writes into \a record what became of it.
void make(
    Run &run, const Script &script, const QString &program, KeptDirectory kept, RunRecord &record)
{
    Result result = run.make();
    const QString signal = interruption();
    if (!signal.isNull()) { // that is what became of it, whatever the last command says
        endAll();
        result.message = QStringLiteral("interrupted by ") + signal;
    }
    run.finish(result, kept);
    record.message = result.message;
    record.isOwn = signal.isNull() && !result.isInUse;
    record.directory = result.directory;
    if (result.passed() && result.hasLeftover) { // perhaps only thanks to what it had found
        record.message =
            QStringLiteral("what an earlier run left in its directory could not be removed");
        record.isOwn = false;
    }
    record.line = result.line;
    for (const QByteArray &remark : result.remarks)
        record.remarks += QString::fromLocal8Bit(remark);
    if (!result.passed())
        describeFailure(result, script, program, record);
}

RunReport reportOf(const Suite &suite, size_t index, const ChildTask &task)
{
    QElapsedTimer timer;
    timer.start();
    const PlannedRun &planned = suite.runs[index];
    RunReport report;
    report.run = index;
    RunRecord &record = report.record;
    record.output.offset = lseek(STDOUT_FILENO, 0, SEEK_END);
    Script script;
    record.message = problemOf(planned, suite.scripts[planned.script].path, script);
    record.isOwn = record.message.isNull();
    if (record.isOwn) {
        record.scriptDigest = digestOfScript(script);
        Debug = 0; // what an earlier run of this process made of it
        Run run(script, planned.program);
        make(run, script, planned.program,
            task.keepsAll ? KeptDirectory::Always : KeptDirectory::OfFailure, record);
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::clearerr(stdout);
        record.remarks +=
            QStringLiteral("what it printed is incomplete, since not all could be written to '%1'")
                .arg(QFile::decodeName(temporaryFolder()));
    }
    record.output.length = lseek(STDOUT_FILENO, 0, SEEK_END) - record.output.offset;
    record.seconds = static_cast<double>(timer.nsecsElapsed()) * 1e-9;
    report.leftBehind = programsLeft();
    return report;
}

} // namespace

void makeRuns(const Suite &suite, const ChildTask &task, pid_t parent)
{
    prepare(task, parent);
    try {
        for (const size_t run : task.runs) {
            if (!interruption().isNull())
                break;
            send(task.reports, packed(reportOf(suite, run, task)));
        }
    } catch (const std::bad_alloc &) {
        _exit(1); // the parent sees that a report is missing
    }
    std::fflush(stdout);
    _exit(0);
}

bool takeReport(QByteArray &bytes, RunReport &report)
{
    QDataStream stream(bytes);
    quint32 size = 0;
    stream >> size;
    if (stream.status() != QDataStream::Ok || static_cast<qint64>(size) > bytes.size())
        return false;
    quint64 run = 0;
    stream >> run;
    report.run = static_cast<size_t>(run);
    visit(report.record, [&stream](auto &member) { stream >> member; });
    quint32 count = 0;
    for (stream >> count; count > 0; --count) {
        Capture capture;
        stream >> capture.name >> capture.part.path;
        capture.part.length = -1;
        report.record.captures.push_back(capture);
    }
    for (stream >> count; count > 0; --count) {
        LeftBehind left;
        stream >> left;
        report.leftBehind.push_back(left);
    }
    report.record.state = report.record.message.isNull() ? RunState::Passed : RunState::Failed;
    bytes.remove(0, static_cast<int>(size));
    return stream.status() == QDataStream::Ok;
}

} // namespace Talmo
