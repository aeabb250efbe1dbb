// A program that is given by a path must be found by its name, and nothing else in its folder must
// be. So the run's PATH begins with a folder of our own, in which there are only the programs that
// were given. A link serves, except for a program that is a script: it would look for what belongs
// to it in the folder where the link is, so a script of our own starts it by its own path.

#include "Programs.h"

#include "Descriptor.h"
#include "ScriptFolder.h"
#include "removeDir.h"
#include "shell.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// True if the shell takes \a character, which stands in a word, as nothing but itself.
bool isPlain(uint character)
{
    constexpr uint lastOfAscii = 0x7F;
    if (character > lastOfAscii)
        return QChar::isPrint(character) && !QChar::isSpace(character);
    return QChar::isLetterOrNumber(character) ||
           std::string_view("._-+,:@").find(static_cast<char>(character)) != std::string_view::npos;
}

/// True if the shell takes \a name as one plain word, and as no option.
bool isPlainWord(const QString &name)
{
    const auto characters = name.toUcs4();
    return !name.startsWith(QLatin1Char('-')) &&
           std::all_of(characters.begin(), characters.end(), isPlain);
}

/// True if the shell does something else for \a name, a plain word, than to start a program of that
/// name: it is a builtin, or a word of the shell's grammar.
bool isTakenByShell(const QString &name)
{
    // It is not to find a program of that name, so it looks for programs where none can be.
    const QByteArray line =
        "PATH=/dev/null; command -v '" + QFile::encodeName(name) + "' >/dev/null 2>&1";
    return runInShell(line.toStdString()).isSuccess();
}

/// \a path, seen from the current directory.
QByteArray absolute(const QByteArray &path)
{
    return path.startsWith('/') ? path : workingDirectory() + '/' + path;
}

bool isFolder(const QByteArray &path)
{
    struct stat status = {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

/// Why \a path cannot be started as a program; null if it can.
QString problemOfExecutable(const QByteArray &path)
{
    struct stat status = {};
    const QString name = QFile::decodeName(path);
    if (stat(path, &status) != 0) {
        const bool isMissing = errno == ENOENT || errno == ENOTDIR;
        return isMissing ? QStringLiteral("'%1' does not exist").arg(name)
                         : QStringLiteral("'%1': %2")
                               .arg(name, QString::fromLocal8Bit(std::strerror(errno)));
    }
    const bool isExecutable = S_ISREG(status.st_mode) && access(path, X_OK) == 0;
    return isExecutable ? QString() : QStringLiteral("'%1' is not executable").arg(name);
}

/// The PATH, or what programs take for it where there is none.
QByteArray searchedPath()
{
    if (qEnvironmentVariableIsSet("PATH"))
        return qgetenv("PATH");
    QByteArray usual(static_cast<int>(confstr(_CS_PATH, nullptr, 0)), '\0');
    confstr(_CS_PATH, usual.data(), static_cast<size_t>(usual.size()));
    return usual.chopped(1); // its end
}

/// True if \a path is a script, which the system has an interpreter read.
bool isScript(const QByteArray &path)
{
    const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
    char start[2] = {};
    return read(file.get(), start, sizeof start) == sizeof start && start[0] == '#' &&
           start[1] == '!';
}

/// Makes the executable \a path, a script that starts \a program by its path.
bool writeStarter(const QByteArray &path, QByteArray program)
{
    const QByteArray text = "#!/bin/sh\nexec '" + program.replace('\'', "'\\''") + "' \"$@\"\n";
    const Descriptor file(open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRWXU));
    return file.isOpen() &&
           write(file.get(), text.constData(), static_cast<size_t>(text.size())) == text.size();
}

} // namespace

bool isNameOfProgram(const QString &name)
{
    return isPlainWord(name) && !isTakenByShell(name);
}

QString problemOfProgramName(const QString &name)
{
    if (name.isEmpty())
        return QStringLiteral("a program needs a name");
    if (name.contains(QLatin1Char('/')))
        return QStringLiteral("the name of the program '%1' has a '/'; write NAME=PATH").arg(name);
    if (!isPlainWord(name) || name == QLatin1String(".."))
        return QStringLiteral("the name of the program '%1' is no plain word for the shell")
            .arg(name);
    if (isTakenByShell(name))
        return QStringLiteral("the shell has a command '%1' of its own, so it would not start the "
                              "program of that name")
            .arg(name);
    return {};
}

QStringList placesInPath(const QString &name)
{
    QStringList places;
    std::vector<struct stat> known;
    const QList<QByteArray> folders = searchedPath().split(':');
    for (const QByteArray &folder : folders) {
        const QByteArray path = folder + '/' + QFile::encodeName(name);
        struct stat status = {};
        if (!folder.startsWith('/') || !problemOfExecutable(path).isNull() ||
            stat(path, &status) != 0)
            continue;
        const bool isKnown = std::any_of(known.begin(), known.end(),
            [&status](const struct stat &other) { return isSameFile(other, status); });
        known.push_back(status);
        if (!isKnown)
            places += QFile::decodeName(path);
    }
    return places;
}

bool GivenPrograms::isGiven(const QString &name) const
{
    return std::any_of(programs.begin(), programs.end(),
        [&name](const Program &program) { return program.name == name; });
}

bool GivenPrograms::add(const QString &text, QString &problem)
{
    const QString name = text.section(QLatin1Char('='), 0, 0);
    problem = problemOfProgramName(name);
    if (!problem.isNull())
        return false;
    QByteArray path;
    if (text == name) {
        if (placesInPath(name).isEmpty())
            problem = QStringLiteral("the program '%1' is not in the PATH").arg(name);
    } else {
        path = absolute(QFile::encodeName(text.mid(name.size() + 1)));
        if (isFolder(path) && !path.endsWith('/'))
            path += '/';
        if (path.endsWith('/'))
            path += QFile::encodeName(name);
        problem = problemOfExecutable(path);
        if (!problem.isNull())
            problem = QStringLiteral("the program '%1': %2").arg(name, problem);
    }
    if (problem.isNull() && isGiven(name))
        problem = QStringLiteral("the program '%1' is given twice").arg(name);
    if (problem.isNull())
        programs.push_back({name, path});
    return problem.isNull();
}

QStringList GivenPrograms::names() const
{
    QStringList all;
    for (const Program &program : programs)
        all += program.name;
    return all;
}

QStringList GivenPrograms::texts() const
{
    QStringList all;
    for (const Program &program : programs)
        all += program.path.isNull()
                   ? program.name
                   : program.name + QLatin1Char('=') + QFile::decodeName(program.path);
    return all;
}

/// Puts \a program into the folder. False, with the reason in \a problem, if that fails.
bool GivenPrograms::place(const Program &program, QString &problem) const
{
    const QByteArray path = folder.path() + '/' + QFile::encodeName(program.name);
    const bool isPlaced = isScript(program.path) ? writeStarter(path, program.path)
                                                 : symlink(program.path, path) == 0;
    // A script cannot be started in a file system that is mounted so.
    if (isPlaced && access(path, X_OK) == 0)
        return true;
    problem = QStringLiteral("the program '%1' cannot be started in '%2': %3")
                  .arg(program.name, QFile::decodeName(folder.path()),
                      QString::fromLocal8Bit(std::strerror(errno)));
    return false;
}

/// Makes the folder. False, with the reason in \a problem, if that fails.
bool GivenPrograms::makeFolder(QString &problem)
{
    const QByteArray usual = qgetenv("TMPDIR");
    const QByteArray place = absolute(usual.isEmpty() ? "/tmp" : usual);
    if (place.contains(':')) {
        problem = QStringLiteral("the PATH cannot hold a folder in '%1', because of its ':'")
                      .arg(QFile::decodeName(place));
        return false;
    }
    if (!folder.make(place)) {
        problem = QStringLiteral("cannot make a folder for the programs in '%1': %2")
                      .arg(QFile::decodeName(place), QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    return true;
}

bool GivenPrograms::enterPath(QString &problem)
{
    const auto hasPath = [](const Program &program) { return !program.path.isNull(); };
    if (std::none_of(programs.begin(), programs.end(), hasPath))
        return true;
    if (!makeFolder(problem))
        return false;
    for (const Program &program : programs) {
        if (hasPath(program) && !place(program, problem))
            return false;
    }
    return qputenv("PATH", folder.path() + ':' + searchedPath());
}

} // namespace Talmo
