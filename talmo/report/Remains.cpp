// A run may be made again at any time, also while we look at what it has left. So we look at the
// directory that we opened, whatever has its name by then, and ask at the end whether it is still
// as it was.

#include "Remains.h"

#include "DiskFile.h"
#include "digests.h"
#include "regularFile.h"
#include "scriptPlaces.h"

#include <cerrno>
#include <utility>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

/// Whether \a name can be that of the directory of a run; a record may have been edited.
bool isNameOfDirectory(const QString &name)
{
    return !systemName(name).isEmpty() && !name.contains(QLatin1Char('/')) &&
           name != QLatin1String(".") && name != QLatin1String("..");
}

bool isRegularFile(const QByteArray &path)
{
    struct stat status = {};
    return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

Remains::Remains(const RunRecord &itsRun, QByteArray itsSuiteDirectory)
    : run(itsRun)
    , suiteDirectory(std::move(itsSuiteDirectory))
{
}

Remains::~Remains()
{
    if (origin.isOpen()) [[maybe_unused]]
        const bool isBack = fchdir(origin.get()) == 0;
}

bool Remains::isScriptProven() const
{
    return !run.scriptDigest.isEmpty() && !script.text().empty();
}

bool Remains::areProven() const
{
    return !run.scriptDigest.isEmpty() && !run.directoryDigest.isEmpty();
}

QString Remains::open()
{
    QString problem = problemOfScript();
    if (problem.isNull())
        problem = problemOfSuite();
    if (problem.isNull())
        problem = problemOfPlace();
    if (problem.isNull())
        problem = problemOfDigests();
    if (problem.isNull() && fchdir(directory.get()) != 0)
        problem = QStringLiteral("Its directory '%1' cannot be entered: %2")
                      .arg(run.directory, reasonOf(errno));
    return problem;
}

/// Goes to the directory of the suite.
QString Remains::problemOfSuite()
{
    if (run.directory.isNull())
        return QStringLiteral("No directory of the run was kept");
    if (!isNameOfDirectory(run.directory))
        return QStringLiteral("'%1' is no directory of a run").arg(run.directory);
    origin = openDirectory(".", asPlace);
    suite = openDirectory(suiteDirectory, asPlace);
    if (!suite.isOpen() || fchdir(suite.get()) != 0)
        return QStringLiteral("The directory of the suite cannot be entered: ") + reasonOf(errno);
    return {};
}

/// Opens the directory of the run.
QString Remains::problemOfPlace()
{
    directory = openDirectory(systemName(run.directory), O_RDONLY | O_NOFOLLOW);
    if (directory.isOpen())
        return isInUse() ? QStringLiteral("Another run is at work in its directory '%1'")
                               .arg(run.directory)
                         : QString();
    switch (errno) {
    case ENOENT:
        return QStringLiteral("Its directory '%1' has gone").arg(run.directory);
    case ENOTDIR:
    case ELOOP:
        return QStringLiteral("Its directory '%1' is none any more").arg(run.directory);
    default:
        return QStringLiteral("Its directory '%1' cannot be entered: %2")
            .arg(run.directory, reasonOf(errno));
    }
}

/// Whether a run has locked the directory. We hold the lock for a moment only: a run that begins
/// just then would take us for another one.
bool Remains::isInUse() const
{
    if (flock(directory.get(), LOCK_SH | LOCK_NB) != 0)
        return errno == EWOULDBLOCK;
    flock(directory.get(), LOCK_UN);
    return false;
}

/// Opens the script of the run: of several of that name the one that was not changed.
QString Remains::problemOfScript()
{
    QString problem = QStringLiteral("The script '%1' has gone").arg(run.script);
    for (const QByteArray &path : scriptPlaces(suiteDirectory, run.script)) {
        script = Script();
        if (!isRegularFile(path))
            problem = QStringLiteral("The script '%1' is no regular file any more").arg(run.script);
        else if (!script.open(path))
            problem = QStringLiteral("The script '%1' cannot be used any more: %2")
                          .arg(run.script, script.problem());
        else if (!run.scriptDigest.isEmpty() && digestOfScript(script) != run.scriptDigest)
            problem = QStringLiteral("The script '%1' was changed since the run").arg(run.script);
        else
            return {};
    }
    script = Script();
    return problem;
}

QString Remains::problemOfDigests()
{
    // As the run did, from the directory of the suite and by the name of its own.
    const QByteArray name = systemName(run.directory);
    digest = digestOfDirectory(name);
    if (!areProven())
        return {};
    if (digest != run.directoryDigest)
        return QStringLiteral("Its directory '%1' was changed since the run").arg(run.directory);
    if (digestOfReferences(script, run.program, name) != run.referencesDigest)
        return QStringLiteral("A file outside its directory, with which it compares, was changed "
                              "since the run");
    return {};
}

QString Remains::problemMeanwhile()
{
    if (isInUse() || fchdir(suite.get()) != 0 ||
        digestOfDirectory(systemName(run.directory)) != digest)
        return QStringLiteral("Its directory '%1' was changed while it was looked at")
            .arg(run.directory);
    return {};
}

} // namespace Talmo
