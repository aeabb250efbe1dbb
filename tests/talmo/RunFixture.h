#pragma once

#include "CompanionTest.h"

#include <QList>
#include <QProcess>

#include <sys/types.h>

/// A `talmo` that makes runs, in the foreground or in the background. Programs that wait tell that
/// they are there by a file, and the process that they are in it.
class RunFixture : public CompanionTest
{
protected:
    ~RunFixture() override;

    /// Runs `talmo run` with \a arguments. What no test can foresee is taken out of the output: the
    /// slowest runs, and how long all took.
    Outcome make(const QStringList &arguments = {});

    /// Runs `talmo run` with \a arguments, and expects that it prints \a output on standard output,
    /// where that can be foreseen, and nothing on standard error; and its exit status.
    void expectRun(const QStringList &arguments, const QByteArray &output, int status);

    /// The last line that `talmo run` prints, after an empty one, if this many runs of each kind
    /// were to be made.
    static QByteArray counts(
        int passed, int failed = 0, int known = 0, int flaky = 0, int skipped = 0, int notRun = 0);

    /// Starts `talmo run` with \a arguments, in a group of processes of its own.
    void start(const QStringList &arguments);

    /// Waits until all \a files exist. Fails if talmo ends before.
    void waitFor(const QStringList &files);

    /// Waits until talmo has printed \a text. Fails if it ends before.
    void waitForOutput(const QByteArray &text);

    /// Sends \a signal to talmo alone, or to all of its group.
    void sendToTalmo(int signal);
    void sendToGroup(int signal);

    /// The process that talmo has started or adopted; waits until there is no other one.
    pid_t onlyChildOfTalmo() const;

    /// The processes that talmo has started or adopted, and that have not ended.
    QList<pid_t> childrenOfTalmo() const;

    /// Waits for the end of the talmo that was started, and returns what make() would.
    Outcome end();

    /// Puts the program "stay" into the PATH: `stay NAME` puts the number of its process into the
    /// file NAME of the working directory, and stays, as "sleep", until a signal comes. The program
    /// "insist" does the same, but no signal ends it that can be ignored.
    void addProgramsThatStay();

    /// The process in the file \a name, which a program wrote.
    pid_t processIn(const QString &name) const;

    /// True if the process in the file \a name is still there.
    bool isThere(const QString &name) const;

    /// Ends a process that is expected to be there.
    void endProcessIn(const QString &name);

private:
    QProcess process;
};
