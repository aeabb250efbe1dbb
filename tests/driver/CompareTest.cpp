#include "DriverTest.h"
#include "NastyLines.h"
#include "PlainCompare.h"

// =compare, in its exact and its numeric mode, as a script sees it. The parts of which it is made
// have tests of their own.

class Compare : public DriverTest
{
protected:
    /// The error of a comparison of files "a" and "b" with these contents.
    QByteArray errorOfComparing(
        const QByteArray &content1, const QByteArray &content2, const QByteArray &tolerances = "")
    {
        write("a", content1);
        write("b", content2);
        return errorOf("=compare ../a ../b " + tolerances + "\n");
    }

    const QByteArray lengths = "Files '../a' and '../b' have different lengths";
    const QByteArray differ = "Files '../a' and '../b' differ ";
    const QByteArray mismatch = "File '../a' and '../b' comment mismatch, line ";
    const QByteArray tooFew = "File '../a' and/or '../b' has too few columns, line ";
    const QByteArray invalid = "File '../a' and/or '../b' has invalid data on line ";
    const QByteArray badTolerance = "Invalid =compare column tolerance";
};

using CompareCommand = Compare;
using CompareExactly = Compare;
using CompareColumns = Compare;

TEST_F(CompareCommand, NeedsTwoFiles)
{
    EXPECT_EQ(errorOf("=compare\n"), "Invalid =compare command");
    EXPECT_EQ(errorOf("=compare ../test1\n"), "Invalid =compare command");
    EXPECT_EQ(errorOf("=compare ../test1 ../test1\n"), "");
    EXPECT_EQ(errorOf("=compare  ../test1\t../test1 -1 \n"), "");
}

TEST_F(CompareCommand, SomeMessagesBeginWithFileAndSomeWithFiles)
{
    const struct {
        const char *content1;
        const char *content2;
        const char *tolerances;
        const char *beginning;
    } rows[] = {
        {"1\n", "1\n2\n", "", "Files '../a' and '../b' have"},
        {"1\n", "2\n", "", "Files '../a' and '../b' differ at"},
        {"1\n", "2\n", "0", "Files '../a' and '../b' differ on"},
        {"1\n", "#\n", "0", "File '../a' and '../b' comment"},
        {"1\n", "1\n", "0 0", "File '../a' and/or '../b' has too"},
        {"x\n", "x\n", "0", "File '../a' and/or '../b' has invalid"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.beginning);
        const QByteArray error = errorOfComparing(row.content1, row.content2, row.tolerances);
        EXPECT_TRUE(error.startsWith(row.beginning)) << error.toStdString();
    }
}

TEST_F(CompareCommand, ChecksTheFilesInOrderAndThenTheTolerances)
{
    const struct {
        const char *words;
        const char *error;
    } rows[] = {
        {"no1 no2", "Cannot read file 'no1'"},
        {"no1 no2 x", "Cannot read file 'no1'"},
        {"no1 ../a x", "Cannot read file 'no1'"},
        {"../a no2 x", "Cannot read file 'no2'"},
        {"../a no2", "Cannot read file 'no2'"},
        {"no/%1%2%s ../a", "Cannot read file 'no/%1%2%s'"},
        {"../a ../b x", "Invalid =compare column tolerance"}, // found before a line is read
        {"../a ../b 0 0 0 0 x", "Invalid =compare column tolerance"},
        {"../a ../b 0 0 0 0", "File '../a' and/or '../b' has too few columns, line 1"},
    };
    write("a", "1\n");
    write("b", "2\n");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.words);
        EXPECT_EQ(errorOf("=compare " + QByteArray(row.words) + "\n"), row.error);
    }
}

TEST_F(CompareCommand, CannotReadWhatIsNoFileOrCannotBeRead)
{
    for (const QByteArray tolerance : {"", " 0"}) {
        EXPECT_EQ(errorOf("=compare .. ../test1" + tolerance + "\n"), "Cannot read file '..'");
        EXPECT_EQ(errorOf("=compare ../test1 .." + tolerance + "\n"), "Cannot read file '..'");
        // This file can be opened, but not read.
        EXPECT_EQ(errorOf("=compare /proc/self/mem ../test1" + tolerance + "\n"),
            "Cannot read file '/proc/self/mem'");
        EXPECT_EQ(errorOf("=compare ../test1 /proc/self/mem" + tolerance + "\n"),
            "Cannot read file '/proc/self/mem'");
        EXPECT_EQ(errorOf("=file a\n=compare a /proc/self/mem" + tolerance + "\n"),
            "Cannot read file '/proc/self/mem'"); // the empty file is not just called shorter
    }
}

TEST_F(CompareCommand, FilesAreNamedAsInTheScript)
{
    write("%1", "1\n");
    write("%2", "x\n");
    write("%3", "# 1\n");
    write("%4", "");
    const struct {
        const char *words;
        const char *error;
    } rows[] = {
        {"../%2 ../%1", "Files '../%2' and '../%1' differ at line 1"},
        {"../%2 .././%1 0", "File '../%2' and/or '.././%1' has invalid data on line 1, column 1"},
        {"../%3 ../%1 0", "File '../%3' and '../%1' comment mismatch, line 1"},
        {"../%2 ../%1 0 0", "File '../%2' and/or '../%1' has too few columns, line 1"},
        {"../%1 ../%4", "Files '../%1' and '../%4' have different lengths"},
        {"../%4 ../%3", "Files '../%4' and '../%3' have different lengths"},
        {"../%3 ../%4 0", "Files '../%3' and '../%4' have different lengths"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.words);
        EXPECT_EQ(errorOf("=compare " + QByteArray(row.words) + "\n"), row.error);
    }
    write("%4%3", "2\n");
    EXPECT_EQ(errorOf("=compare ../%4%3 ../%1 0.5\n"),
        "Files '../%4%3' and '../%1' differ on line 1, column 1");
    EXPECT_EQ(errorOf("=file \xC3\xB6\n=file %s\nx\n=compare \xC3\xB6 %s\n"),
        "Files '\xC3\xB6' and '%s' have different lengths");
    EXPECT_EQ(errorOf("=file :a\n=file :b\nx\n=compare :a :b\n"),
        "Files ':a' and ':b' have different lengths");
    EXPECT_EQ(errorOf("=file :a\n=compare :a :b\n"), "Cannot read file ':b'");
}

TEST_F(CompareCommand, ReadsPipes)
{
    // A byte order mark, a line with its carriage return, and a number come in several pieces.
    addProgram("feed", "mkfifo fifo\n"
                       "(for part in '\\357' '\\273\\277' '1 2' '\\r' '\\n' '# c\\n3' ' 4'; do\n"
                       "    printf \"$part\"; sleep 0.05\n"
                       "done >fifo) &\n");
    const QByteArray script = "=run feed\n=file ref\n1 2\n# c\n3 4\n";
    EXPECT_EQ(errorOf(script + "=compare fifo ref\n"), "");
    EXPECT_EQ(errorOf(script + "=compare ref fifo 0 0\n"), "");
    EXPECT_EQ(errorOf(script + "x\n=compare fifo ref\n"),
        "Files 'fifo' and 'ref' have different lengths");
}

TEST_F(CompareCommand, AgreesWithItself)
{
    write("a", "#\n1 x\n\n\xFF\n");
    EXPECT_EQ(errorOf("=compare ../a ../a\n"), "");
    EXPECT_EQ(errorOf("=compare ../a ../a -1\n"), "");
    EXPECT_EQ(errorOf("=compare ../a ../a 0\n"),
        "File '../a' and/or '../a' has invalid data on line 3, column 1");
}

TEST_F(CompareExactly, LinesAreComparedAsBytes)
{
    const struct {
        QByteArray content1;
        QByteArray content2;
        QByteArray error;
    } rows[] = {
        {"\xEF\xBB\xBF#a\r\nb\r\n", "#a\nb", ""}, // text mode, and no newline at the end
        {"a\nb\nc\n", "a\nB\nC\n", differ + "at line 2"},
        {"\xFF", "\xEF\xBF\xBD", differ + "at line 1"}, // bytes are compared, not characters
        {"a\n\n\n", "a\n", lengths},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE((row.content1 + " | " + row.content2).toStdString());
        EXPECT_EQ(errorOfComparing(row.content1, row.content2), row.error);
        EXPECT_EQ(errorOfComparing(row.content2, row.content1), row.error);
    }
}

TEST_F(CompareColumns, LinesAreComparedWordByWord)
{
    const struct {
        QByteArray content1;
        QByteArray content2;
        const char *tolerances;
        QByteArray error;
    } rows[] = {
        {"\xEF\xBB\xBF 1\xC2\xA0 2 x\r\n#a\n", "1 2\n #b c", "0 0", ""},
        {"# a\n# b\n1\n", "#\n#\n2\n", "0", differ + "on line 3, column 1"}, // all lines count
        {"a 1\n", "b 2\n", "-1 0", differ + "on line 1, column 2"},
        {"a 1\n", "b 1\n", "-1 0", ""},
        {"1\n\n", "1\n\n", "0", invalid + "2, column 1"},
        {"1 nan\n", "1 nan\n", "0 1e300", invalid + "1, column 2"},
        {"x\n", "y\n", "0 0", tooFew + "1"}, // found before a value is looked at
        {"1\n #x\n", "1\n\n", "-1", mismatch + "2"},
        {"1\n#\n", "1\n", "0", lengths},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE((row.content1 + " | " + row.content2 + " | " + row.tolerances).toStdString());
        EXPECT_EQ(errorOfComparing(row.content1, row.content2, row.tolerances), row.error);
        EXPECT_EQ(errorOfComparing(row.content2, row.content1, row.tolerances), row.error);
    }
}

TEST_F(CompareColumns, AToleranceIsTheLargestDifferenceAllowed)
{
    const QByteArray different = differ + "on line 1, column 1";
    EXPECT_EQ(errorOfComparing("1", "1.5", "0.5"), ""); // the difference equals the tolerance
    EXPECT_EQ(errorOfComparing("1", "1.5", "0.49999999999999994"), different);
    EXPECT_EQ(errorOfComparing("1", "2", "-0"), different); // -0 is not negative
    EXPECT_EQ(errorOfComparing("1", "2", "-1e-300"), "");
}

TEST_F(CompareColumns, TolerancesAreNumbersLikeTheColumns)
{
    for (const QByteArray word : {"+1.", ".5E+03", "1e-400"})
        EXPECT_EQ(errorOfComparing("0 " + word, "0 " + word, "0 " + word), "");
    for (const QByteArray word : {"nan", "0x10", "1e999"}) {
        SCOPED_TRACE(word.toStdString());
        EXPECT_EQ(errorOfComparing("0 1", "0 " + word, "0 0"), invalid + "1, column 2");
        EXPECT_EQ(errorOfComparing("0 0", "0 0", "0 " + word), badTolerance);
    }
}

TEST_F(CompareColumns, AnyByteMayStandInANumber)
{
    // Each word is compared with itself and with 1, because equal lines are passed over quickly.
    const QByteArray one = "1\n";
    write("one", one);
    QByteArray lines;
    int number = 1000; // four digits, so that names sort in the order in which files are made
    int agreeing = 0;
    for (const std::string &word : withAnyByte({"5"})) {
        const QByteArray content = QByteArray::fromStdString(word) + '\n';
        if (content.startsWith('=') || content.contains("\n=")) // it would be a command
            continue;
        const QByteArray file = QByteArray::number(++number);
        const struct {
            QByteArray other;
            QByteArray name;
            const char *tolerance;
        } rows[] = {{content, file, "0"}, {one, "../one", "1e300"}};
        lines += "=file " + file + '\n' + content;
        for (const auto &[other, name, tolerance] : rows) {
            const QString outcome = PlainCompare::outcome(content, other, {tolerance});
            if (!outcome.isEmpty())
                lines += "=ignore " + outcome.toUtf8() + "$\n";
            lines += "=compare " + file + ' ' + name + ' ' + tolerance + '\n';
            agreeing += outcome.isEmpty();
        }
    }
    EXPECT_EQ(errorOf(lines), "") << "of this word: " << read(entries().last()).toStdString();
    EXPECT_GT(agreeing, 50);
}

TEST_F(CompareCommand, LinesMayEndAnywhereInABlock)
{
    constexpr int blockSize = 262144;
    for (int length = blockSize - 3; length <= blockSize + 1; ++length) {
        SCOPED_TRACE(length);
        const QByteArray line(length, '7');
        EXPECT_EQ(errorOfComparing(line + "\r\n1\n", line + "\n1"), "");
        EXPECT_EQ(errorOfComparing("\xEF\xBB\xBF" + line + "\n1", line + "\r\n1"), "");
        EXPECT_EQ(errorOfComparing(line + "\n1\n", line + "\n2\n"), differ + "at line 2");
        EXPECT_EQ(errorOfComparing(line + "1\n", line + "2\n"), differ + "at line 1");
        const QByteArray blanks(length, ' ');
        EXPECT_EQ(errorOfComparing(blanks + "12\r\n", "12\n", "0"), "");
    }
}

TEST_F(CompareCommand, LinesMayBeLong)
{
    const QByteArray line(3000000, '1');
    EXPECT_EQ(errorOfComparing(line + "\n", line), "");
    EXPECT_EQ(errorOfComparing(line + "2\n", line + "3\n"), differ + "at line 1");
    QByteArray words;
    for (int n = 0; n < 1000000; ++n)
        words += "1 ";
    EXPECT_EQ(errorOfComparing(words, words + "x", "0 0"), "");
}

TEST_F(CompareCommand, FilesMayHaveManyLines)
{
    QByteArray content;
    for (int n = 1; n < 100000; ++n)
        content += QByteArray::number(n) + " 0.5\n";
    EXPECT_EQ(errorOfComparing(content + "1 1\n", content + "1 2\n"), differ + "at line 100000");
    EXPECT_EQ(errorOfComparing(content + "1 1\n", content + "1 2\n", "0 0.5"),
        differ + "on line 100000, column 2");
    EXPECT_EQ(errorOfComparing(content + "1 1\n", content + "1 2\n", "0 1"), "");
    EXPECT_EQ(errorOfComparing(content + "1 1\n", content, "0 1"), lengths);
}

TEST_F(CompareCommand, RefusesANameThatTheSystemWouldCut)
{
    const QByteArray name("/dev/null\0off", 13);
    EXPECT_EQ(
        errorOf("=ignore ^Cannot read file '/dev/null.off'\n=compare /dev/null " + name + "\n"),
        "");
}
