#include "Replacement.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

using namespace Talmo;

namespace
{

class ReplacementTest : public testing::Test
{
protected:
    void write(const QString &name, const QByteArray &content)
    {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QByteArray read(const QString &name)
    {
        QFile file(folder.filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(none)");
    }

    QStringList names()
    {
        return QDir(folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    static bool writeNew(Replacement &file)
    {
        return file.write([](const auto &append) { return append("new ") && append("text"); });
    }

    QTemporaryDir folder;
    QString path = folder.filePath("a");
};

} // namespace

TEST_F(ReplacementTest, PutsANewContentInPlace)
{
    write("a", "old");
    {
        Replacement file(path);
        EXPECT_EQ(file.prepare(/*followsLinks=*/false), QString());
        ASSERT_TRUE(writeNew(file) && file.giveName());
        EXPECT_EQ(read("a"), "old");
        ASSERT_TRUE(file.putInPlace());
        EXPECT_EQ(read("a"), "new text");
        file.commit();
    }
    EXPECT_EQ(read("a"), "new text");
    EXPECT_EQ(names(), QStringList("a"));
}

TEST_F(ReplacementTest, BringsTheOldContentBackUnlessCommitted)
{
    write("a", "old");
    for (const int steps : {1, 2, 3}) {
        SCOPED_TRACE(steps);
        {
            Replacement file(path);
            EXPECT_EQ(file.prepare(/*followsLinks=*/false), QString());
            ASSERT_TRUE(writeNew(file));
            EXPECT_TRUE(steps < 2 || file.giveName());
            EXPECT_TRUE(steps < 3 || file.putInPlace());
            EXPECT_EQ(read("a"), steps < 3 ? "old" : "new text");
        }
        EXPECT_EQ(read("a"), "old");
        EXPECT_EQ(names(), QStringList("a"));
    }
}

TEST_F(ReplacementTest, AProcessThatIsKilledWhileItWritesLeavesNothing)
{
    write("a", "old");
    const pid_t child = fork();
    if (child == 0) {
        Replacement file(path);
        const bool isWritten = file.prepare(/*followsLinks=*/false).isNull() && writeNew(file);
        _exit(isWritten ? 0 : 1); // no destructor is called, as if it were killed
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read("a"), "old");
    EXPECT_EQ(names(), QStringList("a"));
}

TEST_F(ReplacementTest, LeavesAFileThatWasChangedMeanwhile)
{
    write("a", "old");
    Replacement file(path);
    EXPECT_EQ(file.prepare(/*followsLinks=*/false), QString());
    ASSERT_TRUE(writeNew(file) && file.giveName());
    write("a", "longer");
    EXPECT_FALSE(file.putInPlace());
    EXPECT_EQ(file.problem(), "cannot write '" + path + "': It has been changed meanwhile");
    EXPECT_EQ(read("a"), "longer");
}

TEST_F(ReplacementTest, LeavesAFileThatHasTakenThePlaceMeanwhile)
{
    write("a", "old");
    write("b", "its");
    Replacement file(path);
    EXPECT_EQ(file.prepare(/*followsLinks=*/false), QString());
    ASSERT_TRUE(writeNew(file) && file.giveName());
    ASSERT_EQ(rename(QFile::encodeName(folder.filePath("b")), QFile::encodeName(path)), 0);
    EXPECT_FALSE(file.putInPlace());
    EXPECT_EQ(read("a"), "its");
}

TEST_F(ReplacementTest, DoesNotMakeAFileThatWasRemovedMeanwhile)
{
    write("a", "old");
    Replacement file(path);
    EXPECT_EQ(file.prepare(/*followsLinks=*/false), QString());
    ASSERT_TRUE(writeNew(file) && file.giveName());
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_FALSE(file.putInPlace());
    EXPECT_EQ(file.problem(), "cannot write '" + path + "': No such file or directory");
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(ReplacementTest, FailsIfTheContentCannotBeHad)
{
    write("a", "old");
    {
        Replacement file(path);
        EXPECT_EQ(file.prepare(/*followsLinks=*/false), QString());
        EXPECT_FALSE(file.write([](const auto &append) { return append("new") && false; }));
        EXPECT_EQ(file.problem(), "cannot write '" + path + "': Input/output error");
    }
    EXPECT_EQ(names(), QStringList("a"));
}
