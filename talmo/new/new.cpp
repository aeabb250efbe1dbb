// "talmo new": a script from a command. What is recorded is what a run does: the script is run by
// the driver's own code while it grows. First it only runs the command, and what that leaves in the
// directory becomes the references; then it is run as a whole, in a later second of the clock,
// until it has no comparison any more that differs from run to run.

#include "CommandLine.h"
#include "DiskFile.h"
#include "NewRequest.h"
#include "Produced.h"
#include "Scratch.h"
#include "Trial.h"
#include "carrying.h"
#include "commandTable.h"
#include "interruption.h"
#include "regularFile.h"
#include "saving.h"
#include "tolerances.h"
#include "variation.h"
#include "wording.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

class NewCommand
{
public:
    explicit NewCommand(const CommandLine &itsLine, const QStringList &itsCommand)
        : line(itsLine)
        , command(itsCommand)
    {
    }

    int perform();

private:
    int failed(const QString &sentence, const QStringList &details = {}) const;
    bool linkOutside();
    int make(Scratch &scratch, Trial &trial);
    void addOutputs(const QString &directory);
    void addOutput(const Produced &file, const QStringList &taken);
    bool settle(Scratch &scratch, Trial &trial, QString &problem);
    bool takeOut(const QString &directory);
    bool save(QString &problem) const;
    void report(const Trial &trial) const;

    const CommandLine &line;
    QStringList command;
    NewRequest request;
};

/// Says why there is no script, unless that is a signal. Returns the exit status.
int NewCommand::failed(const QString &sentence, const QStringList &details) const
{
    if (!interruption().isNull())
        return AtFault;
    line.refuse(sentence);
    for (const QString &detail : details)
        std::fprintf(stderr, "    %s\n", qPrintable(detail));
    return AtFault;
}

/// Gives the runs in the scratch directory the inputs that lie outside.
bool NewCommand::linkOutside()
{
    for (const Input &input : request.draft.inputs) {
        if (input.outside.isNull())
            continue;
        const QString place = input.outside.mid(3); // behind "../"
        QDir().mkpath(QFileInfo(place).path());
        const QByteArray real =
            QFile::encodeName(QFileInfo(QFile::decodeName(input.path)).canonicalFilePath());
        if (symlink(real, systemName(place)) != 0)
            return false;
    }
    return true;
}

/// Adds \a file, which the command has left, to what the script tests. \a taken are the names of
/// all that it has left.
void NewCommand::addOutput(const Produced &file, const QStringList &taken)
{
    if (!file.isNamed) {
        request.remarks += QStringLiteral("'%1' is not tested: %2").arg(file.name, file.obstacle);
        return;
    }
    Output output;
    output.name = file.name;
    const QString capture = QString(request.draft.command.capture)
                                .replace(QStringLiteral("$simProgram"), request.draft.program);
    const bool isCapture = file.name == capture;
    output.scriptName = isCapture ? request.draft.command.capture : file.name;
    if (isCapture && file.obstacle.isNull() && file.text.isEmpty())
        return; // it printed nothing
    QString obstacle = file.obstacle;
    if (obstacle.isNull())
        obstacle = problemOfBody(file.text, Sameness::ForComparing);
    if (!obstacle.isNull()) {
        output.test = Output::Exists;
        request.remarks += QStringLiteral("'%1' is not compared, only that it is there: %2")
                               .arg(file.name, obstacle);
    } else {
        const QString base = QString(output.scriptName).replace(QLatin1Char('/'), QLatin1Char('_'));
        output.reference = request.draft.freeName(base + QStringLiteral(".ref"), taken);
        output.body = bodyOf(file.text);
    }
    request.draft.outputs.push_back(output);
}

/// Makes tests of what the command has left in \a directory.
void NewCommand::addOutputs(const QString &directory)
{
    const std::vector<Produced> files = producedIn(directory);
    QStringList taken;
    for (const Produced &file : files)
        taken += file.name.section(QLatin1Char('/'), 0, 0);
    for (const Produced &file : files) {
        const auto isUnchanged = [&file](const Input &input) {
            return input.name == file.name && file.obstacle.isNull() && input.text == file.text;
        };
        const bool isInput =
            std::any_of(request.draft.inputs.begin(), request.draft.inputs.end(), isUnchanged);
        if (!isInput && file.name != request.draft.shellName)
            addOutput(file, taken);
    }
    for (Output &output : request.draft.outputs) {
        if (output.test != Output::Compares)
            continue;
        const auto found =
            tolerancesFor(directory + QLatin1Char('/') + output.name, request.relative);
        output.tolerances = found.value_or(std::vector<std::string>());
    }
}

/// Takes out of the script what differs from run to run in \a directory. True if anything was.
bool NewCommand::takeOut(const QString &directory)
{
    QStringList sentences;
    for (Output &output : request.draft.outputs)
        sentences += takeOutWhatVaries(output, directory, request.draft.program);
    request.remarks += sentences;
    return !sentences.isEmpty();
}

/// Runs the script until it passes, and takes out what differs. False if it does not come to pass;
/// \a problem then says why.
bool NewCommand::settle(Scratch &scratch, Trial &trial, QString &problem)
{
    constexpr int mostRounds = 5;
    const auto linesBefore = request.draft.head().count('\n'); // up to the command, with it
    for (int round = 0; round < mostRounds; ++round) {
        if (!trial.waitForLaterTime() || !scratch.move(problem))
            return false;
        const bool passed = trial.make(request.draft.text());
        if (!passed && trial.line() == 0) {
            problem = QStringLiteral("no script was written: %1").arg(trial.problem());
            return false;
        }
        if (!passed && trial.line() <= linesBefore) {
            problem = QStringLiteral("no script was written, since COMMAND does not always "
                                     "succeed: %1")
                          .arg(trial.problem());
            return false;
        }
        const bool isChanged = takeOut(trial.directory());
        if (passed && !isChanged)
            return true;
        if (!isChanged) {
            problem = QStringLiteral("no script was written, since it would not pass: %1")
                          .arg(trial.problem());
            return false;
        }
    }
    problem = QStringLiteral("no script was written, since each run differs from those before");
    return false;
}

/// Writes the script, unless something has its name by now.
bool NewCommand::save(QString &problem) const
{
    constexpr int access = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW;
    constexpr mode_t allMayReadAndWrite = 0666; // the umask of the process removes some of them
    const QByteArray path = systemName(request.name);
    const int descriptor = openat(request.suite.get(), path, access, allMayReadAndWrite);
    if (descriptor < 0) {
        problem = cannotWrite(request.name, reasonOf(errno));
        return false;
    }
    const QByteArray text = request.draft.text();
    QFile file;
    errno = 0;
    const bool isWritten = file.open(descriptor, QIODevice::WriteOnly) &&
                           file.write(text) == text.size() && file.flush();
    if (!isWritten) // Qt does not know the reason if a part was written before
        problem = cannotWrite(request.name, errno == 0 ? file.errorString() : reasonOf(errno));
    file.close();
    if (close(descriptor) == 0 && isWritten)
        return true;
    if (isWritten)
        problem = cannotWrite(request.name, reasonOf(errno));
    unlinkat(request.suite.get(), path, 0); // half a script would be worse than none
    return false;
}

void NewCommand::report(const Trial &trial) const
{
    const auto compares = [](const Output &output) { return output.test == Output::Compares; };
    const auto count =
        std::count_if(request.draft.outputs.begin(), request.draft.outputs.end(), compares);
    std::printf("wrote '%s': %s, %s\n", qPrintable(request.name),
        qPrintable(counted(static_cast<qint64>(request.draft.inputs.size()), "input")),
        qPrintable(counted(count, "comparison")));
    for (const QString &remark : request.remarks)
        std::puts(qPrintable(remark));
    if (count == 0)
        std::puts("nothing is compared: the script only tests that COMMAND succeeds");
    if (!request.name.startsWith(QLatin1String("test"), Qt::CaseInsensitive))
        std::printf("the driver runs '%s' only if it is asked to: its usual filter is test*\n",
            qPrintable(request.name));
    for (const QString &remark : trial.remarks())
        std::puts(qPrintable(remark));
}

int NewCommand::make(Scratch &scratch, Trial &trial)
{
    if (!trial.make(request.draft.head()))
        return failed(
            QStringLiteral("no script was written: %1").arg(trial.problem()), trial.details());
    addOutputs(trial.directory());
    QString problem;
    if (!settle(scratch, trial, problem))
        return failed(problem, trial.details());
    if (!interruption().isNull())
        return AtFault;
    if (!save(problem))
        return failed(problem);
    report(trial);
    return AllIsWell;
}

int NewCommand::perform()
{
    if (!readRequest(line, command, request))
        return WrongCall;
    Scratch scratch; // before the trial, whose processes may be at work in it
    QString problem;
    if (!scratch.enter(problem) || !linkOutside())
        return failed(problem.isNull() ? reasonOf(errno) : problem);
    Trial trial(request.name, request.draft.program, request.timeout);
    return make(scratch, trial);
}

} // namespace

int newCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("new"),
        QStringLiteral("Writes a script that tests what a command does now. COMMAND runs in an "
                       "empty directory with the inputs, and must succeed."));
    addNewOptions(line);
    const auto separator = arguments.indexOf(QStringLiteral("--"));
    const QStringList own = separator < 0 ? arguments : QStringList(arguments.mid(0, separator));
    if (const std::optional<int> status = line.read(own))
        return *status;
    noteInterruptions();
    return NewCommand(line, arguments.mid(own.size() + 1)).perform(); // behind the separator
}

} // namespace Talmo
