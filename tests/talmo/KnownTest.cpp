#include "Known.h"
#include "ResultsForTests.h"
#include "SmallDisk.h"

#include "Needs.h"
#include "messages.h"

#include <QDir>
#include <QTemporaryDir>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

class KnownTest : public testing::Test
{
protected:
    QString path() const { return folder.filePath("talmo.known"); }

    /// Reads a file that holds \a content.
    bool read(const QByteArray &content)
    {
        writeTo(path(), content);
        return readFile();
    }

    bool readFile()
    {
        problems.clear();
        return known.read(QFile::encodeName(folder.path()), problems);
    }

    bool add(const std::vector<Known::Failure> &failures)
    {
        problems.clear();
        return known.add(failures, problems);
    }

    QTemporaryDir folder;
    Known known;
    QStringList problems;
};

QString nul()
{
    return QString(QChar(u'\0'));
}

} // namespace

TEST_F(KnownTest, ThatThereIsNoFileIsNoProblem)
{
    EXPECT_TRUE(readFile());
    EXPECT_TRUE(problems.isEmpty());
    EXPECT_TRUE(known.patternsOf("test1").isEmpty());
    EXPECT_TRUE(known.problemOfWriting().isNull());
    EXPECT_FALSE(QFile::exists(path()));
}

TEST_F(KnownTest, ALineIsARunAndAPattern)
{
    const struct {
        const char *line;
        const char *run;
        const char *pattern;
    } rows[] = {
        {"test1 x", "test1", "x"},
        {"test1(sim1) ^a b$", "test1(sim1)", "^a b$"},
        {"test1\tx", "test1", "x"},
        {" \ttest1 \t x y ", "test1", "x y "}, // blanks at the end belong to the pattern
        {"test1 x\r", "test1", "x"},
        {"test1 #x", "test1", "#x"},
        {"te#st x", "te#st", "x"},
        {"\\#test x", "#test", "x"},
        {"my\\ test x", "my test", "x"},
        {"my\\\ttest x", "my\ttest", "x"},
        {"back\\\\slash x", "back\\slash", "x"},
        {"line\\nend\\r x", "line\nend\r", "x"},
        {"\\ a x", " a", "x"},
        {"\\a x", "a", "x"},
        {"t\xc3\xa9 \xc2\xb5", "t\xc3\xa9", "\xc2\xb5"},
        {"\xef\xbb\xbftest1 x", "test1", "x"},
        {"test1 \\\\", "test1", "\\\\"},
    };
    for (const auto &row : rows) {
        for (const char *end : {"", "\n", "\n\n# comment\n"}) {
            SCOPED_TRACE(row.line);
            EXPECT_TRUE(read(row.line + QByteArray(end))) << problems.join('|').toStdString();
            EXPECT_EQ(known.patternsOf(row.run), QStringList(row.pattern));
        }
    }
}

TEST_F(KnownTest, ARunMayHaveSeveralPatterns)
{
    EXPECT_TRUE(read("# all of them\n\nb x\na 1\nb y\n \t\n#a 3\n  # a 4\na 2"));
    EXPECT_EQ(known.patternsOf("a"), QStringList({"1", "2"}));
    EXPECT_EQ(known.patternsOf("b"), QStringList({"x", "y"}));
    EXPECT_TRUE(known.patternsOf("#a").isEmpty());
    EXPECT_TRUE(read("a 3\n"));
    EXPECT_EQ(known.patternsOf("a"), QStringList("3"));
    EXPECT_TRUE(known.patternsOf("b").isEmpty());
}

TEST_F(KnownTest, WhatIsWrongIsToldWithItsLine)
{
    const QByteArray costly = QByteArray(".*").repeated(200);
    EXPECT_FALSE(read("a x\n"
                      "test1\n"
                      "test2 \t\n"
                      "\n"
                      "test3 a(b\n"
                      "test4 \xff\n"
                      "test5 " +
                      costly +
                      "\n"
                      "te\xffst6 x\n"
                      "my\\ test\n"));
    EXPECT_EQ(problems,
        QStringList({"talmo.known:2: a pattern is missing behind 'test1'",
            "talmo.known:3: a pattern is missing behind 'test2'",
            "talmo.known:5: " + problemOfPattern("a(b"), "talmo.known:6: the line is not UTF-8",
            "talmo.known:7: " + problemOfPattern(costly), "talmo.known:8: the line is not UTF-8",
            "talmo.known:9: a pattern is missing behind 'my test'"}));
    EXPECT_EQ(known.patternsOf("a"), QStringList("x"));
    EXPECT_TRUE(known.patternsOf("test3").isEmpty());
}

TEST_F(KnownTest, OnlyAFileIsRead)
{
    ASSERT_TRUE(QFile::link("shared", path()));
    EXPECT_FALSE(readFile()); // whoever made the link meant something by it
    EXPECT_EQ(problems, QStringList("cannot read 'talmo.known': No such file or directory"));
    EXPECT_FALSE(add({{"test1", "x"}}));
    writeTo(folder.filePath("shared"), "test1 x\n");
    EXPECT_TRUE(readFile());
    EXPECT_EQ(known.patternsOf("test1"), QStringList("x"));

    ASSERT_TRUE(QFile::remove(path()));
    ASSERT_EQ(mkfifo(QFile::encodeName(path()), 0600), 0);
    EXPECT_FALSE(readFile());
    EXPECT_EQ(problems, QStringList("cannot read 'talmo.known': It is no regular file"));
    EXPECT_FALSE(known.problemOfWriting().isNull());

    ASSERT_TRUE(QFile::remove(path()));
    ASSERT_TRUE(QDir(folder.path()).mkdir("talmo.known"));
    EXPECT_FALSE(readFile());
    EXPECT_EQ(problems, QStringList("cannot read 'talmo.known': Is a directory"));
    EXPECT_EQ(
        known.problemOfWriting(), QStringLiteral("cannot write '%1': Is a directory").arg(path()));
}

TEST_F(KnownTest, ThePatternOfAMessageMatchesNothingElse)
{
    const QString messages[] = {
        "",
        "Files 'a' and 'b' differ on line 1, column 2",
        "a.b*c+d?e^f$g|h(i)j[k]l{m}n\\o",
        "\\d \\x0041 \\bword\\b",
        " blanks  at both ends ",
        "tab\tnewline\ncarriage\rreturn",
        "a" + nul() + "b",
        nul(),
        QString("\x1b[31mred\x1b[0m\x01\x1f\x7f"),
        QStringLiteral(u"é µ 日本 \U0001F600 \u2028\u0085\ufeff"),
        QString("a") + QChar(0xD800) + "b",
        QString("a") + QChar(0xDC00) + QChar(0xD800),
        QString(2000, 'x'),
        "^$",
        "#",
    };
    for (const QString &message : messages) {
        SCOPED_TRACE(message.toStdString());
        const QString pattern = patternOfMessage(message);
        ASSERT_FALSE(pattern.isNull());
        EXPECT_FALSE(pattern.contains('\n') || pattern.contains('\r') || pattern.contains(nul()));
        EXPECT_TRUE(problemOfPattern(pattern).isNull());
        EXPECT_TRUE(matchesMessage(pattern, message));
        const QString others[] = {message + "x", "x" + message, message + "\n", "\n" + message,
            message + message + "y", message.toUpper() + "Z"};
        for (const QString &other : others)
            EXPECT_FALSE(matchesMessage(pattern, other));
        for (int index = 0; index < std::min<int>(static_cast<int>(message.size()), 50); ++index) {
            QString other = message;
            other[index] = QChar('~');
            EXPECT_FALSE(matchesMessage(pattern, other));
            EXPECT_FALSE(matchesMessage(pattern, QString(message).remove(index, 1)));
        }
    }
    EXPECT_TRUE(patternOfMessage(QString(2001, 'x')).isNull());
}

TEST_F(KnownTest, WhatIsAddedIsKnownFromThenOn)
{
    const std::vector<Known::Failure> failures = {
        {"test1(sim1)", "running 'sim1' failed"},
        {"my test", "a\nb" + nul()},
        {"#odd\\name\twith\nlines\r", QString("x ") + QChar(0xD800) + " "},
        {QStringLiteral(u"té µ 日本"), QStringLiteral(u"é")},
        {" ", "x"},
        {"test2", ""},
    };
    EXPECT_TRUE(readFile());
    EXPECT_TRUE(add(failures)) << problems.join('|').toStdString();
    Known again;
    EXPECT_TRUE(again.read(QFile::encodeName(folder.path()), problems))
        << problems.join('|').toStdString();
    for (const Known::Failure &failure : failures) {
        SCOPED_TRACE(failure.run.toStdString());
        const QStringList patterns = again.patternsOf(failure.run);
        EXPECT_EQ(patterns, QStringList(patternOfMessage(failure.message)));
        EXPECT_EQ(known.patternsOf(failure.run), patterns);
        EXPECT_TRUE(matchesMessage(patterns.value(0), failure.message));
    }
    const QByteArray content = contentOf(path());
    EXPECT_TRUE(content.startsWith("test1(sim1) ^running 'sim1' failed$\nmy\\ test ^a\\x000ab"))
        << content.toStdString();
    EXPECT_TRUE(add(failures));
    EXPECT_EQ(contentOf(path()), content);
}

TEST_F(KnownTest, WhatIsThereStays)
{
    const QByteArray contents[] = {
        "", "# comment\r\n\r\n  a  x \n", "a x", "\n\n\n", "\xef\xbb\xbf#a x\n"};
    for (const QByteArray &content : contents) {
        SCOPED_TRACE(content.toStdString());
        EXPECT_TRUE(read(content));
        EXPECT_TRUE(add({{"b", "y"}}));
        const bool isCut = !content.isEmpty() && !content.endsWith('\n');
        EXPECT_EQ(contentOf(path()), content + (isCut ? "\n" : "") + "b ^y$\n");
    }
}

TEST_F(KnownTest, NothingIsAddedTwice)
{
    EXPECT_TRUE(read("a ^x\nb y\n"));
    EXPECT_TRUE(add({{"a", "xyz"}, {"b", "z"}, {"b", "z"}, {"c", "x"}, {"c", "y"}, {"c", "x"}}));
    EXPECT_EQ(contentOf(path()), "a ^x\nb y\nb ^z$\nc ^x$\nc ^y$\n");
}

TEST_F(KnownTest, ThatNothingIsAddedLeavesTheFileAlone)
{
    EXPECT_TRUE(readFile());
    EXPECT_TRUE(add({}));
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_TRUE(read("a x")); // without a newline, and so it stays
    EXPECT_TRUE(add({{"a", "x"}}));
    EXPECT_EQ(contentOf(path()), "a x");
}

TEST_F(KnownTest, AMessageThatIsTooLongIsToldAndTheOthersAdded)
{
    EXPECT_TRUE(readFile());
    EXPECT_FALSE(add({{"a", "x"}, {"b", QString(2001, 'x')}, {"c", "y"}}));
    EXPECT_EQ(problems, QStringList("the message of 'b' is too long for a pattern"));
    EXPECT_EQ(contentOf(path()), "a ^x$\nc ^y$\n");
}

TEST_F(KnownTest, WhatWasEditedMeanwhileStays)
{
    EXPECT_TRUE(read("a x\n"));
    writeTo(path(), "a x\n# edited\nnot UTF-8: \xff\n");
    EXPECT_TRUE(add({{"b", "y"}}));
    EXPECT_EQ(contentOf(path()), "a x\n# edited\nnot UTF-8: \xff\nb ^y$\n");
}

TEST_F(KnownTest, TheFileKeepsItsModeAndALinkLeadsOn)
{
    writeTo(folder.filePath("shared"), "");
    ASSERT_EQ(chmod(QFile::encodeName(folder.filePath("shared")), 0640), 0);
    ASSERT_TRUE(QFile::link("shared", path()));
    EXPECT_TRUE(readFile());
    EXPECT_TRUE(known.problemOfWriting().isNull());
    EXPECT_TRUE(add({{"b", "y"}}));
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(folder.filePath("shared")), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    EXPECT_EQ(contentOf(folder.filePath("shared")), "b ^y$\n");
}

TEST_F(KnownTest, AFullDiskLeavesWhatWasThere)
{
    EXPECT_TRUE(read("a x\n"));
    {
        const SmallDisk disk(6);
        EXPECT_FALSE(add({{"b", "y"}}));
    }
    EXPECT_EQ(
        problems, QStringList(QStringLiteral("cannot write '%1': File too large").arg(path())));
    EXPECT_EQ(contentOf(path()), "a x\n");
}
