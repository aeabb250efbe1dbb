#include "Filter.h"

#include "CommandLine.h"
#include "DiskFile.h"
#include "InputLines.h"
#include "Replacement.h"
#include "Spool.h"
#include "commandTable.h"
#include "interruption.h"
#include "lineText.h"
#include "regularFile.h"
#include "removeDir.h"
#include "saving.h"
#include "standardStreams.h"
#include "visible.h"

#include <QIODevice>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

void printProblem(const QString &place, qint64 column, const QString &message, std::FILE *stream)
{
    std::fflush(stdout); // so that both are in order where they go to the same place
    std::string line;
    appendBytes(line, QStringLiteral("%1:%2: %3\n")
                          .arg(visible(place), QString::number(column), visible(message)));
    std::fwrite(line.data(), 1, line.size(), stream);
}

void FilterLine::report(qint64 column, const QString &message)
{
    hasProblem = true;
    printProblem(
        QStringLiteral("%1:%2").arg(file, QString::number(number)), column, message, stream);
}

namespace
{

const QString outputOption = QStringLiteral("o");
const QString inPlaceOption = QStringLiteral("in-place");
const QString followOption = QStringLiteral("follow-links");

QString cannotRead(const QString &name, int error)
{
    return QStringLiteral("cannot read '%1': %2").arg(name, reasonOf(error));
}

QString problemOfStandardInput()
{
    const QString name = QStringLiteral("standard input");
    struct stat status = {};
    const int mode = fcntl(STDIN_FILENO, F_GETFL);
    if (standardInputWasClosed() || mode < 0 || (mode & O_ACCMODE) == O_WRONLY)
        return cannotRead(name, EBADF);
    const bool isDirectory = fstat(STDIN_FILENO, &status) == 0 && S_ISDIR(status.st_mode);
    return isDirectory ? cannotRead(name, EISDIR) : QString();
}

/// Why \a name cannot be an input, as a sentence; null if it can.
QString problemOfInput(const QString &name)
{
    struct stat status = {};
    const QByteArray path = systemName(name);
    if (name == QLatin1String("-"))
        return problemOfStandardInput();
    if (path.isEmpty())
        return cannotRead(name, ENOENT);
    if (stat(path, &status) != 0 || access(path, R_OK) != 0)
        return cannotRead(name, errno);
    return S_ISDIR(status.st_mode) ? cannotRead(name, EISDIR) : QString();
}

/// Whether the input \a name is the file that standard output goes to. It would grow while it is
/// read.
bool isPrintedTo(const QString &name)
{
    struct stat input = {};
    struct stat output = {};
    const bool isInput = name == QLatin1String("-") ? fstat(STDIN_FILENO, &input) == 0
                                                    : stat(systemName(name), &input) == 0;
    return isInput && S_ISREG(input.st_mode) && fstat(STDOUT_FILENO, &output) == 0 &&
           isSameFile(input, output);
}

/// The inputs that are changed in their place; none if none are.
using Replacements = std::vector<std::unique_ptr<Replacement>>;

/// Prepares the \a replacement of one more file than \a others. Returns why that is not possible,
/// as a sentence; null if it is.
QString problemOfPlace(Replacement &replacement, const Replacements &others, bool followsLinks)
{
    if (replacement.name == QLatin1String("-"))
        return QStringLiteral("--in-place changes files, and standard input is none");
    QString problem = replacement.prepare(followsLinks);
    if (!problem.isNull())
        return problem;
    for (const auto &other : others) {
        if (replacement.isSameFileAs(*other))
            return QStringLiteral("'%1' and '%2' are the same file")
                .arg(other->name, replacement.name);
    }
    return {};
}

/// The results of one input: a part of a spool, from one byte to another.
struct SpooledPart {
    qint64 begin = 0;
    qint64 end = 0;
    bool isChanged = false; ///< they are not what the input was
};

/// Takes results, and puts them where they belong.
class Results
{
public:
    /// In the place of \a itsReplacements, or where \a itsFiles says.
    Results(const FilterFiles &itsFiles, const Replacements &itsReplacements)
        : files(itsFiles)
        , replacements(itsReplacements)
        , isSpooled(files.isInPlace || !files.output.isNull())
    {
        // Who reads no more wants to hear no more.
        std::signal(SIGPIPE, SIG_DFL);
        outliveFileSizeLimit();
    }

    bool begin() { return !isSpooled || spool.open() || fail(); }
    bool write(std::string_view bytes);
    void finishInput(bool isChanged);
    bool save(QString &problem);

    /// Why the latest step failed, as a sentence.
    QString problem() const { return reason; }

private:
    bool fail();
    bool saveOutput(QString &problem);
    bool replaceAll(QString &problem);
    void takeBack(QString &problem);

    const FilterFiles &files;
    const Replacements &replacements;
    bool isSpooled;
    Spool spool;
    std::vector<SpooledPart> spooled; ///< one for each input
    QString reason;
};

bool Results::fail()
{
    reason = QStringLiteral("cannot keep the results in the folder for temporary files: ") +
             reasonOf(errno);
    return false;
}

bool Results::write(std::string_view bytes)
{
    if (isSpooled)
        return spool.append(bytes) || fail();
    // What is lost is said at the end of the program.
    return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size();
}

/// All results since the latest call belong to one input, and differ from it if it \a isChanged.
void Results::finishInput(bool isChanged)
{
    if (isSpooled)
        spooled.push_back({spooled.empty() ? 0 : spooled.back().end, spool.size(), isChanged});
}

bool Results::saveOutput(QString &problem)
{
    return saveFile(
        files.output,
        [this](QIODevice &device) {
            return spool.copy(0, spool.size(), [&device](std::string_view bytes) {
                const auto size = static_cast<qint64>(bytes.size());
                return device.write(bytes.data(), size) == size;
            });
        },
        problem);
}

/// Takes all files back. Adds to \a problem which of them are changed all the same.
void Results::takeBack(QString &problem)
{
    for (const auto &file : replacements) {
        const QString remark = file->takeBack();
        if (remark.isNull())
            continue;
        if (problem.isNull())
            problem = QStringLiteral("interrupted");
        problem += QStringLiteral("; ") + remark;
    }
}

/// Replaces all files that change, or none.
bool Results::replaceAll(QString &problem)
{
    const auto forAll = [&](const auto &step) {
        for (size_t index = 0; index < replacements.size(); ++index) {
            if (!interruption().isNull())
                return false;
            if (spooled[index].isChanged && !step(*replacements[index], spooled[index])) {
                problem = replacements[index]->problem();
                return false;
            }
        }
        return true;
    };
    const auto write = [this](Replacement &file, const SpooledPart &part) {
        return file.write([&](const std::function<bool(std::string_view)> &append) {
            return spool.copy(part.begin, part.end, append);
        });
    };
    allowManyFiles();
    const bool isReplaced = forAll(write) && forAll([](Replacement &file, const SpooledPart &) {
        return file.giveName();
    }) && forAll([](Replacement &file, const SpooledPart &) { return file.putInPlace(); });
    if (!isReplaced) {
        takeBack(problem);
        return false;
    }
    for (const auto &file : replacements)
        file->commit();
    return true;
}

/// Writes the files, each whole or not at all.
bool Results::save(QString &problem)
{
    if (!isSpooled)
        return true;
    noteInterruptions(); // from here on all or nothing
    return files.isInPlace ? replaceAll(problem) : saveOutput(problem);
}

/// Does the work for all lines of \a name. False if that failed, for the reason in \a problem;
/// \a isWrong becomes true if something is wrong in a line.
bool filterInput(
    const QString &name, const LineWork &work, Results &results, bool &isWrong, QString &problem)
{
    InputLines lines;
    lines.open(name);
    InputLine input;
    std::string result;
    bool isChanged = false;
    while (lines.next(input)) {
        FilterLine line(name, lines.number(), input.text);
        result.assign(input.mark);
        work(line, result);
        if (line.isWrong())
            result.assign(input.mark);
        isWrong = isWrong || line.isWrong();
        isChanged = isChanged || std::string_view(result).substr(input.mark.size()) != input.text;
        result += input.end;
        if (!results.write(result)) {
            problem = results.problem();
            return false;
        }
    }
    results.finishInput(isChanged);
    problem = lines.failure();
    return problem.isNull();
}

/// Why \a files cannot be what a filter reads and writes, as a sentence; null if they can. Adds the
/// files that are changed in their place to \a replacements.
QString problemOfFiles(const FilterFiles &files, Replacements &replacements)
{
    for (const QString &name : files.inputs) {
        QString problem = problemOfInput(name);
        if (problem.isNull() && files.isInPlace) {
            auto replacement = std::make_unique<Replacement>(name);
            problem = problemOfPlace(*replacement, replacements, files.followsLinks);
            replacements.push_back(std::move(replacement));
        }
        if (problem.isNull() && !files.isInPlace && files.output.isNull() && isPrintedTo(name))
            problem = QStringLiteral("'%1' is what we print into").arg(name);
        if (!problem.isNull())
            return problem;
    }
    return files.output.isNull() ? QString() : problemOfSaving(files.output);
}

} // namespace

void addFilterOptions(CommandLine &line)
{
    line.addOption({outputOption,
        QStringLiteral(
            "Writes FILE instead of standard output, if nothing is wrong; '-' is standard output."),
        QStringLiteral("FILE")});
    line.addPositionalArgument(QStringLiteral("file"),
        QStringLiteral("What is read; standard input, also called '-', if none is given."),
        QStringLiteral("[FILE...]"));
}

void addInPlaceOptions(CommandLine &line)
{
    line.addOptions({
        {inPlaceOption, QStringLiteral("Changes the FILEs themselves; none of them if something is "
                                       "wrong in any. A hard link to one keeps the old text.")},
        {followOption, QStringLiteral("Changes the files that symbolic links lead to.")},
    });
}

FilterFiles filterFilesOf(const CommandLine &line, QString &problem)
{
    FilterFiles files;
    const QStringList options = line.optionNames();
    files.inputs = line.positionalArguments();
    if (line.isSet(outputOption) && line.value(outputOption) != QLatin1String("-"))
        files.output = line.value(outputOption);
    files.isInPlace = options.contains(inPlaceOption);
    files.followsLinks = options.contains(followOption);
    if (files.isInPlace && !files.output.isNull())
        problem = QStringLiteral("-o and --in-place exclude each other");
    else if (files.isInPlace && files.inputs.isEmpty())
        problem = QStringLiteral("--in-place needs the files that it is to change");
    else if (files.followsLinks && !files.isInPlace)
        problem = QStringLiteral("--follow-links makes sense with --in-place only");
    if (files.inputs.isEmpty())
        files.inputs += QStringLiteral("-");
    return files;
}

int runFilter(const CommandLine &line, const FilterFiles &files, const LineWork &work)
{
    Replacements replacements;
    QString problem = problemOfFiles(files, replacements);
    if (!problem.isNull())
        return line.refuse(problem);
    Results results(files, replacements);
    bool isWrong = false;
    bool isRead = results.begin();
    if (!isRead)
        problem = results.problem();
    for (const QString &name : files.inputs)
        isRead = isRead && filterInput(name, work, results, isWrong, problem);
    if (isRead && !isWrong && results.save(problem))
        return AllIsWell;
    if (!problem.isNull())
        line.refuse(problem);
    return AtFault;
}

QString problemOfInputs(const QStringList &inputs)
{
    for (const QString &name : inputs) {
        if (QString problem = problemOfInput(name); !problem.isNull())
            return problem;
    }
    return {};
}

int inspectLines(const CommandLine &line, const QStringList &inputs,
    const std::function<void(FilterLine &line)> &inspect)
{
    bool isWrong = false;
    QString problem = problemOfInputs(inputs);
    if (!problem.isNull())
        return line.refuse(problem);
    for (const QString &name : inputs) {
        InputLines lines;
        lines.open(name);
        InputLine input;
        while (lines.next(input)) {
            FilterLine one(name, lines.number(), input.text, stdout);
            inspect(one);
            isWrong = isWrong || one.isWrong();
        }
        problem = lines.failure();
        if (!problem.isNull())
            line.refuse(problem);
        isWrong = isWrong || !problem.isNull();
    }
    return isWrong ? AtFault : AllIsWell;
}

} // namespace Talmo
