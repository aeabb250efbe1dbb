#include "talmo/Console.h"
#include "Printing.h"

#include <QDir>
#include <QTemporaryFile>

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

/// Each test starts as a program does: nothing written yet.
class ConsoleTest : public testing::Test
{
protected:
    ConsoleTest() { Console::initial = nullptr; }
    ~ConsoleTest() override
    {
        delete Console::initial;
        Console::initial = nullptr;
        Console::window_ = nullptr;
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
