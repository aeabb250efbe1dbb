#include "Printing.h"
#include "removeDir.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <functional>
#include <string>
#include <vector>

#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#include <gtest/gtest.h>

// removeDir on an unusual system. The functions here take the place of the system's calls, change
// what they return or do something meanwhile, and call the system.

namespace
{

struct System {
    bool hidesTypes = false; ///< does not tell the types of entries, as some file systems
    bool hasNoMemory = false;
    std::vector<std::string> removed;                   ///< the names in the order of removal
    std::function<void(const std::string &)> meanwhile; ///< is called before each removal
} theSystem;

template <typename Function>
Function *original(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" dirent *readdir(DIR *directory)
{
    static auto *const next = original<dirent *(DIR *)>("readdir64");
    dirent *const entry = next(directory);
    if (entry != nullptr && theSystem.hidesTypes)
        entry->d_type = DT_UNKNOWN;
    return entry;
}

extern "C" int unlinkat(int directory, const char *name, int flags) noexcept
{
    static auto *const next = original<int(int, const char *, int)>("unlinkat");
    if (theSystem.meanwhile)
        theSystem.meanwhile(name);
    const int result = next(directory, name, flags);
    if (result == 0)
        theSystem.removed.emplace_back(name);
    return result;
}

extern "C" DIR *fdopendir(int descriptor)
{
    static auto *const next = original<DIR *(int)>("fdopendir");
    return theSystem.hasNoMemory ? nullptr : next(descriptor);
}

namespace
{

class RemoveDirSystem : public testing::Test
{
protected:
    RemoveDirSystem() { theSystem = System(); }
    ~RemoveDirSystem() override { theSystem = System(); }

    QByteArray pathOf(const QString &path) const
    {
        return QFile::encodeName(folder.filePath(path));
    }

    void write(const QString &path) const
    {
        QDir().mkpath(QFileInfo(pathOf(path)).path());
        QFile file(pathOf(path));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    }

    bool exists(const QString &path) const
    {
        const QFileInfo info(pathOf(path));
        return info.exists() || info.isSymLink();
    }

private:
    QTemporaryDir folder;
};

} // namespace

TEST_F(RemoveDirSystem, TypesThatItDoesNotTellMakeNoDifference)
{
    for (const bool hidesTypes : {false, true}) {
        SCOPED_TRACE(hidesTypes);
        theSystem = System();
        theSystem.hidesTypes = hidesTypes;
        for (const char *const path : {"outside/kept", "run/b/y", "run/d/x", "run/A", "run/z"})
            write(path);
        EXPECT_TRUE(QDir().mkdir(pathOf("run/f")));
        EXPECT_TRUE(QFile::link(pathOf("outside"), pathOf("run/c")));
        EXPECT_TRUE(QFile::link(pathOf("outside/kept"), pathOf("run/a")));
        EXPECT_TRUE(QFile::link("nowhere", pathOf("run/B")));
        EXPECT_TRUE(removeDir(pathOf("run")));
        // Directories and links to them come first.
        const std::vector<std::string> order = {
            "y", "b", "c", "x", "d", "f", "A", "B", "a", "z", pathOf("run").toStdString()};
        EXPECT_EQ(theSystem.removed, order);
        EXPECT_FALSE(exists("run"));
        EXPECT_TRUE(exists("outside/kept"));
    }
}

TEST_F(RemoveDirSystem, ADirectoryThatIsMovedMeanwhileLeadsNowhereElse)
{
    write("run/a/b/x");
    write("outside/a/kept");
    write("outside/b"); // to this, ".." and the name would lead
    theSystem.meanwhile = [this](const std::string &name) {
        const bool now = name == "x";
        EXPECT_EQ(now && QDir().rename(pathOf("run/a/b"), pathOf("outside/a/b")), now);
    };
    EXPECT_FALSE(removeDir(pathOf("run")));
    EXPECT_EQ(theSystem.removed, std::vector<std::string>({"x"}));
    for (const char *const path : {"run/a", "outside/a/b", "outside/a/kept", "outside/b"})
        EXPECT_TRUE(exists(path)) << path;
}

TEST_F(RemoveDirSystem, WithoutMemoryNothingIsRemovedAndNothingLeaks)
{
    write("run/a");
    const auto descriptors = [] { return QDir("/proc/self/fd").entryList().size(); };
    const auto before = descriptors();
    theSystem.hasNoMemory = true;
    EXPECT_FALSE(removeDir(pathOf("run")));
    theSystem.hasNoMemory = false;
    EXPECT_EQ(descriptors(), before);
    EXPECT_TRUE(exists("run/a"));
}

TEST_F(RemoveDirSystem, WhatIsNoDirectoryIsNotRemoved)
{
    write("cut/kept");
    write("file");
    EXPECT_FALSE(removeDir(""));
    EXPECT_FALSE(removeDir(pathOf("none")));
    EXPECT_FALSE(removeDir(pathOf("file")));
    EXPECT_TRUE(exists("cut/kept"));
    EXPECT_TRUE(exists("file"));
}
