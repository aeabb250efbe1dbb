// What all commands that filter texts share, shown with talmo convert: where results go, and what
// becomes of the files.

#include "CompanionTest.h"
#include "SmallDisk.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace
{

class FilterTest : public CompanionTest
{
protected:
    struct stat statusOf(const QString &name)
    {
        struct stat status = {};
        EXPECT_EQ(lstat(pathOf(name), &status), 0);
        return status;
    }

    QByteArray pathOf(const QString &name) const { return QFile::encodeName(work + '/' + name); }

    /// Runs the lines \a script, which know `talmo` as $0.
    Outcome runShell(const QByteArray &script)
    {
        return runProcess("/bin/sh", {"-c", QString::fromUtf8(script), driver}, environment, work);
    }

    /// Expects that `talmo convert` with \a arguments reports \a errors, ends with status 1, prints
    /// nothing, and changes nothing in any file.
    void expectNothingChanged(const QStringList &arguments, const QByteArray &errors)
    {
        QList<QByteArray> contents;
        const QStringList names = everything();
        for (const QString &name : entries())
            contents += read(name);
        const Outcome outcome = run(QStringList("convert") + arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, 1);
        ASSERT_EQ(everything(), names);
        for (const QString &name : entries())
            EXPECT_EQ(read(name), contents.takeFirst());
    }
};

} // namespace

TEST_F(FilterTest, ChangesFilesInPlace)
{
    write("a", "1cm\r\n2cm");
    write("folder/b c", "3cm\n");
    write("empty", "");
    expectSuccess({"convert", "--in-place", "a", "folder/b c", "empty"}, "");
    EXPECT_EQ(read("a"), "10\r\n20");
    EXPECT_EQ(read("folder/b c"), "30\n");
    EXPECT_EQ(read("empty"), "");
    EXPECT_EQ(entries(), QStringList({"a", "empty", "folder/", "folder/b c"}));
}

TEST_F(FilterTest, ChangesAFileByItsWholePath)
{
    write("a", "1cm\n");
    expectSuccess({"convert", "--in-place", work + "/./a"}, "");
    EXPECT_EQ(read("a"), "10\n");
}

TEST_F(FilterTest, ChangesNoneOfSeveralFilesIfOneIsWrong)
{
    write("a", "1cm\n");
    write("b", "5Mev\n");
    write("c", "1cm\n");
    const QByteArray report = "b:1:2: unknown unit 'Mev' (did you mean MeV?)\n";
    expectNothingChanged({"--in-place", "a", "b", "c"}, report);
    expectNothingChanged({"-o", "a", "b"}, report);
    expectNothingChanged({"-o", "new", "c", "b"}, report);
}

TEST_F(FilterTest, KeepsTheModeOfAFile)
{
    write("a", "1cm\n");
    for (const mode_t mode : {0600U, 0644U, 0751U, 0664U}) {
        ASSERT_EQ(chmod(pathOf("a"), mode), 0);
        expectSuccess({"convert", "--in-place", "a"}, "");
        EXPECT_EQ(statusOf("a").st_mode & 07777U, mode);
    }
}

TEST_F(FilterTest, KeepsTheOwnerOfAFile)
{
    write("a", "1cm\n");
    if (chown(pathOf("a"), 4321, 1234) != 0)
        GTEST_SKIP() << "only root can give files away";
    ASSERT_EQ(chmod(pathOf("a"), 04755), 0);
    expectSuccess({"convert", "--in-place", "a"}, "");
    EXPECT_EQ(read("a"), "10\n");
    EXPECT_EQ(statusOf("a").st_uid, 4321U);
    EXPECT_EQ(statusOf("a").st_gid, 1234U);
    EXPECT_EQ(statusOf("a").st_mode & 07777U, 04755U);
}

TEST_F(FilterTest, FollowsNoLinkUnlessTold)
{
    write("folder/a", "1cm\n");
    ASSERT_TRUE(QFile::link("folder/a", work + "/link"));
    expectWrongCall({"convert", "--in-place", "link"},
        "talmo: convert: 'link' is a symbolic link; --follow-links changes what it leads to\n");
    EXPECT_EQ(read("folder/a"), "1cm\n");
    expectSuccess({"convert", "--in-place", "--follow-links", "link"}, "");
    EXPECT_EQ(read("folder/a"), "10\n");
    EXPECT_TRUE(S_ISLNK(statusOf("link").st_mode));
    EXPECT_EQ(entries(), QStringList({"folder/", "folder/a", "link"}));
    ASSERT_TRUE(QFile::link("none", work + "/nowhere"));
    expectWrongCall({"convert", "--in-place", "--follow-links", "nowhere"},
        "talmo: convert: cannot read 'nowhere': No such file or directory\n");
}

TEST_F(FilterTest, AHardLinkKeepsTheOldText)
{
    write("a", "1cm\n");
    ASSERT_EQ(link(pathOf("a"), pathOf("b")), 0);
    expectSuccess({"convert", "--in-place", "a"}, "");
    EXPECT_EQ(read("a"), "10\n");
    EXPECT_EQ(read("b"), "1cm\n");
}

TEST_F(FilterTest, RefusesTheSameFileTwice)
{
    write("a", "1cm\n");
    ASSERT_EQ(link(pathOf("a"), pathOf("b")), 0);
    ASSERT_TRUE(QFile::link("a", work + "/c"));
    for (const char *const other : {"a", "./a", "b", "c"})
        expectWrongCall({"convert", "--in-place", "--follow-links", "a", other},
            "talmo: convert: 'a' and '" + QByteArray(other) + "' are the same file\n");
    EXPECT_EQ(read("a"), "1cm\n");
    expectSuccess({"convert", "a", "./a"}, "10\n10\n"); // to read it twice is right
}

TEST_F(FilterTest, RefusesWhatIsNoFile)
{
    write("a", "1cm\n");
    QDir(work).mkdir("folder");
    ASSERT_EQ(mkfifo(pathOf("fifo"), 0600), 0);
    const char *const rows[][2] = {
        {"none", "cannot read 'none': No such file or directory"},
        {"folder", "cannot read 'folder': Is a directory"},
        {"fifo", "cannot write 'fifo': It is no regular file"},
        {"/dev/null", "cannot write '/dev/null': It is no regular file"},
        {"a/b", "cannot read 'a/b': Not a directory"},
        {"", "cannot read '': No such file or directory"},
        {"-", "--in-place changes files, and standard input is none"},
    };
    for (const auto &row : rows)
        expectWrongCall(
            {"convert", "--in-place", "a", row[0]}, "talmo: convert: " + QByteArray(row[1]) + '\n');
    expectWrongCall({"convert", "--in-place"},
        "talmo: convert: --in-place needs the files that it is to change\n");
    EXPECT_EQ(read("a"), "1cm\n");
}

TEST_F(FilterTest, RefusesWhatCannotBeReadOrWritten)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may do everything, and cannot be kept from it here";
    write("a", "1cm\n");
    write("b", "1cm\n");
    write("folder/c", "1cm\n");
    ASSERT_EQ(chmod(pathOf("b"), 0444), 0);
    ASSERT_EQ(chmod(pathOf("folder"), 0555), 0);
    expectWrongCall({"convert", "--in-place", "a", "b"},
        "talmo: convert: cannot write 'b': Permission denied\n");
    expectWrongCall({"convert", "--in-place", "a", "folder/c"},
        "talmo: convert: cannot write 'folder/c': Permission denied\n");
    expectWrongCall({"convert", "-o", "folder/d", "a"},
        "talmo: convert: cannot write 'folder/d': Permission denied\n");
    ASSERT_EQ(chmod(pathOf("b"), 0222), 0);
    expectWrongCall({"convert", "b"}, "talmo: convert: cannot read 'b': Permission denied\n");
    ASSERT_EQ(chmod(pathOf("folder"), 0755), 0);
    EXPECT_EQ(read("a"), "1cm\n");
}

TEST_F(FilterTest, ChangesNothingIfTheSpoolIsFull)
{
    write("a", QByteArray("1cm\n").repeated(100000));
    const SmallDisk disk(100000);
    expectNothingChanged({"--in-place", "a"},
        "talmo: convert: cannot keep the results in the folder for temporary files: File too "
        "large\n");
    expectNothingChanged({"-o", "new", "a"},
        "talmo: convert: cannot keep the results in the folder for temporary files: File too "
        "large\n");
}

TEST_F(FilterTest, ChangesNothingIfTheDiskIsFull)
{
    QDir(work).mkdir("disk");
    write("a", "1cm\n");
    if (!mountPrivately("mount -t tmpfs -o size=16k none \"$work/disk\"\n"
                        "yes 1cm | head -c 8000 >\"$work/disk/b\"\n"
                        "yes 1cm | head -c 4000 >\"$work/disk/c\"\n",
            "yes 1cm | head -c 8000 | cmp - \"$work/disk/b\"\n"
            "yes 1cm | head -c 4000 | cmp - \"$work/disk/c\"\n"
            "test \"$(ls -A \"$work/disk\")\" = \"b\nc\"\numount \"$work/disk\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    const Outcome outcome = run({"convert", "--in-place", "a", "disk/c", "disk/b"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "talmo: convert: cannot write 'disk/b': No space left on device\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(read("a"), "1cm\n");
    EXPECT_EQ(entries(), QStringList({"a", "disk/"}));
}

TEST_F(FilterTest, BringsAllFilesBackIfOneCannotBeReplaced)
{
    write("a", "1cm\n");
    write("b", "2cm\n");
    write("c", "3cm\n");
    // A file on which another one is mounted can be read and written, but not replaced.
    if (!mountPrivately("mount --bind \"$work/b\" \"$work/b\"\n",
            "test \"$(cat \"$work/b\")\" = 2cm\numount \"$work/b\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    const Outcome outcome = run({"convert", "--in-place", "a", "b", "c"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "talmo: convert: cannot write 'b': Device or resource busy\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(read("a"), "1cm\n");
    EXPECT_EQ(read("c"), "3cm\n");
    EXPECT_EQ(entries(), QStringList({"a", "b", "c"}));
}

TEST_F(FilterTest, LeavesNothingWhenItIsInterruptedOrKilled)
{
    write("out", "old\n");
    ASSERT_EQ(mkfifo(pathOf("fifo"), 0600), 0);
    const QStringList before = everything();
    for (const char *const signal : {"TERM", "HUP", "KILL"}) {
        SCOPED_TRACE(signal);
        const Outcome outcome = runShell("\"$0\" convert -o out fifo &\n"
                                         "exec 3>fifo\n"
                                         "yes 1cm | head -n 100000 >&3\n"
                                         "kill -" +
                                         QByteArray(signal) +
                                         " $!\n"
                                         "wait $! 2>/dev/null\n"
                                         "test $? -gt 128\n");
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.status, 0) << outcome.errors.constData();
        EXPECT_EQ(read("out"), "old\n");
        EXPECT_EQ(everything(), before);
    }
}

TEST_F(FilterTest, WritesOneFile)
{
    write("a", "1cm\n");
    write("b", "2cm\n");
    expectSuccess({"convert", "-o", "new", "a", "b"}, "");
    EXPECT_EQ(read("new"), "10\n20\n");
    expectSuccess({"convert", "-o", "a", "b", "a"}, "");
    EXPECT_EQ(read("a"), "20\n10\n");
    expectWrongCall(
        {"convert", "-o", "", "a"}, "talmo: convert: cannot write '': No such file or directory\n");
}

TEST_F(FilterTest, DoesNotReadWhatItPrints)
{
    write("a", "1cm\n");
    EXPECT_EQ(runShell("ulimit -f 100; \"$0\" convert a >>a\n").errors,
        "talmo: convert: 'a' is what we print into\n");
    EXPECT_EQ(runShell("ulimit -f 100; \"$0\" convert <a >>a\n").errors,
        "talmo: convert: '-' is what we print into\n");
    EXPECT_EQ(read("a"), "1cm\n");
}

TEST_F(FilterTest, ABrokenPipeEndsItQuietly)
{
    write("a", QByteArray("1cm\n").repeated(1000000));
    const Outcome outcome = runShell("{ \"$0\" convert a; echo $? >status; } | head -n 1\n");
    EXPECT_EQ(outcome.output, "10\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(read("status"), "141\n");
}

TEST_F(FilterTest, SaysThatTheOutputIsFull)
{
    write("a", "1cm\n");
    const Outcome outcome = runShell("\"$0\" convert a >/dev/full\n");
    EXPECT_TRUE(outcome.errors.startsWith("talmo: ")) << outcome.errors.constData();
    EXPECT_EQ(outcome.errors.count('\n'), 1);
    EXPECT_EQ(outcome.status, 1);
}
