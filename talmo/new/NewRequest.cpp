#include "NewRequest.h"

#include "CommandLine.h"
#include "DiskFile.h"
#include "Produced.h"
#include "ScriptFolder.h"
#include "SimPrograms.h"
#include "SuiteOptions.h"
#include "carrying.h"
#include "details.h"
#include "regularFile.h"
#include "saving.h"
#include "talmo/Numbers.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

const QString programOption = QStringLiteral("program");
const QString inputOption = QStringLiteral("input");
const QString relativeOption = QStringLiteral("relative");
const QString headingOption = QStringLiteral("heading");
const QString timeoutOption = QStringLiteral("timeout");

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

/// Reads a request, and collects all that is wrong with it.
class RequestReader
{
public:
    RequestReader(const CommandLine &itsLine, const QStringList &itsCommand, NewRequest &itsRequest)
        : line(itsLine)
        , command(itsCommand)
        , request(itsRequest)
    {
    }

    bool read();

private:
    void readNumbers();
    void readHeading();
    void readProgram();
    void readInputs();
    void addInput(const QString &path);
    void placeOutside(Input &input);
    bool writeCommand();

    const CommandLine &line;
    const QStringList &command;
    NewRequest &request;
    QStringList problems;
};

void RequestReader::readNumbers()
{
    QString problem;
    if (line.isSet(timeoutOption))
        request.timeout = line.seconds(timeoutOption, problem).value_or(0);
    if (!problem.isNull())
        problems += problem;
    const QString text = line.value(relativeOption);
    if (!toNumber(text.toStdString(), request.relative) || request.relative < 0 ||
        request.relative > 1)
        problems += QStringLiteral("--relative takes a number from 0 to 1, not '%1'").arg(text);
}

void RequestReader::readHeading()
{
    constexpr int enough = 100;
    const bool isGiven = line.isSet(headingOption);
    const QString text = command.join(QLatin1Char(' '));
    request.draft.heading = isGiven ? line.value(headingOption) : shown(text).left(enough);
    if (hasControls(request.draft.heading))
        problems += QStringLiteral("--heading takes one line without control characters");
}

void RequestReader::readProgram()
{
    const QStringList given = line.values(programOption);
    QString problem;
    if (given.size() > 1)
        problems += QStringLiteral("--program is given twice, and a script is made from one run");
    if (given.size() != 1)
        return;
    if (!request.programs.add(given[0], problem)) {
        problems += problem;
        return;
    }
    request.draft.program = request.programs.names()[0];
    if (!command.contains(request.draft.program))
        problems += QStringLiteral("no word of COMMAND is '%1', the program that the script is for")
                        .arg(request.draft.program);
    const QStringList configured = storedSimPrograms(problem);
    if (problem.isNull() && !configured.contains(request.draft.program))
        request.remarks +=
            QStringLiteral("'%1' is not configured, so the driver will skip the script; "
                           "'talmo run --program %1' makes the run")
                .arg(request.draft.program);
}

/// Has the script copy \a input, which it cannot carry, if that is in the suite's directory.
void RequestReader::placeOutside(Input &input)
{
    const QString from = QFileInfo(QFile::decodeName(request.folder)).canonicalFilePath();
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

void RequestReader::addInput(const QString &path)
{
    Input input;
    const QByteArray bytes = systemName(path);
    input.path = bytes.startsWith('/') ? bytes : request.folder + '/' + bytes;
    input.name = path.section(QLatin1Char('/'), -1);
    const QString is = QStringLiteral("the input '%1': ").arg(shown(path));
    QString obstacle = problemOfFileName(input.name);
    if (obstacle.isNull()) {
        QFile file;
        if (!openRegular(file, input.path))
            obstacle = reasonOf(errno);
    }
    const auto isNamesake = [&input](const Input &other) { return other.name == input.name; };
    if (std::any_of(request.draft.inputs.begin(), request.draft.inputs.end(), isNamesake))
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
    request.draft.inputs.push_back(input);
}

void RequestReader::readInputs()
{
    for (const QString &path : line.values(inputOption))
        addInput(path);
    for (const Input &input : request.draft.inputs) {
        if (!input.outside.isNull())
            request.remarks +=
                QStringLiteral("the input '%1' stays outside, and the script copies '%2': %3")
                    .arg(input.name, input.outside, input.reason);
    }
}

/// Makes the "=run" line.
bool RequestReader::writeCommand()
{
    request.draft.shellName = request.draft.freeName(QStringLiteral("command.sh"), {});
    QString problem;
    if (!writeRunLine(command, request.draft.program, request.draft.shellName,
            request.draft.command, problem))
        problems += problem;
    if (request.draft.command.shellText.isNull())
        request.draft.shellName = QString();
    return problem.isNull();
}

bool RequestReader::read()
{
    QString problem;
    if (!enterFolder(line, problem)) {
        line.refuse(problem);
        return false;
    }
    request.folder = workingDirectory();
    request.suite = openDirectory(".", asPlace);
    const QStringList names = line.positionalArguments();
    if (names.size() != 1 || command.isEmpty() || command[0].isEmpty()) {
        line.refuse(QStringLiteral("it takes NAME -- COMMAND..., the name of the new script and a "
                                   "command"));
        return false;
    }
    request.name = names[0];
    problem = problemOfName(request.name);
    if (!problem.isNull())
        problems += problem;
    readNumbers();
    readHeading();
    readProgram();
    readInputs();
    writeCommand();
    if (problems.isEmpty() && !request.programs.enterPath(problem))
        problems += problem;
    for (const QString &sentence : std::as_const(problems))
        line.refuse(sentence);
    return problems.isEmpty();
}

} // namespace

void addNewOptions(CommandLine &line)
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

bool readRequest(const CommandLine &line, const QStringList &command, NewRequest &request)
{
    return RequestReader(line, command, request).read();
}

} // namespace Talmo
