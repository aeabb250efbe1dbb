#include "DriverTest.h"

#include <QDir>

#include <sys/stat.h>

// =file and =run.

class FileCommand : public DriverTest
{
protected:
    /// The file that =file writes for \a body, the rest of a script.
    QByteArray written(const QByteArray &body)
    {
        // "=debug" keeps the directory, and the trace shows which lines were taken for commands.
        EXPECT_EQ(runScript("=heading\n=debug\n=file out\n" + body),
            "==== line='=file out'\n==== end test test1\n" + passed);
        EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/out"}));
        return read("test1.dir/out");
    }
};

TEST_F(FileCommand, CopiesTheLinesThatFollowByteForByte)
{
    const QByteArray rows[] = {
        "",
        "\n",
        "a\n",
        "a\n\n\n",
        "# a comment\n\n  blanks \t \n",
        "$simProgram\n",
        " =echo a leading blank\n\t=file\n",
        "a =echo b\n",
        "\xFF\xE4\xF6 Latin-1, \xC3 half a character\n",
        "Gr\xC3\xB6\xC3\x9F\x65\n",
        "a\n\xEF\xBB\xBFmark\nb\xEF\xBB\xBF\n",
        "\xEF\xBB\xBF=echo\n", // the line begins with the mark
        QByteArray("a\0b\n\0\n", 6),
        "a\vb\fc\x1A\x7F\n",
    };
    for (const QByteArray &body : rows) {
        SCOPED_TRACE(body.toStdString());
        EXPECT_EQ(written(body), body);
    }
}

TEST_F(FileCommand, LineEndsBecomeNewlines)
{
    EXPECT_EQ(written("a\r\nb\r\n"), "a\nb\n");
    EXPECT_EQ(written("a\rb\r\r\n\r"), "ab\n");
    EXPECT_EQ(written("a\nb"), "a\nb\n"); // the last line gets a newline
    EXPECT_EQ(written("a\n "), "a\n \n");
}

TEST_F(FileCommand, CopiesLargeBodies)
{
    QByteArray body;
    while (body.size() < 20 << 20)
        body += QByteArray::number(body.size()) + " \xE4 some line of an input file\n";
    EXPECT_TRUE(written(body) == body);
    const QByteArray line(3000000, 'x');
    EXPECT_TRUE(written(line) == line + "\n");
}

TEST_F(FileCommand, StopsAtTheNextCommand)
{
    EXPECT_EQ(runScript("=heading\n=file a\n=file b\none\n=echo next\n=file c d e\ntwo\n=end\n"),
        "next\n" + ended);
    EXPECT_EQ(read("test1.dir/a"), "");
    EXPECT_EQ(read("test1.dir/b"), "one\n");
    EXPECT_EQ(read("test1.dir/c"), "two\n"); // words after the name are ignored
    EXPECT_EQ(entries(),
        QStringList({"test1", "test1.dir/", "test1.dir/a", "test1.dir/b", "test1.dir/c"}));
}

TEST_F(FileCommand, WritesAnyNameThatAFileCanHave)
{
    for (const QByteArray name : {":/a", "%1%s", "a\\b", "'a'", "-", "Gr\xC3\xB6\xC3\x9F\x65"}) {
        SCOPED_TRACE(name.toStdString());
        EXPECT_EQ(runScript("=heading\n=run mkdir :\n=file " + name + "\nx\n=end\n"), ended);
        EXPECT_EQ(read("test1.dir/" + name), "x\n");
    }
}

TEST_F(FileCommand, TruncatesAnOldFile)
{
    runScript("=heading\n=file a\none\ntwo\n=file a\n1\n=file b\nx\n=file b\n=end\n");
    EXPECT_EQ(read("test1.dir/a"), "1\n");
    EXPECT_EQ(read("test1.dir/b"), "");
}

TEST_F(FileCommand, ReplacesTheProgramInTheNameOnly)
{
    configure({"sim"});
    runScript("=heading\n=simprogram sim\n=file $simProgram.in\n$simProgram\n=end\n");
    EXPECT_EQ(read("test1(sim).dir/sim.in"), "$simProgram\n");
}

TEST_F(FileCommand, FailsIfTheFileCannotBeWritten)
{
    EXPECT_EQ(errorOf("=file\n"), "Invalid =file command");
    EXPECT_EQ(errorOf("=file no/file\nx\n"), "Cannot write file 'no/file'");
    EXPECT_EQ(errorOf("=file ..\nx\n"), "Cannot write file '..'");
    EXPECT_EQ(errorOf("=run mkdir %1%s\n=file %1%s\nx\n"), "Cannot write file '%1%s'");
    EXPECT_EQ(errorOf("=file /dev/full\nx\n"), "Cannot write file '/dev/full'");
    EXPECT_EQ(errorOf("=file /dev/full\n"), ""); // without a body nothing is written
    EXPECT_EQ(errorOf("=file " + QByteArray(5000, 'x') + "\n"),
        "Cannot write file '" + QByteArray(5000, 'x') + "'");
}

TEST_F(FileCommand, ABodyIsPassedOverOnceTheFileIsOpen)
{
    const QByteArray body = "not a command\n=echo next\n";
    EXPECT_EQ(
        runScript("=heading\n=ignore Cannot write\n=file /dev/full\n" + body), "next\n" + passed);
    EXPECT_EQ(
        errorOf("=ignore Cannot write\n=file no/file\n" + body), "Unknown test command 'not'");
}

TEST_F(FileCommand, TheUmaskAloneTakesPermissionsAway)
{
    const struct {
        const char *umask;
        mode_t directory;
        mode_t file;
    } rows[] = {
        {"0", 0777, 0666},
        {"022", 0755, 0644},
        {"027", 0750, 0640},
        {"077", 0700, 0600},
    };
    const auto modeOf = [this](const char *path) {
        struct stat status = {};
        EXPECT_EQ(stat(qPrintable(QDir(work).filePath(path)), &status), 0) << path;
        return status.st_mode & ~mode_t(S_IFMT);
    };
    addProgram("masked", "umask $MASK\nexec " + driver.toUtf8() + " \"$@\"\n");
    driver = QDir(programs).filePath("masked");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.umask);
        environment["MASK"] = row.umask;
        EXPECT_EQ(
            runScript("=heading\n=file a\n=testbeam b 0 1 2 0 1 2 0 13 1\n=run >c\n=end\n"), ended);
        EXPECT_EQ(modeOf("test1.dir"), row.directory);
        for (const char *const file : {"test1.dir/a", "test1.dir/b", "test1.dir/c"})
            EXPECT_EQ(modeOf(file), row.file) << file;
    }
}

TEST_F(FileCommand, RefusesANameThatTheSystemWouldCut)
{
    const QByteArray name("cut\0off", 7);
    EXPECT_EQ(errorOf("=ignore ^Cannot write file 'cut\n=file " + name + "\n"), "");
    EXPECT_EQ(runScript("=heading\n=file " + name + "\n"),
        "test1: ***ERROR: Cannot write file 'cut\n"); // the message ends at the NUL
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
}

class RunCommand : public DriverTest
{
protected:
    RunCommand()
    {
        addProgram("say", "echo \"out $*\"\n");
        addProgram("both", "echo \"out $*\"\necho \"err $*\" >&2\n");
    }

    /// The files that \a lines leave in the directory of the run. Expects that they print \a
    /// output.
    QStringList filesLeftBy(const QByteArray &lines, const QByteArray &output = "")
    {
        EXPECT_EQ(runScript("=heading\n" + lines + "=end\n"), output + ended);
        QStringList names;
        for (const QString &name : entries().mid(2))
            names += name.mid(10);
        return names;
    }
};

TEST_F(RunCommand, AppendsAllOutputToAFileNamedAfterTheProgram)
{
    EXPECT_EQ(filesLeftBy("=run both a   b\n=run say x\n=run both c\n"),
        QStringList({"both.out", "say.out"}));
    EXPECT_EQ(read("test1.dir/both.out"), "out a b\nerr a b\nout c\nerr c\n");
    EXPECT_EQ(read("test1.dir/say.out"), "out x\n");
}

TEST_F(RunCommand, TheFileIsNamedAfterTheLastPartOfAPath)
{
    const QByteArray path = programs.toUtf8();
    EXPECT_EQ(filesLeftBy("=run " + path + "/../programs//say x\n"), QStringList({"say.out"}));
    EXPECT_EQ(read("test1.dir/say.out"), "out x\n");
    EXPECT_EQ(filesLeftBy("=run ../../programs/say y\n"), QStringList({"say.out"}));
    EXPECT_EQ(read("test1.dir/say.out"), "out y\n");
    EXPECT_EQ(filesLeftBy("=ignore running\n=run no/\n"), QStringList({".out"}));
}

TEST_F(RunCommand, AWordThatBeginsWithARedirectionReplacesTheCapture)
{
    const struct {
        const char *command;
        QStringList filesLeft;
        const char *file;
        const char *content;
    } rows[] = {
        {"say a >x", {"x"}, "x", "out a\n"},
        {"say a > x", {"x"}, "x", "out a\n"},
        {"say >>x a", {"x"}, "x", "out a\n"},
        {">x say a", {"x"}, "x", "out a\n"},
        {">x", {"x"}, "x", ""},
        {"both a >x 2>&1", {"x"}, "x", "out a\nerr a\n"},
        {"say a; say b >>x", {"x"}, "x", "out b\n"}, // "out a" is printed
        {"both a 2>&1", {"both.out"}, "both.out", "out a\nerr a\n"},
        {"both a 2>x", {"both.out", "x"}, "both.out", "out a\nerr a\n"}, // the later ">" counts
        {"cat </dev/null", {"cat.out"}, "cat.out", ""},
        {"say a>x", {"say.out", "x"}, "say.out", "out a\n"},
        {"say '>x'", {"say.out"}, "say.out", "out >x\n"},
        {"say \\>x", {"say.out"}, "say.out", "out >x\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.command);
        const QByteArray command = row.command;
        const QByteArray output = command.contains(';') ? "out a\n" : "";
        EXPECT_EQ(filesLeftBy("=run " + command + "\n", output), row.filesLeft);
        EXPECT_EQ(read(QStringLiteral("test1.dir/") + row.file), row.content);
    }
}

TEST_F(RunCommand, PassesTheLineToTheShellWithItsBlanksCollapsed)
{
    runScript("=heading\n=run  say\t'a   b'  \"c\td\"  $((1 + 2)) * \n=end\n");
    EXPECT_EQ(read("test1.dir/say.out"), "out a b c d 3 *\n");
    // Deliberate: ">>say.out" is a part of the shell's line, so a shell comment hides it.
    EXPECT_EQ(
        runScript("=heading\n=run say \xC3\xB6 %1 %s # x\n=end\n"), "out \xC3\xB6 %1 %s\n" + ended);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
}

TEST_F(RunCommand, OutputComesInOrder)
{
    EXPECT_EQ(runScript("=heading\n=echo 1\n=run say 2 >&1\n=echo 3\n=run say 4; true\n"
                        "=run say 5 >/dev/stdout\n=echo 6\n"),
        "1\nout 2\n3\nout 4\nout 5\n6\n" + passed);
    EXPECT_EQ(runScript("=heading\n=debug\n=run say 1 >&1\n"),
        "==== line='=run say 1 >&1'\nout 1\n==== end test test1\n" + passed);
}

TEST_F(RunCommand, RunsTheProgramOfTheRun)
{
    configure({"say", "both"});
    runScript("=heading\n=simprogram *\n=run $simProgram $simProgram-x\n=end\n");
    EXPECT_EQ(read("test1(say).dir/say.out"), "out say-x\n");
    EXPECT_EQ(read("test1(both).dir/both.out"), "out both-x\nerr both-x\n");
}

TEST_F(RunCommand, FailsUnlessTheShellReportsSuccess)
{
    const struct {
        const char *command;
        const char *error;
    } rows[] = {
        {"true a b", ""},
        {"false || true", ""},
        {"false a b", "running 'false' failed"},
        {"sh -c 'exit 3' >x", "running 'sh' failed"},
        {"sh -c 'kill -9 $$'", "running 'sh' failed"},
        {"no-such-program a", "running 'no-such-program' failed"},
        {"no/such/program", "running 'no/such/program' failed"},
        {"../test1", "running '../test1' failed"}, // it is not executable
        {"%1%s", "running '%1%s' failed"},
        {"exit 256", ""}, // the shell keeps only the low eight bits
        {"exit 257", "running 'exit' failed"},
    };
    EXPECT_EQ(errorOf("=run\n"), "Invalid =run command");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.command);
        EXPECT_EQ(errorOf("=run " + QByteArray(row.command) + "\n"), row.error);
    }
}

TEST_F(RunCommand, FailsIfThereIsNoWayToPassTheLineOn)
{
    // The shell would run "say a" and not see the rest.
    EXPECT_EQ(errorOf(QByteArray("=run say a\0b\n", 13)), "running 'say' failed");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
    EXPECT_EQ(errorOf("=run say " + QByteArray(3000000, 'x') + "\n"), "running 'say' failed");
    const QByteArray word(1000000, 'x');
    EXPECT_EQ(errorOf("=run " + word + "\n"), "running '" + word + "' failed");
    EXPECT_EQ(errorOf("=run a/" + word + "\n"), "running 'a/" + word + "' failed");
}

TEST_F(RunCommand, SaysInTheCaptureWhatTheShellSays)
{
    EXPECT_EQ(errorOf("=run no-such-program\n"), "running 'no-such-program' failed");
    EXPECT_TRUE(read("test1.dir/no-such-program.out").contains("no-such-program: not found"));
}
