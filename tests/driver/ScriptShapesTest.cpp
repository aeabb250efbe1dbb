#include "DriverTest.h"

#include <QDir>

// Scripts as people, editors and other programs write them, and the limits of scripts.

namespace
{

/// Under the address sanitizer every byte takes more memory and much more time, so the longest
/// lines are shorter there.
constexpr int longestLine = isSanitized ? 10000000 : 50000000;

} // namespace

using ScriptShapes = DriverTest;

TEST_F(ScriptShapes, EditorsDifferAndTheOutcomeDoesNot)
{
    const QByteArray mark = "\xEF\xBB\xBF";
    const QByteArray body = "# x  y\n 1\t2 \n\n$simProgram\n";
    const QByteArray reference = "1 2\n";
    const auto script = [&](const QByteArray &lines) {
        return "=all  of it\n"
               "\n" +
               lines + "=file in\n" + body + "=file reference\n" + reference +
               "=run echo  1 2\n"
               "=compare echo.out reference\n"
               "=compare echo.out reference 0  0.5\n"
               "# a comment\n"
               "=ignore exist\n"
               "=exists none\n"
               "=platform WINDOWS  DARWIN\n"
               "=echo not here\n"
               "=platform\n"
               "=testbeam beam 0 1 2 0 1 2 0 13 1\n"
               "=echo a  b\n"
               "=end";
    };
    const QByteArray plain = script("");
    const auto with = [](QByteArray text, const char *before, const char *after) {
        return text.replace(before, after);
    };
    const struct {
        const char *title;
        QByteArray text;
    } rows[] = {
        {"no newline at the end", plain},
        {"a newline", plain + "\n"},
        {"blank lines at the end", plain + "\n\n\n"},
        {"line ends of another system", with(plain + "\n", "\n", "\r\n")},
        {"doubled by a transfer", with(plain + "\n", "\n", "\r\r\n")},
        {"a byte order mark", mark + plain + "\n"},
        {"both", mark + with(plain + "\n", "\n", "\r\n")},
        {"a stray return at the end", plain + "\r"},
        {"indented commands", with(script(" \n\t\n"), "\n=e", "\n \t=e")},
        {"tabs between words", with(with(plain, "  ", "\t"), " 0.5", "\t0.5\t")},
        {"comments, indented too", script("#\n # =foo\n\t#\n## x\n#=end\n")},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        EXPECT_EQ(runScript(row.text), "a b\n" + ended);
        EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/beam",
                                 "test1.dir/echo.out", "test1.dir/in", "test1.dir/reference"}));
        EXPECT_EQ(read("test1.dir/in").replace('\t', ' ').simplified(), body.simplified());
        EXPECT_EQ(read("test1.dir/reference"), reference);
        EXPECT_EQ(read("test1.dir/echo.out"), "1 2\n");
        EXPECT_EQ(read("test1.dir/beam").count('\n'), 6);
    }
}

TEST_F(ScriptShapes, AHeadingIsEnough)
{
    const struct {
        const char *script;
        const char *printed;
    } rows[] = {
        {"=h", "test1: h\n"}, {"=h\r\n", "test1: h\n"}, {"\xEF\xBB\xBF=h", "test1: h\n"},
        {"=h\n\n\n \t\n", "test1: h\n"}, {"=h\n# no command", "test1: h\n"},
        {"=\t\n", "test1: \t\n"},
        {"=h\r=echo a\r", "test1: h=echo a\n"}, // without newlines there is only one line
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script);
        EXPECT_EQ(runScript(row.script), row.printed);
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }
}

TEST_F(ScriptShapes, BytesThatAreNoUtf8AreKeptInBodiesOnly)
{
    const QByteArray replaced = "\xEF\xBF\xBD"; // the replacement character
    EXPECT_EQ(runScript("=Gr\xF6\xDF\x65\n"
                        "=file Gr\xF6\xDF\x65\n"
                        "Gr\xF6\xDF\x65\n"
                        "=echo Gr\xF6\xDF\x65\n"
                        "=exists Gr\xF6\xDF\x65\n"
                        "=compare Gr\xF6\xDF\x65 Gr\xF6\xDF\x65\n"
                        "=run cat Gr\xF6\xDF\x65\n"
                        "=run cp cat.out copy\n"
                        "=compare copy Gr\xF6\xDF\x65\n"
                        "=ignore ^File '\xE4' does\n"
                        "=exists \xE4\n"
                        "=file \xE4\n"
                        "=exists \xF6\n" // becomes the same name
                        "=exists no\xE4\n"),
        "Gr" + replaced + replaced + "e\ntest1: ***ERROR: File 'no" + replaced +
            "' does not exist\n");
    const QString character = QString::fromUtf8(replaced);
    EXPECT_EQ(entries(),
        QStringList({"test1", "test1.dir/", "test1.dir/Gr" + character + character + "e",
            "test1.dir/cat.out", "test1.dir/copy", "test1.dir/cp.out", "test1.dir/" + character}));
    EXPECT_EQ(read("test1.dir/cat.out"), "Gr\xF6\xDF\x65\n");
}

TEST_F(ScriptShapes, BodiesMayBeOfAnySizeAndShape)
{
    const QByteArray lines[] = {
        "key = value\n",
        " =echo nothing but a leading blank\n",
        "==\n",
        "\n",
        "x",
        QByteArray("\0\n", 2),
        "\xE4\n",
    };
    for (const QByteArray &line : lines) {
        SCOPED_TRACE(line.toStdString());
        QByteArray body = line.startsWith('=') ? 'x' + line : line;
        body = body.repeated(10000000 / body.size());
        EXPECT_EQ(
            runScript("=heading\n=file body\n" + body + (line == "x" ? "\n" : "") + "=end"), ended);
        EXPECT_TRUE(read("test1.dir/body") == body + (line == "x" ? "\n" : ""));
    }
}

TEST_F(ScriptShapes, LinesMayBeVeryLong)
{
    const QByteArray line = QByteArray("wwwww\\www").repeated(longestLine / 9);
    const QByteArray printed = runScript("=heading\n"
                                         "#" +
                                         line +
                                         "\n"
                                         "=file body\n" +
                                         line +
                                         "\n"
                                         "=echo " +
                                         line +
                                         "\n"
                                         "=ignore ^running 'true' failed$\n"
                                         "=run true " +
                                         line +
                                         "\n"
                                         "=end\n");
    EXPECT_TRUE(printed == line + '\n' + ended);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/body"}));
    EXPECT_TRUE(read("test1.dir/body") == line + '\n');
}

TEST_F(ScriptShapes, WhatNeedsMoreThanThereIsFailsAndTheNextTestRuns)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer's memory cannot be limited";
    const QByteArray line(40000000, 'x');
    const QByteArray words = QByteArray("1 ").repeated(5000000);
    const QByteArray path = work.toUtf8() + "/test1";
    const struct {
        const char *title;
        QByteArray script;
        QByteArray failed;
        bool isRun;
    } rows[] = {
        {"comment", "=heading\n=echo\n#" + line, "\ntest1: ***ERROR: Out of memory\n", true},
        {"command", "=heading\n\n=echo " + line, "test1: ***ERROR: Out of memory\n", true},
        {"words", "=heading\n=file a\n" + words + "\n=compare a ../test2 0",
            "test1: ***ERROR: Out of memory\n", true},
        {"expected", "=heading\n=file a\n" + words + "\n=ignore .*\n=compare a ../test2 0",
            "test1: ***ERROR: Out of memory\n", true},
        {"heading", '=' + line, path + ": ***ERROR: Out of memory\n", false},
        {"selection", "=\n=simprogram " + line, path + ": ***ERROR: Out of memory\n", false},
        {"script", "=heading\n#" + line + line + line + line,
            path + ": ***ERROR: Cannot read file\n", false},
    };
    limitMemory();
    write("test2", "=next\n=run pwd >&1\n");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        write("test1", row.script);
        expectRun({"test1", "test2"}, "test1 test2",
            row.failed + work.toUtf8() + "/test2.dir\ntest2: next\n", 1, 2);
        EXPECT_EQ(QDir(work + "/test1.dir").exists(), row.isRun);
        QDir(work + "/test1.dir").removeRecursively();
    }
}

TEST_F(ScriptShapes, PatternsAndPlaceholdersMayBeMany)
{
    // The time must not grow with the square of the length: a million characters would take
    // minutes.
    constexpr int many = 1000000;
    const QByteArray pattern = QByteArray("abc d").repeated(many / 5);
    EXPECT_EQ(errorOf("=ignore " + pattern + "\n=exists none\n"), "File 'none' does not exist");
    EXPECT_EQ(
        errorOf("=ignore " + pattern + "\n=" + pattern + "\n"), "Unknown test command '=abc'");
    EXPECT_EQ(errorOf("=ignore 'x" + QByteArray(many, 'y') + "'\n=exists x" +
                      QByteArray(many, 'y') + "\n"),
        "");
    configure({"sim1"});
    const QByteArray none = work.toUtf8() + "/test1: No applicable SimPrograms\n";
    EXPECT_EQ(runScript("=heading\n=simprogram sim1" + QByteArray(many, 'x') + "\n=foo\n"), none);
    EXPECT_EQ(runScript("=heading\n=simprogram s* \n=echo " +
                        QByteArray("$simProgram,").repeated(many) + "\n"),
        QByteArray("sim1,").repeated(many) + "\ntest1(sim1): heading\n");
}

TEST_F(ScriptShapes, NulsAreBytesLikeOthers)
{
    const struct {
        const char *lines;
        const char *error; // the message ends at a NUL
    } rows[] = {
        {"=echo@", "Unknown test command '=echo"},
        {"=exists@..", "Unknown test command '=exists"},
        {"=exists ..@", "File '.."},
        {"=exists @", "File '"},
        {"=file a@b", "Cannot write file 'a"},
        {"=file a\n@\n@=@\n=compare a a", ""},
        {"=file a\n=compare a@ a", "Cannot read file 'a"},
        {"=file a\n=compare a a@", "Cannot read file 'a"},
        {"=file a\n=compare a a 1@", "Invalid =compare column tolerance"},
        {"=platform LINUX@", "Invalid platform 'LINUX"},
        {"=platform WINDOWS\n=platform@\n=foo", "Unknown test command '=platform"},
        {"=testbeam a 0 1 2@ 0 1 2 0 13 1", "Syntax error"},
        {"=testbeam a@ 0 1 2 0 1 2 0 13 1", "Cannot write file 'a"},
        {"=testbeam a 0 1 2 0 1 2 0 13 1 @\n=exists a", ""},
        {"=run true@", "running 'true"},
        {"=run true @", "running 'true' failed"},
        {"=run true > a@b\n", "running 'true' failed"},
        {"=ignore a@b\n=exists a@b", ""},
        {"=ignore @@\n=exists a@b", "File 'a"},
        {"=ignore .*@\n=exists a", "File 'a' does not exist"},
        {"=ignore@\n=foo\n", "Unknown test command '=ignore"},
        {"=meanandsigma@", "Unknown test command '=meanandsigma"},
        {"#@\n # @\n@#", "Unknown test command '"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.lines);
        QByteArray script = "=heading\n" + QByteArray(row.lines);
        const QByteArray error = row.error;
        EXPECT_EQ(runScript(script.replace('@', '\0')),
            error.isEmpty() ? passed : "test1: ***ERROR: " + error + '\n');
    }
    EXPECT_EQ(runScript(QByteArray(5000000, '\0')),
        work.toUtf8() + "/test1: ***ERROR: Invalid test file\n");
    EXPECT_EQ(runScript('=' + QByteArray(5000000, '\0')), "test1: \n");
    configure({"sim1"});
    QByteArray selection = "=heading\n=simprogram sim1@ @ *@\n=foo";
    EXPECT_EQ(runScript(selection.replace('@', '\0')),
        work.toUtf8() + "/test1: No applicable SimPrograms\n");
}

TEST_F(ScriptShapes, AHundredThousandCommandsRunInOrder)
{
    QByteArray lines;
    QByteArray printed;
    for (int n = 0; n < 20000; ++n) {
        const QByteArray number = QByteArray::number(n);
        lines += "=echo " + number +
                 "\n\n# comment\n"
                 "=exists ..\n"
                 "=ignore ^File 'none" +
                 QByteArray::number(n % 100) + "'\n=exists none" + QByteArray::number(n % 100) +
                 "\n"
                 "=platform WINDOWS\n=foo\n=platform\n";
        printed += number + "\n";
    }
    EXPECT_TRUE(runScript("=heading\n" + lines + "=end") == printed + ended);
    EXPECT_TRUE(runScript("=heading\n" + lines) == printed + passed);
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(ScriptShapes, APatternOfThousandsOfGroupsEndsNoDriver)
{
    const QByteArray pattern = QByteArray(100000, '(') + 'a' + QByteArray(100000, ')');
    EXPECT_EQ(errorOf("=ignore " + pattern + "\n=exists a\n"), "File 'a' does not exist");
}
