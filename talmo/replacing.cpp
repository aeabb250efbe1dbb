#include "replacing.h"

#include "DiskFile.h"
#include "JUnit.h"
#include "Known.h"
#include "regularFile.h"
#include "removeDir.h"
#include "saving.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>

#include <sys/stat.h>
#include <unistd.h>

namespace Talmo
{

namespace
{

using IsOurs = std::function<bool(std::string_view head)>;

/// Whether \a name or the name of what it links to is that of the list of known failures.
bool isListOfKnown(const QString &name)
{
    const QFileInfo file(name);
    const QFileInfo target(file.isSymLink() ? file.symLinkTarget() : name);
    const QString known = QLatin1String(knownFileName);
    return file.fileName() == known || target.fileName() == known;
}

/// Whether we print into the file that is open as \a file.
bool isPrintedTo(int file)
{
    struct stat status = {};
    struct stat printed = {};
    if (fstat(file, &status) != 0)
        return false;
    return (fstat(STDOUT_FILENO, &printed) == 0 && isSameFile(status, printed)) ||
           (fstat(STDERR_FILENO, &printed) == 0 && isSameFile(status, printed));
}

/// Why what is in the file \a name must stay; null if it need not.
QString objectionTo(const QString &name, const IsOurs &isOurs, const QString &ours)
{
    if (isListOfKnown(name))
        return QStringLiteral("It is the list of known failures");
    QFile file;
    if (!openRegular(file, systemName(name)))
        return errno == ENOENT ? QString() : reasonOf(errno);
    if (isPrintedTo(file.handle()))
        return QStringLiteral("It is what we print into");
    const QByteArray head = file.read(resultFileHead);
    const std::string_view text(head.constData(), static_cast<size_t>(head.size()));
    return file.size() == 0 || isOurs(text)
               ? QString()
               : QStringLiteral("It holds something else than %1 of talmo").arg(ours);
}

} // namespace

QString problemOfReplacing(const QString &name,
    const std::function<bool(std::string_view head)> &isOurs, const QString &ours)
{
    const QString problem = problemOfSaving(name);
    const QString objection = problem.isNull() ? objectionTo(name, isOurs, ours) : QString();
    return objection.isNull() ? problem : cannotWrite(name, objection);
}

} // namespace Talmo
