#include "uncommitted.h"

#include "DiskFile.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

namespace Talmo
{

namespace
{

const QString cannotTell = QStringLiteral("git cannot tell whether it has uncommitted changes");

/// What git says about a file.
struct Answer {
    bool isThere = false; ///< there is a program that is called git
    bool isWell = false;  ///< it knows the answer
    QByteArray output;
    QByteArray errors;
};

/// Asks git about the file \a path by \a question.
Answer askGit(const QStringList &question, const QString &path)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    environment.insert(QStringLiteral("GIT_OPTIONAL_LOCKS"), QStringLiteral("0"));
    environment.insert(QStringLiteral("GIT_LITERAL_PATHSPECS"), QStringLiteral("1"));
    environment.insert(QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0"));
    const QStringList settings = {QStringLiteral("-c"), QStringLiteral("core.fsmonitor=false"),
        QStringLiteral("-c"), QStringLiteral("core.hooksPath=/dev/null")};
    const QStringList file = {QStringLiteral("--"), path.section(QLatin1Char('/'), -1)};
    QProcess git;
    git.setProcessEnvironment(environment);
    git.setWorkingDirectory(path.section(QLatin1Char('/'), 0, -2) + QLatin1Char('/'));
    git.setStandardInputFile(QProcess::nullDevice());
    git.start(QStringLiteral("git"), settings + question + file);
    Answer answer;
    answer.isThere = git.waitForStarted(-1);
    if (!answer.isThere)
        return answer;
    git.waitForFinished(-1);
    answer.isWell = git.exitStatus() == QProcess::NormalExit && git.exitCode() == 0;
    answer.output = git.readAllStandardOutput();
    answer.errors = git.readAllStandardError();
    return answer;
}

/// Whether \a path lies below something that is called ".git", or the environment names a
/// repository. Git also sees none where one is damaged, or where it was told not to look.
bool mayBeInRepository(const QString &path)
{
    if (!qEnvironmentVariableIsEmpty("GIT_DIR"))
        return true;
    QString folder = QFileInfo(path).canonicalPath();
    for (;;) {
        if (existsOnDisk(folder + QStringLiteral("/.git")))
            return true;
        if (folder.isEmpty())
            return false;
        folder = folder.section(QLatin1Char('/'), 0, -2);
    }
}

} // namespace

QString problemOfUncommitted(const QByteArray &path)
{
    const QString file = QFile::decodeName(path);
    const Answer status =
        askGit({QStringLiteral("status"), QStringLiteral("--porcelain"), QStringLiteral("-z"),
                   QStringLiteral("--ignored"), QStringLiteral("--untracked-files=normal")},
            file);
    const bool seesNone = !status.isWell && status.errors.contains("not a git repository");
    if (!status.isThere || seesNone)
        return mayBeInRepository(file) ? cannotTell : QString();
    if (!status.isWell)
        return cannotTell;
    if (status.output.startsWith("??") || status.output.startsWith("!!"))
        return QStringLiteral("it was never committed to git");
    if (!status.output.isEmpty())
        return QStringLiteral("it has changes that are not committed to git");
    // Of a file with a mark (git update-index --assume-unchanged), git does not look at the text.
    const Answer mark =
        askGit({QStringLiteral("ls-files"), QStringLiteral("-v"), QStringLiteral("-z")}, file);
    return mark.isWell && mark.output.startsWith("H ") ? QString() : cannotTell;
}

} // namespace Talmo
