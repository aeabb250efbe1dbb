#include "digests.h"
#include "ResultsForTests.h"
#include "inChild.h"

#include "Script.h"
#include "Suite.h"

#include <QCryptographicHash>
#include <QDir>
#include <QTemporaryDir>

#include <set>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// A suite with a script and files beside it.
class DigestsTest : public testing::Test
{
protected:
    DigestsTest() { EXPECT_TRUE(QDir(folder.path()).mkpath("suite")); }

    QString pathOf(const QString &name) const { return folder.filePath("suite/" + name); }
    QByteArray bytesOf(const QString &name) const { return QFile::encodeName(pathOf(name)); }

    Script scriptOf(const QByteArray &content) const
    {
        Script script;
        writeTo(pathOf("test1"), content);
        EXPECT_TRUE(script.open(bytesOf("test1")));
        return script;
    }

    /// The digest of the references of a script with \a lines.
    QByteArray references(const QByteArray &lines, const QString &program = QString()) const
    {
        return digestOfReferences(scriptOf("=heading\n" + lines), program, bytesOf("test1.dir"));
    }

    QByteArray directory() const { return digestOfDirectory(bytesOf("test1.dir")); }

    QTemporaryDir folder;
};

/// Sets the time of the last change of \a path, in nanoseconds behind a fixed second.
void setTime(const QByteArray &path, long nanoseconds)
{
    const timespec times[2] = {{1000000000, 0}, {1000000000, nanoseconds}};
    EXPECT_EQ(utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW), 0);
}

} // namespace

TEST_F(DigestsTest, OfAScriptIsThatOfItsText)
{
    const QByteArray content = "=heading\n=file a\nx\xff\n";
    EXPECT_EQ(digestOfScript(scriptOf(content)),
        QCryptographicHash::hash(content, QCryptographicHash::Sha256).toHex());
    EXPECT_EQ(digestOfScript(scriptOf("=heading\n")),
        "dc47699a1e2fa5392ca4dcf23c1c0aa786019c8dd6d9ca4720f8bcb3daa6fa73");
}

TEST_F(DigestsTest, OfNamesIsThatOfTheirLines)
{
    EXPECT_EQ(digestOfNames({"test1", QStringLiteral(u"té")}),
        QCryptographicHash::hash("test1\nt\xc3\xa9\n", QCryptographicHash::Sha256).toHex());
    EXPECT_NE(digestOfNames({"a", "b"}), digestOfNames({"b", "a"}));
    EXPECT_NE(digestOfNames({"a", "b"}), digestOfNames({"ab"}));
    EXPECT_FALSE(digestOfNames({}).isEmpty());
}

TEST_F(DigestsTest, OfScriptsChangesWithEachNameAndText)
{
    const auto digestOf = [this](const QStringList &names) {
        std::vector<SuiteScript> scripts;
        for (const QString &name : names)
            scripts.push_back({name, bytesOf(name), {}, {}});
        return digestOfScripts(scripts);
    };
    writeTo(pathOf("a"), "=a\n");
    writeTo(pathOf("b"), "=b\n");
    writeTo(pathOf("c"), "=b\n");
    ASSERT_EQ(mkfifo(bytesOf("fifo"), 0600), 0);
    const std::vector<QStringList> lists = {
        {}, {"a"}, {"b"}, {"a", "b"}, {"b", "a"}, {"a", "c"}, {"none"}, {"fifo"}, {"a", "fifo"}};
    std::set<QByteArray> digests;
    for (const QStringList &names : lists) {
        EXPECT_EQ(digestOf(names).size(), 64);
        digests.insert(digestOf(names));
    }
    EXPECT_EQ(digests.size(), lists.size());
    const QByteArray before = digestOf({"a", "b"});
    EXPECT_EQ(digestOf({"a", "b"}), before);
    writeTo(pathOf("b"), "=b\n=echo\n");
    EXPECT_NE(digestOf({"a", "b"}), before);
}

TEST_F(DigestsTest, OfReferencesIsEmptyWithoutAny)
{
    writeTo(pathOf("reference"), "1 2\n");
    const QByteArray rows[] = {
        "",
        "=compare a b\n",
        "=compare sub/../a ./b\n",
        "=compare ../none ../none2\n",
        "=exists ../reference\n",
        "# =compare ../reference a\n",
        "=file x\n =compare ../reference a\n",
        "=compare\n",
        "=comparex ../reference a\n",
        "=compare a b ../reference\n", // a tolerance is no file
        "=compare ../test1.dir/a " + bytesOf("test1.dir/a") + "\n",
        "=compare .. ../..\n",
        "=compare / /dev/zero\n",
        "=compare a b",
    };
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir"));
    writeTo(pathOf("test1.dir/a"), "x");
    for (const QByteArray &row : rows) {
        SCOPED_TRACE(row.toStdString());
        EXPECT_EQ(references(row), "");
    }
}

TEST_F(DigestsTest, OfReferencesChangesWithThem)
{
    const auto find = [this] {
        return references("=run sim\n=compare sim.out ../reference 0.1\n");
    };
    writeTo(pathOf("reference"), "1 2\n");
    const QByteArray first = find();
    EXPECT_EQ(first.size(), 64);
    EXPECT_EQ(find(), first);
    EXPECT_EQ(references("=compare ../reference b\n"), first); // it is one file, on either side
    writeTo(pathOf("reference"), "1 3\n");
    EXPECT_NE(find(), first);
    writeTo(pathOf("reference"), "1 2\n");
    EXPECT_EQ(find(), first);
    ASSERT_TRUE(QFile::rename(pathOf("reference"), pathOf("other")));
    EXPECT_EQ(find(), "");
    EXPECT_NE(references("=compare a ../other\n"), first);
    writeTo(pathOf("other"), "");
    EXPECT_NE(references("=compare a ../other\n"), "");
}

TEST_F(DigestsTest, OfAnOldReferenceChangesWithItToo)
{
    const auto find = [this] { return references("=compare sim.out ../reference 0.1\n"); };
    writeTo(pathOf("reference"), "1 2\n");
    struct stat before = {};
    ASSERT_EQ(stat(QFile::encodeName(pathOf("reference")), &before), 0);
    sleep(4); // from then on, it is not read again as long as it stays the same
    const QByteArray first = find();
    EXPECT_EQ(find(), first);
    writeTo(pathOf("reference"), "1 3\n");
    const timespec times[] = {before.st_atim, before.st_mtim};
    ASSERT_EQ(utimensat(AT_FDCWD, QFile::encodeName(pathOf("reference")), times, 0), 0);
    EXPECT_NE(find(), first);
    sleep(4);
    const QByteArray second = find();
    EXPECT_NE(second, first);
    EXPECT_EQ(find(), second);
}

TEST_F(DigestsTest, ReferencesAreFoundWhereTheScriptFindsThem)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/data"));
    writeTo(pathOf("reference"), "x");
    writeTo(pathOf("data/reference"), "x");
    writeTo(folder.filePath("reference"), "x");
    ASSERT_TRUE(QFile::link("data/reference", pathOf("link")));
    const QByteArray names[] = {"../reference", "../data/reference", "../../reference",
        "sub/../../reference", ".././reference", bytesOf("reference"), "../link"};
    for (const QByteArray &name : names) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_NE(references("=compare a " + name + "\n"), "");
    }
    // The directory may be given as it is seen from the suite.
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(folder.filePath("suite")));
    const Script script = scriptOf("=heading\n=compare a ../data/reference\n");
    EXPECT_NE(digestOfReferences(script, {}, "test1.dir"), "");
    EXPECT_EQ(digestOfReferences(script, {}, "test1.dir"),
        digestOfReferences(script, {}, bytesOf("test1.dir")));
    ASSERT_TRUE(QDir::setCurrent(before));
}

TEST_F(DigestsTest, ReferencesMayDependOnTheProgram)
{
    writeTo(pathOf("sim1.ref"), "1");
    writeTo(pathOf("sim2.ref"), "2");
    const QByteArray lines = "=compare a ../$simProgram.ref\n";
    EXPECT_NE(references(lines, "sim1"), "");
    EXPECT_NE(references(lines, "sim1"), references(lines, "sim2"));
    EXPECT_EQ(references(lines, "sim3"), "");
    EXPECT_EQ(references(lines), "");
    EXPECT_NE(references("=compare $simProgram a ../sim1.ref\n"), ""); // it disappears
}

TEST_F(DigestsTest, SpecialFilesAreNotRead)
{
    ASSERT_EQ(mkfifo(bytesOf("fifo"), 0600), 0);
    EXPECT_EQ(references("=compare ../fifo /dev/zero\n"), "");
    EXPECT_EQ(references(QByteArray("=compare ../a\0b c\n", 19)), "");
}

TEST_F(DigestsTest, OfADirectoryIsEmptyWithoutOne)
{
    EXPECT_EQ(directory(), "");
    writeTo(pathOf("test1.dir"), "x");
    EXPECT_EQ(directory(), "");
    ASSERT_TRUE(QFile::remove(pathOf("test1.dir")));
    ASSERT_TRUE(QFile::link(folder.path(), pathOf("test1.dir")));
    EXPECT_EQ(directory(), "");
    ASSERT_TRUE(QFile::remove(pathOf("test1.dir")));
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir"));
    EXPECT_EQ(directory().size(), 64);
}

TEST_F(DigestsTest, OfADirectoryChangesWithAllThatIsInIt)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir/sub/sub"));
    const QByteArray file = bytesOf("test1.dir/sub/file");
    const QByteArray link = bytesOf("test1.dir/link");
    std::set<QByteArray> seen;
    const auto isNew = [&](const char *what) {
        SCOPED_TRACE(what);
        for (const char *name : {"test1.dir/sub", "test1.dir/sub/sub"})
            setTime(bytesOf(name), 0);
        const QByteArray digest = directory();
        EXPECT_EQ(directory(), digest);
        EXPECT_TRUE(seen.insert(digest).second);
    };
    isNew("directories");
    writeTo(QFile::decodeName(file), "x");
    setTime(file, 0);
    isNew("a file");
    setTime(file, 1);
    isNew("its time, by a nanosecond");
    writeTo(QFile::decodeName(file), "xy");
    setTime(file, 1);
    isNew("its size");
    ASSERT_EQ(rename(file, bytesOf("test1.dir/sub/file2")), 0);
    isNew("its name");
    ASSERT_EQ(rename(bytesOf("test1.dir/sub/file2"), bytesOf("test1.dir/sub/sub/file2")), 0);
    isNew("its place");
    ASSERT_EQ(symlink("a", link), 0);
    setTime(link, 0);
    isNew("a link");
    ASSERT_EQ(unlink(link), 0);
    ASSERT_EQ(symlink("b", link), 0);
    setTime(link, 0);
    isNew("its target");
    ASSERT_EQ(unlink(link), 0);
    ASSERT_EQ(mkfifo(link, 0600), 0);
    setTime(link, 0);
    isNew("a FIFO");
    ASSERT_EQ(unlink(link), 0);
    writeTo(QFile::decodeName(link), "");
    setTime(link, 0);
    isNew("its type");
    setTime(bytesOf("test1.dir/sub/sub"), 5);
    EXPECT_TRUE(seen.insert(directory()).second) << "the time of a directory";
    setTime(bytesOf("test1.dir"), 5);
    EXPECT_FALSE(seen.insert(directory()).second) << "that of the directory itself";
}

TEST_F(DigestsTest, OfADirectoryDoesNotDependOnTheOrderInWhichFilesWereMade)
{
    // There, files are listed in the order in which they were made.
    const QTemporaryDir inMemory("/dev/shm/talmo-XXXXXX");
    const QDir place(inMemory.isValid() ? inMemory.path() : folder.path());
    QByteArray digests[2];
    for (const int round : {0, 1}) {
        ASSERT_TRUE(place.mkdir("test1.dir"));
        for (int count = 0; count < 50; ++count) {
            const int number = round == 0 ? count : 49 - count;
            const QString path = place.filePath(QStringLiteral("test1.dir/%1").arg(number));
            writeTo(path, "x");
            setTime(QFile::encodeName(path), 0);
        }
        const QString path = place.filePath("test1.dir");
        digests[round] = digestOfDirectory(QFile::encodeName(path));
        ASSERT_TRUE(QDir(path).removeRecursively());
    }
    EXPECT_EQ(digests[0], digests[1]);
}

TEST_F(DigestsTest, ADirectoryMayLeadInCirclesAndDeep)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir"));
    ASSERT_TRUE(QFile::link(".", pathOf("test1.dir/circle")));
    QString path = "suite/test1.dir";
    for (int depth = 0; depth < 150; ++depth)
        path += "/d";
    ASSERT_TRUE(QDir(folder.path()).mkpath(path));
    const QByteArray before = directory();
    EXPECT_EQ(before.size(), 64);
    writeTo(folder.filePath(path) + "/file", "x"); // beyond what is looked at
    EXPECT_EQ(directory(), before);
}

TEST_F(DigestsTest, WhatCannotBeEnteredIsAPartOfIt)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir/closed"));
    const QByteArray open = directory();
    ASSERT_EQ(chmod(bytesOf("test1.dir/closed"), 0), 0);
    EXPECT_EQ(directory(), open);
    ASSERT_EQ(chmod(bytesOf("test1.dir/closed"), 0755), 0);
}

TEST_F(DigestsTest, ItStopsAfterManyEntries)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir/a"));
    for (const char *name : {"a/1", "a/2", "b", "c"})
        writeTo(pathOf(QStringLiteral("test1.dir/") + name), "x");
    std::set<QByteArray> seen;
    for (int most = 0; most <= 5; ++most)
        EXPECT_TRUE(seen.insert(digestOfDirectory(bytesOf("test1.dir"), most)).second) << most;
    EXPECT_FALSE(seen.insert(digestOfDirectory(bytesOf("test1.dir"), 6)).second);
    EXPECT_FALSE(seen.insert(directory()).second);
}

TEST_F(DigestsTest, AnotherFileSystemIsNotEntered)
{
    ASSERT_TRUE(QDir(folder.path()).mkpath("suite/test1.dir/mounted"));
    if (!mayMount())
        GTEST_SKIP() << "mounting a disk is not allowed here";
    EXPECT_TRUE(succeeded(inChild([this] {
        const QByteArray place = bytesOf("test1.dir/mounted");
        if (!mountPrivately() || mount("none", place, "tmpfs", 0, nullptr) != 0 ||
            mkdir(place + "/sub", 0777) != 0)
            return false;
        setTime(place + "/sub", 0);
        setTime(place, 0);
        const QByteArray before = directory();
        writeTo(pathOf("test1.dir/mounted/sub/file"), "x");
        setTime(place + "/sub", 1);
        return directory() == before;
    })));
}
