// The commands of a script: the table at the end, and before it the handlers that fit on half a
// page. =compare has a file of its own. A handler finds its words counted, since the row says how
// many there may be. It works in the run's directory, which is the current one, and reports failure
// by a message in its Invocation.

#include "commands.h"

#include "DiskFile.h"
#include "TestBeam.h"
#include "compare.h"
#include "shell.h"
#include "talmo/RegExp.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

using namespace Talmo;

int Debug = 0;
QString platformName;

namespace
{

/// What "=file" and "=testbeam" say if they cannot write, before a remark about the file.
QString cannotWrite(const QString &fileName)
{
    return QStringLiteral("Cannot write file '%1'").arg(fileName);
}

QString cannotWrite(const QString &fileName, const DiskFile &file)
{
    return cannotWrite(fileName) + file.remark();
}

QString runningFailed(const QString &program)
{
    return QStringLiteral("running '%1' failed").arg(program);
}

/// \a words from index \a first on, joined by single blanks.
QString joined(const QStringList &words, int first)
{
    return words.mid(first).join(QLatin1Char(' '));
}

/// =platform [PLATFORM ...]: skips to the next "=platform" line unless the driver's platform is
/// among the words. Without words it ends a section.
void platformCommand(Invocation &invocation)
{
    const QStringList names = invocation.words.mid(1);
    for (const QString &name : names) {
        if (!platformNames().contains(name)) {
            invocation.error = invalidPlatform(name);
            return;
        }
    }
    if (!names.isEmpty() && !names.contains(platformName))
        invocation.script.readUntil("=platform");
}

/// =file NAME: writes the lines that follow, up to one that begins with "=", to the file NAME,
/// byte for byte.
void fileCommand(Invocation &invocation)
{
    const QString &name = invocation.words[1];
    DiskFile file;
    if (!file.openToWrite(name)) {
        invocation.error = cannotWrite(name, file);
        return;
    }
    const std::string_view body = invocation.script.readUntil("=");
    bool written = file.write(body);
    if (!body.empty() && body.back() != '\n') // the script's last line
        written = file.write("\n") && written;
    written = file.close() && written;
    if (!written) // the run must not go on with half a file
        invocation.error = cannotWrite(name, file);
}

/// \a path from behind its last '/' on.
QString baseNameOf(const QString &path)
{
    // Without a '/' the pattern would be tried at each character, each time up to the end.
    const bool hasFolder = path.contains(QLatin1Char('/'));
    return hasFolder ? RE.replace(QStringLiteral(".*/"), path, QString()) : path;
}

/// True if one of \a words tells the shell where the output goes.
bool isRedirected(const QStringList &words)
{
    return std::any_of(words.begin(), words.end(),
        [](const QString &word) { return word.startsWith(QLatin1Char('>')); });
}

/// =run PROGRAM [ARGUMENT ...]: passes the words to the shell, and fails if it reports failure.
/// Unless a word begins with ">", what the program prints is appended to a file that is named after
/// it.
void runCommand(Invocation &invocation)
{
    const QString &program = invocation.words[1];
    QString line = joined(invocation.words, 1);
    const QString capture = captureOf(invocation.words);
    if (!capture.isNull())
        line += QStringLiteral(" >>%1 2>&1").arg(capture);
    std::fflush(stdout); // what the program prints comes after what we printed
    // For the shell a line ends at a NUL, and what it would then run was never written.
    const bool isRunnable = !line.contains(QChar(u'\0'));
    const ShellEnd end = isRunnable ? runInShell(line.toLocal8Bit().toStdString()) : ShellEnd();
    invocation.findings.program = ProgramRun{program, end, capture};
    if (!end.isSuccess())
        invocation.error = runningFailed(program);
}

/// =exists FILE: fails unless a file or directory of that name exists.
void existsCommand(Invocation &invocation)
{
    if (!existsOnDisk(invocation.words[1]))
        invocation.error = fileDoesNotExist(invocation.words[1]);
}

/// =echo [WORD ...]: prints the words.
void echoCommand(Invocation &invocation)
{
    std::puts(qPrintable(joined(invocation.words, 1)));
}

QString isUnimplemented()
{
    return QStringLiteral("=meanandsigma UNIMPLEMENTED");
}

/// =meanandsigma: reserved.
void meanAndSigmaCommand(Invocation &invocation)
{
    invocation.error = isUnimplemented();
}

/// =testbeam FILE x0 x1 nx y0 y1 ny z PDGid Pz: writes a track file with a grid of particles.
/// Deliberate: once the file is open the command does not fail, a full disk included.
void testbeamCommand(Invocation &invocation)
{
    const QStringList &words = invocation.words;
    TestBeam beam;
    if (!beam.parse(words, 2)) {
        invocation.error = beamSyntaxError();
        return;
    }
    DiskFile file;
    if (!file.openToWrite(words[1])) {
        invocation.error = cannotWrite(words[1], file);
        return;
    }
    beam.write(joined(words, 0), [&file](std::string_view text) { return file.write(text); });
}

/// =ignore PATTERN: the next command must fail with a message that matches PATTERN.
void ignoreCommand(Invocation &invocation)
{
    // Deliberate: of the raw line, so that blanks inside and at the end belong to the pattern, and
    // a blank before "=ignore", or nothing after it, leaves the line as it is.
    invocation.expectedFailure =
        RE.replace(QStringLiteral("^=ignore +"), invocation.line, QString());
}

/// =debug: traces the rest of the run, and keeps its directory.
void debugCommand(Invocation & /*invocation*/)
{
    ++Debug;
}

constexpr int any = Command::unlimited;

} // namespace

// name, least and most words, what is said of another number, what becomes of the lines that
// follow, effect, usage, handler
// clang-format off
const Command commands[10] = {
    { "=file", 2, any, "Invalid =file command", FollowingLines::AreBody, Effect::Acts,
      "=file NAME", fileCommand },
    { "=run", 2, any, "Invalid =run command", FollowingLines::AreNext, Effect::Acts,
      "=run PROGRAM [ARGUMENT ...]", runCommand },
    { "=compare", 3, any, "Invalid =compare command", FollowingLines::AreNext, Effect::None,
      "=compare FILE1 FILE2\n=compare FILE1 FILE2 TOLERANCE1 [TOLERANCE2 ...]", compareCommand },
    { "=exists", 2, 2, "Invalid =exists command", FollowingLines::AreNext, Effect::None,
      "=exists FILE", existsCommand },
    { "=testbeam", 11, any, "=testbeam too few arguments", FollowingLines::AreNext, Effect::Acts,
      "=testbeam FILE X0 X1 NX Y0 Y1 NY Z PDGID PZ", testbeamCommand },
    { "=ignore", 1, any, nullptr, FollowingLines::AreNext, Effect::None,
      "=ignore PATTERN", ignoreCommand },
    { "=platform", 1, any, nullptr, FollowingLines::MayBeSkipped, Effect::None,
      "=platform [PLATFORM ...]", platformCommand },
    { "=echo", 1, any, nullptr, FollowingLines::AreNext, Effect::Acts,
      "=echo [WORD ...]", echoCommand },
    { "=debug", 1, any, nullptr, FollowingLines::AreNext, Effect::Acts,
      "=debug", debugCommand },
    { "=meanandsigma", 1, any, nullptr, FollowingLines::AreNext, Effect::None,
      "=meanandsigma", meanAndSigmaCommand },
};
// clang-format on

QString captureOf(const QStringList &words)
{
    return isRedirected(words) ? QString() : baseNameOf(words[1]) + QStringLiteral(".out");
}

QString platformOfThisBuild()
{
#if defined(Q_OS_WIN)
    return QStringLiteral("WINDOWS");
#elif defined(Q_OS_DARWIN)
    return QStringLiteral("DARWIN");
#else
    return QStringLiteral("LINUX");
#endif
}

const QStringList &platformNames()
{
    static const QStringList names = {
        QStringLiteral("WINDOWS"), QStringLiteral("LINUX"), QStringLiteral("DARWIN")};
    return names;
}

QString invalidPlatform(const QString &name)
{
    return QStringLiteral("Invalid platform '%1'").arg(name);
}

QString fileDoesNotExist(const QString &name)
{
    return QStringLiteral("File '%1' does not exist").arg(name);
}

QString beamSyntaxError()
{
    return QStringLiteral("Syntax error");
}

const Command *commandOf(const QString &name)
{
    const auto *const found = std::find_if(std::begin(commands), std::end(commands),
        [&name](const Command &command) { return name == QLatin1String(command.name); });
    return found == std::end(commands) ? nullptr : found;
}

const Command *commandToPerform(Invocation &invocation)
{
    const QStringList &words = invocation.words;
    const Command *const command = commandOf(words[0]);
    const bool isCounted = command != nullptr && words.size() >= command->leastWords &&
                           words.size() <= command->mostWords;
    if (command == nullptr)
        invocation.error = QStringLiteral("Unknown test command '%1'").arg(words[0]);
    else if (!isCounted)
        invocation.error = QString::fromLatin1(command->wrongCount);
    return isCounted ? command : nullptr;
}

void perform(Invocation &invocation)
{
    if (const Command *const command = commandToPerform(invocation))
        command->handler(invocation);
}

bool mayFailWith(const Invocation &invocation, const QString &message)
{
    const QStringList &words = invocation.words;
    if (words[0] == QLatin1String("=run"))
        return message == runningFailed(words[1]);
    const bool isBeam = words[0] == QLatin1String("=testbeam");
    const bool writes = isBeam || words[0] == QLatin1String("=file");
    return (isBeam && message == beamSyntaxError()) ||
           (writes && message.startsWith(cannotWrite(words[1])));
}

QStringList failuresOf(const QStringList &words)
{
    const QString &name = words[0];
    if (name == QLatin1String("=run"))
        return {runningFailed(words[1])};
    if (name == QLatin1String("=compare"))
        return failuresOfCompare(words);
    if (name == QLatin1String("=exists"))
        return {fileDoesNotExist(words[1])};
    if (name == QLatin1String("=meanandsigma"))
        return {isUnimplemented()};
    QStringList failures;
    if (name == QLatin1String("=file") || name == QLatin1String("=testbeam"))
        failures += QStringList(
            {cannotWrite(words[1]), cannotWrite(words[1]) + DiskFile::remarkThatNobody("reads")});
    if (name == QLatin1String("=testbeam"))
        failures += beamSyntaxError();
    if (name == QLatin1String("=platform")) {
        for (const QString &platform : words.mid(1)) {
            if (!platformNames().contains(platform))
                failures += invalidPlatform(platform);
        }
    }
    return failures;
}
