// "talmo new": a script from a command. What is recorded is what a run does: the script is run by
// the driver's own code while it grows. First it only runs the command, and what that leaves in the
// directory becomes the references; then it is run as a whole, in a later second of the clock,
// until it has no comparison any more that differs from run to run.

#include "CommandLine.h"
#include "DiskFile.h"
#include "Draft.h"
#include "Produced.h"
#include "Programs.h"
#include "Scratch.h"
#include "ScriptFolder.h"
#include "SimPrograms.h"
#include "SuiteOptions.h"
#include "Trial.h"
#include "carrying.h"
#include "commandTable.h"
#include "details.h"
#include "interruption.h"
#include "regularFile.h"
#include "saving.h"
#include "talmo/Numbers.h"
#include "tolerances.h"
#include "variation.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

const QString programOption = QStringLiteral("program");
const QString inputOption = QStringLiteral("input");
const QString relativeOption = QStringLiteral("relative");
const QString headingOption = QStringLiteral("heading");
const QString timeoutOption = QStringLiteral("timeout");

void addOptions(CommandLine &line)
{
    addFolderOption(line);
    line.addOptions({
        {programOption,
            QStringLiteral("Writes a script for the program NAME, which COMMAND names. PATH is an "
                           "executable, or a folder with NAME in it; otherwise NAME is found in "
                           "the PATH."),
            QStringLiteral("NAME[=PATH]")},
        {inputOption,
            QStringLiteral("Puts a copy of FILE into the directory where COMMAND runs. "
                           "Repeatable."),
            QStringLiteral("FILE")},
        {relativeOption,
            QStringLiteral("Compares each column of numbers with a tolerance of R times its "
                           "largest magnitude; 1e-9, if not given."),
            QStringLiteral("R"), QStringLiteral("1e-9")},
        {headingOption, QStringLiteral("The heading of the script; COMMAND, if not given."),
            QStringLiteral("TEXT")},
        {timeoutOption, QStringLiteral("Ends COMMAND after <SECONDS>."), QStringLiteral("SECONDS")},
    });
    line.addPositionalArgument(QStringLiteral("name"),
        QStringLiteral("The name of the script, and a command that writes the files to compare."),
        QStringLiteral("NAME -- COMMAND..."));
}

bool isControl(QChar character)
{
    return character.category() == QChar::Other_Control;
}

bool hasControls(const QString &text)
{
    return std::any_of(text.begin(), text.end(), isControl);
}

/// Why a script cannot have the name \a name; null if it can.
QString problemOfName(const QString &name)
{
    const QString is = QStringLiteral("'%1' can be no script: ").arg(shown(name));
    if (name.isEmpty())
        return is + QStringLiteral("it is no name");
    if (name.contains(QLatin1Char('/')))
        return is + QStringLiteral("scripts lie in the suite's directory itself; see -C");
    if (name.startsWith(QLatin1Char('.')))
        return is + QStringLiteral("the driver passes over hidden files");
    if (hasControls(name))
        return is + QStringLiteral("the name has control characters");
    const auto isWild = [](QChar character) { return QStringLiteral("*?[]").contains(character); };
    if (std::any_of(name.begin(), name.end(), isWild))
        return is + QStringLiteral("the driver would take the name for a pattern");
    constexpr int longestName = 255;
    if (QFile::encodeName(name).size() > longestName - 100)
        return is + QStringLiteral("with the programs behind it, the name is too long for the "
                                   "directory of a run");
    struct stat status = {};
    if (lstat(systemName(name), &status) == 0)
        return QStringLiteral("'%1' is there already, and is not overwritten").arg(name);
    return problemOfSaving(name);
}

QString numberOf(size_t count, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(
        QString::number(count), QString::fromLatin1(count == 1 ? one : many));
}

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
    bool readRequest();
    void readNumbers();
    void readHeading();
    void readProgram();
    void readInputs();
    void addInput(const QString &path);
    void placeOutside(Input &input);
    bool writeCommand();
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
    QStringList problems;
    QString name;
    double relative = 0;
    double timeout = 0;
    GivenPrograms programs;
    Draft draft;
    QStringList remarks; ///< what the script does not test, and why
    Descriptor suite;    ///< the directory for the script
    QByteArray folder;   ///< its path
};

void NewCommand::readNumbers()
{
    QString problem;
    if (line.isSet(timeoutOption))
        timeout = line.seconds(timeoutOption, problem).value_or(0);
    if (!problem.isNull())
        problems += problem;
    const QString text = line.value(relativeOption);
    if (!toNumber(text.toStdString(), relative) || relative < 0 || relative > 1)
        problems += QStringLiteral("--relative takes a number from 0 to 1, not '%1'").arg(text);
}

void NewCommand::readHeading()
{
    constexpr int enough = 100;
    const bool isGiven = line.isSet(headingOption);
    const QString text = command.join(QLatin1Char(' '));
    draft.heading = isGiven ? line.value(headingOption) : shown(text).left(enough);
    if (hasControls(draft.heading))
        problems += QStringLiteral("--heading takes one line without control characters");
}

void NewCommand::readProgram()
{
    const QStringList given = line.values(programOption);
    QString problem;
    if (given.size() > 1)
        problems += QStringLiteral("--program is given twice, and a script is made from one run");
    if (given.size() != 1)
        return;
    if (!programs.add(given[0], problem)) {
        problems += problem;
        return;
    }
    draft.program = programs.names()[0];
    if (!command.contains(draft.program))
        problems += QStringLiteral("no word of COMMAND is '%1', the program that the script is for")
                        .arg(draft.program);
    const QStringList configured = storedSimPrograms(problem);
    if (problem.isNull() && !configured.contains(draft.program))
        remarks += QStringLiteral("'%1' is not configured, so the driver will skip the script; "
                                  "'talmo run --program %1' makes the run")
                       .arg(draft.program);
}

/// Has the script copy \a input, which it cannot carry, if that is in the suite's directory.
void NewCommand::placeOutside(Input &input)
{
    const QString from = QFileInfo(QFile::decodeName(folder)).canonicalFilePath();
    const QString path = QFileInfo(QFile::decodeName(input.path)).canonicalFilePath();
    const QString prefix = from.endsWith(QLatin1Char('/')) ? from : from + QLatin1Char('/');
    RunLine copying;
    const QString outside = QStringLiteral("../") + path.mid(prefix.size());
    QString problem;
    // Only if the shell would take the words as they are.
    const bool isPlain = writeRunLine({QStringLiteral("cp"), outside, input.name}, {},
                             QStringLiteral("-"), copying, problem) &&
                         copying.shellText.isNull();
    if (path.startsWith(prefix) && isPlain)
        input.outside = outside;
}

void NewCommand::addInput(const QString &path)
{
    Input input;
    const QByteArray bytes = systemName(path);
    input.path = bytes.startsWith('/') ? bytes : folder + '/' + bytes;
    input.name = path.section(QLatin1Char('/'), -1);
    const QString is = QStringLiteral("the input '%1': ").arg(shown(path));
    QString obstacle = problemOfFileName(input.name);
    if (obstacle.isNull()) {
        QFile file;
        if (!openRegular(file, input.path))
            obstacle = reasonOf(errno);
    }
    const auto isNamesake = [&input](const Input &other) { return other.name == input.name; };
    if (std::any_of(draft.inputs.begin(), draft.inputs.end(), isNamesake))
        obstacle = QStringLiteral("another one is called '%1', too").arg(input.name);
    if (!obstacle.isNull()) {
        problems += is + obstacle;
        return;
    }
    // A link to a file is as good as the file.
    const QByteArray real =
        QFile::encodeName(QFileInfo(QFile::decodeName(input.path)).canonicalFilePath());
    input.reason = readText(real, input.text);
    if (input.reason.isNull())
        input.reason = problemOfBody(input.text, Sameness::OfBytes);
    if (!input.reason.isNull())
        placeOutside(input);
    if (!input.reason.isNull() && input.outside.isNull())
        problems += is + QStringLiteral("no script can carry it (%1), and it is not in the suite's "
                                        "directory, from where the script could copy it")
                             .arg(input.reason);
    draft.inputs.push_back(input);
}

void NewCommand::readInputs()
{
    for (const QString &path : line.values(inputOption))
        addInput(path);
    for (const Input &input : draft.inputs) {
        if (!input.outside.isNull())
            remarks +=
                QStringLiteral("the input '%1' stays outside, and the script copies '%2': %3")
                    .arg(input.name, input.outside, input.reason);
    }
}

/// Makes the "=run" line.
bool NewCommand::writeCommand()
{
    draft.shellName = draft.freeName(QStringLiteral("command.sh"), {});
    QString problem;
    if (!writeRunLine(command, draft.program, draft.shellName, draft.command, problem))
        problems += problem;
    if (draft.command.shellText.isNull())
        draft.shellName = QString();
    return problem.isNull();
}

bool NewCommand::readRequest()
{
    QString problem;
    if (!enterFolder(line, problem)) {
        line.refuse(problem);
        return false;
    }
    folder = workingDirectory();
    suite = openDirectory(".", asPlace);
    const QStringList names = line.positionalArguments();
    if (names.size() != 1 || command.isEmpty() || command[0].isEmpty()) {
        line.refuse(QStringLiteral("it takes NAME -- COMMAND..., the name of the new script and a "
                                   "command"));
        return false;
    }
    name = names[0];
    problem = problemOfName(name);
    if (!problem.isNull())
        problems += problem;
    readNumbers();
    readHeading();
    readProgram();
    readInputs();
    writeCommand();
    if (problems.isEmpty() && !programs.enterPath(problem))
        problems += problem;
    for (const QString &sentence : std::as_const(problems))
        line.refuse(sentence);
    return problems.isEmpty();
}

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
    for (const Input &input : draft.inputs) {
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
        remarks += QStringLiteral("'%1' is not tested: %2").arg(file.name, file.obstacle);
        return;
    }
    Output output;
    output.name = file.name;
    const QString capture =
        QString(draft.command.capture).replace(QStringLiteral("$simProgram"), draft.program);
    const bool isCapture = file.name == capture;
    output.scriptName = isCapture ? draft.command.capture : file.name;
    if (isCapture && file.obstacle.isNull() && file.text.isEmpty())
        return; // it printed nothing
    QString obstacle = file.obstacle;
    if (obstacle.isNull())
        obstacle = problemOfBody(file.text, Sameness::ForComparing);
    if (!obstacle.isNull()) {
        output.test = Output::Exists;
        remarks += QStringLiteral("'%1' is not compared, only that it is there: %2")
                       .arg(file.name, obstacle);
    } else {
        const QString base = QString(output.scriptName).replace(QLatin1Char('/'), QLatin1Char('_'));
        output.reference = draft.freeName(base + QStringLiteral(".ref"), taken);
        output.body = bodyOf(file.text);
    }
    draft.outputs.push_back(output);
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
        const bool isInput = std::any_of(draft.inputs.begin(), draft.inputs.end(), isUnchanged);
        if (!isInput && file.name != draft.shellName)
            addOutput(file, taken);
    }
    for (Output &output : draft.outputs) {
        if (output.test != Output::Compares)
            continue;
        const auto found = tolerancesFor(directory + QLatin1Char('/') + output.name, relative);
        output.tolerances = found.value_or(std::vector<std::string>());
    }
}

/// Takes out of the script what differs from run to run in \a directory. True if anything was.
bool NewCommand::takeOut(const QString &directory)
{
    QStringList sentences;
    for (Output &output : draft.outputs)
        sentences += takeOutWhatVaries(output, directory, draft.program);
    remarks += sentences;
    return !sentences.isEmpty();
}

/// Runs the script until it passes, and takes out what differs. False if it does not come to pass;
/// \a problem then says why.
bool NewCommand::settle(Scratch &scratch, Trial &trial, QString &problem)
{
    constexpr int mostRounds = 5;
    const auto linesBefore = draft.head().count('\n'); // up to the command, with it
    for (int round = 0; round < mostRounds; ++round) {
        if (!trial.waitForLaterTime() || !scratch.move(problem))
            return false;
        const bool passed = trial.make(draft.text());
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
    const QByteArray path = systemName(name);
    const int descriptor = openat(suite.get(), path, access, allMayReadAndWrite);
    if (descriptor < 0) {
        problem = cannotWrite(name, reasonOf(errno));
        return false;
    }
    const QByteArray text = draft.text();
    QFile file;
    errno = 0;
    const bool isWritten = file.open(descriptor, QIODevice::WriteOnly) &&
                           file.write(text) == text.size() && file.flush();
    if (!isWritten) // Qt does not know the reason if a part was written before
        problem = cannotWrite(name, errno == 0 ? file.errorString() : reasonOf(errno));
    file.close();
    if (close(descriptor) == 0 && isWritten)
        return true;
    if (isWritten)
        problem = cannotWrite(name, reasonOf(errno));
    unlinkat(suite.get(), path, 0); // half a script would be worse than none
    return false;
}

void NewCommand::report(const Trial &trial) const
{
    const auto compares = [](const Output &output) { return output.test == Output::Compares; };
    const auto count = std::count_if(draft.outputs.begin(), draft.outputs.end(), compares);
    std::printf("wrote '%s': %s, %s\n", qPrintable(name),
        qPrintable(numberOf(draft.inputs.size(), "input", "inputs")),
        qPrintable(numberOf(static_cast<size_t>(count), "comparison", "comparisons")));
    for (const QString &remark : remarks)
        std::puts(qPrintable(remark));
    if (count == 0)
        std::puts("nothing is compared: the script only tests that COMMAND succeeds");
    if (!name.startsWith(QLatin1String("test"), Qt::CaseInsensitive))
        std::printf("the driver runs '%s' only if it is asked to: its usual filter is test*\n",
            qPrintable(name));
    for (const QString &remark : trial.remarks())
        std::puts(qPrintable(remark));
}

int NewCommand::make(Scratch &scratch, Trial &trial)
{
    if (!trial.make(draft.head()))
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
    if (!readRequest())
        return WrongCall;
    Scratch scratch; // before the trial, whose processes may be at work in it
    QString problem;
    if (!scratch.enter(problem) || !linkOutside())
        return failed(problem.isNull() ? reasonOf(errno) : problem);
    Trial trial(name, draft.program, timeout);
    return make(scratch, trial);
}

} // namespace

int newCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("new"),
        QStringLiteral("Writes a script that tests what a command does now. COMMAND runs in an "
                       "empty directory with the inputs, and must succeed."));
    addOptions(line);
    const auto separator = arguments.indexOf(QStringLiteral("--"));
    const QStringList own = separator < 0 ? arguments : QStringList(arguments.mid(0, separator));
    if (const std::optional<int> status = line.read(own))
        return *status;
    noteInterruptions();
    return NewCommand(line, arguments.mid(own.size() + 1)).perform(); // behind the separator
}

} // namespace Talmo
