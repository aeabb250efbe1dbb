// Git takes its time to start, so it is asked about all files of a repository at once. It answers
// for several files what it would for one; only what it says of a file by its name counts, and
// where something else comes, it cannot tell.

#include "uncommitted.h"

#include "DiskFile.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace Talmo
{

namespace
{

const QString cannotTell = QStringLiteral("git cannot tell whether it has uncommitted changes");

/// What git says.
struct Answer {
    bool isThere = false; ///< there is a program that is called git
    bool isWell = false;  ///< it knows the answer
    QByteArray output;
    QByteArray errors;
};

/// A file that git is asked about.
struct AskedFile {
    QByteArray path; ///< as the caller has it
    QString name;    ///< below the folder where git is started
};

using Problems = std::map<QByteArray, QString>;

/// Asks git in \a folder about the files \a names by \a question.
Answer askGit(const QString &folder, const QStringList &question, const QStringList &names)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    environment.insert(QStringLiteral("GIT_OPTIONAL_LOCKS"), QStringLiteral("0"));
    environment.insert(QStringLiteral("GIT_LITERAL_PATHSPECS"), QStringLiteral("1"));
    environment.insert(QStringLiteral("GIT_TERMINAL_PROMPT"), QStringLiteral("0"));
    const QStringList settings = {QStringLiteral("-c"), QStringLiteral("core.fsmonitor=false"),
        QStringLiteral("-c"), QStringLiteral("core.hooksPath=/dev/null")};
    QProcess git;
    git.setProcessEnvironment(environment);
    git.setWorkingDirectory(folder);
    git.setStandardInputFile(QProcess::nullDevice());
    git.start(QStringLiteral("git"), settings + question + names);
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

/// The nearest folder, \a folder or above it, that has something called ".git"; null if none has.
QString topAbove(QString folder)
{
    for (;;) {
        if (existsOnDisk(folder + QStringLiteral("/.git")))
            return folder + QLatin1Char('/');
        if (folder.isEmpty())
            return {};
        folder = folder.section(QLatin1Char('/'), 0, -2);
    }
}

/// Whether the environment says where the repository is, or where not to look for one. What it
/// means then depends on the folder where git is started.
bool isPlaceGiven()
{
    return !qEnvironmentVariableIsEmpty("GIT_DIR") ||
           !qEnvironmentVariableIsEmpty("GIT_WORK_TREE") ||
           !qEnvironmentVariableIsEmpty("GIT_CEILING_DIRECTORIES");
}

/// Whether \a folder lies below something that is called ".git", or the environment names a
/// repository. Git also sees none where one is damaged, or where it was told not to look.
bool mayBeInRepository(const QString &folder)
{
    return !qEnvironmentVariableIsEmpty("GIT_DIR") ||
           !topAbove(QFileInfo(folder).canonicalFilePath()).isNull();
}

/// Sorts \a paths by the folders where git is started to ask about them, which end with "/".
std::map<QString, std::vector<AskedFile>> byRepository(const std::set<QByteArray> &paths)
{
    std::map<QString, std::vector<AskedFile>> repositories;
    for (const QByteArray &path : paths) {
        const QString file = QFile::decodeName(path);
        const QString above = file.section(QLatin1Char('/'), 0, -2) + QLatin1Char('/');
        const QString real = QFileInfo(above).canonicalFilePath();
        QString folder = real.endsWith(QLatin1Char('/')) ? real : real + QLatin1Char('/');
        if (real.isEmpty())
            folder = above;
        const QString top = isPlaceGiven() ? QString() : topAbove(real);
        const QString start = top.isNull() ? folder : top;
        const QString name = file.section(QLatin1Char('/'), -1);
        repositories[start].push_back({path, folder.mid(start.size()) + name});
    }
    return repositories;
}

/// Which of \a asked something that git says of \a name is about: that file itself, or one that has
/// taken the place of a folder. Null if it is none.
QByteArray askedName(QByteArray name, const std::set<QByteArray> &asked)
{
    while (asked.count(name) == 0) {
        const auto slash = name.lastIndexOf('/');
        if (slash < 0)
            return {};
        name = name.left(slash);
    }
    return name;
}

/// Says of \a names, below the folder \a start, what is in the way. \a prefix is the path of that
/// folder in the repository.
std::map<QByteArray, QString> problemsOf(
    const QStringList &names, const QString &start, const QByteArray &prefix)
{
    std::set<QByteArray> asked;
    std::map<QByteArray, QString> problems;
    for (const QString &name : names) {
        asked.insert(QFile::encodeName(name));
        problems[QFile::encodeName(name)] = cannotTell;
    }
    const Answer status = askGit(start,
        {QStringLiteral("status"), QStringLiteral("--porcelain"), QStringLiteral("-z"),
            QStringLiteral("--no-renames"), QStringLiteral("--ignored"),
            QStringLiteral("--untracked-files=all"), QStringLiteral("--")},
        names);
    // Of a file with a mark (git update-index --assume-unchanged), git does not look at the text.
    const Answer marks = askGit(start,
        {QStringLiteral("ls-files"), QStringLiteral("-v"), QStringLiteral("-z"),
            QStringLiteral("--")},
        names);
    if (!status.isWell || !marks.isWell)
        return problems;
    bool isClear = true;
    std::set<QByteArray> changed;
    for (const QByteArray &entry : status.output.split('\0')) {
        const QByteArray path = entry.mid(3); // behind the code
        const QByteArray name =
            path.startsWith(prefix) ? askedName(path.mid(prefix.size()), asked) : QByteArray();
        isClear = isClear && (entry.isEmpty() || !name.isNull());
        if (name.isNull() || !changed.insert(name).second)
            continue;
        problems[name] = entry.startsWith("??") || entry.startsWith("!!")
                             ? QStringLiteral("it was never committed to git")
                             : QStringLiteral("it has changes that are not committed to git");
    }
    for (const QByteArray &entry : marks.output.split('\0')) {
        if (isClear && entry.startsWith("H ") && changed.count(entry.mid(2)) == 0)
            problems.erase(entry.mid(2));
    }
    return problems;
}

/// Adds to \a problems what is in the way of \a files, about which git is asked in \a start.
void addProblems(const QString &start, const std::vector<AskedFile> &files, Problems &problems)
{
    constexpr int enough = 64 * 1024; // bytes of names: no system takes less in a command line
    const Answer place =
        askGit(start, {QStringLiteral("rev-parse"), QStringLiteral("--show-prefix")}, {});
    const bool seesNone = !place.isWell && place.errors.contains("not a git repository");
    if ((!place.isThere || seesNone) && !mayBeInRepository(start))
        return;
    if (!place.isWell) {
        for (const AskedFile &file : files)
            problems[file.path] = cannotTell;
        return;
    }
    const QByteArray prefix = place.output.left(place.output.size() - 1); // without its newline
    for (auto begin = files.begin(); begin != files.end();) {
        QStringList names;
        auto end = begin;
        for (int size = 0; end != files.end() && size < enough; ++end) {
            names += end->name;
            size += static_cast<int>(QFile::encodeName(end->name).size()) + 1;
        }
        const auto found = problemsOf(names, start, prefix);
        for (; begin != end; ++begin) {
            const auto problem = found.find(QFile::encodeName(begin->name));
            if (problem != found.end())
                problems[begin->path] = problem->second;
        }
    }
}

} // namespace

std::map<QByteArray, QString> problemsOfUncommitted(const std::set<QByteArray> &paths)
{
    Problems problems;
    for (const auto &[start, files] : byRepository(paths))
        addProblems(start, files, problems);
    return problems;
}

} // namespace Talmo
