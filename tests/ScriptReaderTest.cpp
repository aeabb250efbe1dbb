#include "ScriptReader.h"
#include "Printing.h"

#include <QTemporaryFile>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

ScriptReader readerOf(const QByteArray &content)
{
    QTemporaryFile file;
    EXPECT_TRUE(file.open());
    EXPECT_EQ(file.write(content), content.size());
    EXPECT_TRUE(file.flush());
    ScriptReader script;
    EXPECT_TRUE(script.open(QFile::encodeName(file.fileName())));
    return script;
}

QStringList linesOf(const QByteArray &content)
{
    ScriptReader script = readerOf(content);
    QStringList lines;
    for (QString line = script.readLine(); !line.isNull(); line = script.readLine())
        lines += line;
    return lines;
}

} // namespace

TEST(ScriptReader, LinesEndAtNewlinesAndCarriageReturnsAreDropped)
{
    EXPECT_EQ(linesOf(""), QStringList());
    EXPECT_EQ(linesOf("\n"), QStringList({""}));
    EXPECT_EQ(linesOf("a\nb\n"), QStringList({"a", "b"}));
    EXPECT_EQ(linesOf("a\n\nb"), QStringList({"a", "", "b"})); // the last line needs no newline
    EXPECT_EQ(linesOf("a\r\nb\r\n"), QStringList({"a", "b"}));
    EXPECT_EQ(linesOf("a\rb\n\r"), QStringList({"ab"}));
}

TEST(ScriptReader, SkipsAByteOrderMarkAtTheStartOnly)
{
    EXPECT_EQ(linesOf("\xEF\xBB\xBF=x\n"), QStringList({"=x"}));
    EXPECT_EQ(linesOf("\xEF\xBB\xBF"), QStringList());
    EXPECT_EQ(linesOf("a\n\xEF\xBB\xBF"), QStringList({"a", QString(QChar(0xFEFF))}));
}

TEST(ScriptReader, ReadsUtf8)
{
    EXPECT_EQ(linesOf("Gr\xC3\xB6\xC3\x9F"
                      "e\n"),
        QStringList({QString::fromUtf8("Größe")}));
    EXPECT_EQ(linesOf("\xFF\n"), QStringList({QString(QChar(0xFFFD))}));
    EXPECT_EQ(linesOf(QByteArray("a\0b\n", 4)), QStringList({QString::fromLatin1("a\0b", 3)}));
}

TEST(ScriptReader, SeeksBackToAPosition)
{
    ScriptReader script = readerOf("one\r\ntwo\nthree");
    EXPECT_EQ(script.readLine(), "one");
    const size_t second = script.position();
    EXPECT_EQ(script.readLine(), "two");
    EXPECT_EQ(script.readLine(), "three");
    EXPECT_TRUE(script.readLine().isNull());
    script.seek(second);
    EXPECT_EQ(script.readLine(), "two");
    EXPECT_EQ(script.readLine(), "three");
}

TEST(ScriptReader, ReadUntilStopsAtALineThatBeginsWithThePrefix)
{
    const struct {
        const char *text;
        const char *passed;
        const char *nextLine; // null at the end of the script
    } rows[] = {
        {"=x\n", "", "=x"},
        {"a\n=x\n", "a\n", "=x"},
        {"a =\n =\n\n=x", "a =\n =\n\n", "=x"},
        {"a==\n b=c\n==\n=", "a==\n b=c\n", "=="},
        {"\n=", "\n", "="},
        {"a\nb", "a\nb", nullptr},
        {"a\n", "a\n", nullptr},
        {"", "", nullptr},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text);
        ScriptReader script = readerOf(row.text);
        EXPECT_EQ(script.readUntil("="), row.passed);
        EXPECT_EQ(script.readLine(), QString(row.nextLine));
    }
}

TEST(ScriptReader, ReadUntilLooksOnlyAheadAtWholeLines)
{
    ScriptReader script = readerOf("=platform A\n=platforms\nb\n");
    script.readLine();
    EXPECT_EQ(script.readUntil("=platform"), "");
    script.readLine();
    EXPECT_EQ(script.readUntil("=platform"), "b\n");
}

TEST(ScriptReader, CannotOpenWhatCannotBeRead)
{
    ScriptReader script;
    EXPECT_FALSE(script.open("no such file"));
    EXPECT_FALSE(script.open("/tmp"));
    EXPECT_FALSE(script.open("/proc/self/mem")); // can be opened, but not read
}
