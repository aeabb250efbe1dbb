// talmo lint

#include "CompanionTest.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegExp>

#include <sys/stat.h>

namespace
{

/// An example of the manual: a script, the names under which it is written, and what is found.
struct Example {
    QStringList names;
    QByteArray script;
    QByteArray output;
};

/// The examples of a check: the one that shows it, and the one that only looks like it.
using Examples = QList<Example>;

/// The examples in \a text, which begins with the heading of a check.
Examples examplesIn(const QByteArray &text)
{
    Examples examples;
    const QList<QByteArray> lines = text.split('\n');
    for (int index = 0; index < lines.size(); ++index) {
        if (!lines[index].startsWith("```"))
            continue;
        const QByteArray kind = lines[index].mid(3);
        QByteArray block;
        while (++index < lines.size() && lines[index] != "```")
            block += lines[index] + '\n';
        if (kind.startsWith("script")) {
            QStringList names = QString(kind).split(' ').mid(1);
            examples.append({names.isEmpty() ? QStringList("test1") : names, block, ""});
        } else {
            examples.last().output = block;
        }
    }
    return examples;
}

/// The examples of the manual by the names of the checks.
QMap<QString, Examples> examplesOfManual()
{
    QFile file(MANUAL_OF_LINT);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    QMap<QString, Examples> examples;
    const QList<QString> sections = QString(file.readAll()).split("\n### ").mid(1);
    for (const QString &section : sections)
        examples[section.section('\n', 0, 0)] = examplesIn(section.toUtf8());
    return examples;
}

/// \a script with a comment that allows \a check above each command, as far as one can stand there.
QByteArray withAllowance(const QByteArray &script, const QByteArray &check)
{
    QByteArray changed;
    bool isInText = true; // of the first line nothing can stand above
    const QList<QByteArray> lines = script.split('\n').mid(0, script.count('\n'));
    for (const QByteArray &line : lines) {
        const bool isCommand = line.startsWith('=');
        if (!isInText && !line.startsWith("=simprogram"))
            changed += "# talmo: allow " + check + '\n';
        if (isCommand)
            isInText = line.startsWith("=file ");
        changed += line + '\n';
    }
    return changed + (script.count('\n') == 1 ? "# talmo: allow " + check + '\n' : "");
}

class LintTest : public CompanionTest
{
protected:
    LintTest() { configure({"sim1", "sim2"}); }

    /// What `talmo lint` with \a arguments prints. Expects that it says nothing on standard error,
    /// and that the exit status tells whether it found something.
    QByteArray lint(const QStringList &arguments = {})
    {
        const Outcome outcome = run(QStringList("lint") + arguments);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, outcome.output.isEmpty() ? 0 : 1);
        return outcome.output;
    }

    /// The checks that find something in a script with \a lines behind its heading, each with the
    /// line and the column: "2:9 wide-ignore".
    QStringList foundIn(const QByteArray &lines)
    {
        write("test1", "=heading\n" + lines);
        QStringList found;
        const QList<QByteArray> printed = lint({"test1"}).split('\n');
        for (const QByteArray &line : printed) {
            const QString text = QString::fromUtf8(line);
            if (!text.isEmpty())
                found +=
                    text.section(':', 1, 2) + ' ' + text.section('[', -1, -1).section(']', 0, 0);
        }
        return found;
    }

    /// Whether \a check finds something in such a script.
    bool finds(const QString &check, const QByteArray &lines)
    {
        return !foundIn(lines).filter(check).isEmpty();
    }

    void writeExample(const Example &example, const QByteArray &script)
    {
        for (const QString &name : example.names)
            write(name, script);
    }
};

} // namespace

TEST_F(LintTest, EachCheckHasAScriptThatShowsItAndOneThatOnlyLooksLikeIt)
{
    const QMap<QString, Examples> manual = examplesOfManual();
    const QList<QByteArray> rows = run({"lint", "--checks"}).output.split('\n');
    QStringList names;
    for (const QByteArray &row : rows) {
        if (!row.isEmpty())
            names += row.split(' ')[0];
    }
    EXPECT_GT(names.size(), 0);
    EXPECT_EQ(QSet<QString>(names.begin(), names.end()),
        QSet<QString>(manual.keyBegin(), manual.keyEnd()));
    for (const QString &name : std::as_const(names)) {
        SCOPED_TRACE(name.toStdString());
        const Examples examples = manual[name];
        ASSERT_EQ(examples.size(), 2);
        const QList<QByteArray> found = examples[0].output.split('\n');
        EXPECT_NE(examples[0].output, "");
        for (const QByteArray &line : found)
            EXPECT_TRUE(line.isEmpty() || line.endsWith(" [" + name.toUtf8() + "]"));
        for (const Example &example : examples) {
            writeExample(example, example.script);
            EXPECT_EQ(lint(), example.output) << example.script.toStdString();
            for (const QString &file : example.names)
                QFile::remove(work + '/' + file);
        }
    }
}

TEST_F(LintTest, ACommentAllowsEachCheckButThoseThatCannotBe)
{
    const QStringList notAllowed = {"no-heading", "wrong-comment", "unknown-check"};
    const QMap<QString, Examples> manual = examplesOfManual();
    for (auto row = manual.begin(); row != manual.end(); ++row) {
        SCOPED_TRACE(row.key().toStdString());
        const Example &example = row.value().first();
        const QByteArray script = withAllowance(example.script, row.key().toUtf8());
        writeExample(example, script);
        EXPECT_EQ(lint().isEmpty(), !notAllowed.contains(row.key())) << script.toStdString();
        const QByteArray other = row.key() == "wide-ignore" ? "vain-ignore" : "wide-ignore";
        writeExample(example, withAllowance(example.script, other));
        EXPECT_NE(lint(), "");
        for (const QString &file : example.names)
            QFile::remove(work + '/' + file);
    }
}

TEST_F(LintTest, FindsNothingInTheScriptsOfTheDistributionAndOfTheExamples)
{
    for (const QStringList &names :
        {QStringList(), QStringList({"tracker", "tracker-kick", "tracker-mpi"})}) {
        configure(names);
        EXPECT_EQ(lint({"--distribution"}), "");
        EXPECT_EQ(lint({"-C", EXAMPLES "/mpi/suite"}), "");
    }
    const Outcome json = run({"lint", "--distribution", "--format", "json"});
    const QJsonObject document = QJsonDocument::fromJson(json.output).object();
    EXPECT_GE(document["scripts"].toInt(), 23);
    EXPECT_EQ(document["findings"].toArray().size(), 0);
    EXPECT_EQ(json.status, 0);
}

TEST_F(LintTest, PrintsFindingsAsTextAsGccAndAsJson)
{
    write("test1", "=heading\n=platform BEOS\n");
    write("test2", "=heading\n");
    write("sub/other", "=heading\n=run true\n=fill a\n");
    write("unused", "no script\n");
    const QStringList files = {"test1", "test2", "sub/other"};
    const QByteArray text = "test1:2:11: unknown platform 'BEOS' [invalid-platform]\n"
                            "sub/other:3:1: unknown command '=fill' (did you mean =file?) "
                            "[unknown-command]\n";
    EXPECT_EQ(lint(files), text);
    EXPECT_EQ(lint(QStringList({"--format", "text"}) + files), text);
    EXPECT_EQ(lint(QStringList({"--format", "gcc"}) + files),
        QByteArray(text).replace("11: ", "11: warning: ").replace("1: unk", "1: warning: unk"));
    const QJsonObject json =
        QJsonDocument::fromJson(lint(QStringList({"--format", "json"}) + files)).object();
    const QJsonObject findings[] = {
        {{"file", "test1"}, {"line", 2}, {"column", 11}, {"check", "invalid-platform"},
            {"message", "unknown platform 'BEOS'"}},
        {{"file", "sub/other"}, {"line", 3}, {"column", 1}, {"check", "unknown-command"},
            {"message", "unknown command '=fill' (did you mean =file?)"}},
    };
    EXPECT_EQ(json, QJsonObject({{"format", 1}, {"scripts", 3},
                        {"findings", QJsonArray({findings[0], findings[1]})}}));
    EXPECT_EQ(lint(), "test1:2:11: unknown platform 'BEOS' [invalid-platform]\n");
    EXPECT_EQ(lint({"-C", "sub", "other"}),
        "other:3:1: unknown command '=fill' (did you mean =file?) [unknown-command]\n");
}

TEST_F(LintTest, RefusesWhatIsNoCallOrNoReadableFile)
{
    write("test1", "=heading\n=platform BEOS\n");
    write("folder/a", "");
    ASSERT_TRUE(QFile::link("nowhere", work + "/link"));
    ASSERT_EQ(mkfifo(QFile::encodeName(work + "/fifo"), 0600), 0);
    const struct {
        QStringList arguments;
        QByteArray problem;
    } rows[] = {
        {{"--format", "xml", "test1"}, "unknown format 'xml'; there are text, gcc and json"},
        {{"test1", "none"}, "cannot read 'none': No such file or directory"},
        {{"folder", "test1"}, "cannot read 'folder': Is a directory"},
        {{"link"}, "cannot read 'link': No such file or directory"},
        {{"fifo"}, "cannot read 'fifo': It is no regular file"},
        {{"/dev/zero"}, "cannot read '/dev/zero': It is no regular file"},
        {{"test1/"}, "cannot read 'test1/': Not a directory"},
        {{"--distribution", "test1"}, "--distribution takes no SCRIPT"},
        {{"-C", "folder"}, "there are no scripts 'test*' here"},
        {{"-C", "none"}, "cannot go to the directory 'none': No such file or directory"},
        {{"--fix"}, "unknown option 'fix'"},
    };
    for (const auto &row : rows)
        expectWrongCall(QStringList("lint") + row.arguments, "talmo: lint: " + row.problem + '\n');
}

TEST_F(LintTest, SaysWhichScriptsCannotBeRead)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may read everything, and cannot be kept from it here";
    write("test1", "=heading\n=platform BEOS\n");
    write("test2", "=heading\n");
    ASSERT_EQ(chmod(QFile::encodeName(work + "/test2"), 0), 0);
    expectWrongCall(
        {"lint", "test1", "test2"}, "talmo: lint: cannot read 'test2': Permission denied\n");
    expectWrongCall({"lint"}, "talmo: lint: test2: Permission denied\n");
}

TEST_F(LintTest, LooksAtTheScriptsThatTheDriverWouldRun)
{
    write("test1", "=heading\n=fil\n");
    write("TEST2", "=heading\n=fil\n");
    write(
        "test-results.xml", "<?xml version=\"1.0\"?>\n<testsuites name=\"talmo\"></testsuites>\n");
    write("other", "=heading\n=fil\n");
    write(".test", "=heading\n=fil\n");
    write("test.dir/a", "");
    const QByteArray end = ":2:1: unknown command '=fil' (did you mean =file?) [unknown-command]\n";
    const QByteArray printed = lint();
    EXPECT_TRUE(printed.contains("test1" + end));
    EXPECT_TRUE(printed.contains("TEST2" + end));
    EXPECT_FALSE(printed.contains("other"));
    EXPECT_FALSE(printed.contains(".test:"));
}

TEST_F(LintTest, CountsColumnsInCharacters)
{
    EXPECT_EQ(foundIn("=echo \xC3\xA4\n=platform \xC3\xA4 \xF0\x9F\x98\x80 \xFF x\n"),
        QStringList({"3:11 invalid-platform", "3:13 invalid-platform", "3:15 invalid-platform",
            "3:17 invalid-platform"}));
    EXPECT_EQ(foundIn("=platform\t LINUX\t\tBEOS\r\n\r\n=fil\r\n"),
        QStringList({"2:19 invalid-platform", "4:1 unknown-command"}));
    EXPECT_EQ(foundIn("=file a\n\n\n=file b\nx\n  =run a\n=fil"),
        QStringList({"7:3 hidden-command", "8:1 unknown-command"}));
}

TEST_F(LintTest, NothingInAScriptStopsIt)
{
    EXPECT_EQ(foundIn(QByteArray("=run \0a\n=compare \0 b\n=fil\0\n", 26)),
        QStringList({"4:1 unknown-command"}));
    EXPECT_EQ(foundIn("=file \xFF\xFE\n\xFF\n=exists \xFF\xFE\n=compare \xC3( \xFF\xFE\n"),
        QStringList("5:10 never-written"));
    EXPECT_EQ(foundIn("=echo\r=fil\r"), QStringList("2:1 unknown-command"));
    EXPECT_EQ(foundIn("=run 'a\n=run a\\\n=run $(a\n=run `a\n=run ((\n=run ;;\n=run > >\n"),
        QStringList());
    EXPECT_EQ(foundIn("=ignore\n=ignore \n=ignore [\n=ignore a{\n=run a\n").size(), 4);
    EXPECT_EQ(
        foundIn("=ignore " + QByteArray(2000, '(') + "\n=run a\n"), QStringList("2:9 bad-pattern"));
    EXPECT_EQ(foundIn("=compare " + QByteArray(100000, '.') + " b\n").size(), 2);
    EXPECT_EQ(foundIn(QByteArray("=x\n").repeated(5000)).size(), 1000);
    EXPECT_EQ(foundIn(""), QStringList());
    write("test2", "");
    EXPECT_EQ(lint({"test2"}), "test2:1:1: this is no test script: the first line must begin with "
                               "'=' [no-heading]\n");
    write("test2", "=heading\n=simprogram " + QByteArray(300, '*') + "\n=fil\n");
    EXPECT_EQ(lint({"test2"}),
        "test2:2:1: a pattern of programs needs too much time or memory [bad-pattern]\n");
    write("te\x1Bst\n3", "=heading\n=fil\n");
    EXPECT_EQ(lint({"te\x1Bst\n3"}),
        "te\\x1bst\\x0a3:2:1: unknown command '=fil' (did you mean =file?) [unknown-command]\n");
}

TEST_F(LintTest, EachRealMessageCanBeIgnored)
{
    // What the driver really says is expected here, to the letter, and as a part.
    const QByteArray files =
        "=file a\n1 2\n=file b\n1 3\n=file c\n#\n=file d\n1 x\n=file e\n1\n1\n";
    for (const QByteArray command : {"=run false", "=run ./false -x", "=exists none", "=exists a b",
             "=exists", "=file", "=file no/file", "=testbeam", "=testbeam x 0 1 1 0 1 2 0 13 9",
             "=testbeam no/x 0 1 2 0 1 2 0 13 9", "=compare a", "=compare a none",
             "=compare none a 1", "=compare a b", "=compare a e", "=compare a b 0 0",
             "=compare a b 0 x", "=compare a c 0", "=compare a b 0 0 0", "=compare a d 0 0",
             "=compare a e 0", "=meanandsigma", "=platform LINUX BEOS", "=frob", "=run"}) {
        SCOPED_TRACE(command.toStdString());
        write("test1", "=heading\n" + files + command + '\n');
        const QByteArray report = runDriver({"test1"}).output;
        const auto begin = report.indexOf("test1: ***ERROR: ") + 17;
        const QByteArray message = report.mid(begin, report.indexOf('\n', begin) - begin);
        const QByteArray exact = QRegExp::escape(QString(message)).toUtf8();
        ASSERT_GT(begin, 17);
        for (const QByteArray &pattern : {"^" + exact + "$", exact.mid(3, exact.size() / 2)}) {
            SCOPED_TRACE(pattern.toStdString());
            EXPECT_FALSE(finds("ignore", files + "=ignore " + pattern + '\n' + command + '\n'));
        }
        EXPECT_EQ(foundIn(files + "=ignore ^" + exact + "$\n" + command + '\n'), QStringList());
    }
}

TEST_F(LintTest, KnowsWhichPatternsMatchAnythingAndWhichNothing)
{
    const struct {
        QByteArray pattern;
        QByteArray command;
        QStringList found;
    } rows[] = {
        {".", "=run a", {"2:9 wide-ignore"}},
        {"", "=run a", {"2:1 wide-ignore"}},
        {" ", "=run a", {"2:1 wide-ignore"}},
        {"x*", "=exists a", {"2:9 never-written", "2:9 wide-ignore"}},
        {"a|", "=run a", {"2:9 wide-ignore"}},
        {"^(?!x)", "=run a", {"2:9 wide-ignore"}},
        {"[a-zA-Z]", "=run a", {"2:9 wide-ignore"}},
        {"e", "=run a", {}},
        {"failed", "=run a", {}},
        {"faild", "=run a", {"2:9 vain-ignore"}},
        {"^$", "=run a", {"2:9 vain-ignore"}},
        {"^running 'a'$", "=run a", {"2:9 vain-ignore"}},
        {"^running '[a-z]+' failed$", "=run a", {}},
        {"^running '$simProgram' failed", "=run x", {"2:19 stray-simprogram", "2:9 vain-ignore"}},
        {"^running 'sim1' failed", "=run sim2", {"2:9 vain-ignore"}},
        {"a1' and '../b'", "=compare ../a2 ../b", {}}, // which numbers it has does not matter here
        {"UNIMPLEMENTED", "=meanandsigma", {}},
        {"line 4[0-9]$", "=compare ../a ../b", {}},
        {"line [3-5]\\d$", "=compare ../a ../b", {}},
        {"line \\d{3}$", "=compare ../a ../b", {}},
        {"line ..$", "=compare ../a ../b", {}},
        {"line (7|12)$", "=compare ../a ../b", {}},
        {"column 3", "=compare ../a ../b", {"2:9 vain-ignore"}},
        {"column 3", "=compare ../a ../b 1 1 1", {}},
        {"FIFO that nobody", "=file a", {}},
        {"FIFO that nobody", "=run a", {"2:9 vain-ignore"}},
        {"Cannot write", "=file a", {}},
        {"Cannot", "=echo a", {"2:9 vain-ignore"}},
        {"Cannot", "=ignore b\n=run b", {"2:9 vain-ignore"}},
        {"Cannot", "=platform", {"2:9 vain-ignore"}},
        {"Cannot", "=debug", {"2:9 vain-ignore"}},
    };
    write("a", "");
    write("b", "");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern.toStdString() + " " + row.command.toStdString());
        QStringList found = foundIn("=ignore " + row.pattern + '\n' + row.command + '\n');
        QStringList expected = row.found;
        found = found.filter("ignore") + found.filter("stray");
        expected = expected.filter("ignore") + expected.filter("stray");
        EXPECT_EQ(found, expected);
    }
}

TEST_F(LintTest, KnowsWhereTheShellLosesSomething)
{
    const struct {
        QByteArray line;
        QStringList found;
    } rows[] = {
        {"a | b", {"2:8 lost-status"}},
        {"a | b | c", {"2:8 lost-status", "2:12 lost-status"}},
        {"cat x | a | c", {"2:16 lost-status"}},
        {"a;b", {"2:7 lost-status"}},
        {"a b;", {"2:9 lost-status"}},
        {"a &", {"2:8 lost-status"}},
        {"a &>log", {}},
        {"a > log 2>&1", {}},
        {"a >&2", {}},
        {"a 2>&1 | b >c", {"2:13 lost-status"}},
        {"a && b || c", {}},
        {"a \";\" '|' \\; b", {}},
        {"a \"$(b | c)\" `d; e`", {}},
        {"a $(b; c)", {}},
        {"(a; b)", {}},
        {"{ a; b; }", {}},
        {"for a in b; do c; done", {}},
        {"x=1; a $x", {}},
        {"set -e; a; b", {}},
        {"a # b; c", {"2:8 lost-capture"}},
        {"a '#' b#c", {}},
        {"a >|/dev/stdout", {"2:8 emptied-report"}},
        {"a >/dev/fd/1", {"2:8 emptied-report"}},
        {"echo >/dev/stdout | cat", {}},
        {"a </dev/stdin >x", {}},
        {"sh -c 'a >/dev/stdout'", {}},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(foundIn("=run " + row.line + '\n'), row.found) << row.line.toStdString();
    }
}

TEST_F(LintTest, KnowsWhichFilesMayBeThere)
{
    write("beside", "");
    write("folder/beside", "");
    const struct {
        QByteArray lines;
        bool found;
    } rows[] = {
        {"=exists a", true},
        {"=exists a\n=file a", true},
        {"=file a\n=exists a", false},
        {"=file ./b/../a\n=exists a", false},
        {"=file d/a\n=exists d", false},
        {"=file da\n=exists d", true},
        {"=exists .", false},
        {"=exists ..", false},
        {"=exists ../beside", false},
        {"=exists ../folder/beside", false},
        {"=exists ../folder/none", true},
        {"=exists ../none", true},
        {"=exists ../beside/none", true},
        {"=exists ../test2.dir/none", false},
        {"=exists /none", false},
        {"=run sim1\n=exists ../none", false},
        {"=run sim1\n=exists none", false},
        {"=run echo\n=exists none", true},
        {"=run echo\n=exists echo.out", false},
        {"=run /bin/echo\n=exists none", false},
        {"=run echo >a\n=exists a", false},
        {"=run echo >a\n=exists echo.out", true},
        {"=run echo > 'a'\n=exists a", false},
        {"=run echo >$x\n=exists a", false},
        {"=run echo $(sim1)\n=exists a", false},
        {"=run echo 2>err\n=exists err", false},
        {"=run echo; sim1\n=exists a", false},
        {"=run echo | tee a\n=exists a", false},
        {"=run sort a\n=exists b", true},
        {"=run sort -o b a\n=exists b", false},
        {"=run (sim1)\n=exists b", false},
        {"=testbeam a 0 1 2 0 1 2 0 13 9\n=exists a", false},
        {"=platform LINUX\n=file a\n=platform\n=exists a", false},
        {"=ignore does not exist\n=exists a", false},
        {"=ignore Cannot read\n=compare a b", false},
        {"=ignore differ\n=compare a b", true},
        {"=file a\n=ignore ^Cannot read file 'b'$\n=compare a b", false},
        {"=file a\n=ignore ^Cannot read file 'a'$\n=compare a b", true},
    };
    for (const auto &row : rows)
        EXPECT_EQ(finds("never-written", row.lines + '\n'), row.found) << row.lines.toStdString();
}

TEST_F(LintTest, KnowsWhichTolerancesLetEverythingPass)
{
    const QByteArray reference = "=run sim1\n=file ref\n# x y z\n0.5 -3 0\n-1 2 1e-12\n";
    const struct {
        QByteArray lines;
        bool found;
    } rows[] = {
        {"=compare sim1.out ref 100", true},
        {"=compare ref sim1.out 100", true},
        {"=compare sim1.out ref 99.9", false},
        {"=compare sim1.out ref 1 300", true},
        {"=compare sim1.out ref 1 299", false},
        {"=compare sim1.out ref 1 1 1000", false},   // beside zeros
        {"=compare sim1.out ref 1 1 1 1000", false}, // there is no such column
        {"=compare sim1.out ref -1000", false},
        {"=compare sim1.out other 1000", false},
        {"=ignore differ on\n=compare sim1.out ref 1000", false},
        {"=file ref\n1000\n=compare sim1.out ref 1000", false}, // which is it?
        {"=file two\n1000\n=compare two ref 1000", false},      // not beside both
        {"=file two\n1\n=compare two ref 1000", true},
        {"=file two\n# 1\n=compare sim1.out two 1000", false},
        {"=file two\n1\nx\n=compare sim1.out two 1000", false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(finds("huge-tolerance", reference + row.lines + '\n'), row.found)
            << row.lines.toStdString();
}

TEST_F(LintTest, ACommentHoldsForTheNextCommandOnly)
{
    const QByteArray wide = "=ignore .*\n=run a\n";
    const QByteArray allowed = "# talmo: allow wide-ignore\n";
    EXPECT_EQ(foundIn(wide + allowed + "\n# why\n" + wide), QStringList("2:9 wide-ignore"));
    EXPECT_EQ(foundIn(allowed + wide + wide), QStringList("5:9 wide-ignore"));
    EXPECT_EQ(foundIn("#talmo:allow vain-ignore wide-ignore\n" + wide), QStringList());
    EXPECT_EQ(foundIn("=file a\n" + allowed + wide), QStringList("4:9 wide-ignore"));
    EXPECT_EQ(foundIn(allowed + "=file a\n" + wide), QStringList());
    EXPECT_EQ(foundIn(allowed + "=run a\n"), QStringList()); // it may find nothing
    EXPECT_EQ(foundIn("# talmo: allow Wide-Ignore\n" + wide),
        QStringList({"2:16 unknown-check", "3:9 wide-ignore"}));
    EXPECT_EQ(
        foundIn("=run a\n# talmo: allow x unknown-check\n"), QStringList("3:16 unknown-check"));
    EXPECT_EQ(foundIn("=simprogram none\n# talmo: allow missing-program\n=run $simProgram\n"),
        QStringList());
    EXPECT_EQ(foundIn("=simprogram none\n=run $simProgram\n# talmo: allow missing-program\n"),
        QStringList("2:13 missing-program"));
}

TEST_F(LintTest, ChecksAgainstTheProgramsThatAreGiven)
{
    addProgram("mine", "");
    write(
        "test1", "=heading\n=simprogram mine sim1\n=run $simProgram\n=compare mine.out sim1.out\n");
    EXPECT_EQ(lint(), "test1:2:13: no configured program matches 'mine' [missing-program]\n");
    EXPECT_EQ(lint({"--program", "mine"}),
        "test1:2:18: no configured program matches 'sim1' [missing-program]\n");
    configure({});
    EXPECT_EQ(lint(), "");
    expectWrongCall({"lint", "--program", "no/such"},
        run({"list", "--program", "no/such"}).errors.replace("talmo: list", "talmo: lint"));
}

TEST_F(LintTest, ChangesNothing)
{
    write("test1", "=heading\n=run touch ../touched\n=file ../written\n=debug\n=echo printed\n");
    const QStringList before = everything();
    EXPECT_EQ(lint(), "");
    EXPECT_EQ(everything(), before);
}
