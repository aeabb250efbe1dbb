// Input: a script. It is run in a directory of its own, unless it could reach beyond that: inputs
// are made up by a machine, and whoever runs this may be root.

#include "Preferences.h"
#include "fuzzing.h"
#include "runTest.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>

#include <csignal>
#include <cstdlib>

#include <dlfcn.h>
#include <sys/resource.h>

using Talmo::Preferences;

namespace
{

bool scriptIsRunning = false;

} // namespace

/// Takes the place of the C library's, so that no script whatever runs a program. libFuzzer itself
/// starts some.
extern "C" int system(const char *command)
{
    require(!scriptIsRunning, "no program is run");
    using System = int (*)(const char *);
    return reinterpret_cast<System>(dlsym(RTLD_NEXT, "system"))(command);
}

namespace
{

const char *const programs[] = {"sim1", "sim2"};

/// The directory of all that this program writes, with one for the scripts to run in.
class Place
{
public:
    Place()
    {
        require(QDir(directory.path()).mkdir("work"), "there is a directory");
        require(QDir::setCurrent(directory.filePath("work")), "it can be entered");
        // Not the user's programs; and neither store is ever deleted, which would save it.
        static const QSettings *const users = Preferences::qsettings;
        const QString fileName = directory.filePath("settings");
        require(users->fileName() != fileName, "the user's settings are elsewhere");
        Preferences::qsettings = new QSettings(fileName, QSettings::IniFormat);
        for (int n = 1; n <= 9; ++n) {
            const bool isConfigured = n <= static_cast<int>(std::size(programs));
            Preferences::qsettings->setValue(
                QString("SimProgram%1.name").arg(n), isConfigured ? programs[n - 1] : "");
        }
        platformName = "LINUX";
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

    bool isCurrent() const { return QDir::currentPath() == directory.filePath("work"); }

    static QStringList leftovers()
    {
        return QDir().entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    static void clear()
    {
        for (const QString &name : leftovers())
            QDir(name).removeRecursively();
    }

private:
    QTemporaryDir directory{QDir(QDir::tempPath()).canonicalPath() + "/ScriptFuzz-XXXXXX"};
};

/// Whether \a line, as a command gets it, can neither name a file elsewhere nor run a program, and
/// has no pattern that takes for ever.
bool isHarmless(const QString &line)
{
    const QByteArray bytes = QFile::encodeName(line);
    const bool hasPattern = line.contains("=ignore") || line.contains("=simprogram");
    return !line.contains('/') && !line.contains("..") && !bytes.contains('/') &&
           !bytes.contains("..") && !line.contains("=run") && (!hasPattern || isCheapPattern(line));
}

/// Whether all lines of \a script are harmless, as they stand and with the name of each program.
bool isHarmless(std::string_view script)
{
    QByteArray bytes(script.data(), static_cast<int>(script.size()));
    bytes.replace("\r", "");
    const QStringList lines = QString::fromUtf8(bytes.constData(), bytes.size()).split('\n');
    for (QString line : lines) {
        if (!isHarmless(line) || !isHarmless(QString(line).remove("$simProgram")))
            return false;
        for (const char *const program : programs) {
            if (!isHarmless(QString(line).replace("$simProgram", program)))
                return false;
        }
    }
    return true;
}

/// Bounds what a file may hold, while there is one of these; =testbeam could fill any disk.
class SmallFiles
{
public:
    SmallFiles()
    {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit small = before;
        small.rlim_cur = 1 << 16;
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
    const bool passed = runTest(script);
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

    const bool passed = passes(place.scriptName());
    require(place.isCurrent(), "a run ends where it began");
    const bool traced = script.find("=debug") != std::string_view::npos;
    require(!passed || traced || Place::leftovers().isEmpty(), "a passing run leaves nothing");
    require(passes(place.scriptName()) == passed, "what was left does not matter");
    Place::clear();
    return 0;
}
