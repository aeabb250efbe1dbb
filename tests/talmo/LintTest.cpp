// talmo lint: its call, what it prints, and scripts that are hard to read.

#include "LintFixture.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using LintTest = LintFixture;

} // namespace

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
    const QByteArray results = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<testsuites name=\"talmo\"></testsuites>\n";
    for (const char *const name : {"test1", "TEST2", "other", ".test3", "test.dir/a", "sub/test4"})
        write(name, "=heading\n=fil\n");
    write("test-results.xml", results);
    write("testimony", results.mid(1)); // no results
    ASSERT_TRUE(QFile::link("other", work + "/testlink"));
    ASSERT_TRUE(QFile::link("sub", work + "/testfolder"));
    const QByteArray end = ":2:1: unknown command '=fil' (did you mean =file?) [unknown-command]\n";
    const QByteArray noScript =
        ":1:1: this is no test script: the first line must begin with '=' [no-heading]\n";
    EXPECT_EQ(lint(), "test1" + end + "TEST2" + end + "testimony" + noScript + "testlink" + end);
    EXPECT_EQ(lint({"test-results.xml"}), "test-results.xml" + noScript); // if it is named
    const QByteArray ran = runDriver({"test*"}).output;
    for (const char *const name : {"test1", "TEST2", "testimony", "testlink", "test-results.xml"})
        EXPECT_TRUE(ran.contains(QByteArray(name) + ": ***ERROR: ")) << name;
    EXPECT_EQ(ran.count(": ***ERROR: "), 5);
}

TEST_F(LintTest, AFileWhoseNameIsNoTextDoesNotKeepItFromLookingAtTheOthers)
{
    write("test1", "=heading\n=platform BEOS\n");
    const QByteArray name = QFile::encodeName(work) + "/test\xFF";
    const int file = ::open(name.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
    if (file < 0)
        GTEST_SKIP() << "this file system has no such names";
    ::close(file);
    const QByteArray sentence = "talmo: lint: test\xEF\xBF\xBD: its name is no valid text\n";
    const Outcome both = run({"lint"});
    EXPECT_EQ(both.output, "test1:2:11: unknown platform 'BEOS' [invalid-platform]\n");
    EXPECT_EQ(both.errors, sentence);
    EXPECT_EQ(both.status, 1);
    ASSERT_TRUE(QFile::remove(work + "/test1"));
    const Outcome alone = run({"lint"});
    EXPECT_EQ(alone.output, "");
    EXPECT_EQ(alone.errors, sentence);
    EXPECT_EQ(alone.status, 1);
    ::unlink(name.constData()); // which QTemporaryDir could not do
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
    EXPECT_EQ(foundIn("=file a\n\t=run b\n"), QStringList("3:2 hidden-command"));
    EXPECT_EQ(foundIn("=file a\n\xEF\xBB\xBF=run b\n"), QStringList("3:2 hidden-command"));
    EXPECT_EQ(foundIn("=platform LINUX\n =platform\n"), QStringList("3:2 hidden-command"));
    EXPECT_EQ(foundIn(" =platform LINUX\n=platform\n =platform\n"), QStringList());
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
    write("te\x1Bst\x7F\n3", "=heading\n=fil\n");
    EXPECT_EQ(lint({"te\x1Bst\x7F\n3"}), "te\\x1bst\\x7f\\x0a3:2:1: unknown command '=fil' (did "
                                         "you mean =file?) [unknown-command]\n");
}

TEST_F(LintTest, ChecksAgainstTheProgramsThatAreGiven)
{
    addProgram("mine", "");
    write(
        "test1", "=heading\n=simprogram mine sim1\n=run $simProgram\n=compare mine.out sim1.out\n");
    EXPECT_EQ(lint(), "test1:2:13: no configured program matches 'mine' [missing-program]\n");
    EXPECT_EQ(lint({"--program", "mine"}),
        "test1:2:18: no configured program matches 'sim1' [missing-program]\n");
    write("test2", "=heading\n=simprogram\n=run $simProgram\n");
    const QByteArray none = "test2:2:1: '=simprogram' names no program, so the script never runs "
                            "[missing-program]\n";
    EXPECT_EQ(lint({"test2"}), none);
    configure({});
    EXPECT_EQ(lint(), none);
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
