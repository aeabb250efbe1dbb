#include "Run.h"
#include "Printing.h"

#include "commands.h"
#include "sanitized.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <cstdlib>

#include <sys/resource.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

// What a run tells as a value. The words that the driver makes of it are tested in driver/.

namespace
{

/// How many bytes of addresses this process has.
rlim_t memoryInUse()
{
    QFile statistics("/proc/self/statm");
    EXPECT_TRUE(statistics.open(QIODevice::ReadOnly));
    const QByteArray pages = statistics.readAll().split(' ').value(0);
    return pages.toULongLong() * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

/// Runs scripts in a directory of its own.
class RunTest : public testing::Test
{
protected:
    RunTest()
    {
        EXPECT_TRUE(QDir::setCurrent(folder.path()));
        Debug = 0;
    }
    ~RunTest() override
    {
        Debug = 0;
        EXPECT_TRUE(QDir::setCurrent(outside));
    }

    /// Opens a script of a heading and \a lines.
    Script &scriptOf(const QByteArray &lines)
    {
        QFile file(folder.filePath("test1"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_GT(file.write("=heading\n" + lines), 0);
        file.close();
        EXPECT_TRUE(script.open(QFile::encodeName(file.fileName())));
        return script;
    }

    /// What a run of these \a lines, the first of which is line 2, comes to.
    Result resultOf(const QByteArray &lines)
    {
        Talmo::Run run(scriptOf(lines), {});
        Result result = run.make();
        run.finish(result);
        return result;
    }

    const QString outside = QDir::currentPath();
    QTemporaryDir folder;
    Script script;
};

} // namespace

TEST_F(RunTest, IsCalledAfterItsScriptAndItsProgram)
{
    EXPECT_EQ(Talmo::Run(scriptOf(""), {}).name(), "test1");
    EXPECT_EQ(Talmo::Run(scriptOf(""), "sim1").name(), "test1(sim1)");
}

TEST_F(RunTest, ThatPassesLeavesNothing)
{
    const Result result = resultOf("=file a\ntext\n=exists a\n");
    EXPECT_TRUE(result.passed());
    EXPECT_TRUE(result.message.isNull());
    EXPECT_EQ(result.line, 0);
    EXPECT_TRUE(result.directory.isNull());
    EXPECT_TRUE(result.remarks.isEmpty());
    EXPECT_FALSE(QDir(folder.path()).exists("test1.dir"));
    EXPECT_EQ(QDir::currentPath(), QDir(folder.path()).canonicalPath());
}

TEST_F(RunTest, KeepsItsDirectoryUntilItIsFinished)
{
    Talmo::Run run(scriptOf("=file a\n"), {});
    Result result = run.make();
    EXPECT_TRUE(result.passed());
    EXPECT_EQ(result.directory, "test1.dir");
    EXPECT_TRUE(QFile::exists(folder.filePath("test1.dir/a")));
    run.finish(result);
    EXPECT_TRUE(result.directory.isNull());
    EXPECT_FALSE(QFile::exists(folder.filePath("test1.dir")));
}

TEST_F(RunTest, OfWhichTheTraceIsWantedKeepsItsDirectory)
{
    Debug = 2;
    const Result result = resultOf("");
    EXPECT_TRUE(result.passed());
    EXPECT_EQ(result.directory, "test1.dir");
    EXPECT_EQ(Debug, 2); // the driver changes it, not the run
    EXPECT_TRUE(QFile::exists(folder.filePath("test1.dir")));
}

TEST_F(RunTest, ThatFailsTellsTheLineAndTheDirectory)
{
    const Result result = resultOf("=file a\n1\n2\n3\n\n# comment\n=exists b\n=exists c\n");
    EXPECT_FALSE(result.passed());
    EXPECT_EQ(result.message, "File 'b' does not exist");
    EXPECT_EQ(result.line, 8);
    EXPECT_EQ(result.directory, "test1.dir");
    EXPECT_TRUE(QFile::exists(folder.filePath("test1.dir/a")));
}

TEST_F(RunTest, CountsLinesAlsoWhereSectionsAreSkipped)
{
    platformName = "LINUX";
    EXPECT_EQ(resultOf("=platform DARWIN\n=exists a\n=platform\n=exists b\n").line, 5);
    EXPECT_EQ(resultOf("=exists a").line, 2);
    EXPECT_EQ(resultOf("=ignore x\n=ignore exist\n=exists b").line, 3);
    EXPECT_EQ(resultOf("=ignore y\n=exists .\n").message, "Command should have failed");
    platformName.clear();
}

TEST_F(RunTest, TellsHowAProgramEnded)
{
    const struct {
        const char *line;
        int exitStatus;
        int signal;
        QString capture;
    } rows[] = {
        {"=run false", 1, 0, "false.out"},
        {"=run /bin/false x", 1, 0, "false.out"},
        {"=run ./none", 127, 0, "none.out"},
        {"=run exit 7", 7, 0, "exit.out"},
        {"=run exit 8 > own", 8, 0, {}},
        {"=run exit 9 >own", 9, 0, {}},
        {"=run kill -9 $$", -1, SIGKILL, "kill.out"},
        {"=run kill -TERM $$", -1, SIGTERM, "kill.out"},
        {"=run sh -c 'kill -9 $$'; exit $?", 128 + SIGKILL, SIGKILL, "sh.out"},
        {"=run exit 128", 128, 0, "exit.out"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        const Result result = resultOf(row.line + QByteArray("\n"));
        EXPECT_FALSE(result.passed());
        EXPECT_EQ(result.line, 2);
        ASSERT_TRUE(result.findings.program);
        EXPECT_EQ(result.findings.program->end.exitStatus, row.exitStatus);
        EXPECT_EQ(result.findings.program->end.programSignal(), row.signal);
        EXPECT_EQ(result.findings.program->capture, row.capture);
    }
}

TEST_F(RunTest, TellsHowTwoFilesDiffer)
{
    const struct {
        const char *content1;
        const char *content2;
        const char *tolerances;
        Comparison expected;
    } rows[] = {
        {"1 2\n3 4\n", "1 2\n3 5.5\n", " 0 1",
            {"a", "b", {Difference::Value, 2, 2, 0, 0, {}, 4, 5.5, 1}, "", {2, 2}}},
        {"1 x\n3\n", "1 2\n", " 0 0", {"a", "b", {Difference::InvalidData, 1, 2, 1}, "x", {1, 1}}},
        {"1 2\n", "1 1,5\n", " 0 0", {"a", "b", {Difference::InvalidData, 1, 2, 2}, "1,5", {1, 1}}},
        {"1 2\n", "1\n", " 0 0", {"a", "b", {Difference::TooFewColumns, 1, 0, 2, 1}, "", {1, 1}}},
        {"# 2\n", "1 2\n", " 0", {"a", "b", {Difference::CommentMismatch, 1, 0, 1, 2}, "", {1, 1}}},
        {"1\n2\n", "1\n3\n", "", {"a", "b", {Difference::Text, 2}, "", {2, 2}}},
        {"1\n2\n", "1\n2\n3\n4\n", "", {"a", "b", {Difference::Length, 0, 0, 1, 2}, "", {2, 3}}},
    };
    for (const auto &row : rows) {
        const QByteArray lines = QByteArray("=file a\n") + row.content1 + "=file b\n" +
                                 row.content2 + "=compare a b" + row.tolerances + "\n";
        SCOPED_TRACE(lines.toStdString());
        const Result result = resultOf(lines);
        ASSERT_TRUE(result.findings.comparison);
        const Comparison &found = *result.findings.comparison;
        EXPECT_EQ(found.file1, row.expected.file1);
        EXPECT_EQ(found.file2, row.expected.file2);
        const Difference &difference = found.difference;
        EXPECT_EQ(difference.kind, row.expected.difference.kind);
        EXPECT_EQ(difference.line, row.expected.difference.line);
        EXPECT_EQ(difference.column, row.expected.difference.column);
        EXPECT_EQ(difference.file, row.expected.difference.file);
        EXPECT_EQ(difference.count, row.expected.difference.count);
        EXPECT_EQ(difference.value1, row.expected.difference.value1);
        EXPECT_EQ(difference.value2, row.expected.difference.value2);
        EXPECT_EQ(difference.tolerance, row.expected.difference.tolerance);
        EXPECT_EQ(difference.word, std::string_view());
        EXPECT_EQ(found.word, row.expected.word);
        EXPECT_EQ(found.lengths.lines1, row.expected.lengths.lines1);
        EXPECT_EQ(found.lengths.lines2, row.expected.lengths.lines2);
    }
}

TEST_F(RunTest, KeepsNoMoreThanTheBeginningOfALongWord)
{
    const QByteArray word(5000, 'x');
    const Result result = resultOf("=file a\n" + word + "\n=compare a a 1\n");
    ASSERT_TRUE(result.findings.comparison);
    EXPECT_EQ(result.findings.comparison->word, word.left(1000));
}

TEST_F(RunTest, TellsTheLineThatNeedsTooMuchMemory)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizer needs more memory than can be limited";
    Script &huge = scriptOf("=echo\n=file a\n=echo " + QByteArray(30'000'000, 'x') + "\n");
    const auto lineThatFails = [&huge] {
        const rlim_t enough = memoryInUse() + 50'000'000; // the line takes 60 MB as text alone
        const rlimit memory = {enough, enough};
        setrlimit(RLIMIT_AS, &memory);
        Talmo::Run run(huge, {});
        const Result result = run.make();
        std::_Exit(result.message == "Out of memory" ? static_cast<int>(result.line) : 0);
    };
    EXPECT_EXIT(lineThatFails(), testing::ExitedWithCode(4), "");
}

TEST_F(RunTest, TellsNoDifferenceWhereFilesAgreeOrCannotBeRead)
{
    EXPECT_FALSE(resultOf("=file a\n1\n=ignore x\n=compare a a\n").findings.comparison);
    EXPECT_FALSE(resultOf("=file a\n1\n=compare a b\n").findings.comparison);
    EXPECT_FALSE(resultOf("=file a\n1\n=compare a a x\n").findings.comparison);
}

TEST_F(RunTest, TellsOnlyWhatTheLineThatFailedFound)
{
    const Result other = resultOf("=run true\n=exists a\n");
    EXPECT_EQ(other.line, 3);
    EXPECT_FALSE(other.findings.program);
    const Result unexpected = resultOf("=ignore a\n=run true\n");
    EXPECT_EQ(unexpected.message, "Command should have failed");
    ASSERT_TRUE(unexpected.findings.program);
    EXPECT_TRUE(unexpected.findings.program->end.isSuccess());
    EXPECT_FALSE(resultOf("=run true\n").findings.program);
}

TEST_F(RunTest, ThatCannotEnterItsDirectoryHasNone)
{
    QFile file(folder.filePath("test1.dir"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const Result result = resultOf("=echo not reached\n");
    EXPECT_EQ(result.message, "cannot cd to 'test1.dir'");
    EXPECT_EQ(result.line, 0);
    EXPECT_TRUE(result.directory.isNull());
}

TEST_F(RunTest, WhoseDirectoryIsInUseFails)
{
    Talmo::Run first(scriptOf("=exists none\n"), {});
    Result firstResult = first.make();
    Talmo::Run second(script, {});
    Result result = second.make();
    EXPECT_EQ(result.message, "directory 'test1.dir' is in use by another talmo_test");
    EXPECT_TRUE(result.isInUse);
    EXPECT_FALSE(firstResult.isInUse);
    EXPECT_TRUE(result.directory.isNull());
    second.finish(result);
    first.finish(firstResult);
    EXPECT_TRUE(QFile::exists(folder.filePath("test1.dir"))); // the first one failed
}
