#include "Suite.h"
#include "Printing.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// The name of a file at which the system lets nobody look.
QByteArray hiddenFile;

} // namespace

extern "C" int lstat(const char *path, struct stat *status) noexcept
{
    static auto *const next =
        reinterpret_cast<int (*)(const char *, struct stat *)>(dlsym(RTLD_NEXT, "lstat64"));
    if (hiddenFile.isNull() || !QByteArray(path).endsWith('/' + hiddenFile))
        return next(path, status);
    errno = EIO;
    return -1;
}

namespace
{

/// A folder of scripts, which is the working directory of the test.
class SuiteTest : public testing::Test
{
protected:
    SuiteTest()
        : before(QDir::currentPath())
        , path(QDir(folder.path()).canonicalPath())
    {
        QDir::setCurrent(path);
    }
    ~SuiteTest() override { QDir::setCurrent(before); }

    void write(const QByteArray &name, const QByteArray &content)
    {
        QFile file(QFile::decodeName(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << name.toStdString();
        ASSERT_EQ(file.write(content), content.size());
    }

    Suite find(const QStringList &programs = {})
    {
        problems.clear();
        return Suite::find(selection, programs, problems);
    }

    /// The names of the runs; those of skipped scripts in brackets.
    QStringList runs(const QStringList &programs = {})
    {
        QStringList names;
        const Suite suite = find(programs);
        for (const PlannedRun &run : suite.runs)
            names += run.isSkipped ? '[' + run.name + ']' : run.name;
        EXPECT_EQ(problems, QStringList());
        return names;
    }

    /// What is wrong with the suite; in the place of the path of the folder stands FOLDER.
    QStringList problemsWith(const QStringList &programs = {})
    {
        find(programs);
        problems.replaceInStrings(path, "FOLDER");
        return problems;
    }

    QTemporaryDir folder;
    QString before;
    QString path; ///< of the folder
    Selection selection;
    QStringList problems;
};

const QByteArray report = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<testsuites name=\"talmo\" tests=\"0\">\n</testsuites>\n";

} // namespace

TEST_F(SuiteTest, KnowsItsScriptsAndItsRuns)
{
    write("test2", "=Two programs \n=simprogram sim*\n# talmo: processors 2\n=run $simProgram\n");
    write("test1", "=One=\n=echo\n");
    write("test3", "=None\n=simprogram other\n");
    write("else", "=Not selected\n");
    const Suite suite = find({"sim2", "sim1"});
    EXPECT_EQ(problems, QStringList());
    EXPECT_EQ(suite.work, QFile::encodeName(path));
    EXPECT_EQ(suite.folder, suite.work);

    ASSERT_EQ(suite.scripts.size(), 3U);
    const SuiteScript &second = suite.scripts[1];
    EXPECT_EQ(second.name, "test2");
    EXPECT_EQ(second.path, QFile::encodeName(path) + "/test2");
    EXPECT_EQ(second.heading, "Two programs ");
    EXPECT_EQ(second.needs.processors, 2);
    EXPECT_TRUE(second.startsPrograms);
    EXPECT_EQ(suite.scripts[0].heading, "One=");
    EXPECT_FALSE(suite.scripts[0].startsPrograms);

    const struct {
        const char *name;
        size_t script;
        const char *program;
        bool isSkipped;
        const char *directory;
    } rows[] = {
        {"test1", 0, "", false, "test1.dir"},
        {"test2(sim2)", 1, "sim2", false, "test2(sim2).dir"},
        {"test2(sim1)", 1, "sim1", false, "test2(sim1).dir"},
        {"test3", 2, "", true, "test3.dir"},
    };
    ASSERT_EQ(suite.runs.size(), 4U);
    for (size_t index = 0; index < 4; ++index) {
        SCOPED_TRACE(rows[index].name);
        EXPECT_EQ(suite.runs[index].name, rows[index].name);
        EXPECT_EQ(suite.runs[index].script, rows[index].script);
        EXPECT_EQ(suite.runs[index].program, rows[index].program);
        EXPECT_EQ(suite.runs[index].isSkipped, rows[index].isSkipped);
        EXPECT_EQ(suite.runs[index].directory(), rows[index].directory);
    }
    EXPECT_EQ(skipReason(), "No applicable SimPrograms");
}

TEST_F(SuiteTest, MakesEachRunOnce)
{
    for (const char *const name : {"test1", "test2", "Test3", "other"})
        write(name, "=heading\n=simprogram a* *b *\n");
    EXPECT_EQ(
        runs({"b", "ab", "b", "a"}).mid(0, 3), QStringList({"test1(ab)", "test1(a)", "test1(b)"}));
    selection.filters = QStringList({"TEST3", "test*", "*", "test1"});
    EXPECT_EQ(runs({"a"}), QStringList({"Test3(a)", "test1(a)", "test2(a)", "other(a)"}));
}

TEST_F(SuiteTest, KnowsWhichScriptsStartPrograms)
{
    const struct {
        const char *lines;
        bool startsPrograms;
    } rows[] = {
        {"", false},
        {"=run", true},
        {"=run true", true},
        {"=run\ttrue", true},
        {" \t=run true\n", true},
        {"=run\xC2\xA0true\n", true}, // a blank for the driver, too
        {"=echo\n=run true\n", true},
        {"=platform WINDOWS\n=run true\n", true},
        {"=running\n", false},
        {"=echo =run\n", false},
        {"#=run\n", false},
        {"# =run true\n", false},
        {"=file f\n =run true\n", false},
        {"=file f\n$simProgram\n", false},
        {"=file f\n=run true\n", true},
        {"$simProgram true\n", true},
        {"=r$simProgramun true\n", true},
        {"=echo $simProgram\n", false},
        {"#$simProgram\n", false},
        {"=simprogram x\n=run true", true},
    };
    for (const auto &row : rows) {
        for (const char *const heading : {"=heading\n", "=run $simProgram\n"}) {
            SCOPED_TRACE(heading + std::string(row.lines));
            write("test1", QByteArray(heading) + row.lines);
            const Suite suite = find();
            ASSERT_EQ(suite.scripts.size(), 1U);
            EXPECT_EQ(suite.scripts[0].startsPrograms, row.startsPrograms);
        }
    }
}

TEST_F(SuiteTest, PicksRunsByTheirExactNames)
{
    write("test1", "=heading\n=simprogram *\n");
    write("test2", "=heading\n");
    write("test3", "=heading\n=simprogram none\n");
    write("Test2", "=heading\n");
    selection.runs = QStringList({"test3", "test2", "test1(b)", "test2"});
    EXPECT_EQ(runs({"a", "b"}), QStringList({"test1(b)", "test2", "[test3]"}));
    selection.runs = QStringList({"test2", "test1", "TEST2", "test1(c)", "test*", ""});
    EXPECT_EQ(problemsWith({"a", "b"}),
        QStringList({"there is no run 'test1' in 'FOLDER'", "there is no run 'TEST2' in 'FOLDER'",
            "there is no run 'test1(c)' in 'FOLDER'", "there is no run 'test*' in 'FOLDER'",
            "there is no run '' in 'FOLDER'"}));
    selection.filters = QStringList("test1");
    selection.runs = QStringList("test2");
    EXPECT_EQ(problemsWith({"a"}), QStringList("there is no run 'test2' in 'FOLDER'"));
}

TEST_F(SuiteTest, PicksRunsByTheirLabels)
{
    write("test1", "=heading\n");
    write("test2", "=heading\n# talmo: labels slow\n");
    write("test3", "=heading\n# talmo: labels mpi slow\n");
    write("test4", "=heading\n# talmo: labels mpi\n");
    write("test5", "=heading\n=simprogram none\n# talmo: labels skipped mpi\n");
    write("other", "=heading\n# talmo: labels other\n");
    const struct {
        QStringList labels;
        QStringList excluded;
        QStringList runs;
    } rows[] = {
        {{}, {}, {"test1", "test2", "test3", "test4", "[test5]"}},
        {{"slow"}, {}, {"test2", "test3"}},
        {{"slow", "mpi"}, {}, {"test2", "test3", "test4", "[test5]"}},
        {{}, {"slow"}, {"test1", "test4", "[test5]"}},
        {{}, {"slow", "mpi"}, {"test1"}},
        {{"mpi"}, {"slow"}, {"test4", "[test5]"}},
        {{"skipped"}, {}, {"[test5]"}},
        {{}, {"nobody has it"}, {"test1", "test2", "test3", "test4", "[test5]"}},
    };
    for (const auto &row : rows) {
        selection.labels = row.labels;
        selection.excludedLabels = row.excluded;
        EXPECT_EQ(runs(), row.runs);
    }
    selection.labels = QStringList({"slow", "Slow", "other"});
    EXPECT_EQ(problemsWith(), QStringList({"no script in 'FOLDER' has the label 'Slow'",
                                  "no script in 'FOLDER' has the label 'other'"}));
    selection.labels = QStringList("slow");
    selection.runs = QStringList("test1");
    EXPECT_EQ(problemsWith(), QStringList("the labels leave no run in 'FOLDER'"));
    selection.runs.clear();
    selection.excludedLabels = QStringList("slow");
    EXPECT_EQ(problemsWith(), QStringList("the labels leave no run in 'FOLDER'"));
}

TEST_F(SuiteTest, AFilterThatMatchesNothingIsAProblem)
{
    EXPECT_EQ(problemsWith(), QStringList("the filter 'test*' matches nothing in 'FOLDER'"));
    write("test1", "=heading\n");
    write(".test2", "=heading\n");
    ASSERT_TRUE(QDir().mkdir("test1.dir"));
    EXPECT_EQ(runs(), QStringList("test1"));
    selection.filters = QStringList({"test2", "test1", "[", "FOLDER/test1", "", "test1.dir", "*2"});
    EXPECT_EQ(problemsWith(),
        QStringList({"the filter 'test2' matches nothing in 'FOLDER'",
            "the filter '[' matches nothing in 'FOLDER'",
            "the filter 'FOLDER/test1' matches nothing in 'FOLDER', because of its '/'",
            "the filter '' matches nothing in 'FOLDER'",
            "the filter 'test1.dir' matches nothing in 'FOLDER'",
            "the filter '*2' matches nothing in 'FOLDER'"}));
}

TEST_F(SuiteTest, AllProblemsWithScriptsAreTold)
{
    write("test1", "=heading\n");
    write("test2", "");
    write("test3", "heading\n");
    write("test4", "=heading\n=simprogram ok " + QByteArray(200, '*') + "1\n");
    write("test5", "=heading\n# talmo: labels\n=echo\n# talmo: nonsense\n");
    write("te\nst", "=heading\n");
    write("te\x7Fst", "=heading\n");
    write("te\xC2\x80st", "=heading\n");     // U+0080
    write("te\xEF\xBF\xBEst", "=heading\n"); // U+FFFE
    write("te\xEF\xBF\xBFst", "=heading\n"); // U+FFFF
    ASSERT_EQ(symlink("nowhere", "test6"), 0);
    ASSERT_EQ(symlink("/dev/null", "test7"), 0);
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    ASSERT_EQ(symlink("fifo", "test8"), 0);
    ASSERT_EQ(mknod("test\xFF", S_IFREG | 0600, 0), 0);
    const QString cannotBeHandled =
        ": a name with control characters, or with others that XML cannot carry, cannot be handled";
    const QStringList all = {
        "te\nst" + cannotBeHandled,
        "test2: Invalid test file",
        "test3: Invalid test file",
        "test4: Invalid =simprogram pattern",
        "test5:2: 'talmo: labels' takes at least one label",
        "test5:4: unknown word 'nonsense' behind 'talmo:'",
        "test7: it is no regular file",
        "test8: it is no regular file",
        "te\x7Fst" + cannotBeHandled,
        QString("te") + QChar(0x80) + "st" + cannotBeHandled,
        QString("te") + QChar(0xFFFE) + "st" + cannotBeHandled,
        QString("te") + QChar(0xFFFF) + "st" + cannotBeHandled,
        "test6: No such file or directory",
        "test\\xff: its name is no valid text",
    };
    selection.filters = QStringList({"te*", "test?"}); // each is told once
    EXPECT_EQ(problemsWith(), all);
    selection.runs = QStringList("test1"); // also those of scripts that are not asked for
    EXPECT_EQ(problemsWith(), all);
    selection.filters = QStringList("test1");
    EXPECT_EQ(runs(), QStringList("test1"));
}

TEST_F(SuiteTest, AFilterThatMatchesAWrongFileOnlyIsNotAlsoEmpty)
{
    write("test1", "heading\n");
    ASSERT_EQ(symlink("nowhere", "test2"), 0);
    selection.filters = QStringList({"test1", "test2"});
    EXPECT_EQ(problemsWith(),
        QStringList({"test1: Invalid test file", "test2: No such file or directory"}));
}

TEST_F(SuiteTest, TwoRunsInOneDirectoryAreAProblem)
{
    write("test1", "=heading\n=simprogram *\n");
    write("test1(p)", "=heading\n");
    EXPECT_EQ(runs({"q"}), QStringList({"test1(q)", "test1(p)"}));
    const QStringList shared(
        "test1(p): a run of it and one of 'test1' would share the directory 'test1(p).dir'");
    EXPECT_EQ(problemsWith({"p", "q"}), shared);
    selection.runs = QStringList("test1(q)");
    EXPECT_EQ(problemsWith({"p", "q"}), shared);
    selection.runs.clear();
    selection.filters = QStringList("test1"); // then the other one is not in the suite
    EXPECT_EQ(runs({"p", "q"}), QStringList({"test1(p)", "test1(q)"}));
}

TEST_F(SuiteTest, ASkippedScriptMustNotHaveTheNameOfARun)
{
    write("test1", "=heading\n=simprogram p\n");
    write("test1(p)", "=heading\n=simprogram none\n");
    EXPECT_EQ(problemsWith({"p"}), QStringList("test1(p): a run of it and one of 'test1' would "
                                               "share the directory 'test1(p).dir'"));
}

TEST_F(SuiteTest, TwoRunsForProgramsMayShareADirectoryToo)
{
    write("test1", "=heading\n=simprogram *\n");
    write("test1(p)", "=heading\n=simprogram *\n");
    EXPECT_EQ(problemsWith({"q", "p)(q"}),
        QStringList("test1(p): a run of it and one of 'test1' would share the directory "
                    "'test1(p)(q).dir'"));
}

TEST_F(SuiteTest, ANameOfAProgramMayNotBreakALine)
{
    write("test1", "=heading\n=simprogram *\n");
    write("test2", "=heading\n");
    EXPECT_EQ(problemsWith({"a\nb", QString(QChar(0xD800)), QString(QChar(0xFFFF))}),
        QStringList({"test1: the name of its run 'test1(a\nb)' cannot be handled",
            "test1: the name of its run 'test1(" + QString(QChar(0xD800)) + ")' cannot be handled",
            "test1: the name of its run 'test1(" + QString(QChar(0xFFFF)) +
                ")' cannot be handled"}));
    selection.filters = QStringList("test2");
    EXPECT_EQ(runs({"a\nb"}), QStringList("test2")); // no run has it in its name
}

TEST_F(SuiteTest, OurOwnFilesArePassedOverUnlessTheyAreNamed)
{
    write("talmo.known", "=not a script of yours\n");
    write("test.xml", report);
    selection.filters = QStringList("t*");
    EXPECT_EQ(problemsWith(), QStringList("the filter 't*' matches nothing in 'FOLDER'"));
    write("test1", "=heading\n");
    EXPECT_EQ(runs(), QStringList("test1"));
    selection.filters = QStringList({"test*", "test?xml", "*"});
    EXPECT_EQ(problemsWith(), QStringList("the filter 'test?xml' matches nothing in 'FOLDER'"));
    selection.filters = QStringList({"*", "test.xml", "t*.xml", "TEST.XML"});
    EXPECT_EQ(problemsWith(), QStringList("test.xml: Invalid test file"));
    selection.filters = QStringList("talmo.known");
    EXPECT_EQ(runs(), QStringList("talmo.known"));
}

TEST_F(SuiteTest, AReportIsKnownByItsBeginning)
{
    const QByteArray declaration = report.left(report.indexOf('\n') + 1);
    const QByteArray element = "<testsuites name=\"talmo\"";
    const QByteArray blanks(1000 - declaration.size() - element.size(), ' ');
    write("test1", "=heading\n");
    const struct {
        QByteArray content;
        bool isReport;
    } rows[] = {
        {declaration + element, true},
        {declaration + blanks + element, true},
        {declaration + blanks + ' ' + element, false},
        {' ' + declaration + element, false},
        {element, false},
        {declaration + "<testsuites name=\"other\"", false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.content.toStdString());
        write("test2", row.content);
        EXPECT_EQ(
            problemsWith(), row.isReport ? QStringList() : QStringList("test2: Invalid test file"));
    }
}

TEST_F(SuiteTest, AFolderThatCannotBeListedIsAProblem)
{
    ASSERT_TRUE(QDir().mkdir("gone"));
    ASSERT_TRUE(QDir::setCurrent("gone"));
    ASSERT_TRUE(QDir().rmdir(path + "/gone"));
    EXPECT_EQ(problemsWith(),
        QStringList("the working directory has no name: No such file or directory"));
}

TEST_F(SuiteTest, AFileThatNobodyMayLookAtIsAProblem)
{
    write("test1", "=heading\n");
    write("test2", "=heading\n");
    hiddenFile = "test2";
    const QStringList told = problemsWith();
    hiddenFile.clear();
    EXPECT_EQ(told, QStringList("cannot find out which scripts match 'test*' in 'FOLDER': "
                                "Input/output error"));
}

TEST_F(SuiteTest, OfTheDistributionOnlyTheScriptsAreTaken)
{
    // This test program is in a folder beside that of the distribution, as the driver is.
    const QString scripts = QDir(DISTRIBUTION).canonicalPath();
    write("test1", "=heading\n");
    selection.isOfDistribution = true;
    selection.filters = QStringList("test01*");
    const Suite suite = find();
    EXPECT_EQ(problems, QStringList());
    EXPECT_EQ(suite.work, QFile::encodeName(path));
    EXPECT_EQ(suite.folder, QFile::encodeName(scripts));
    ASSERT_EQ(suite.scripts.size(), 1U);
    EXPECT_EQ(suite.scripts[0].path, suite.folder + "/test01_text_compare");
    selection.filters = QStringList("test1");
    EXPECT_EQ(
        problemsWith(), QStringList("the filter 'test1' matches nothing in '" DISTRIBUTION "'"));
}
