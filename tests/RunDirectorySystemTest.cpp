#include "Printing.h"
#include "RunDirectory.h"
#include "mountOf.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <cstring>
#include <functional>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

// What happens if another driver does something to the directory of a run between two of our calls.
// The functions here take the place of the system's calls and do it before or after.

namespace
{

struct System {
    std::function<void()> afterMaking;
    std::function<void()> afterNotOpening;
    std::function<void()> beforeEntering;
    bool hasLocks = true;
    int openings = -1;        ///< how many files can still be opened; without limit if negative
    bool opensCurrent = true; ///< whether the directory "." can be opened
    int errorOfUnlinking = 0; ///< why the file "stuck" cannot be removed; 0 if it can
    bool tellsOfMounts = true;
} theSystem;

template <typename Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

void makeDirectory(const char *path)
{
    static auto *const next = original<int(const char *, mode_t)>("mkdir");
    next(path, 0777);
}

} // namespace

extern "C" int mkdir(const char *path, mode_t mode) noexcept
{
    static auto *const next = original<int(const char *, mode_t)>("mkdir");
    const int result = next(path, mode);
    const int error = errno;
    if (theSystem.afterMaking)
        theSystem.afterMaking();
    errno = error;
    return result;
}

extern "C" int fchdir(int directory) noexcept
{
    static auto *const next = original<int(int)>("fchdir");
    if (theSystem.beforeEntering)
        theSystem.beforeEntering();
    return next(directory);
}

extern "C" int flock(int file, int operation) noexcept
{
    static auto *const next = original<int(int, int)>("flock");
    if (theSystem.hasLocks)
        return next(file, operation);
    errno = ENOLCK;
    return -1;
}

extern "C" int open(const char *path, int flags, ...)
{
    static auto *const next = original<int(const char *, int, mode_t)>("open64");
    if (theSystem.openings == 0 || (!theSystem.opensCurrent && std::strcmp(path, ".") == 0)) {
        errno = EMFILE;
        return -1;
    }
    if (theSystem.openings > 0)
        --theSystem.openings;
    const int file = next(path, flags, 0600);
    const int error = errno;
    if (file < 0 && theSystem.afterNotOpening)
        theSystem.afterNotOpening();
    errno = error;
    return file;
}

extern "C" int unlinkat(int directory, const char *name, int flags) noexcept
{
    static auto *const next = original<int(int, const char *, int)>("unlinkat");
    if (theSystem.errorOfUnlinking == 0 || std::strcmp(name, "stuck") != 0)
        return next(directory, name, flags);
    errno = theSystem.errorOfUnlinking;
    return -1;
}

extern "C" int statx(
    int file, const char *path, int flags, unsigned wanted, struct statx *status) noexcept
{
    static auto *const next =
        original<int(int, const char *, int, unsigned, struct statx *)>("statx");
    if (theSystem.tellsOfMounts)
        return next(file, path, flags, wanted, status);
    errno = ENOSYS;
    return -1;
}

namespace
{

class RunDirectorySystem : public testing::Test
{
protected:
    RunDirectorySystem() { EXPECT_TRUE(QDir::setCurrent(folder.path())); }
    ~RunDirectorySystem() override
    {
        theSystem = System();
        QDir::setCurrent(QStringLiteral("/"));
    }

private:
    QTemporaryDir folder;
};

} // namespace

TEST_F(RunDirectorySystem, TakenAwayBeforeItIsLockedItIsInUse)
{
    for (const bool isLeftover : {false, true}) {
        SCOPED_TRACE(isLeftover);
        if (isLeftover)
            makeDirectory("run");
        theSystem.afterMaking = [] { rmdir("run"); };
        theSystem.beforeEntering = [] { makeDirectory("run"); }; // the other driver makes its own
        RunDirectory directory("run");
        EXPECT_FALSE(directory.enter());
        EXPECT_TRUE(directory.isInUse());
        EXPECT_FALSE(QFile::exists("run"));
    }
}

TEST_F(RunDirectorySystem, ALinkInItsPlaceIsRemovedWhoeverUsesWhatItLeadsTo)
{
    makeDirectory("other");
    ASSERT_TRUE(QFile::link("other", "run"));
    const int locked = open("other", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(flock(locked, LOCK_EX), 0);
    RunDirectory directory("run");
    EXPECT_TRUE(directory.enter());
    directory.leave();
    EXPECT_FALSE(QFileInfo("run").isSymLink());
    EXPECT_TRUE(QFileInfo("run").isDir());
    close(locked);
}

TEST_F(RunDirectorySystem, ADirectoryThatTakesThePlaceOfALinkIsLeftToItsDriver)
{
    makeDirectory("other");
    ASSERT_TRUE(QFile::link("other", "run"));
    int locked = -1;
    theSystem.afterNotOpening = [&locked] { // another driver now replaces the link first
        theSystem.afterNotOpening = nullptr;
        unlink("run");
        makeDirectory("run");
        close(creat("run/result", 0600));
        locked = open("run", O_RDONLY | O_CLOEXEC);
        EXPECT_EQ(flock(locked, LOCK_EX), 0);
    };
    RunDirectory directory("run");
    EXPECT_FALSE(directory.enter());
    EXPECT_TRUE(directory.isInUse());
    EXPECT_TRUE(QFile::exists("run/result"));
    close(locked);
}

TEST_F(RunDirectorySystem, ALinkToNothingIsRemoved)
{
    ASSERT_TRUE(QFile::link("nowhere", "run"));
    RunDirectory directory("run");
    EXPECT_TRUE(directory.enter());
    directory.leave();
    EXPECT_TRUE(QFileInfo("run").isDir());
}

TEST_F(RunDirectorySystem, ALinkThatTakesItsNameMeanwhileIsNotFollowed)
{
    makeDirectory("other");
    theSystem.beforeEntering = [] {
        theSystem.beforeEntering = nullptr;
        EXPECT_EQ(rename("run", "moved"), 0);
        EXPECT_EQ(symlink("other", "run"), 0);
    };
    RunDirectory directory("run");
    EXPECT_TRUE(directory.enter());
    EXPECT_EQ(QDir::currentPath(), QFileInfo("../moved").canonicalFilePath());
    directory.leave();
    directory.remove();
    EXPECT_TRUE(QFileInfo("run").isSymLink());
    EXPECT_TRUE(QFileInfo("other").isDir());
    EXPECT_EQ(directory.remarks(), QByteArrayList());
}

TEST_F(RunDirectorySystem, WithoutLocksItIsEnteredAndClearedAllTheSame)
{
    theSystem.hasLocks = false;
    makeDirectory("run");
    makeDirectory("run/old");
    RunDirectory directory("run");
    EXPECT_TRUE(directory.enter());
    EXPECT_FALSE(directory.isInUse());
    EXPECT_FALSE(QFile::exists("old"));
    directory.leave();
    directory.remove();
    EXPECT_FALSE(QFile::exists("run"));
}

TEST_F(RunDirectorySystem, WithoutADescriptorForItItIsNotEntered)
{
    const QString here = QDir::currentPath();
    for (const int openings : {0, 1}) { // the first one is needed for the way back
        SCOPED_TRACE(openings);
        RunDirectory directory("run");
        theSystem.openings = openings;
        EXPECT_FALSE(directory.enter());
        EXPECT_FALSE(directory.isInUse());
        theSystem.openings = -1;
        EXPECT_EQ(QDir::currentPath(), here);
        rmdir("run");
    }
}

TEST_F(RunDirectorySystem, WithoutAWayBackItIsNotEntered)
{
    const QString here = QDir::currentPath();
    theSystem.opensCurrent = false;
    RunDirectory directory("run");
    EXPECT_FALSE(directory.enter());
    EXPECT_FALSE(directory.isInUse());
    EXPECT_EQ(QDir::currentPath(), here);
    EXPECT_FALSE(QFile::exists("run"));
}

TEST_F(RunDirectorySystem, ALeftoverGoesBackOnlyWhereItMayNotBeRemoved)
{
    const struct {
        int error;
        bool goesBack;
    } rows[] = {{EACCES, true}, {EPERM, true}, {EIO, false}, {EBUSY, false}, {ENOMEM, false},
        // This is tried again for a second, as where a program goes on making files.
        {ENOTEMPTY, false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.error);
        makeDirectory("run");
        close(creat("run/stuck", 0600));
        theSystem.errorOfUnlinking = row.error;
        RunDirectory directory("run");
        EXPECT_TRUE(directory.enter());
        EXPECT_EQ(QFile::exists("stuck"), row.goesBack);
        directory.leave();
        const QStringList aside = QDir().entryList({"talmo_test-leftover-*"});
        EXPECT_EQ(aside.size(), row.goesBack ? 0 : 1);
        EXPECT_EQ(directory.remarks().size(), row.goesBack ? 0 : 1);
        theSystem.errorOfUnlinking = 0;
        for (const QString &name : QStringList{"run"} + aside)
            EXPECT_TRUE(QDir(name).removeRecursively());
    }
}

TEST_F(RunDirectorySystem, TheMountOfAFileIsKnownToOlderSystemsToo)
{
    std::uint64_t mounts[2][3] = {};
    for (int telling = 0; telling < 2; ++telling) {
        theSystem.tellsOfMounts = telling != 0;
        const char *const places[] = {"/", "/proc", "."};
        for (int place = 0; place < 3; ++place)
            mounts[telling][place] = mountOf(openDirectory(places[place], asPlace).get());
    }
    EXPECT_NE(mounts[1][0], mounts[1][1]);
    for (int place = 0; place < 3; ++place)
        EXPECT_EQ(mounts[0][place], mounts[1][place]);
    EXPECT_EQ(mountOf(-1), 0U);
}
