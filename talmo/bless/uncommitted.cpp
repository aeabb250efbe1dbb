#include "uncommitted.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

namespace Talmo
{

namespace
{

const QString cannotTell = QStringLiteral("git cannot tell whether it has uncommitted changes");

/// Starts git about the file \a name in \a folder.
void startGit(QProcess &git, const QString &folder, const QString &name)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    environment.insert(QStringLiteral("GIT_OPTIONAL_LOCKS"), QStringLiteral("0"));
    environment.insert(QStringLiteral("GIT_LITERAL_PATHSPECS"), QStringLiteral("1"));
    environment.insert(QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0"));
    git.setProcessEnvironment(environment);
    git.setWorkingDirectory(folder);
    git.setStandardInputFile(QProcess::nullDevice());
    git.start(QStringLiteral("git"),
        {QStringLiteral("-c"), QStringLiteral("core.fsmonitor=false"), QStringLiteral("-c"),
            QStringLiteral("core.hooksPath=/dev/null"), QStringLiteral("status"),
            QStringLiteral("--porcelain"), QStringLiteral("-z"),
            QStringLiteral("--untracked-files=normal"), QStringLiteral("--"), name});
}

} // namespace

QString problemOfUncommitted(const QByteArray &path)
{
    const QString file = QFile::decodeName(path);
    QProcess git;
    startGit(git, file.section(QLatin1Char('/'), 0, -2) + QLatin1Char('/'),
        file.section(QLatin1Char('/'), -1));
    if (!git.waitForStarted(-1)) // there is no git
        return {};
    git.waitForFinished(-1);
    const QByteArray status = git.readAllStandardOutput();
    const QByteArray errors = git.readAllStandardError();
    if (git.exitStatus() != QProcess::NormalExit)
        return cannotTell;
    if (git.exitCode() != 0)
        return errors.contains("not a git repository") ? QString() : cannotTell;
    if (status.startsWith("??"))
        return QStringLiteral("it was never committed to git");
    return status.isEmpty() ? QString()
                            : QStringLiteral("it has changes that are not committed to git");
}

} // namespace Talmo
