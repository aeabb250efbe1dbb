#include "DriverTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

// What main does with its arguments: which scripts run, from where, in which order, and what is
// printed before and after. The debug level has a file of its own.

namespace
{

/// What a passing run of each of \a names prints, all with the heading "=h".
QByteArray passes(const QStringList &names)
{
    QByteArray printed;
    for (const QString &name : names)
        printed += name.toUtf8() + ": h\n";
    return printed;
}

} // namespace

class CommandLine : public DriverTest
{
protected:
    void writeScripts(const QStringList &names)
    {
        for (const QString &name : names)
            write(name, "=h\n");
    }
};

TEST_F(CommandLine, SaysWhereWhatAndHowManyPassedAndEndsWithZero)
{
    configure({"sim1", "sim2"});
    writeScripts({"test1", "test2"});
    const Outcome outcome = run({"test1", "test2"});
    const QByteArray expected = "Preferences loaded from '" + settings.toUtf8() +
                                "'\n"
                                "talmo_test: executing tests in '" +
                                work.toUtf8() +
                                "'\n"
                                "Configured SimPrograms: sim1 sim2\n"
                                "talmo_test: tests to run from '" +
                                work.toUtf8() +
                                "':\n"
                                "test1 test2\n"
                                "test1: h\n"
                                "test2: h\n"
                                "All tests passed (2 total)\n";
    EXPECT_EQ(outcome.output, expected);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(entries(), QStringList({"test1", "test2"}));
}

TEST_F(CommandLine, CountsFailuresNamesTheDirectoryAndEndsWithTwo)
{
    write("test1", "=fails\n=foo\n");
    write("test2", "=passes\n");
    write("test3", "no heading\n");
    const Outcome outcome = run({"test1", "test2", "test3"});
    const QByteArray expected =
        preamble("test1 test2 test3") +
        "test1: ***ERROR: Unknown test command '=foo'\n"
        "test2: passes\n" +
        work.toUtf8() +
        "/test3: ***ERROR: Invalid test file\n"
        "***talmo_test: 2 tests failed out of 3 tests\n"
        "   The current directory is \"" +
        work.toUtf8() +
        "\".\n"
        "   For each failing test a directory has been created containing the output(s).\n";
    EXPECT_EQ(outcome.output, expected);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test2", "test3"}));
}

TEST_F(CommandLine, NothingGoesToStandardErrorUnderAnyLocale)
{
    write("test1", "=passes\n");
    write("test2", "=fails\n=foo\n");
    const QMap<QString, QString> locales[] = {
        {},
        {{"LANG", "C"}},
        {{"LC_ALL", "C"}},
        {{"LC_ALL", "POSIX"}},
        {{"LANG", "no_SUCH.locale"}},
        {{"LC_ALL", "C.UTF-8"}},
    };
    environment.remove("LC_ALL");
    environment["QT_FORCE_STDERR_LOGGING"] = "1"; // Qt prints its warnings as in a terminal
    const QMap<QString, QString> scrubbed = environment;
    for (const auto &locale : locales) {
        SCOPED_TRACE(QStringList(locale.values()).join(' ').toStdString());
        environment = scrubbed;
        environment.insert(locale);
        expectRun({"test1", "test2"}, "test1 test2",
            "test1: passes\ntest2: ***ERROR: Unknown test command '=foo'\n", 1, 2);
    }
}

TEST_F(CommandLine, StandardInputIsLeftUnread)
{
    writeScripts({"test1"});
    addProgram("feed", "echo left | { '" + driver.toUtf8() + "' \"$@\"; cat; }\n");
    driver = QDir(programs).filePath("feed");
    const QByteArray expected = preamble("test1") + passes({"test1"}) + summary(0, 1) + "left\n";
    EXPECT_EQ(run({"test1"}).output, expected);
}

TEST_F(CommandLine, UnknownOptionsAreFilePatterns)
{
    for (const char *option : {"--help", "-h", "-D", "-dd", "--d", "-d=1", " -d", "-d "}) {
        SCOPED_TRACE(option);
        writeScripts({option});
        expectRun({option}, option, passes({option}), 0, 1);
        EXPECT_TRUE(QFile::remove(QDir(work).filePath(option)));
    }
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(CommandLine, AByteOrderMarkMakesAnOptionAPattern)
{
    const QString marked = QChar(0xFEFF) + QStringLiteral("-d");
    writeScripts({"-d", marked}); // there is a script, whether or not the mark is dropped
    const QByteArray output = run({marked}).output;
    EXPECT_TRUE(output.endsWith("-d: h\n" + summary(0, 1))) << output.toStdString();
    EXPECT_FALSE(output.contains("====")) << output.toStdString();
    EXPECT_EQ(entries(), QStringList({"-d", marked}));
}

TEST_F(CommandLine, TheUsageIsInTheProgram)
{
    // Nothing prints the usage, because what looks like an option is a pattern.
    const QByteArray usage =
        "USAGE: talmo_test [-d] [test file(s)]\n"
        "If no test files are given, test* is used from the distribution.\n"
        "-d sets debug mode for all tests.\n"
        "Each file testX is run in a directory testX.dir, which is removed if the test succeeds.\n";
    ASSERT_EQ(usage.size(), 225);
    EXPECT_EQ(read(driver).count(usage), 1);
}

TEST_F(CommandLine, NoArgumentIsSetAside)
{
    writeScripts({"test1", "-qmljsdebugger=x"});
    const QStringList names = {"-qmljsdebugger=x", "test1"};
    expectRun(names, "-qmljsdebugger=x test1", passes(names), 0, 2);
}

class TestSelection : public CommandLine
{
};

TEST_F(TestSelection, EachArgumentIsOneFilterAndTheirOrderIsKept)
{
    writeScripts({"test1", "test2", "test10", "Test3", "a b", "a;b", "x+y", "a", "b"});
    const struct {
        QStringList arguments;
        QStringList names;
    } rows[] = {
        {{"test1"}, {"test1"}},
        {{"test2", "test1"}, {"test2", "test1"}},
        {{"test?"}, {"test1", "test2", "Test3"}},
        {{"test1*"}, {"test1", "test10"}},
        {{"*3"}, {"Test3"}},
        {{"t*t*"}, {"test1", "test10", "test2", "Test3"}},
        {{"test[13]"}, {"test1", "Test3"}},
        {{"test[0-9][0-9]"}, {"test10"}},
        {{"TEST1", "test3"}, {"test1", "Test3"}}, // a filter ignores case
        {{"*[sx]*"}, {"test1", "test10", "test2", "Test3", "x+y"}},
        {{"x+y"}, {"x+y"}}, // only wildcards are special
        {{"a b"}, {"a b"}}, // a blank and a semicolon separate nothing
        {{"a;b", "a?b"}, {"a;b", "a b", "a;b"}},
        {{"*"}, {"a", "a b", "a;b", "b", "test1", "test10", "test2", "Test3", "x+y"}},
        {{"test1", "test1"}, {"test1", "test1"}}, // it runs twice and counts twice
        {{"test10", "test1?"}, {"test10", "test10"}},
        {{"nothing", "test1", "no*"}, {"test1"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.arguments.join(", ").toStdString());
        expectRun(row.arguments, row.names.join(' ').toUtf8(), passes(row.names), 0,
            static_cast<int>(row.names.size()));
    }
}

TEST_F(TestSelection, NamesAreSortedWithoutRegardToCase)
{
    writeScripts({"testb", "testA", "testD", "testc", "TESTE", "testa2"});
    const QStringList sorted = {"testA", "testa2", "testb", "testc", "testD", "TESTE"};
    expectRun({"test*"}, sorted.join(' ').toUtf8(), passes(sorted), 0, 6);
}

TEST_F(TestSelection, LinksToFilesAreTaken)
{
    write("elsewhere/script", "=h\n");
    ASSERT_TRUE(QFile::link("elsewhere/script", QDir(work).filePath("test1")));
    expectRun({"test*"}, "test1", passes({"test1"}), 0, 1);
}

TEST_F(TestSelection, AFileThatCannotBeReadIsLeftOut)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root reads everything, and cannot be kept from it here";
    writeScripts({"test1", "test2"});
    ASSERT_EQ(chmod(qPrintable(QDir(work).filePath("test1")), 0), 0);
    expectRun({"test*"}, "test2", passes({"test2"}), 0, 1);
}

TEST_F(TestSelection, NamesAreTakenAsTheyStand)
{
    const QStringList names = {"test%1", "test%s%n", "test'\"$HOME", "test\\", "testn\nl"};
    writeScripts(names);
    for (const QString &name : names) {
        SCOPED_TRACE(name.toStdString());
        QString filter = name;
        filter.replace('\\', '?'); // in a filter, a backslash has a meaning of its own
        expectRun({filter}, name.toUtf8(), passes({name}), 0, 1);
    }
    writeScripts({QString::fromUtf8("test-Größe")});
    expectRun({QString::fromUtf8("*gr\u00d6\u00dfe")}, "test-Gr\u00f6\u00dfe",
        "test-Gr\u00f6\u00dfe: h\n", 0, 1);
}

TEST_F(TestSelection, ANameMayBeginWithAColon)
{
    writeScripts({work + "/:test"});
    expectRun({"*test"}, ":test", passes({":test"}), 0, 1);
    write(work + "/:x", "no heading\n");
    expectRun({":x"}, ":x", work.toUtf8() + "/:x: ***ERROR: Invalid test file\n", 1, 1);
}

// A distribution of its own: the driver in bin, the scripts in test beside it.
class Fallback : public CommandLine
{
protected:
    Fallback()
        : root(QFileInfo(folder.path()).canonicalFilePath() + "/dist")
    {
        QDir().mkpath(root + "/bin");
        EXPECT_TRUE(QFile::copy(driver, root + "/bin/talmo_test"));
        driver = root + "/bin/talmo_test";
    }

    void expectFallback(const QStringList &arguments, const QString &from, const QStringList &names)
    {
        const Outcome outcome = run(arguments);
        QByteArray before = preamble(names.join(' ').toUtf8());
        before.replace("run from '" + work.toUtf8(), "run from '" + from.toUtf8());
        EXPECT_EQ(
            outcome.output, before + passes(names) + summary(0, static_cast<int>(names.size())));
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.status, 0);
    }

    QString root;
};

TEST_F(Fallback, DistributionServesWithoutArguments)
{
    writeScripts({"test1"}); // not asked for
    for (const char *name : {"test10", "Test3", "test2", "other", ".test4", "testdir/test5"})
        write(root + "/test/" + name, "=h\n");
    expectFallback({}, root + "/test", {"test10", "test2", "Test3"});
    EXPECT_EQ(entries(), QStringList({"test1"}));
}

TEST_F(Fallback, DistributionTestsRunInTheCurrentDirectory)
{
    write(root + "/test/test1", "=h\n=run touch ../made\n=foo\n");
    EXPECT_EQ(run({}).status, 2);
    EXPECT_EQ(entries(), QStringList({"made", "test1.dir/", "test1.dir/touch.out"}));
    EXPECT_EQ(QDir(root + "/test").entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
        QStringList({"test1"}));
}

TEST_F(Fallback, DistributionServesWhenNoArgumentMatches)
{
    writeScripts({"test1", "test2", ".test3", "sub/test4"});
    write(root + "/test/test9", "=h\n");
    const QDir dir(work);
    ASSERT_TRUE(QFile::link("nowhere", dir.filePath("testlost")));
    ASSERT_TRUE(QFile::link("sub", dir.filePath("testsub")));
    ASSERT_TRUE(dir.mkdir("testdir"));
    ASSERT_EQ(mkfifo(qPrintable(dir.filePath("testfifo")), 0600), 0);
    const QStringList rows[] = {
        {"nothing"},
        {"nothing", "no*"},
        {""},
        {"est1"},
        {"test"},
        {"test."}, // a wildcard, not a regular expression
        {"test1 test2"},
        {"test1;test2"},
        {"./test1"}, // a path matches nothing, even the path of a script
        {work + "/test1"},
        {"../work/test1"},
        {"sub/test4"},
        {"*/test4"},
        {"test4"},
        {".test3"}, // hidden
        {".*"},
        {"testdir"}, // these are directories, or links to directories
        {"testsub"},
        {"testlost"},
        {"testfifo"},
    };
    for (const QStringList &arguments : rows) {
        SCOPED_TRACE(arguments.join(", ").toStdString());
        expectFallback(arguments, root + "/test", {"test9"});
    }
}

TEST_F(Fallback, WithoutATestDirectoryTheLevelAboveServes)
{
    write(root + "/test2", "=h\n");
    write(root + "/other", "=h\n");
    expectFallback({}, root, {"test2"});
    write(root + "/test", "=h\n"); // a file called "test" is no directory
    expectFallback({}, root, {"test", "test2"});
}

TEST_F(Fallback, AnEmptyRunIsASuccess)
{
    expectFallback({}, root, {});
    QDir().mkpath(root + "/test");
    expectFallback({"--help"}, root + "/test", {});
    EXPECT_EQ(entries(), QStringList());
}

TEST_F(Fallback, DistributionIsFoundFromTheExecutableNotFromALinkToIt)
{
    write(root + "/test/test1", "=h\n");
    const QString link = QDir(work).filePath("link");
    ASSERT_TRUE(QFile::link(driver, link));
    driver = link;
    expectFallback({}, root + "/test", {"test1"});
}

TEST_F(Fallback, DistributionServesOptionD)
{
    write(root + "/test/test1", "=h\n");
    writeScripts({"test2"});
    QByteArray expected = preamble("test1") + "==== start test test1\n==== end test test1\n" +
                          passes({"test1"}) + summary(0, 1);
    expected.replace("run from '" + work.toUtf8(), "run from '" + root.toUtf8() + "/test");
    EXPECT_EQ(run({"-d"}).output, expected);
    EXPECT_EQ(entries(), QStringList({"test1.dir/", "test2"}));
}

TEST_F(CommandLine, TheDriverCarriesTheUnitsAndFillsTheirTableAtStart)
{
    preload(UNITS_AT_START);
    write("test1", "=starts no program\n");
    const Outcome outcome = run({"test1"});
    EXPECT_EQ(outcome.errors, "70 units of 18 kinds\n");
    EXPECT_EQ(outcome.status, 0);
}
