#include "DiskFile.h"
#include "Printing.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

class DiskFileTest : public testing::Test
{
protected:
    QString pathOf(const QString &name) const { return directory.path() + '/' + name; }

    QString fileWith(const QByteArray &content) const
    {
        QFile file(pathOf("content"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return file.fileName();
    }

    QByteArray textOf(const QByteArray &content) const
    {
        DiskFile file;
        EXPECT_TRUE(file.openToRead(fileWith(content)));
        QByteArray text = file.readAllText();
        EXPECT_FALSE(file.failed());
        return text;
    }

private:
    QTemporaryDir directory;
};

} // namespace

TEST_F(DiskFileTest, ReadsTextWithoutCarriageReturns)
{
    EXPECT_EQ(textOf(""), "");
    EXPECT_EQ(textOf("a\nb"), "a\nb");
    EXPECT_EQ(textOf("a\r\nb\r\n\r"), "a\nb\n");
    EXPECT_EQ(textOf("\r\r\r"), "");
    EXPECT_EQ(textOf(QByteArray("a\0\r\0b\xFF", 6)), QByteArray("a\0\0b\xFF", 5));
    const QByteArray large(3000000, 'x');
    EXPECT_TRUE(textOf(large) == large);
    EXPECT_TRUE(textOf(large + "\r\n" + large) == large + "\n" + large);
}

TEST_F(DiskFileTest, ReadsInPieces)
{
    DiskFile file;
    EXPECT_FALSE(file.failed());
    EXPECT_EQ(file.sizeAtOpening(), 0);
    ASSERT_TRUE(file.openToRead(fileWith("ab\r\r\r\rc")));
    EXPECT_EQ(file.sizeAtOpening(), 7);
    char piece[2] = {};
    EXPECT_EQ(file.readText(piece, 2), 2);
    EXPECT_EQ(piece[1], 'b');
    EXPECT_EQ(file.readText(piece, 2), 1); // passes over two pieces that hold only returns
    EXPECT_EQ(piece[0], 'c');
    EXPECT_EQ(file.readText(piece, 2), 0);
    EXPECT_FALSE(file.failed());
    EXPECT_TRUE(file.close());
    EXPECT_EQ(file.sizeAtOpening(), 0);
}

TEST_F(DiskFileTest, ReadsAPipeToItsEnd)
{
    FILE *const pipe = popen("head -c 1000000 /dev/zero; sleep 0.1; echo", "r");
    ASSERT_NE(pipe, nullptr);
    DiskFile file;
    ASSERT_TRUE(file.openToRead(QStringLiteral("/proc/self/fd/%1").arg(fileno(pipe))));
    EXPECT_EQ(file.sizeAtOpening(), 0);
    EXPECT_TRUE(file.readAllText() == QByteArray(1000000, '\0') + '\n');
    pclose(pipe);
}

TEST_F(DiskFileTest, ReadsAFifoWhoeverOpensItFirst)
{
    const QByteArray fifo = QFile::encodeName(pathOf("fifo"));
    ASSERT_EQ(mkfifo(fifo, 0600), 0);
    const struct {
        QByteArray writer;
        QByteArray text;
    } rows[] = {
        {"(sleep 0.1; echo late >fifo) &", "late\n"},
        {"(exec >fifo; sleep 0.1; echo open; sleep 0.1; echo before) &", "open\nbefore\n"},
        {"(sleep 0.1; :>fifo) &", ""}, // the shell opens the FIFO and writes nothing
        {"(sleep 0.1; exec >fifo; sleep 0.1) &", ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.writer.toStdString());
        ASSERT_EQ(std::system("cd '" + QFile::encodeName(pathOf("")) + "'; " + row.writer), 0);
        DiskFile file;
        ASSERT_TRUE(file.openToRead(pathOf("fifo")));
        EXPECT_EQ(file.readAllText(), row.text);
        EXPECT_FALSE(file.failed());
        EXPECT_EQ(file.remark(), "");
    }
}

TEST_F(DiskFileTest, WritesIntoAFifoWhoeverOpensItFirst)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(pathOf("fifo")), 0600), 0);
    const QByteArray folder = QFile::encodeName(pathOf(""));
    ASSERT_EQ(std::system("cd '" + folder + "'; (sleep 0.1; cat fifo >copy; mv copy done) &"), 0);
    const QByteArray much(1000000, 'x'); // more than a FIFO holds
    DiskFile file;
    ASSERT_TRUE(file.openToWrite(pathOf("fifo")));
    EXPECT_TRUE(file.write({much.data(), static_cast<size_t>(much.size())}));
    EXPECT_TRUE(file.close());
    while (!existsOnDisk(pathOf("done")))
        usleep(1000);
    EXPECT_EQ(QFileInfo(pathOf("done")).size(), much.size());
}

TEST_F(DiskFileTest, DoesNotWaitForEverForTheOtherEndOfAFifo)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(pathOf("fifo")), 0600), 0);
    DiskFile file;
    ASSERT_TRUE(file.openToRead(pathOf("fifo")));
    EXPECT_EQ(file.readAllText(), "");
    EXPECT_TRUE(file.failed());
    EXPECT_EQ(file.remark(), ", a FIFO that nobody writes");
    EXPECT_FALSE(file.openToWrite(pathOf("fifo")));
    EXPECT_EQ(file.remark(), ", a FIFO that nobody reads");
    EXPECT_FALSE(file.openToRead("no such file"));
    EXPECT_EQ(file.remark(), "");
}

TEST_F(DiskFileTest, OpensOnlyWhatItCan)
{
    for (const char *const name : {"", "no such file", "/tmp", "."}) {
        SCOPED_TRACE(name);
        DiskFile file;
        EXPECT_FALSE(file.openToRead(name));
    }
    DiskFile file;
    EXPECT_FALSE(file.openToWrite(""));
    EXPECT_FALSE(file.openToWrite("/tmp"));
    const QString name = pathOf(QString::fromLatin1("a\0b", 3)); // must not open a file "a"
    EXPECT_FALSE(file.openToWrite(name));
    EXPECT_FALSE(existsOnDisk(pathOf("a")));
    EXPECT_FALSE(existsOnDisk(name));
    EXPECT_FALSE(file.openToWrite(pathOf("none/a")));
}

TEST_F(DiskFileTest, KnowsWhatExists)
{
    EXPECT_TRUE(existsOnDisk(fileWith("a")));
    EXPECT_TRUE(existsOnDisk("."));
    EXPECT_FALSE(existsOnDisk(pathOf("b")));
    EXPECT_FALSE(existsOnDisk(""));
    ASSERT_TRUE(QFile::link(pathOf("b"), pathOf("link"))); // "b" does not exist
    EXPECT_FALSE(existsOnDisk(pathOf("link")));
}

TEST_F(DiskFileTest, WritesBytesAndReplacesWhatWasThere)
{
    const QString name = fileWith("a longer old content");
    DiskFile file;
    ASSERT_TRUE(file.openToWrite(name));
    EXPECT_TRUE(file.write("a\r\n"));
    EXPECT_TRUE(file.write(""));
    EXPECT_TRUE(file.write(std::string_view("\0\xFF", 2)));
    EXPECT_TRUE(file.close());
    EXPECT_TRUE(file.close()); // there is nothing to close
    QFile written(name);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), QByteArray("a\r\n\0\xFF", 5));
}

TEST_F(DiskFileTest, SaysThatReadingOrWritingFailed)
{
    DiskFile file;
    ASSERT_TRUE(file.openToRead("/proc/self/mem")); // can be opened, but not read
    EXPECT_FALSE(file.failed());
    EXPECT_EQ(file.readAllText(), "");
    EXPECT_TRUE(file.failed());
    ASSERT_TRUE(file.openToRead("/dev/null"));
    EXPECT_FALSE(file.failed()); // the failure belonged to the other file
    ASSERT_TRUE(file.openToWrite("/dev/full"));
    EXPECT_FALSE(file.write("x"));
}

TEST_F(DiskFileTest, SaysThatClosingFailed)
{
    DiskFile file;
    const int next = dup(STDOUT_FILENO); // the descriptor that the file will have
    ASSERT_EQ(close(next), 0);
    ASSERT_TRUE(file.openToWrite(pathOf("a")));
    EXPECT_TRUE(file.write("x"));
    ASSERT_EQ(close(next), 0); // the file does not know
    EXPECT_FALSE(file.close());
    EXPECT_TRUE(file.close()); // a failure is reported only once
}

TEST_F(DiskFileTest, ReadsWhatTellsNoSizeAndAnswersOnce)
{
    DiskFile file;
    ASSERT_TRUE(file.openToRead("/proc/sys/kernel/pid_max"));
    EXPECT_EQ(file.sizeAtOpening(), 0);
    const QByteArray text = file.readAllText();
    EXPECT_TRUE(text.endsWith('\n'));
    EXPECT_GE(text.toInt(), 301); // the smallest value that the system allows
}

TEST_F(DiskFileTest, AFileThatIsCutOffWasNotWritten)
{
    rlimit old = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {1000, old.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    DiskFile file;
    const bool opened = file.openToWrite(pathOf("a"));
    const bool written = file.write(std::string(2000, 'x')); // the system takes half of it
    const bool more = file.write("x");
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, ignored);
    EXPECT_TRUE(opened);
    EXPECT_FALSE(written);
    EXPECT_FALSE(more);
    EXPECT_EQ(QFileInfo(pathOf("a")).size(), 1000);
}

TEST_F(DiskFileTest, NewFilesArePlainFilesOfWhoMakesThem)
{
    const mode_t old = umask(022);
    DiskFile file;
    EXPECT_TRUE(file.openToWrite(pathOf("a")));
    umask(old);
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(pathOf("a")), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t(S_IFREG | 0644));
}

TEST_F(DiskFileTest, GoesOnAfterASignal)
{
    const auto handler = [](int) {};
    struct sigaction interrupting = {};
    interrupting.sa_handler = handler; // without SA_RESTART, so that calls are interrupted
    struct sigaction old = {};
    ASSERT_EQ(sigaction(SIGALRM, &interrupting, &old), 0);
    FILE *const pipe = popen("sleep 0.3; echo late", "r");
    ASSERT_NE(pipe, nullptr);
    const itimerval soon = {{0, 50000}, {0, 50000}};
    const itimerval never = {};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    DiskFile file;
    EXPECT_TRUE(file.openToRead(QStringLiteral("/proc/self/fd/%1").arg(fileno(pipe))));
    const QByteArray text = file.readAllText();
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &old, nullptr);
    EXPECT_EQ(text, "late\n");
    EXPECT_FALSE(file.failed());
    pclose(pipe);
}

TEST_F(DiskFileTest, AFileTooLargeForMemoryFails)
{
    QFile large(pathOf("large"));
    ASSERT_TRUE(large.open(QIODevice::WriteOnly));
    rlimit old = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const rlimit most = {old.rlim_max, old.rlim_max}; // the file takes no room on the disk
    const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &most);
    const bool resized = large.resize(qint64(1) << 43); // a hole of eight terabytes
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, ignored);
    if (!resized)
        GTEST_SKIP() << "no such files here";
    DiskFile file;
    ASSERT_TRUE(file.openToRead(large.fileName()));
    EXPECT_TRUE(file.readAllText().isNull());
    EXPECT_TRUE(file.failed());
}

TEST_F(DiskFileTest, LeavesNoDescriptorBehind)
{
    const auto descriptors = [] { return QDir("/proc/self/fd").entryList().size(); };
    const auto before = descriptors();
    {
        DiskFile file;
        EXPECT_TRUE(file.openToRead(fileWith("a")));
        EXPECT_TRUE(file.openToRead(fileWith("b"))); // closes the first file
        EXPECT_EQ(descriptors(), before + 1);
        EXPECT_FALSE(file.openToRead("/tmp"));
        EXPECT_EQ(descriptors(), before);
        EXPECT_TRUE(file.openToWrite(pathOf("c")));
        EXPECT_TRUE(file.openToWrite(pathOf("d")));
        EXPECT_EQ(descriptors(), before + 1);
    }
    EXPECT_EQ(descriptors(), before);
}

TEST_F(DiskFileTest, OpensFilesInAProcessWithoutStandardInput)
{
    const int input = dup(STDIN_FILENO);
    ASSERT_EQ(close(STDIN_FILENO), 0); // so the next file gets the descriptor 0
    DiskFile file;
    const bool openedToWrite = file.openToWrite(pathOf("a"));
    const bool openedToRead = file.openToRead(pathOf("a"));
    const bool closed = file.close() && fcntl(STDIN_FILENO, F_GETFD) < 0;
    dup2(input, STDIN_FILENO);
    close(input);
    EXPECT_TRUE(openedToWrite);
    EXPECT_TRUE(openedToRead);
    EXPECT_TRUE(closed);
}

TEST_F(DiskFileTest, KeepsItsFilesFromProgramsThatAreStarted)
{
    DiskFile file;
    ASSERT_TRUE(file.openToRead(fileWith("a")));
    const QFileInfoList entries = QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System);
    int found = 0;
    for (const QFileInfo &entry : entries) {
        if (entry.symLinkTarget() != pathOf("content"))
            continue;
        ++found;
        EXPECT_NE(fcntl(entry.fileName().toInt(), F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(found, 1);
}
