// Input: a script. It is run in a directory of its own. A script that could reach beyond its
// directory is not run, because inputs are made up by a machine, and the user may be root. What the
// script prints and leaves behind is compared with what PlainScript expects.

#include "PlainScript.h"
#include "commands.h"
#include "configuredSimPrograms.h"
#include "fuzzing.h"
#include "runTest.h"
#include "talmo/Preferences.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <spawn.h>
#include <sys/resource.h>
#include <unistd.h>

using Talmo::Preferences;

namespace
{

bool scriptIsRunning = false;

} // namespace

/// Takes the place of the C library's posix_spawn, so that no script can run a program.
extern "C" int posix_spawn(pid_t *process, const char *path,
    const posix_spawn_file_actions_t *actions, const posix_spawnattr_t *attributes,
    char *const arguments[], char *const environment[])
{
    require(!scriptIsRunning, "no program is run");
    static auto *const next =
        reinterpret_cast<decltype(&posix_spawn)>(dlsym(RTLD_NEXT, "posix_spawn"));
    return next(process, path, actions, attributes, arguments, environment);
}

namespace
{

const QStringList programs = {"sim1", "sim2"};

/// The directory into which this program writes everything. Scripts run in a directory inside.
class Place
{
public:
    Place()
    {
        require(QDir(directory.path()).mkdir("work"), "there is a directory");
        // The user's programs must not be used. We never delete either store, or it would be saved.
        static const QSettings *const users = Preferences::qsettings;
        const QString fileName = directory.filePath("settings");
        require(users->fileName() != fileName, "the user's settings are elsewhere");
        Preferences::qsettings = new QSettings(fileName, QSettings::IniFormat);
        for (int n = 1; n <= 9; ++n)
            Preferences::qsettings->setValue(
                QString("SimProgram%1.name").arg(n), n <= programs.size() ? programs[n - 1] : "");
        require(configuredSimPrograms() == programs, "the programs are configured");
        platformName = "LINUX";
        const QByteArray output = QFile::encodeName(outputName());
        require(
            std::freopen(output, "w", stdout) != nullptr, "there is a place for what is printed");
        std::signal(SIGXFSZ, SIG_IGN); // so that writing fails, as on a full disk
    }

    QString scriptName() const { return directory.filePath("script"); }

    void writeScript(std::string_view content) const
    {
        QFile file(scriptName());
        const auto size = static_cast<qint64>(content.size());
        require(file.open(QIODevice::WriteOnly) && file.write(content.data(), size) == size,
            "the script is written");
    }

    /// What was printed since the last call.
    QByteArray printedOutput() const
    {
        std::fflush(stdout);
        QFile file(outputName());
        require(file.open(QIODevice::ReadOnly), "the output can be read");
        QByteArray output = file.readAll();
        std::rewind(stdout);
        require(ftruncate(fileno(stdout), 0) == 0, "the output can be cleared");
        return output;
    }

    void enter() const
    {
        require(QDir::setCurrent(directory.filePath("work")), "the directory can be entered");
    }

    /// Goes back to the directory in which libFuzzer looks for its files.
    void leave() const
    {
        clear();
        require(QDir::setCurrent(outside), "the way back is there");
    }

    bool isCurrent() const { return QDir::currentPath() == directory.filePath("work"); }

    static QStringList leftovers()
    {
        return QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }

private:
    static void clear()
    {
        const QStringList names = leftovers();
        for (const QString &name : names)
            QDir(name).removeRecursively();
    }

    QString outputName() const { return directory.filePath("output"); }

    QString outside = QDir::currentPath();
    QTemporaryDir directory{QDir(QDir::tempPath()).canonicalPath() + "/ScriptFuzz-XXXXXX"};
};

/// Whether \a line, as a command gets it, can neither name a file elsewhere nor run a program, nor
/// has a pattern that takes for ever.
bool isHarmless(const QString &line)
{
    const QByteArray bytes = QFile::encodeName(line);
    const bool hasPattern = line.contains("=ignore") || line.contains("=simprogram");
    return !line.contains('/') && !line.contains("..") && !bytes.contains('/') &&
           !bytes.contains("..") && !line.contains("=run") && (!hasPattern || isCheapPattern(line));
}

/// Whether all lines of \a script are harmless, both unchanged and with the name of each program.
bool isHarmless(std::string_view script)
{
    QByteArray bytes(script.data(), static_cast<int>(script.size()));
    bytes.replace("\r", "");
    const QStringList lines = QString::fromUtf8(bytes.constData(), bytes.size()).split('\n');
    for (const QString &line : lines) {
        if (!isHarmless(line) || !isHarmless(QString(line).remove("$simProgram")))
            return false;
        for (const QString &program : programs) {
            if (!isHarmless(QString(line).replace("$simProgram", program)))
                return false;
        }
    }
    return true;
}

/// Limits the size of files while it exists, because =testbeam could fill any disk.
class SmallFiles
{
public:
    SmallFiles()
    {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit small = before;
        small.rlim_cur = 1 << 16; // limits the output, too
        setrlimit(RLIMIT_FSIZE, &small);
    }
    SmallFiles(const SmallFiles &) = delete;
    SmallFiles &operator=(const SmallFiles &) = delete;
    ~SmallFiles() { setrlimit(RLIMIT_FSIZE, &before); }

private:
    rlimit before = {};
};

bool passes(const QString &script)
{
    const SmallFiles limit;
    Debug = 0;
    scriptIsRunning = true;
    const bool passed = runTest(QFile::encodeName(script));
    scriptIsRunning = false;
    return passed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const Place place;
    const std::string_view script(reinterpret_cast<const char *>(data), size);
    if (!isHarmless(script))
        return 0;
    startAfresh();
    place.writeScript(script);
    place.enter();

    const QByteArray bytes(script.data(), static_cast<int>(script.size()));
    PlainScript plain(bytes, place.scriptName(), programs);
    const bool isKnown = plain.run();
    const bool passed = passes(place.scriptName());
    const QByteArray output = place.printedOutput();
    require(place.isCurrent(), "a run ends where it began");
    if (isKnown && output != plain.output)
        std::fprintf(stderr, "printed:\n%s\nexpected:\n%s\n", output.data(), plain.output.data());
    require(!isKnown || output == plain.output, "a script prints what the manual tells");
    require(!isKnown || passed == plain.passed, "a script passes as the manual tells");
    require(!isKnown || Place::leftovers() == plain.keptDirectories, "nothing else is left");

    // A second run gives the same, whatever the first one has left behind.
    require(passes(place.scriptName()) == passed, "a script passes or fails again");
    require(place.printedOutput() == output, "a script prints the same again");
    place.leave();
    return 0;
}
