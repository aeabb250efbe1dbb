// talmo lint: the patterns of "=ignore".

#include "LintFixture.h"

#include <QRegExp>

namespace
{

using LintIgnoreTest = LintFixture;

} // namespace

TEST_F(LintIgnoreTest, EachRealMessageCanBeIgnored)
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

TEST_F(LintIgnoreTest, KnowsWhichPatternsMatchAnythingAndWhichNothing)
{
    const struct {
        QByteArray pattern;
        QByteArray command;
        QStringList found;
    } rows[] = {
        {".", "=run a", {"2:9 wide-ignore"}},
        {"", "=run a", {"2:1 wide-ignore"}},
        {" ", "=run a", {"2:1 wide-ignore"}},
        {"x*", "=exists a", {"2:9 wide-ignore"}},
        {"a|", "=run a", {"2:9 wide-ignore"}},
        {"^(?!x)", "=run a", {"2:9 wide-ignore"}},
        {"[a-zA-Z]", "=run a", {"2:9 wide-ignore"}},
        {"e", "=run a", {}},
        {"failed", "=run a", {}},
        {"faild", "=run a", {"2:9 vain-ignore"}},
        {"^$", "=run a", {"2:9 vain-ignore"}},
        {"^running 'a'$", "=run a", {"2:9 vain-ignore"}},
        {"^running '[a-z]+' failed$", "=run a", {}},
        {"^running '$simProgram' failed", "=run x", {"2:9 vain-ignore", "2:19 stray-simprogram"}},
        {"^running 'sim1' failed", "=run sim2", {"2:9 vain-ignore"}},
        {"a1' and '../b'", "=compare ../a2 ../b", {"2:9 vain-ignore"}},
        {"a2' and '../b' differ at line 77$", "=compare ../a2 ../b", {}},
        {"a[12]' and '../b'", "=compare ../a2 ../b", {}},
        {"a[^2]' and '../b'", "=compare ../a2 ../b", {"2:9 vain-ignore"}},
        {"a\\d' and '../b'", "=compare ../a2 ../b", {}},
        {"a2' and '../line 4' differ at line 12$", "=compare ../a2 ../line", {"2:9 vain-ignore"}},
        {"line 4', '../b'", "=compare ../a ../b", {"2:9 vain-ignore"}},
        {"line [^1]$", "=compare ../a ../b", {}},
        {"line [^1]7$", "=compare ../a ../b", {}},
        {"line [^]1]7$", "=compare ../a ../b", {}},
        {"line [^a\\]]9$", "=compare ../a ../b", {}},
        {"line []3]7$", "=compare ../a ../b", {}},
        {"line [!-~]7$", "=compare ../a ../b", {}},
        {"line [a-z]7$", "=compare ../a ../b", {"2:9 vain-ignore"}},
        {"line \\w7$", "=compare ../a ../b", {}},
        {"line \\D7$", "=compare ../a ../b", {"2:9 vain-ignore"}},
        {"line \\x00377$", "=compare ../a ../b", {}},
        {"line 3{2}$", "=compare ../a ../b", {}},
        {"line 3{2}4{2}5{2}6{2}7{2}8{2}9{2}1{2}2{2}3{2}4{2}5{2}$", "=compare ../a ../b",
            {"2:9 vain-ignore"}},
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
    write("a2", "");
    write("line", "");
    write("b", "");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern.toStdString() + " " + row.command.toStdString());
        EXPECT_EQ(foundIn("=ignore " + row.pattern + '\n' + row.command + '\n'), row.found);
    }
}

TEST_F(LintIgnoreTest, ExpectsNothingOfAProgramWhoseNameIsNotKnown)
{
    configure({});
    const QByteArray script = "=heading\n=simprogram sim[12]*\n=ignore ^running 'sim1' failed$\n"
                              "=run $simProgram\n";
    write("test1", script);
    EXPECT_EQ(lint({"test1"}), "");
    write("test1", QByteArray(script)
                       .replace("'sim1'", "'$simProgram'")
                       .replace("=run $simProgram", "=run sim1"));
    EXPECT_EQ(lint({"test1"}), "");
    const QByteArray vain =
        "test1:3:9: the pattern '^running 'sim1' failed$' matches no message of '=run', such as "
        "\"running 'sim2' failed\" [vain-ignore]\n";
    write("test1", QByteArray(script).replace("sim[12]*", "x* sim2"));
    EXPECT_EQ(lint({"test1"}), vain);
    write("test1", QByteArray(script).replace("$simProgram", "sim2"));
    EXPECT_EQ(lint({"test1"}), vain);
}

TEST_F(LintIgnoreTest, TheTextOfAFileThatMustFailIsNoText)
{
    const struct {
        QByteArray lines;
        QStringList found;
    } rows[] = {
        {"=ignore ^Cannot write\n=file no/a\n", {}},
        {"=ignore ^Cannot write\n=file no/a\n1 2\n3\n=run a\n", {"4:1 unknown-command"}},
        {"=ignore ^Cannot write\n=file no/a\n# 1\n\n=run a\n", {}},
        {"=ignore ^Cannot write\n=file no/a\n1\n=fil a\n",
            {"4:1 unknown-command", "5:1 unknown-command"}},
        {"=ignore ^Cannot write\n=file no/a\n1\n=file b\n2\n3\n=run a\n", {"4:1 unknown-command"}},
        {"=ignore ^Cannot write\n=file no/a\n =fil b\n", {"4:2 unknown-command"}},
        {"=ignore ^Cannot write\n=file /dev/full\n1 2\n", {}},
        {"=ignore failed$\n=file a\n1\n=run a\n", {"2:9 vain-ignore"}},
        {"=ignore .*\n=file a\n1\n", {"2:9 wide-ignore"}},
        {"=file a\n1\n", {}},
    };
    for (const auto &row : rows)
        EXPECT_EQ(foundIn(row.lines), row.found) << row.lines.toStdString();
    write("test1", "=heading\n=ignore ^Cannot write\n=file no/a\n1 2\n");
    EXPECT_EQ(lint({"test1"}),
        "test1:4:1: unknown command '1': this is no text, because the '=file' above is expected "
        "to fail [unknown-command]\n");
    EXPECT_EQ(
        errorOfDriver("=ignore ^Cannot write\n=file no/a\n1 2\n"), "Unknown test command '1'");
}
