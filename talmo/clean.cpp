// "talmo clean". A run itself removes what an earlier one has left in its directory, and knows what
// must stay: a directory that is in use, and what is mounted there. So we remove a directory as a
// run does, but where it is: what cannot be removed keeps its name.

#include "CommandLine.h"
#include "DiskFile.h"
#include "RunDirectory.h"
#include "SuiteOptions.h"
#include "commandTable.h"

#include <cstdio>
#include <optional>

#include <sys/stat.h>

namespace Talmo
{

namespace
{

bool isDirectory(const QString &name)
{
    struct stat status = {};
    return lstat(systemName(name), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Removes the directory \a name, and says so. False if that is not possible, which is said, too.
bool removeKept(const QString &name)
{
    RunDirectory directory(name);
    if (directory.takeLeftover())
        directory.remove();
    for (const QByteArray &remark : directory.remarks())
        std::fprintf(stderr, "talmo: clean: %s\n", remark.constData());
    if (!isDirectory(name)) {
        std::printf("removed '%s'\n", qPrintable(name));
        return true;
    }
    const char *const reason = directory.isInUse() ? "is in use" : "cannot be removed";
    std::fprintf(stderr, "talmo: clean: '%s' %s\n", qPrintable(name), reason);
    return false;
}

} // namespace

int cleanCommand(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("clean"),
        QStringLiteral("Removes the directories that runs of a suite have left."));
    addSuiteOptions(line);
    if (const std::optional<int> status = line.read(arguments))
        return *status;
    ChosenSuite chosen;
    if (!chosen.find(line, SuitePurpose::ToList))
        return WrongCall;
    bool isWell = true;
    for (const PlannedRun &run : chosen.suite.runs) {
        const QString name = run.directory();
        if (!run.isSkipped && isDirectory(name))
            isWell = removeKept(name) && isWell;
    }
    return isWell ? AllIsWell : AtFault;
}

} // namespace Talmo
