#include "Printing.h"
#include "RunDirectory.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <functional>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

// What another driver does to the directory of a run between two calls of ours: the calls pass here
// on their way.

namespace
{

struct System {
    std::function<void()> afterMaking;
    std::function<void()> beforeEntering;
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

extern "C" int chdir(const char *path) noexcept
{
    static auto *const next = original<int(const char *)>("chdir");
    if (theSystem.beforeEntering)
        theSystem.beforeEntering();
    return next(path);
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
        theSystem.beforeEntering = [] { makeDirectory("run"); }; // the other driver's
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

TEST_F(RunDirectorySystem, ALinkToNothingIsRemoved)
{
    ASSERT_TRUE(QFile::link("nowhere", "run"));
    RunDirectory directory("run");
    EXPECT_TRUE(directory.enter());
    directory.leave();
    EXPECT_TRUE(QFileInfo("run").isDir());
}
