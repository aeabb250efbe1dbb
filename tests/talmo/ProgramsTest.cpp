#include "Programs.h"
#include "Printing.h"

#include "shell.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <memory>

#include <dlfcn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// Whether files in folders that are made meanwhile cannot be started, as in a file system that is
/// mounted so; what links there lead to can.
bool nothingStartsFromTemporaryFolders = false;

} // namespace

extern "C" int access(const char *path, int mode) noexcept
{
    static auto *const next =
        reinterpret_cast<int (*)(const char *, int)>(dlsym(RTLD_NEXT, "access"));
    struct stat status = {};
    const bool isOwnFile = QByteArray(path).contains("/talmo-") && lstat(path, &status) == 0 &&
                           S_ISREG(status.st_mode);
    if (!nothingStartsFromTemporaryFolders || !isOwnFile)
        return next(path, mode);
    errno = EACCES;
    return -1;
}

namespace
{

/// A working directory with programs, and a folder for temporary files.
class ProgramsTest : public testing::Test
{
protected:
    ProgramsTest()
        : before(QDir::currentPath())
        , pathBefore(qgetenv("PATH"))
        , path(QFile::encodeName(QDir(folder.path()).canonicalPath()))
        , programs(std::make_unique<GivenPrograms>())
    {
        QDir::setCurrent(QFile::decodeName(path));
        QDir().mkpath("tmp");
        QDir().mkpath("bin");
        qputenv("TMPDIR", path + "/tmp");
        qputenv("PATH", path + "/bin:/usr/bin:/bin");
    }
    ~ProgramsTest() override
    {
        programs.reset();
        qunsetenv("TMPDIR");
        qputenv("PATH", pathBefore);
        QDir::setCurrent(before);
    }

    void write(const QString &name, const QByteArray &content,
        QFile::Permissions permissions = QFile::ReadOwner | QFile::ExeOwner)
    {
        QDir().mkpath(QFileInfo(name).path());
        QFile file(name);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
        ASSERT_EQ(file.write(content), content.size());
        ASSERT_TRUE(file.setPermissions(permissions));
    }

    /// Why \a text cannot be given as a program; null if it can. In the place of the path of the
    /// working directory stands FOLDER.
    QString problemOf(const QString &text)
    {
        QString problem;
        const bool isAdded = programs->add(text, problem);
        EXPECT_EQ(isAdded, problem.isNull()) << text.toStdString();
        return problem.replace(QFile::decodeName(path), "FOLDER");
    }

    void enterPath()
    {
        QString problem;
        EXPECT_TRUE(programs->enterPath(problem)) << problem.toStdString();
        EXPECT_EQ(problem, QString());
    }

    /// What the shell line \a line prints, run in another directory, as runs are.
    QByteArray printedBy(const std::string &line) const
    {
        const ShellEnd end =
            runInShell("(mkdir -p run && cd run && " + line + ") >" + path.toStdString() + "/out");
        EXPECT_TRUE(end.isSuccess()) << line;
        QFile out("out");
        EXPECT_TRUE(out.open(QIODevice::ReadOnly));
        return out.readAll();
    }

    QStringList temporaryFiles() const
    {
        return QDir("tmp").entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QTemporaryDir folder;
    QString before;
    QByteArray pathBefore;
    QByteArray path; ///< of the working directory
    std::unique_ptr<GivenPrograms> programs;
};

const QByteArray script = "#!/bin/sh\necho \"$0\" \"$@\"\n";

} // namespace

TEST_F(ProgramsTest, AreAnExecutableOrAFolderWithIt)
{
    write("bin/inPath", script);
    write("build/a/sim1", script);
    write("build/b/simulation", script);
    EXPECT_EQ(problemOf("inPath"), QString());
    EXPECT_EQ(problemOf("sim1=build/a"), QString());
    EXPECT_EQ(problemOf("sim2=build/b/simulation"), QString());
    EXPECT_EQ(
        problemOf("sim3=" + QFile::decodeName(path) + "/build/../build/b/simulation"), QString());
    EXPECT_EQ(programs->names(), QStringList({"inPath", "sim1", "sim2", "sim3"}));
}

TEST_F(ProgramsTest, ThatDoNotExistAreRefused)
{
    write("plain", script, QFile::ReadOwner);
    write("build/sim1", script);
    write("build/plain", script, QFile::ReadOwner);
    write("bin/plain", script, QFile::ReadOwner);
    QDir().mkpath("build/folder/folder");
    QDir().mkpath("bin/folder");
    ASSERT_EQ(symlink("nowhere", "lost"), 0);
    ASSERT_EQ(symlink("round", "round"), 0);
    const struct {
        const char *text;
        const char *problem;
    } rows[] = {
        {"sim1", "the program 'sim1' is not in the PATH"},
        {"plain", "the program 'plain' is not in the PATH"},
        {"folder", "the program 'folder' is not in the PATH"},
        {"sim1=", "the program 'sim1': 'FOLDER/sim1' does not exist"},
        {"sim1=none", "the program 'sim1': 'FOLDER/none' does not exist"},
        {"sim1=/none", "the program 'sim1': '/none' does not exist"},
        {"sim1=plain/sim1", "the program 'sim1': 'FOLDER/plain/sim1' does not exist"},
        {"sim1=plain", "the program 'sim1': 'FOLDER/plain' is not executable"},
        {"sim1=plain/", "the program 'sim1': 'FOLDER/plain/sim1' does not exist"},
        {"sim1=lost", "the program 'sim1': 'FOLDER/lost' does not exist"},
        {"sim1=round", "the program 'sim1': 'FOLDER/round': Too many levels of symbolic links"},
        {"sim2=build", "the program 'sim2': 'FOLDER/build/sim2' does not exist"},
        {"plain=build", "the program 'plain': 'FOLDER/build/plain' is not executable"},
        {"folder=build/folder/", "the program 'folder': 'FOLDER/build/folder/folder' is not "
                                 "executable"},
        {"sim1=/dev/null", "the program 'sim1': '/dev/null' is not executable"},
        {"sim1=build/sim1=x", "the program 'sim1': 'FOLDER/build/sim1=x' does not exist"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(problemOf(row.text), row.problem) << row.text;
    EXPECT_EQ(programs->names(), QStringList());
    EXPECT_EQ(problemOf("sim1=build/sim1"), QString());
}

TEST_F(ProgramsTest, WhoseNamesTheShellWouldNotTakeAreRefused)
{
    write("sim", script);
    for (const char *const name : {"a b", "a\tb", "a\nb", "a*", "a?", "[a", "a]", "a$b", "a'b",
             "a\"b", "a\\b", "a;b", "a&b", "a|b", "a<b", "a>b", "a(b", "a)b", "a`b", "#a", "~a",
             "!a", "{a", "a}", "^a", "%1", "-a", "..", "a\xC2\xA0o", "a\xC2\x80o"}) {
        const QString text = QString::fromUtf8(name);
        EXPECT_EQ(problemOf(text + "=sim"),
            "the name of the program '" + text + "' is no plain word for the shell");
    }
    EXPECT_EQ(problemOf("=sim"), "a program needs a name");
    EXPECT_EQ(problemOf(""), "a program needs a name");
    EXPECT_EQ(problemOf("./sim"), "the name of the program './sim' has a '/'; write NAME=PATH");
    EXPECT_EQ(problemOf("a/b=sim"), "the name of the program 'a/b' has a '/'; write NAME=PATH");
    for (const char *const name : {"sim.1", "sim+", "sim-1", "a_b", "a,b", "a:b", "a@b", "1", "a..",
             "if1", "b\xC3\xA4r", "ba\xCC\x88r", "\xE6\x97\xA5\xE6\x9C\xAC"})
        EXPECT_EQ(problemOf(QString::fromUtf8(name) + "=sim"), QString()) << name;
}

TEST_F(ProgramsTest, WhoseNamesTheShellHasItselfAreRefused)
{
    write("sim", script);
    write("bin/test", script);
    write("bin/sim", script);
    for (const char *const name : {"test", "echo", "cd", ".", ":", "if", "done", "exec", "kill"}) {
        const QString own = QString("the shell has a command '%1' of its own, so it would not "
                                    "start the program of that name")
                                .arg(name);
        EXPECT_EQ(problemOf(QString(name) + "=sim"), own);
        EXPECT_EQ(problemOf(name), own);
    }
    EXPECT_EQ(problemOf("sim"), QString()); // the shell finds it, but has none of its own
    EXPECT_EQ(problemOf("ls"), QString());
}

TEST_F(ProgramsTest, AreGivenOnce)
{
    write("bin/sim1", script);
    write("bin/sim2", script);
    EXPECT_EQ(problemOf("sim1"), QString());
    EXPECT_EQ(problemOf("sim2=bin"), QString());
    EXPECT_EQ(problemOf("sim1"), "the program 'sim1' is given twice");
    EXPECT_EQ(problemOf("sim1=bin/sim2"), "the program 'sim1' is given twice");
    EXPECT_EQ(problemOf("sim2"), "the program 'sim2' is given twice");
    EXPECT_EQ(problemOf("Sim1=bin/sim1"), QString()); // case counts, as for the shell
}

TEST_F(ProgramsTest, AreFoundWhereRunsFindThem)
{
    write("here/sim1", script);
    const QByteArray usual = qgetenv("PATH");
    // A run is in a directory of its own, so it does not find what is found from here.
    for (const QByteArray &relative : {QByteArray("here"), QByteArray("./here"), QByteArray()}) {
        qputenv("PATH", relative + ":/usr/bin");
        EXPECT_EQ(problemOf("sim1"), "the program 'sim1' is not in the PATH");
    }
    qputenv("PATH", "");
    EXPECT_EQ(problemOf("ls"), "the program 'ls' is not in the PATH");
    qputenv("PATH", "/nowhere:" + path + "/here");
    EXPECT_EQ(problemOf("sim1"), QString());
    qunsetenv("PATH");
    EXPECT_EQ(problemOf("ls"), QString());
    qputenv("PATH", usual);
}

TEST_F(ProgramsTest, GivenByAPathComeFirstInThePathAndAlone)
{
    write("bin/sim1", "#!/bin/sh\necho old\n");
    write("bin/other", "#!/bin/sh\necho other\n");
    write("build/sim1", "#!/bin/sh\necho new\n");
    write("build/other", "#!/bin/sh\necho not this one\n");
    ASSERT_TRUE(QFile::copy("/bin/echo", "build/binary"));
    ASSERT_EQ(problemOf("sim1=build"), QString());
    ASSERT_EQ(problemOf("other"), QString());
    ASSERT_EQ(problemOf("printed=build/binary"), QString());
    EXPECT_EQ(printedBy("sim1"), "old\n"); // they are there once they were asked for
    EXPECT_EQ(temporaryFiles(), QStringList());
    enterPath();
    EXPECT_EQ(printedBy("sim1; other; printed a 'b  c'; ls \"${PATH%%:*}\""),
        "new\nother\na b  c\nprinted\nsim1\n");
    EXPECT_EQ(temporaryFiles().size(), 1);
    EXPECT_TRUE(qgetenv("PATH").endsWith(":" + path + "/bin:/usr/bin:/bin"));
    programs.reset();
    EXPECT_EQ(temporaryFiles(), QStringList());
    EXPECT_TRUE(QFile::exists("build/sim1"));
}

TEST_F(ProgramsTest, ThatAreScriptsFindWhatIsBesideThem)
{
    const QString folderName = QString::fromUtf8("it's a \"$HOME\" `x` \\ \u00e4\n");
    write(folderName + "/sim1", "#!/bin/sh\ncat \"${0%/*}/data\"; echo \"$#:$1:$2\"; exit 3\n");
    write(folderName + "/data", "beside\n");
    ASSERT_EQ(problemOf("sim1=" + folderName), QString());
    enterPath();
    EXPECT_EQ(printedBy("sim1 'a  b' '' || echo $?"), "beside\n2:a  b:\n3\n");
}

TEST_F(ProgramsTest, InThePathNeedNoFolder)
{
    write("bin/sim1", script);
    ASSERT_EQ(problemOf("sim1"), QString());
    const QByteArray usual = qgetenv("PATH");
    enterPath();
    EXPECT_EQ(qgetenv("PATH"), usual);
    EXPECT_EQ(temporaryFiles(), QStringList());
}

TEST_F(ProgramsTest, WithoutAPathAreFoundAsTheShellFindsThem)
{
    write("sim1", script);
    ASSERT_EQ(problemOf("sim1=sim1"), QString());
    const QByteArray usual = qgetenv("PATH");
    qunsetenv("PATH");
    enterPath();
    EXPECT_EQ(printedBy("ls / >/dev/null && sim1 | wc -l"), "1\n");
    qputenv("PATH", usual);
}

TEST_F(ProgramsTest, AreLeftThereByAForkedProcess)
{
    write("sim1", script);
    ASSERT_EQ(problemOf("sim1=sim1"), QString());
    enterPath();
    const pid_t child = fork();
    if (child == 0) {
        programs.reset();
        _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(temporaryFiles().size(), 1);
}

TEST_F(ProgramsTest, AFolderThatCannotBeUsedIsAProblem)
{
    write("sim1", script);
    QDir().mkpath("a:b");
    const struct {
        const char *folder;
        const char *problem;
    } rows[] = {
        {"none",
            "cannot make a folder for the programs in 'FOLDER/none': No such file or directory"},
        {"a:b", "the PATH cannot hold a folder in 'FOLDER/a:b', because of its ':'"},
    };
    const QByteArray usual = qgetenv("PATH");
    ASSERT_EQ(problemOf("sim1=sim1"), QString());
    for (const auto &row : rows) {
        qputenv("TMPDIR", row.folder);
        QString problem;
        EXPECT_FALSE(programs->enterPath(problem));
        EXPECT_EQ(problem.replace(QFile::decodeName(path), "FOLDER"), row.problem);
        EXPECT_EQ(qgetenv("PATH"), usual);
    }
    EXPECT_EQ(QDir("a:b").entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
}

TEST_F(ProgramsTest, AFolderForTemporaryFilesMayBeRelative)
{
    write("sim1", script);
    qputenv("TMPDIR", "tmp");
    ASSERT_EQ(problemOf("sim1=sim1"), QString());
    enterPath();
    EXPECT_EQ(printedBy("sim1 a"), path + "/sim1 a\n");
    ASSERT_TRUE(QDir::setCurrent("run"));
    programs.reset();
    ASSERT_TRUE(QDir::setCurrent(".."));
    EXPECT_EQ(temporaryFiles(), QStringList());
}

TEST_F(ProgramsTest, WhereNothingMayBeStartedScriptsAreAProblem)
{
    write("sim1", script);
    ASSERT_TRUE(QFile::copy("/bin/echo", "binary"));
    ASSERT_EQ(problemOf("sim2=binary"), QString());
    QString problem;
    nothingStartsFromTemporaryFolders = true;
    EXPECT_TRUE(programs->enterPath(problem)) << problem.toStdString();
    programs = std::make_unique<GivenPrograms>();
    ASSERT_EQ(problemOf("sim1=sim1"), QString());
    EXPECT_FALSE(programs->enterPath(problem));
    nothingStartsFromTemporaryFolders = false;
    EXPECT_TRUE(problem.startsWith("the program 'sim1' cannot be started in '"));
    EXPECT_TRUE(problem.endsWith("': Permission denied")) << problem.toStdString();
}

TEST_F(ProgramsTest, ANameThatNoFileCanHaveIsAProblem)
{
    write("sim1", script);
    ASSERT_EQ(problemOf(QString(256, 'a') + "=sim1"), QString());
    QString problem;
    EXPECT_FALSE(programs->enterPath(problem));
    EXPECT_TRUE(problem.endsWith("File name too long")) << problem.toStdString();
    programs.reset();
    EXPECT_EQ(temporaryFiles(), QStringList());
}
