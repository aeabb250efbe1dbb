#include "DriverTest.h"

#include <QDir>
#include <QMap>

// The debug level: "-d" raises it for good, "=debug" by one, and each passing run lowers it by one.
// Above 0 the lines are traced and a passing run keeps its directory.

class DebugLevel : public DriverTest
{
};

TEST_F(DebugLevel, OptionDTracesEachRunAndKeepsItsDirectory)
{
    configure({"sim1", "sim2"});
    write("test1", "=one\n\n  # $simProgram\n=echo  a\tb\n=file f\nnot traced\n=echo end");
    write("test2", "=two\n=ignore foo\n=foo\n=bar\n=echo not reached\n");
    write("test3", "=three\n=simprogram *\n=echo $simProgram\n");
    write("test4", "no heading\n");
    write("test5", "=five\n=simprogram other\n");
    write("test6", "=six\n");
    write("test6.dir", "in the way");
    const QByteArray path = work.toUtf8() + "/";
    expectRun({"-d", "test?"}, "test1 test2 test3 test4 test5 test6",
        "==== start test test1\n"
        "==== line=''\n"
        "==== line='  # '\n"
        "==== line='=echo  a\tb'\n"
        "a b\n"
        "==== line='=file f'\n"
        "==== line='=echo end'\n"
        "end\n"
        "==== end test test1\n"
        "test1: one\n"
        "==== start test test2\n"
        "==== line='=ignore foo'\n"
        "==== line='=foo'\n" // an expected failure is not printed
        "==== line='=bar'\n"
        "***errorMsg=Unknown test command '=bar'\n"
        "==== end test test2\n"
        "test2: ***ERROR: Unknown test command '=bar'\n"
        "==== start test test3(sim1)\n"
        "==== line='=echo sim1'\n"
        "sim1\n"
        "==== end test test3(sim1)\n"
        "test3(sim1): three\n"
        "==== start test test3(sim2)\n"
        "==== line='=echo sim2'\n"
        "sim2\n"
        "==== end test test3(sim2)\n"
        "test3(sim2): three\n" +
            path + "test4: ***ERROR: Invalid test file\n" + path +
            "test5: No applicable SimPrograms\n"
            "==== start test test6\n" // this run has no end, because nothing else of it happens
            "test6: ***ERROR: cannot cd to 'test6.dir'\n",
        3, 6);
    EXPECT_EQ(entries(),
        QStringList({"test1", "test1.dir/", "test1.dir/f", "test2", "test2.dir/", "test3",
            "test3(sim1).dir/", "test3(sim2).dir/", "test4", "test5", "test6", "test6.dir"}));
}

TEST_F(DebugLevel, OptionDOutlastsManyPasses)
{
    QStringList names;
    QByteArray printed;
    for (int n = 10; n < 60; ++n) {
        const QByteArray name = "test" + QByteArray::number(n);
        write(name, "=h\n");
        names += {name, name + ".dir/"};
        printed += "==== start test " + name + "\n==== end test " + name + "\n" + name + ": h\n";
    }
    const Outcome outcome = run({"-d", "test*"});
    EXPECT_TRUE(outcome.output.endsWith(printed + summary(0, 50))) << outcome.output.toStdString();
    EXPECT_EQ(entries(), names);
}

TEST_F(DebugLevel, OptionDIsOneOnlyAsTheFirstArgument)
{
    write("test1", "=h\n");
    expectRun({"test1", "-d"}, "test1", "test1: h\n", 0, 1);
    write("-d", "=d\n");
    expectRun({"test1", "-d"}, "test1 -d", "test1: h\n-d: d\n", 0, 2);
    EXPECT_EQ(entries(), QStringList({"-d", "test1"}));
    expectRun({"-d", "-d"}, "-d", "==== start test -d\n==== end test -d\n-d: d\n", 0, 1);
    EXPECT_EQ(entries(), QStringList({"-d", "-d.dir/", "test1"}));
}

TEST_F(DebugLevel, DebugTracesTheLinesAfterIt)
{
    write("test1", "=one\n=echo before\n =debug any words\n=echo after\n# comment\n");
    write("test2", "=two\n=echo untraced\n");
    write("test3", "=three\n=debug\n=echo\n"); // =debug only raises the level from -1 to 0
    expectRun({"test?"}, "test1 test2 test3",
        "before\n"
        "==== line='=echo after'\n"
        "after\n"
        "==== line='# comment'\n"
        "==== end test test1\n"
        "test1: one\n"
        "untraced\n"
        "test2: two\n"
        "\n"
        "test3: three\n",
        0, 3);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test2", "test3"}));
}

TEST_F(DebugLevel, EachPassingRunOfATestLowersIt)
{
    configure({"sim1", "sim2"});
    write("test1", "=one\n=debug\n=foo\n");
    write("test2", "=two\n=simprogram *\n");
    expectRun({"test1", "test2"}, "test1 test2",
        "==== line='=foo'\n"
        "***errorMsg=Unknown test command '=foo'\n"
        "==== end test test1\n"
        "test1: ***ERROR: Unknown test command '=foo'\n"
        "==== start test test2(sim1)\n"
        "==== end test test2(sim1)\n"
        "test2(sim1): two\n"
        "test2(sim2): two\n",
        1, 2);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test2", "test2(sim1).dir/"}));
}

TEST_F(DebugLevel, CarriesOverFromTestToTest)
{
    configure({"sim1", "sim2"});
    const QMap<char, QByteArray> scripts = {
        {'p', "=passes\n"},
        {'f', "=fails\n=foo\n"},
        {'d', "=passes\n=debug\n"},
        {'D', "=passes\n=debug\n=debug\n"},
        {'e', "=fails\n=debug\n=foo\n"},
        {'r', "=passes for two programs\n=simprogram *\n"},
        {'n', "=has no program to run for\n=simprogram x\n"},
        {'h', "has no heading\n"},
        {'c', "=cannot enter its directory\n"},
    };
    // the tests in order; of each, whether it was traced from the start (s), only later (l) or not
    // at all (-); and whether a directory was left behind
    const struct {
        const char *tests;
        const char *traced;
        const char *directories;
    } rows[] = {
        {"p", "-", "-"},
        {"d", "l", "+"},
        {"dp", "l-", "+-"}, // the pass lowers the level that =debug has raised
        {"dd", "ll", "++"},
        {"pd", "--", "--"}, // after a pass, =debug only raises the level to 0
        {"pdd", "---", "---"},
        {"pdD", "--l", "--+"},
        {"ppD", "---", "---"},
        {"pD", "-l", "-+"},
        {"Dpp", "ls-", "++-"},
        {"fd", "-l", "++"}, // a failure does not change the level
        {"ffffd", "----l", "+++++"},
        {"pfd", "---", "-+-"},
        {"ep", "ls", "++"}, // nor does it lower the level that =debug has raised
        {"epp", "ls-", "++-"},
        {"eepp", "lsss", "++++"},
        {"nd", "-l", "-+"}, // without a run the level does not change
        {"hd", "-l", "-+"},
        {"cd", "-l", "-+"},
        {"rD", "--", "--"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.tests);
        QDir(work).removeRecursively();
        QStringList names;
        for (const char *test = row.tests; *test != 0; ++test) {
            names += "test" + QString::number(names.size() + 1);
            write(names.last(), scripts[*test]);
            if (*test == 'c')
                write(names.last() + ".dir", "in the way");
        }
        const QByteArray output = run(names).output;
        QByteArray traced;
        QByteArray directories;
        for (const QString &name : std::as_const(names)) {
            const bool fromStart = output.contains("==== start test " + name.toUtf8());
            const bool atEnd = output.contains("==== end test " + name.toUtf8());
            traced += fromStart ? 's' : atEnd ? 'l' : '-';
            directories += entries().contains(name + ".dir/") ? '+' : '-';
        }
        EXPECT_EQ(traced, row.traced);
        EXPECT_EQ(directories, row.directories);
    }
}
