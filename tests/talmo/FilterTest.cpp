// What all commands that filter texts share, shown with talmo convert: where results go, and what
// becomes of the files.

#include "CompanionTest.h"
#include "SmallDisk.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <csignal>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace
{

/// An access control list, as the kernel has it: the owner may read and write, another user with
/// the number 0x1234 may read.
constexpr char accessList[] = "system.posix_acl_access";
constexpr char list[] = "\2\0\0\0"
                        "\x01\0\6\0\xFF\xFF\xFF\xFF"
                        "\x02\0\4\0\x34\x12\0\0"
                        "\x04\0\4\0\xFF\xFF\xFF\xFF"
                        "\x10\0\4\0\xFF\xFF\xFF\xFF"
                        "\x20\0\0\0\xFF\xFF\xFF\xFF";

class FilterTest : public CompanionTest
{
protected:
    /// What starts the tests may ignore signals, as nohup does, and the command would inherit that.
    FilterTest()
    {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
            std::signal(signal, SIG_DFL);
    }

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

    /// The extended attribute \a name of a \a file.
    QByteArray attribute(const QString &file, const char *name) const
    {
        char value[1000];
        const ssize_t size = getxattr(pathOf(file), name, value, sizeof value);
        return size < 0 ? QByteArray("(none)") : QByteArray(value, static_cast<int>(size));
    }

    /// The files "a", "b" and "c", and what they hold together.
    void writeThree()
    {
        write("a", "1cm\n");
        write("b", "2cm\n");
        write("c", "3cm\n");
    }
    QByteArray readThree() const { return read("a") + read("b") + read("c"); }

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

TEST_F(FilterTest, KeepsTheAttributesOfAFile)
{
    write("a", "1cm\n");
    if (setxattr(pathOf("a"), "user.origin", "beam\0line", 9, 0) != 0)
        GTEST_SKIP() << "the file system knows no attributes";
    ASSERT_EQ(setxattr(pathOf("a"), "user.empty", "", 0, 0), 0);
    const bool hasList = setxattr(pathOf("a"), accessList, list, sizeof list - 1, 0) == 0;
    expectSuccess({"convert", "--in-place", "a"}, "");
    EXPECT_EQ(read("a"), "10\n");
    EXPECT_EQ(attribute("a", "user.origin"), QByteArray("beam\0line", 9));
    EXPECT_EQ(attribute("a", "user.empty"), "");
    if (!hasList)
        GTEST_SKIP() << "the file system knows no access control lists";
    EXPECT_EQ(attribute("a", accessList), QByteArray(list, sizeof list - 1));
}

TEST_F(FilterTest, TheListOfTheFolderIsForNewFilesOnly)
{
    write("folder/a", "1cm\n");
    if (setxattr(pathOf("folder"), "system.posix_acl_default", list, sizeof list - 1, 0) != 0)
        GTEST_SKIP() << "the file system knows no access control lists";
    const mode_t mode = statusOf("folder/a").st_mode;
    write("folder/b", "");
    EXPECT_NE(attribute("folder/b", accessList), "(none)");
    expectSuccess({"convert", "--in-place", "folder/a"}, "");
    EXPECT_EQ(read("folder/a"), "10\n");
    EXPECT_EQ(attribute("folder/a", accessList), "(none)");
    EXPECT_EQ(statusOf("folder/a").st_mode, mode);
}

TEST_F(FilterTest, ChangesNothingIfAnAttributeWouldBeLost)
{
    write("a", "1cm\n");
    write("b", "1cm\n");
    if (setxattr(pathOf("b"), "user.origin", "beam", 4, 0) != 0)
        GTEST_SKIP() << "the file system knows no attributes";
    preload(SICK_EXCHANGE);
    environment["ATTRIBUTES_FAIL"] = "1";
    expectNothingChanged({"--in-place", "a", "b"},
        "talmo: convert: cannot write 'b': Its attribute 'user.origin' cannot be kept: No space "
        "left on device\n");
}

TEST_F(FilterTest, LeavesAFileInWhichNothingChanges)
{
    write("a", "\xEF\xBB\xBF"
               "1cm\r\n");
    write("b", "\xEF\xBB\xBF"
               "5 BPM12a\r\n\xFF"
               "2kg");
    write("c", "");
    const struct stat before[] = {statusOf("a"), statusOf("b"), statusOf("c")};
    expectSuccess({"convert", "--in-place", "a", "b", "c"}, "");
    EXPECT_NE(statusOf("a").st_ino, before[0].st_ino);
    for (const int index : {1, 2}) {
        const struct stat now = statusOf(QStringList({"a", "b", "c"}).at(index));
        EXPECT_EQ(now.st_ino, before[index].st_ino);
        EXPECT_EQ(now.st_ctim.tv_sec, before[index].st_ctim.tv_sec);
        EXPECT_EQ(now.st_ctim.tv_nsec, before[index].st_ctim.tv_nsec);
    }
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

TEST_F(FilterTest, BringsAllFilesBackWhenItIsInterruptedBetweenThem)
{
    preload(SICK_EXCHANGE);
    writeThree();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        for (const char *const exchange : {"1", "2"}) {
            SCOPED_TRACE(exchange);
            environment["EXCHANGES"] = exchange + QStringLiteral(" signal %1").arg(signal);
            const Outcome outcome = runShell("\"$0\" convert --in-place a b c\necho $?\n");
            EXPECT_EQ(outcome.output, QByteArray::number(128 + signal) + '\n');
            EXPECT_EQ(readThree(), "1cm\n2cm\n3cm\n");
            EXPECT_EQ(entries(), QStringList({"a", "b", "c"}));
        }
    }
    // Behind the last one, there is nothing to be brought back.
    environment["EXCHANGES"] = QStringLiteral("3 signal %1").arg(SIGINT);
    EXPECT_EQ(runShell("\"$0\" convert --in-place a b c\necho $?\n").output, "130\n");
    EXPECT_EQ(readThree(), "10\n20\n30\n");
    EXPECT_EQ(entries(), QStringList({"a", "b", "c"}));
}

TEST_F(FilterTest, LeavesEveryFileWholeAndTheOldOnesWhenItIsKilledBetweenThem)
{
    preload(SICK_EXCHANGE);
    const QByteArray contents[] = {"10\n2cm\n3cm\n", "10\n20\n3cm\n", "10\n20\n30\n"};
    for (const int exchange : {1, 2, 3}) {
        SCOPED_TRACE(exchange);
        writeThree();
        environment["EXCHANGES"] = QStringLiteral("%1 signal %2").arg(exchange).arg(SIGKILL);
        EXPECT_EQ(
            runShell("\"$0\" convert --in-place a b c 2>/dev/null\necho $?\n").output, "137\n");
        EXPECT_EQ(readThree(), contents[exchange - 1]);
        QByteArray left;
        for (const QString &name : QDir(work).entryList(QDir::Files | QDir::Hidden)) {
            if (name.startsWith(".talmo-")) {
                left += read(name);
                QFile::remove(work + '/' + name);
            }
        }
        for (const char *const old : {"1cm", "2cm", "3cm"})
            EXPECT_TRUE((left + readThree()).contains(old)) << old;
    }
}

TEST_F(FilterTest, SaysWhatIsChangedIfItCannotBeBroughtBack)
{
    preload(SICK_EXCHANGE);
    writeThree();
    environment["EXCHANGES"] = QStringLiteral("2 error %1").arg(EIO);
    const Outcome outcome = run({"convert", "--in-place", "a", "b", "c"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(readThree(), "10\n2cm\n3cm\n");
    const QStringList left = QDir(work).entryList({".talmo-*"}, QDir::Files | QDir::Hidden);
    ASSERT_EQ(left.size(), 1);
    EXPECT_EQ(read(left[0]), "1cm\n");
    EXPECT_EQ(outcome.errors,
        "talmo: convert: cannot write 'b': Input/output error; 'a' is changed already, and what it "
        "held is in '" +
            QFile::encodeName(QDir(work).canonicalPath() + '/' + left[0]) + "'\n");
}

TEST_F(FilterTest, ReplacesFilesOneByOneWhereTheyCannotBeExchanged)
{
    preload(SICK_EXCHANGE);
    environment["EXCHANGES"] = QStringLiteral("1 error %1").arg(EINVAL);
    writeThree();
    expectSuccess({"convert", "--in-place", "a", "b", "c"}, "");
    EXPECT_EQ(readThree(), "10\n20\n30\n");
    EXPECT_EQ(QDir(work).entryList(QDir::Files | QDir::Hidden), QStringList({"a", "b", "c"}));
    writeThree();
    if (!mountPrivately("mount --bind \"$work/b\" \"$work/b\"\n",
            "test \"$(cat \"$work/b\")\" = 2cm\numount \"$work/b\"\n"))
        GTEST_SKIP() << "mounting is not allowed here";
    const Outcome outcome = run({"convert", "--in-place", "a", "b", "c"});
    EXPECT_EQ(outcome.errors,
        "talmo: convert: cannot write 'b': Device or resource busy; 'a' is changed already\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(readThree(), "10\n2cm\n3cm\n");
    EXPECT_EQ(QDir(work).entryList(QDir::Files | QDir::Hidden), QStringList({"a", "b", "c"}));
}

TEST_F(FilterTest, ShowsWhatCannotBeSeenInReports)
{
    const QByteArray name = "a\x1b[2J\n\xE2\x80\xAE";
    write(QString::fromUtf8(name), "\xC3\xA9 5Mev\xE9\xCC\x81\n");
    const QString shownName = "a\\x1b[2J\\x0a\\u202e";
    const Outcome outcome = run({"convert", QString::fromUtf8(name)});
    EXPECT_EQ(outcome.errors, shownName.toUtf8() + ":1:4: unknown unit 'Mev\\xe9\xCC\x81'\n");
    write("b", "${\x1b[2J} ${\xC2\x9B}\n");
    EXPECT_EQ(run({"check", "b"}).output,
        "b:1:3: '\\x1b' has no meaning here\nb:1:11: '\\x9b' has no meaning here\n");
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

TEST_F(FilterTest, RefusesStandardInputThatCannotBeRead)
{
    const struct {
        const char *redirection;
        const char *reason;
    } rows[] = {
        {"<&-", "Bad file descriptor"},
        {"<.", "Is a directory"},
        {"0>out", "Bad file descriptor"},
    };
    for (const char *const command : {"convert", "convert -", "convert -o new", "expand", "eval",
             "check -", "eval --definitions - 1", "check --definitions - /dev/null"}) {
        for (const auto &row : rows) {
            SCOPED_TRACE(std::string(command) + ' ' + row.redirection);
            const Outcome outcome =
                runShell(QByteArray("\"$0\" ") + command + ' ' + row.redirection + '\n');
            EXPECT_EQ(outcome.output, "");
            EXPECT_EQ(outcome.errors, "talmo: " + QByteArray(command).split(' ').first() +
                                          ": cannot read 'standard input': " + row.reason + '\n');
            EXPECT_EQ(outcome.status, 2);
            EXPECT_FALSE(exists("new"));
        }
    }
    EXPECT_EQ(runShell("\"$0\" convert </dev/null\n").status, 0);
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
    EXPECT_EQ(outcome.errors, "talmo: cannot write standard output: No space left on device\n");
    EXPECT_EQ(outcome.status, 1);
}
