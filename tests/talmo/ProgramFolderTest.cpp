#include "ProgramFolder.h"
#include "Printing.h"

#include "Descriptor.h"
#include "inChild.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <vector>

#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// A folder for temporary files, in which processes leave folders.
class ProgramFolderTest : public testing::Test
{
protected:
    ProgramFolderTest() { left = leftByAKilledProcess(); }

    /// The path of a folder that a process has made and left, with what belongs there.
    QByteArray leftByAKilledProcess() const
    {
        const QStringList before = names();
        const pid_t child = inChild([this] {
            ProgramFolder folder;
            const bool isMade = folder.make(place);
            const bool isFilled = isMade && symlink("/bin/true", folder.path() + "/link") == 0;
            const Descriptor starter(open(folder.path() + "/starter", O_WRONLY | O_CREAT, S_IRWXU));
            _exit(isFilled && starter.isOpen() ? 0 : 1); // as if it were killed
            return true;
        });
        EXPECT_TRUE(succeeded(child));
        for (const QString &name : names()) {
            if (!before.contains(name))
                return place + '/' + name.toUtf8();
        }
        ADD_FAILURE() << "no folder was left";
        return {};
    }

    QStringList names() const
    {
        return QDir(QFile::decodeName(place))
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    /// Whether \a path is there after another process has made its folder.
    bool staysAt(const QByteArray &path) const
    {
        ProgramFolder folder;
        EXPECT_TRUE(folder.make(place));
        struct stat status = {};
        return lstat(path, &status) == 0;
    }

    /// Whether the folder that was left stays if it is called \a path.
    bool staysAs(const QByteArray &path) const
    {
        EXPECT_EQ(rename(left, path), 0);
        return staysAt(path) && QFile::exists(QFile::decodeName(path + "/starter"));
    }

    QTemporaryDir directory;
    QByteArray place = QFile::encodeName(directory.path());
    QByteArray left;
};

} // namespace

TEST_F(ProgramFolderTest, GoesAtItsEnd)
{
    {
        ProgramFolder folder;
        ASSERT_TRUE(folder.make(place));
        EXPECT_TRUE(QFileInfo(QFile::decodeName(folder.path())).isDir());
        EXPECT_EQ(symlink("/bin/true", folder.path() + "/link"), 0);
    }
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ProgramFolderTest, LeavesAtItsEndWhatHasTakenItsPlace)
{
    {
        ProgramFolder folder;
        ASSERT_TRUE(folder.make(place));
        ASSERT_EQ(rename(folder.path(), place + "/moved"), 0);
        ASSERT_EQ(mkdir(folder.path(), S_IRWXU), 0);
    }
    EXPECT_EQ(names().size(), 2);
}

TEST_F(ProgramFolderTest, RemovesWhatAKilledProcessHasLeft)
{
    EXPECT_FALSE(staysAt(left));
    EXPECT_EQ(names(), QStringList());
}

TEST_F(ProgramFolderTest, LeavesFoldersThatAreInUse)
{
    const Descriptor lock(open(left, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(lock.get(), LOCK_EX | LOCK_NB), 0);
    EXPECT_TRUE(staysAt(left));
}

TEST_F(ProgramFolderTest, LeavesFoldersThatHaveOtherNames)
{
    EXPECT_TRUE(staysAs(left + 'x'));
    left += 'x';
    EXPECT_TRUE(staysAs(left.chopped(2)));
    left.chop(2);
    EXPECT_TRUE(staysAs(left.chopped(5) + "-abcde"));
}

TEST_F(ProgramFolderTest, LeavesFoldersOfOtherMachinesOfTheSameName)
{
    EXPECT_TRUE(left.contains(QSysInfo::bootUniqueId())); // which differs where locks are not seen
    QByteArray other = left;
    const int ofMachine = static_cast<int>(other.lastIndexOf('-')) - 1;
    other[ofMachine] = other[ofMachine] == '0' ? '1' : '0';
    EXPECT_TRUE(staysAs(other));
}

TEST_F(ProgramFolderTest, LeavesFoldersWithFilesThatAreNotItsOwn)
{
    QFile file(QFile::decodeName(left + "/results"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_TRUE(staysAt(left + "/starter"));
    ASSERT_TRUE(file.remove());
    ASSERT_EQ(mkdir(left + "/folder", S_IRWXU), 0);
    EXPECT_TRUE(staysAt(left + "/starter"));
    ASSERT_EQ(rmdir(left + "/folder"), 0);
    EXPECT_FALSE(staysAt(left));
}

TEST_F(ProgramFolderTest, LeavesFoldersOfOtherUsers)
{
    constexpr uid_t somebody = 1234;
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a folder away";
    ASSERT_EQ(chown(left, somebody, static_cast<gid_t>(-1)), 0);
    EXPECT_TRUE(staysAt(left + "/starter"));
}

TEST_F(ProgramFolderTest, LeavesWhatIsNoFolder)
{
    const QByteArray target = place + "/mine";
    EXPECT_TRUE(staysAs(target));
    ASSERT_EQ(symlink(target, left), 0);
    EXPECT_TRUE(staysAt(left));
    EXPECT_TRUE(QFile::exists(QFile::decodeName(target + "/starter")));
    ASSERT_EQ(unlink(left), 0);
    ASSERT_EQ(mkfifo(left, S_IRWXU), 0);
    EXPECT_TRUE(staysAt(left));
}

TEST_F(ProgramFolderTest, ThatCannotBeLockedForLackOfDescriptorsIsNotMade)
{
    const QByteArray where = place; // a sanitizer needs descriptors to look at this object
    std::vector<int> all;
    for (int one = dup(0); one >= 0; one = dup(0))
        all.push_back(one);
    ProgramFolder folder;
    const bool isMade = folder.make(where);
    const int reason = errno;
    for (const int one : all)
        close(one);
    EXPECT_FALSE(isMade);
    EXPECT_EQ(reason, EMFILE);
    EXPECT_EQ(names().size(), 1) << "the one that was left before";
}
