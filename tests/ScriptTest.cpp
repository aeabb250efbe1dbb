#include "Script.h"
#include "Printing.h"

#include "commands.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

class ScriptTest : public testing::Test
{
protected:
    /// The path of a script with this \a content.
    QByteArray pathOf(const QByteArray &content)
    {
        QFile file(folder.filePath("test1"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        return QFile::encodeName(file.fileName());
    }

    Script scriptOf(const QByteArray &content)
    {
        Script script;
        EXPECT_TRUE(script.open(pathOf(content)));
        return script;
    }

    QString problemOf(const QByteArray &path)
    {
        Script script;
        EXPECT_FALSE(script.open(path));
        return script.problem();
    }

    QTemporaryDir folder;
};

const QStringList configured = {"sim1", "sim2", "beam", "sim1"};

} // namespace

TEST_F(ScriptTest, BeginsWithItsHeading)
{
    Script script = scriptOf("=What it tests \n=echo a\n");
    EXPECT_EQ(script.name(), "test1");
    EXPECT_EQ(script.description(), "What it tests ");
    EXPECT_TRUE(script.problem().isNull());
    EXPECT_FALSE(script.programPatterns());
    EXPECT_EQ(script.linesToRun().readLine(), "=echo a");
    EXPECT_EQ(script.linesToRun().readLine(), "=echo a"); // each time from the start
}

TEST_F(ScriptTest, TheSecondLineMaySelectPrograms)
{
    Script script = scriptOf("=heading\n =simprogram  sim* \tbeam\n=echo a\n");
    ASSERT_TRUE(script.programPatterns());
    EXPECT_EQ(*script.programPatterns(), QStringList({"sim*", "beam"}));
    EXPECT_EQ(script.linesToRun().readLine(), "=echo a");
    EXPECT_FALSE(scriptOf("=heading\n\n=simprogram sim1\n").programPatterns());
    EXPECT_TRUE(scriptOf("=heading\n=simprogram\n").programPatterns()); // and none is selected
}

TEST_F(ScriptTest, SaysWhyItCannotBeRun)
{
    EXPECT_EQ(problemOf(pathOf("heading\n")), "Invalid test file");
    EXPECT_EQ(problemOf(pathOf("")), "Invalid test file");
    EXPECT_EQ(problemOf(pathOf("\n=heading\n")), "Invalid test file");
    EXPECT_EQ(problemOf(QFile::encodeName(folder.filePath("none"))), "Cannot read file");
    EXPECT_EQ(problemOf(QFile::encodeName(folder.path())), "Cannot read file");
    const QByteArray costly = QByteArray(200, '*') + "1";
    EXPECT_EQ(problemOf(pathOf("=heading\n=simprogram a " + costly + " b\n")),
        "Invalid =simprogram pattern");
}

TEST_F(ScriptTest, KnowsThePatternsBeforeOneThatCostsTooMuch)
{
    Script script;
    const QByteArray costly = QByteArray(200, '*') + "1";
    EXPECT_FALSE(script.open(pathOf("=heading\n=simprogram a b* " + costly + " c\n")));
    ASSERT_TRUE(script.programPatterns());
    EXPECT_EQ(*script.programPatterns(), QStringList({"a", "b*"}));
}

TEST_F(ScriptTest, RunsForTheProgramsThatItsPatternsMatch)
{
    const struct {
        const char *line;
        QStringList programs;
    } rows[] = {
        {"=echo", {""}},
        {"=simprogram", {}},
        {"=simprogram sim3", {}},
        {"=simprogram beam", {"beam"}},
        {"=simprogram beam sim2", {"beam", "sim2"}},
        {"=simprogram *", configured},
        {"=simprogram sim?", {"sim1", "sim2", "sim1"}},
        {"=simprogram sim[13]", {"sim1", "sim1"}},
        {"=simprogram im", {}}, // the whole name must match
        {"=simprogram SIM1", {}},
        {"=simprogram beam b*", {"beam", "beam"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        const Script script = scriptOf("=heading\n" + QByteArray(row.line) + "\n");
        EXPECT_EQ(programsFor(script, configured), row.programs);
    }
}

TEST_F(ScriptTest, TellsWhereTheFilesThatItHoldsBeginAndEnd)
{
    Script script = scriptOf("=heading\n"
                             "=simprogram sim1\n"
                             "=file $simProgram.in extra\n"
                             "first\n"
                             " =second\n"
                             "=file empty\n"
                             "=echo\n"
                             "# =file comment\n"
                             "=platform DARWIN\n"
                             "  =file\tother\n"
                             "\n"
                             "=file\n"
                             "no name, no file\n"
                             "=file last\n"
                             "#no newline");
    const std::vector<FileBody> bodies = script.bodies();
    const struct {
        const char *name;
        int line;
        int endLine;
        const char *text;
    } rows[] = {
        {"$simProgram.in", 3, 6, "first\n =second\n"},
        {"empty", 6, 7, ""},
        {"other", 10, 12, "\n"},
        {"last", 14, 16, "#no newline"},
    };
    ASSERT_EQ(bodies.size(), std::size(rows));
    for (size_t index = 0; index < bodies.size(); ++index) {
        SCOPED_TRACE(rows[index].name);
        EXPECT_EQ(bodies[index].name, rows[index].name);
        EXPECT_EQ(bodies[index].line, rows[index].line);
        EXPECT_EQ(bodies[index].endLine, rows[index].endLine);
        EXPECT_EQ(bodies[index].text, rows[index].text);
    }
}

TEST_F(ScriptTest, CountsTheLinesOfItsFile)
{
    const struct {
        const char *script;
        int line;
        int endLine;
        const char *text;
    } rows[] = {
        {"=heading\n=file a\n", 2, 3, ""},
        {"=heading\n=file a", 2, 3, ""},
        {"=heading\n=file a\n1\n", 2, 4, "1\n"},
        {"=heading\n=file a\n1", 2, 4, "1"},
        {"=heading\r\n=file a\r\n1\r\n2\r3\r\n=echo\r\n", 2, 5, "1\n23\n"},
        {"\xEF\xBB\xBF=heading\n=file a\n1\n=echo", 2, 4, "1\n"},
        {"=heading\n=simprogram sim1\n\n=file a\n1\n", 4, 6, "1\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.script);
        const Script script = scriptOf(row.script);
        const std::vector<FileBody> bodies = script.bodies();
        ASSERT_EQ(bodies.size(), 1);
        EXPECT_EQ(bodies[0].line, row.line);
        EXPECT_EQ(bodies[0].endLine, row.endLine);
        EXPECT_EQ(bodies[0].text, row.text);
    }
}

TEST_F(ScriptTest, HoldsFilesBehindOneCommandOnly)
{
    for (const Command &command : commands) {
        SCOPED_TRACE(command.name);
        const QByteArray line = command.name + QByteArray(" a").repeated(command.leastWords);
        const Script script = scriptOf("=heading\n" + line + "\ntext\n=echo\n");
        EXPECT_EQ(script.bodies().size(), QByteArray("=file") == command.name ? 1 : 0);
    }
}

TEST_F(ScriptTest, MayHoldNoFiles)
{
    EXPECT_TRUE(scriptOf("=heading\n=echo\n").bodies().empty());
    EXPECT_TRUE(scriptOf("=file\nin the heading\n").bodies().empty());
}
