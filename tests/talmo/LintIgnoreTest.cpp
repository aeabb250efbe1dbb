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
