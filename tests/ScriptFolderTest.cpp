#include "ScriptFolder.h"
#include "Printing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using Talmo::ScriptFolder;

// The functions here take the place of the system's calls, so that these can fail.

namespace
{

struct System {
    int entriesBeforeFailure = -1; ///< how many readdir gives; without limit if negative
    std::string failingCall;       ///< which of lstat, stat and access fails
    std::string failingName;       ///< the name of the file for which it fails
    int error = 0;                 ///< the error with which it fails
    QByteArray executable;         ///< the path of this program; null for the real one
} theSystem;

template <typename Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

bool fails(const char *call, const char *path)
{
    const std::string whole = path;
    if (call != theSystem.failingCall ||
        whole.substr(whole.rfind('/') + 1) != theSystem.failingName)
        return false;
    errno = theSystem.error;
    return true;
}

} // namespace

extern "C" dirent *readdir(DIR *directory)
{
    static auto *const next = original<dirent *(DIR *)>("readdir64");
    if (theSystem.entriesBeforeFailure == 0) {
        errno = EIO;
        return nullptr;
    }
    if (theSystem.entriesBeforeFailure > 0)
        --theSystem.entriesBeforeFailure;
    return next(directory);
}

extern "C" int access(const char *path, int mode) noexcept
{
    static auto *const next = original<int(const char *, int)>("access");
    return fails("access", path) ? -1 : next(path, mode);
}

extern "C" int lstat(const char *path, struct stat *status) noexcept
{
    static auto *const next = original<int(const char *, struct stat *)>("lstat64");
    return fails("lstat", path) ? -1 : next(path, status);
}

extern "C" int stat(const char *path, struct stat *status) noexcept
{
    static auto *const next = original<int(const char *, struct stat *)>("stat64");
    return fails("stat", path) ? -1 : next(path, status);
}

extern "C" char *realpath(const char *path, char *resolved) noexcept
{
    static auto *const next = original<char *(const char *, char *)>("realpath");
    if (theSystem.executable.isNull())
        return next(path, resolved);
    return std::strcpy(resolved, theSystem.executable);
}

namespace
{

class ScriptFolderTest : public testing::Test
{
protected:
    ScriptFolderTest() { theSystem = System(); }
    ~ScriptFolderTest() override { theSystem = System(); }

    QByteArray path() const { return QFile::encodeName(directory.path()); }

    void write(const QStringList &names) const
    {
        for (const QString &name : names) {
            QFile file(directory.filePath(name));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
        }
    }

    /// The names that \a patterns select one after the other, joined by blanks, or the error.
    std::string selected(const QStringList &patterns) const
    {
        ScriptFolder folder;
        bool isKnown = folder.list(path());
        QStringList names;
        for (const QString &pattern : patterns)
            isKnown = isKnown && folder.select(pattern, names);
        return isKnown ? names.join(' ').toStdString() : "error: " + folder.error().toStdString();
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(ScriptFolderTest, SelectsWhatTheDirectoryClassOfQtSelects)
{
    write({"test1", "Test2", "TEST10", "test3~", ".test", "x", "[", "a]b", "a[b", "tes\\t", "K",
        QString::fromUtf8("Größe"), QString::fromUtf8("GRÖSSE"), QString::fromUtf8("\u212A"),
        QString::fromUtf8("\U0001F600"), "te\nst", " ", "a*", "a!", "-d", "^"});
    ASSERT_TRUE(QDir(directory.path()).mkdir("testdir"));
    ASSERT_TRUE(QFile::link("test1", directory.filePath("testlink")));
    ASSERT_TRUE(QFile::link("testdir", directory.filePath("testdirlink")));
    ASSERT_TRUE(QFile::link("nowhere", directory.filePath("testlost")));
    ASSERT_TRUE(QFile::link("testloop", directory.filePath("testloop")));
    ASSERT_TRUE(QFile::link("/dev/null", directory.filePath("testdevice")));
    ASSERT_EQ(mkfifo(path() + "/testfifo", 0600), 0);
    ASSERT_EQ(symlink("testfifo", path() + "/testfifolink"), 0);
    const QStringList patterns = {"", "*", "test*", "TEST*", "test1", "TEST1", "test?", "?", "??",
        "[", "[[]", "a[[]b", "a]b", "a[]]b", "[a-t]*", "[!a-t]*", "[^a-t]*", "[]", "[!]", "t[",
        "tes\\t", "tes[\\]t", "k", "K", "s", QString::fromUtf8("größe"),
        QString::fromUtf8("grösse"), QString::fromUtf8("GRÖ?E"), "te?st", "*s*t*", " ", "a\\*",
        "a!", ".test", ".*", "test1 x", "./test1", "*/test1", "[/]", "testdir", "testfifo",
        "testfifolink", "testlost", "{x,K}", "x|K", "(x)", "x$", "^", "[z-a]", "[[:alpha:]]",
        "test1*test1", "[!", "[^]", "-d"};
    const QDir dir(directory.path());
    for (const QString &pattern : patterns) {
        SCOPED_TRACE(pattern.toStdString());
        QStringList expected =
            dir.entryList({pattern}, QDir::Files | QDir::Readable, QDir::Name | QDir::IgnoreCase);
        EXPECT_EQ(selected({pattern}), expected.join(' ').toStdString());
    }
}

TEST_F(ScriptFolderTest, ALinkToADeviceOrToAFifoCountsAsAFile)
{
    ASSERT_EQ(symlink("/dev/null", path() + "/test1"), 0);
    ASSERT_EQ(mkfifo(path() + "/fifo", 0600), 0);
    ASSERT_EQ(symlink("fifo", path() + "/test2"), 0);
    EXPECT_EQ(selected({"test*"}), "test1 test2");
    EXPECT_EQ(selected({"fifo"}), ""); // the FIFO itself is no file
}

TEST_F(ScriptFolderTest, NamesThatDifferInCaseHaveAnOrder)
{
    write({"testB", "Testb", "TESTB", "testa", "testC"});
    EXPECT_EQ(selected({"test*"}), "testa TESTB Testb testB testC");
    EXPECT_EQ(selected({"TestB"}), "TESTB Testb testB");
}

TEST_F(ScriptFolderTest, PatternsSelectOneAfterTheOther)
{
    write({"a", "b", "c"});
    EXPECT_EQ(selected({"c", "[ab]", "c", "none", "b"}), "c a b c b");
}

TEST_F(ScriptFolderTest, ANameThatIsNoTextIsPassedOver)
{
    write({"test1"});
    QFile::remove(directory.filePath("test1"));
    for (const char *const name : {"test\xFF", "test\xC3", "testok"})
        EXPECT_EQ(mknod(path() + '/' + name, S_IFREG | 0600, 0), 0);
    EXPECT_EQ(selected({"test*"}), "testok");
}

TEST_F(ScriptFolderTest, AListThatBreaksOffIsAnError)
{
    write({"test1", "test2", "test3", "test4"});
    for (const int entries : {0, 1, 3, 5}) { // there are six, with "." and ".."
        SCOPED_TRACE(entries);
        theSystem.entriesBeforeFailure = entries;
        EXPECT_EQ(selected({"test*"}), "error: Input/output error");
    }
    theSystem.entriesBeforeFailure = 7;
    EXPECT_EQ(selected({"test*"}), "test1 test2 test3 test4");
}

TEST_F(ScriptFolderTest, ADirectoryThatIsNotThereIsAnError)
{
    ScriptFolder folder;
    EXPECT_FALSE(folder.list(path() + "/none"));
    EXPECT_EQ(folder.error(), "No such file or directory");
    write({"file"});
    EXPECT_FALSE(folder.list(path() + "/file"));
    EXPECT_EQ(folder.error(), "Not a directory");
}

TEST_F(ScriptFolderTest, AFileThatCannotBeLookedAtIsAnErrorOnceItIsAskedFor)
{
    write({"test1", "test2", "other"});
    ASSERT_TRUE(QFile::link("test2", directory.filePath("testlink")));
    const std::string all = "test1 test2 testlink";
    // lstat is refused in a directory that may not be searched. If stat or access is refused, that
    // concerns one file only.
    const std::vector<int> passedOver = {ENOENT, ENOTDIR, ELOOP, EACCES};
    for (const int error : {EPERM, ENOENT, EIO, ENOMEM, EACCES, EFAULT, ENODEV, ENOTDIR, EISDIR,
             ENAMETOOLONG, ELOOP, EOVERFLOW, ESTALE}) {
        SCOPED_TRACE(std::strerror(error));
        const std::string reason = std::string("error: ") + std::strerror(error);
        const bool isPassedOver =
            std::find(passedOver.begin(), passedOver.end(), error) != passedOver.end();
        theSystem.error = error;
        theSystem.failingCall = "lstat";
        theSystem.failingName = "test1";
        EXPECT_EQ(selected({"test*"}), error == ENOENT ? "test2 testlink" : reason);
        theSystem.failingCall = "access";
        EXPECT_EQ(selected({"test*"}), isPassedOver ? "test2 testlink" : reason);
        theSystem.failingCall = "stat";
        EXPECT_EQ(selected({"test*"}), all); // stat is not called for this file
        theSystem.failingName = "testlink";
        EXPECT_EQ(selected({"test*"}), isPassedOver ? "test1 test2" : reason);
        theSystem.failingName = "other";
        EXPECT_EQ(selected({"test*"}), all);
    }
}

TEST_F(ScriptFolderTest, TheDistributionIsBesideTheDirectoryOfTheExecutable)
{
    ASSERT_TRUE(QDir(directory.path()).mkdir("test"));
    const struct {
        QByteArray executable;
        QByteArray folder;
    } rows[] = {
        {path() + "/bin/talmo_test", path() + "/test"},
        {path() + "/test/bin/talmo_test", path() + "/test"}, // there is no "test" in this "test"
        {"/bin/talmo_test", QDir("/test").exists() ? "/test" : "/"},
        {"/talmo_test", QDir("/test").exists() ? "/test" : "/"},
        {"/a/b/talmo_test", "/a"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.executable.toStdString());
        theSystem.executable = row.executable;
        EXPECT_EQ(Talmo::distributionDirectory(), row.folder);
    }
    theSystem.executable = path() + "/bin/talmo_test";
    theSystem.failingCall = "stat";
    theSystem.failingName = "test";
    for (const int error : {ENOENT, ENOTDIR, EACCES, EIO}) {
        SCOPED_TRACE(std::strerror(error));
        theSystem.error = error;
        const bool isMissing = error == ENOENT || error == ENOTDIR;
        EXPECT_EQ(Talmo::distributionDirectory(), isMissing ? path() : path() + "/test");
    }
}

TEST_F(ScriptFolderTest, TheWorkingDirectoryHasTheNameThatItHas)
{
    const QByteArray strange = path() + "/J\xF6rg";
    ASSERT_EQ(mkdir(strange, 0700), 0);
    ASSERT_EQ(chdir(strange), 0);
    EXPECT_EQ(Talmo::workingDirectory(), strange);
    ASSERT_EQ(rmdir(strange), 0);
    EXPECT_TRUE(Talmo::workingDirectory().isNull());
    EXPECT_EQ(errno, ENOENT);
    ASSERT_EQ(chdir("/"), 0);
    EXPECT_EQ(Talmo::workingDirectory(), "/");
}
