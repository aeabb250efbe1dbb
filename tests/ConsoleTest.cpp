#include "talmo/Console.h"
#include "Printing.h"
#include "Process.h"

#include <QDir>
#include <QTemporaryFile>
#include <QThread>

#include <atomic>
#include <cstdio>
#include <memory>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

using Talmo::Console;

namespace Talmo
{
class ConsoleWindow
{
};
} // namespace Talmo

namespace
{

/// Each test starts like a program that has not written anything yet.
class ConsoleTest : public testing::Test
{
protected:
    ConsoleTest() { Console::initial = nullptr; }
    ~ConsoleTest() override
    {
        delete Console::initial;
        Console::initial = nullptr;
        Console::window_ = nullptr;
        Console::stream = nullptr;
    }

    /// What \a write sends to standard output. Expects the same in Console::initial.
    template <typename Write>
    std::string printedBy(Write write)
    {
        testing::internal::CaptureStdout();
        write();
        std::string text = testing::internal::GetCapturedStdout();
        EXPECT_NE(Console::initial, nullptr);
        if (Console::initial != nullptr) {
            EXPECT_EQ(Console::initial->toStdString(), text);
        }
        return text;
    }
};

/// What has arrived in the file of \a stream: not what is still to be flushed.
std::string contentOf(std::FILE *stream)
{
    char text[1000];
    const ssize_t size = pread(fileno(stream), text, sizeof text, 0);
    return std::string(text, size < 0 ? 0 : static_cast<std::size_t>(size));
}

/// A stream without a descriptor, which appends to \a text.
std::FILE *openInMemory(std::string &text)
{
    cookie_io_functions_t writing = {};
    writing.write = [](void *cookie, const char *bytes, std::size_t size) {
        static_cast<std::string *>(cookie)->append(bytes, size);
        return static_cast<ssize_t>(size);
    };
    return fopencookie(&text, "w", writing);
}

/// Fills the pipe that \a end writes to, and tells it not to wait.
void fill(int end)
{
    const std::string page(4096, '.');
    ASSERT_EQ(fcntl(end, F_SETFL, O_NONBLOCK), 0);
    while (write(end, page.data(), page.size()) > 0)
        ;
}

/// What can be read from \a end until the other end is closed.
std::string readAll(int end)
{
    std::string text;
    char bytes[4096];
    for (ssize_t size = 0; (size = read(end, bytes, sizeof bytes)) > 0;)
        text.append(bytes, static_cast<std::size_t>(size));
    return text;
}

} // namespace

TEST_F(ConsoleTest, PrintsAndKeepsWhatIsWritten)
{
    EXPECT_EQ(printedBy([] {
        Console::printf("a%d", 1);
        Console::appendText("b");
    }),
        "a1b");
}

TEST_F(ConsoleTest, FormatsAsTheCLibraryDoes)
{
    EXPECT_EQ(printedBy([] { Console::printf("%s|%5d|%-4s|%%|%c", "text", 42, "x", 'c'); }),
        "text|   42|x   |%|c");
}

TEST_F(ConsoleTest, KeepsTheSignOfZeroAndRoundsTiesToEven)
{
    EXPECT_EQ(printedBy([] { Console::printf("%g %g %.0f", -0.0, 123456.5, 2.5); }), "-0 123456 2");
}

TEST_F(ConsoleTest, FormatsTextOfAnyLength)
{
    const std::string text(100000, 'x');
    EXPECT_EQ(printedBy([&] { Console::printf("<%s>", text.c_str()); }), '<' + text + '>');
}

TEST_F(ConsoleTest, WritesTextInTheLocalEncoding)
{
    EXPECT_EQ(printedBy([] {
        Console::printf("%s", qPrintable(QStringLiteral(u"\u00b5m ")));
        Console::appendText(QStringLiteral(u"\u00b5m"));
    }),
        "\u00b5m \u00b5m");
}

TEST_F(ConsoleTest, DropsNoByteOrderMark)
{
    const std::string marked = "\xEF\xBB\xBFx";
    EXPECT_EQ(printedBy([&] { Console::printf("%s", marked.c_str()); }), marked);
}

TEST_F(ConsoleTest, DoesNotEndAtANul)
{
    EXPECT_EQ(printedBy([] { Console::printf("[%c]\n", 0); }), std::string("[\0]\n", 4));
}

TEST_F(ConsoleTest, AddsNoNewlineAndTakesPercentSignsAsTheyAre)
{
    EXPECT_EQ(printedBy([] { Console::appendText("100 %s"); }), "100 %s");
}

TEST_F(ConsoleTest, AnEmptyTextIsATextToo)
{
    EXPECT_EQ(printedBy([] { Console::appendText(""); }), "");
    EXPECT_FALSE(Console::initial->isNull());
}

TEST_F(ConsoleTest, KeepsNothingWhileThereIsAWindow)
{
    Talmo::ConsoleWindow window;
    Console::window_ = &window;
    EXPECT_EQ(Console::window(), &window);
    testing::internal::CaptureStdout();
    Console::appendText("text");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "text");
    EXPECT_EQ(Console::initial, nullptr);
}

TEST_F(ConsoleTest, CopyFileShowsAFileUnderAHeading)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write("one\r\ntwo\n");
    file.flush();
    EXPECT_EQ(printedBy([&] { Console::copyFile(file.fileName()); }),
        "\nFile " + file.fileName().toStdString() + ":\none\ntwo\n\n");
}

TEST_F(ConsoleTest, CopyFileStopsAtTheFirstNul)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write(QByteArray("before\0after\n", 13));
    file.flush();
    EXPECT_EQ(printedBy([&] { Console::copyFile(file.fileName()); }),
        "\nFile " + file.fileName().toStdString() + ":\nbefore\n");
}

TEST_F(ConsoleTest, CopyFileKeepsAByteOrderMark)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write("\xEF\xBB\xBFone\n");
    file.flush();
    EXPECT_EQ(printedBy([&] { Console::copyFile(file.fileName()); }),
        "\nFile " + file.fileName().toStdString() + ":\n\xEF\xBB\xBFone\n\n");
}

TEST_F(ConsoleTest, CopyFileTakesANameWithAColonForAFile)
{
    QFile file("./:x");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("colon\n");
    file.close();
    EXPECT_EQ(printedBy([] { Console::copyFile(":x"); }), "\nFile :x:\ncolon\n\n");
    EXPECT_TRUE(file.remove());
}

TEST_F(ConsoleTest, CopyFileOfADirectoryShowsTheHeadingOnly)
{
    EXPECT_EQ(printedBy([] { Console::copyFile("."); }), "\nFile .:\n\n");
}

TEST_F(ConsoleTest, CopyFileOfAMissingFileShowsTheHeadingOnly)
{
    EXPECT_EQ(printedBy([] { Console::copyFile("no%1such"); }), "\nFile no%1such:\n\n");
}

TEST_F(ConsoleTest, WritesToTheGivenStreamAndNothingToStandardOutput)
{
    std::FILE *const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    Console::stream = file;
    testing::internal::CaptureStdout();
    Console::printf("a%d", 1);
    EXPECT_EQ(contentOf(file), "a1"); // at once
    Console::appendText("b");
    Console::copyFile(".");
    EXPECT_EQ(contentOf(file), "a1b\nFile .:\n\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(*Console::initial, "a1b\nFile .:\n\n");
    std::fclose(file);
}

TEST_F(ConsoleTest, WritesToStandardOutputAgainWithoutAStream)
{
    std::FILE *const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    Console::stream = file;
    Console::appendText("a");
    Console::stream = nullptr;
    testing::internal::CaptureStdout();
    Console::appendText("b");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "b");
    EXPECT_EQ(contentOf(file), "a");
    EXPECT_EQ(*Console::initial, "ab");
    std::fclose(file);
}

TEST_F(ConsoleTest, AStreamNeedsNoDescriptor)
{
    std::string written;
    std::FILE *const memory = openInMemory(written);
    ASSERT_NE(memory, nullptr);
    ASSERT_EQ(fileno(memory), -1);
    Console::stream = memory;
    Console::appendText("a");
    EXPECT_EQ(written, "a"); // at once
    Console::printf("%s", qPrintable(QStringLiteral(u"\u00b5m")));
    EXPECT_EQ(written, "a\u00b5m");
    EXPECT_EQ(Console::initial->toStdString(), written);
    std::fclose(memory);
}

TEST_F(ConsoleTest, WaitsUntilThereIsRoomInTheStream)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    fill(ends[1]);
    std::FILE *const full = fdopen(ends[1], "w");
    ASSERT_NE(full, nullptr);
    Console::stream = full;
    std::atomic<bool> isWritten = false;
    std::string received;
    const std::unique_ptr<QThread> reader(QThread::create([&] {
        const QByteArray process = QByteArray::number(getpid()); // has the state of its main thread
        while (!isWritten && stateOf(process) != 'S')
            QThread::yieldCurrentThread();
        received = readAll(ends[0]);
    }));
    reader->start();
    Console::appendText("text");
    isWritten = true;
    EXPECT_EQ(std::ferror(full), 0);
    std::fclose(full);
    reader->wait();
    close(ends[0]);
    EXPECT_EQ(received.substr(received.find_last_of('.') + 1), "text");
}

TEST_F(ConsoleTest, SaysOnTheStreamThatThereIsNoWindow)
{
    Console::stream = stderr;
    EXPECT_DEATH(Console::window(), "ConsoleWindow cannot be used!");
}
