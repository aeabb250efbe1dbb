#pragma once

#include "Descriptor.h"
#include "RunChild.h"
#include "Suite.h"

#include <QByteArray>
#include <QString>

#include <chrono>
#include <csignal>
#include <memory>
#include <vector>

#include <sys/types.h>

namespace Talmo
{

/// A job that has ended. Its child may still be about to end.
struct EndedJob {
    std::vector<size_t> job;            ///< as it was started
    std::vector<size_t> notStarted;     ///< those of its runs that it did not come to
    std::shared_ptr<Descriptor> output; ///< what its runs printed
};

/// What has happened since the last look.
struct Happenings {
    std::vector<RunReport> reports; ///< record.output.path names a file that is there for now
    std::vector<EndedJob> ended;    ///< after the reports of their runs
};

/// The children that make runs, each its job. Whatever becomes of a child, there is a report of
/// each run that it has begun. While this object lives, the process adopts what children leave
/// behind.
class Crew
{
public:
    /// \a seconds has, for each run of \a suite, how long it may take; 0: as long as it likes.
    Crew(const Suite &suite, std::vector<double> seconds, bool keepsAll);
    Crew(const Crew &) = delete;
    Crew &operator=(const Crew &) = delete;

    /// Starts a child that makes the runs of \a job. Returns false if that is not possible;
    /// problem() says why.
    bool start(const std::vector<size_t> &job);

    const QString &problem() const { return reason; }

    bool isIdle() const { return workers.empty(); }

    /// The runs at work, as indices.
    std::vector<size_t> atWork() const;

    /// Waits until something happens: a report, the end of a child, or a signal. Asks the children
    /// to end whose time is up, and kills what does not end.
    Happenings wait();

    /// Asks all children to end, because \a signal came: the runs at work fail for that reason.
    void stop(const QString &signal);

    /// Programs that runs have left behind and that are still at work, each with its run.
    std::vector<std::pair<size_t, LeftBehind>> leftBehind() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Worker {
        pid_t process = 0;
        std::vector<size_t> job;
        bool isLight = false;      ///< its runs start no programs
        std::vector<size_t> again; ///< runs of it that have to be made once more
        size_t reported = 0;       ///< how many of them
        qint64 printed = 0;        ///< where the output of the run at work begins
        std::shared_ptr<Descriptor> output;
        Descriptor reports;
        QByteArray bytes;        ///< of a report that is not there as a whole
        Clock::time_point began; ///< the run at work
        Clock::time_point asked; ///< to end; never if that is 0
        QString cause;           ///< why it was asked to end, as the message of its run
        size_t askedFor = 0;     ///< the run at work then
        bool isTimeOut = false;  ///< it was asked because its time was up
        bool hasEnded = false;   ///< the job, not the process
        bool hasLeft = false;    ///< a program, which may write into the output

        size_t run() const { return job[reported]; }
        bool isDone() const { return reported == job.size(); }
        bool isAsked() const { return !cause.isNull(); }
    };

    bool fail(const QString &what);
    void closeFiles() const;
    std::shared_ptr<Descriptor> takeOutput();
    bool ask(Worker &worker, const QString &cause);
    void press(Worker &worker, Clock::time_point now);
    Clock::time_point nextDeadline() const;
    void waitForSomething();
    void read(Worker &worker, Happenings &happenings);
    void accept(Worker &worker, RunReport report, Happenings &happenings);
    void endJob(Worker &worker, Happenings &happenings);
    void end(Worker &worker, int status, Happenings &happenings);
    RunReport lostReport(const Worker &worker, int status, Happenings &happenings);
    std::vector<pid_t> strays(Happenings &happenings);
    void killStrays(Happenings &happenings);

    const Suite &suite;
    std::vector<double> seconds;
    bool keepsAll;
    QString reason;
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::shared_ptr<Descriptor>> outputs; ///< to be used again
    std::vector<std::pair<size_t, LeftBehind>> left;
    std::vector<pid_t> inherited; ///< children that we did not start
    sigset_t handled;             ///< what ends a wait
    sigset_t awake;               ///< the signals that are blocked while we wait
    bool isStopped = false;
};

} // namespace Talmo
