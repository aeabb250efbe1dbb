#include "LineReader.h"
#include "ReaderOf.h"

#include <QTemporaryFile>

#include <vector>

#include <cstdio>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

constexpr size_t blockSize = 262144; // what the reader takes from the file at once
const std::string byteOrderMark = "\xEF\xBB\xBF";

using Lines = std::vector<std::string>;

Lines remaining(LineReader &reader)
{
    Lines lines;
    for (std::string_view line; reader.readLine(line);)
        lines.emplace_back(line);
    EXPECT_FALSE(reader.failed());
    return lines;
}

Lines linesOf(std::string_view content)
{
    ReaderOf file(content);
    return remaining(file.reader);
}

/// The lines of a pipe from which each read gets one of \a packets, however much it asks for.
Lines linesOfPipe(const std::vector<std::string_view> &packets)
{
    int ends[2];
    EXPECT_EQ(pipe2(ends, O_DIRECT), 0);
    for (const std::string_view packet : packets)
        EXPECT_EQ(write(ends[1], packet.data(), packet.size()), ssize_t(packet.size()));
    LineReader reader;
    EXPECT_TRUE(reader.open(QStringLiteral("/proc/self/fd/%1").arg(ends[0])));
    close(ends[1]);
    Lines lines = remaining(reader);
    close(ends[0]);
    return lines;
}

/// \a lines, each with a newline.
std::string joined(const Lines &lines)
{
    std::string text;
    for (const std::string &line : lines)
        text += line + '\n';
    return text;
}

} // namespace

TEST(LineReader, LinesEndAtNewlinesAndCarriageReturnsAreDropped)
{
    using std::string_view_literals::operator""sv;
    const struct {
        std::string_view content;
        Lines lines;
    } rows[] = {
        {"", {}},
        {"\n", {""}},
        {"\n\n", {"", ""}},
        {"a\nb\n", {"a", "b"}},
        {"a\n\nb", {"a", "", "b"}}, // the last line needs no newline
        {"a\n ", {"a", " "}},
        {"a\r\nb\r\n", {"a", "b"}},
        {"a\rb\n\r", {"ab"}},
        {"\r", {}},
        {"\r\r\n\r", {""}},
        {"a\0b\n\0"sv, {std::string("a\0b", 3), std::string(1, '\0')}},
        {"\xFF\xC3\n\xE4", {"\xFF\xC3", "\xE4"}}, // bytes as they are
        {"a\vb\fc\x1A\n", {"a\vb\fc\x1A"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content);
        EXPECT_EQ(linesOf(row.content), row.lines);
        EXPECT_EQ(linesOf(byteOrderMark + std::string(row.content)), row.lines);
    }
}

TEST(LineReader, SkipsAByteOrderMarkAtTheStartOnly)
{
    EXPECT_EQ(linesOf(byteOrderMark), Lines());
    EXPECT_EQ(linesOf(byteOrderMark + "a"), Lines({"a"}));
    EXPECT_EQ(linesOf(byteOrderMark + byteOrderMark + "a"), Lines({byteOrderMark + "a"}));
    EXPECT_EQ(linesOf('a' + byteOrderMark), Lines({'a' + byteOrderMark}));
    EXPECT_EQ(linesOf("\n" + byteOrderMark), Lines({"", byteOrderMark}));
    EXPECT_EQ(linesOf("\xEF\xBB"), Lines({"\xEF\xBB"})); // an incomplete mark is text
    EXPECT_EQ(linesOf("\xEF\xBB\nx"), Lines({"\xEF\xBB", "x"}));
}

TEST(LineReader, LinesMayEndAnywhereInABlock)
{
    for (size_t length = blockSize - 5; length <= blockSize + 5; ++length) {
        SCOPED_TRACE(length);
        const std::string text(length, 'a');
        EXPECT_TRUE(linesOf(text) == Lines({text}));
        EXPECT_TRUE(linesOf(text + '\n') == Lines({text}));
        EXPECT_TRUE(linesOf(text + "\r\n\r\nb\r\n") == Lines({text, "", "b"}));
        EXPECT_TRUE(linesOf("x\n" + text + "\n\nb") == Lines({"x", text, "", "b"}));
        EXPECT_TRUE(linesOf(byteOrderMark + text + '\n' + text) == Lines({text, text}));
        EXPECT_TRUE(linesOf(text + '\n' + byteOrderMark) == Lines({text, byteOrderMark}));
        EXPECT_TRUE(linesOf(text + byteOrderMark + 'b') == Lines({text + byteOrderMark + 'b'}));
    }
}

TEST(LineReader, CarriageReturnsMayFillBlocks)
{
    for (const size_t count : {blockSize - 1, blockSize, blockSize + 1, 3 * blockSize}) {
        SCOPED_TRACE(count);
        const std::string returns(count, '\r');
        EXPECT_EQ(linesOf(returns), Lines());
        EXPECT_EQ(linesOf(returns + "a\nb"), Lines({"a", "b"}));
        EXPECT_EQ(linesOf("a" + returns + "b\n" + returns + "c\n"), Lines({"ab", "c"}));
    }
}

TEST(LineReader, ReadsLinesOfAnyLength)
{
    const std::string text(3000000, 'a');
    EXPECT_TRUE(linesOf(text + "\nb\n" + text) == Lines({text, "b", text}));
}

TEST(LineReader, ReadsManyLines)
{
    Lines lines;
    for (int n = 0; n < 200000; ++n)
        lines.push_back(std::to_string(n));
    EXPECT_TRUE(linesOf(joined(lines)) == lines);
    const Lines empty(blockSize + 1);
    EXPECT_TRUE(linesOf(joined(empty)) == empty);
}

namespace
{

/// The most memory that this program has had so far.
long peakKilobytes()
{
    rusage usage = {};
    EXPECT_EQ(getrusage(RUSAGE_SELF, &usage), 0);
    return usage.ru_maxrss;
}

} // namespace

TEST(LineReader, MemoryDoesNotGrowWithTheSizeOfAFile)
{
    QTemporaryFile lines;
    ASSERT_TRUE(lines.open());
    const QByteArray block = QByteArray("a short line\n").repeated(100000);
    for (int count = 0; count < 100; ++count)
        ASSERT_EQ(lines.write(block), block.size());
    ASSERT_TRUE(lines.flush());
    const long before = peakKilobytes();
    LineReader reader;
    ASSERT_TRUE(reader.open(lines.fileName()));
    int count = 0;
    for (std::string_view line; reader.readLine(line); ++count)
        ;
    EXPECT_EQ(count, 10000000);
    EXPECT_LT(peakKilobytes() - before, 10000);
}

TEST(LineReader, MemoryDoesNotGrowWithTheNumberOfLines)
{
    FILE *const lines = popen("yes 'a short line' | head -c 195000000", "r");
    ASSERT_NE(lines, nullptr);
    const long before = peakKilobytes();
    LineReader reader;
    EXPECT_TRUE(reader.open(QStringLiteral("/proc/self/fd/%1").arg(fileno(lines))));
    int count = 0;
    for (std::string_view line; reader.readLine(line); ++count)
        ;
    EXPECT_EQ(count, 15000000);
    EXPECT_LT(peakKilobytes() - before, 40000);
    pclose(lines);
}

TEST(LineReader, ShowsTheWholeLinesInMemory)
{
    LineReader empty;
    ASSERT_TRUE(empty.open(QStringLiteral("/dev/null")));
    EXPECT_EQ(empty.window(), "");
    ReaderOf file(byteOrderMark + "a\r\nb\n\nc");
    LineReader &reader = file.reader;
    EXPECT_EQ(reader.window(), "a\nb\n\n"); // not the last line, which has no newline
    reader.skip(2);
    EXPECT_EQ(reader.window(), "b\n\n");
    std::string_view line;
    EXPECT_TRUE(reader.readLine(line));
    EXPECT_EQ(line, "b");
    EXPECT_EQ(reader.window(), "\n");
    reader.skip(1);
    EXPECT_EQ(reader.window(), "");
    EXPECT_EQ(remaining(reader), Lines({"c"}));
    EXPECT_EQ(reader.window(), "");
}

TEST(LineReader, AWindowHoldsALineHoweverLongItIs)
{
    for (const size_t length : {blockSize - 1, blockSize, 5 * blockSize}) {
        SCOPED_TRACE(length);
        const std::string text = "x\n" + std::string(length, 'a') + '\n';
        const std::string all = text + text + text;
        ReaderOf file(all);
        std::string seen;
        for (std::string_view window; !(window = file.reader.window()).empty();) {
            EXPECT_EQ(window.back(), '\n');
            const size_t taken = window.find('\n') + 1;
            seen += window.substr(0, taken);
            file.reader.skip(taken);
        }
        EXPECT_TRUE(seen == all);
    }
}

TEST(LineReader, ReadsALongLineFromAPipe)
{
    FILE *const line = popen("head -c 60000000 /dev/zero", "r"); // arrives in many small packets
    ASSERT_NE(line, nullptr);
    LineReader reader;
    EXPECT_TRUE(reader.open(QStringLiteral("/proc/self/fd/%1").arg(fileno(line))));
    const Lines lines = remaining(reader);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].size(), 60000000U);
    pclose(line);
}

TEST(LineReader, ReadsAPipeHoweverItsDataArrive)
{
    EXPECT_EQ(linesOfPipe({}), Lines());
    EXPECT_EQ(linesOfPipe({"a", "b\nc", "\n", "d"}), Lines({"ab", "c", "d"}));
    EXPECT_EQ(linesOfPipe({"\xEF", "\xBB", "\xBF", "a", "\n"}), Lines({"a"}));
    EXPECT_EQ(linesOfPipe({"a\r", "\nb"}), Lines({"a", "b"}));
    EXPECT_EQ(linesOfPipe({"a", "\r", "\n", "b"}), Lines({"a", "b"})); // one packet is a return
    EXPECT_EQ(linesOfPipe({"\r", "\r", "a\n"}), Lines({"a"}));
}

TEST(LineReader, CannotOpenWhatIsNoFile)
{
    for (const char *name : {"no such file", "/tmp", ""}) {
        SCOPED_TRACE(name);
        LineReader reader;
        EXPECT_FALSE(reader.open(QString::fromLatin1(name)));
    }
}

TEST(LineReader, SaysThatReadingFailed)
{
    LineReader reader;
    ASSERT_TRUE(reader.open(QStringLiteral("/proc/self/mem"))); // can be opened, but not read
    EXPECT_FALSE(reader.failed());
    std::string_view line = "untouched";
    EXPECT_FALSE(reader.readLine(line));
    EXPECT_EQ(line, "untouched");
    EXPECT_TRUE(reader.failed());
}

TEST(LineReader, StaysAtTheEnd)
{
    LineReader reader;
    ASSERT_TRUE(reader.open(QStringLiteral("/dev/null")));
    std::string_view line;
    EXPECT_FALSE(reader.readLine(line));
    EXPECT_FALSE(reader.readLine(line));
    EXPECT_FALSE(reader.failed());
}
