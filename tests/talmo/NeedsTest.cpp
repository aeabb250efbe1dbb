#include "Needs.h"
#include "Printing.h"

#include "Script.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

class NeedsTest : public testing::Test
{
protected:
    /// Reads what the script "test3" with this \a content says.
    bool read(const QByteArray &content)
    {
        QFile file(folder.filePath("test3"));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(content), content.size());
        file.close();
        Script script;
        EXPECT_TRUE(script.open(QFile::encodeName(file.fileName())));
        needs = Needs();
        problems.clear();
        return readNeeds(script, needs, problems);
    }

    /// The problem of the only comment \a text; null if there is none.
    QString problemOf(const QByteArray &text)
    {
        SCOPED_TRACE(text.toStdString());
        const bool isRight = read("=heading\n" + text + "\n");
        EXPECT_EQ(isRight, problems.isEmpty());
        EXPECT_LE(problems.size(), 1);
        return problems.isEmpty() ? QString() : problems[0];
    }

    QTemporaryDir folder;
    Needs needs;
    QStringList problems;
};

} // namespace

TEST_F(NeedsTest, AScriptThatSaysNothingNeedsNothing)
{
    for (const char *const content : {"=heading", "=talmo: serial\n",
             "=heading\n=echo # Talmo: serial\n=file f\n## talmo: serial\n",
             "=heading\n# not talmo: serial\n# talmo serial\n=echo talmo: serial\n"}) {
        SCOPED_TRACE(content);
        EXPECT_TRUE(read(content));
        EXPECT_EQ(needs.processors, 1);
        EXPECT_EQ(needs.timeout, 0);
        EXPECT_EQ(needs.labels, QStringList());
        EXPECT_EQ(needs.locks, QStringList());
        EXPECT_FALSE(needs.isSerial);
        EXPECT_EQ(needs.retries, 0);
        EXPECT_EQ(needs.known, QStringList());
    }
}

TEST_F(NeedsTest, EachWordIsUnderstood)
{
    EXPECT_TRUE(read("=heading\n"
                     "# talmo: processors 4\n"
                     "# talmo: timeout 600.5\n"
                     "# talmo: labels slow mpi\n"
                     "\n"
                     "# a comment for people\n"
                     "# talmo: lock licence disk\n"
                     "# talmo: serial\n"
                     "# talmo: retry 2\n"
                     "# talmo: known differ at line [0-9]+$\n"
                     "# talmo: allow whatever comes\n"
                     "=echo\n"));
    EXPECT_EQ(problems, QStringList());
    EXPECT_EQ(needs.processors, 4);
    EXPECT_EQ(needs.timeout, 600.5);
    EXPECT_EQ(needs.labels, QStringList({"slow", "mpi"}));
    EXPECT_EQ(needs.locks, QStringList({"licence", "disk"}));
    EXPECT_TRUE(needs.isSerial);
    EXPECT_EQ(needs.retries, 2);
    EXPECT_EQ(needs.known, QStringList("differ at line [0-9]+$"));
}

TEST_F(NeedsTest, BlanksAroundTheMarkDoNotMatter)
{
    for (const char *const comment : {"# talmo: labels a b", "#talmo: labels a b",
             "#talmo:labels a b", " \t#\ttalmo:\t labels \t a  b \t", "# talmo: labels a b\r"}) {
        EXPECT_EQ(problemOf(comment), QString());
        EXPECT_EQ(needs.labels, QStringList({"a", "b"})) << comment;
    }
}

TEST_F(NeedsTest, ListsMayHaveSeveralLines)
{
    EXPECT_TRUE(read("=heading\n=simprogram sim*\n"
                     "# talmo: labels b a b\n# talmo: lock x\n# talmo: labels c a\n"
                     "# talmo: lock y x\n# talmo: known one\n# talmo: known two\n"));
    EXPECT_EQ(needs.labels, QStringList({"b", "a", "c"})); // each once
    EXPECT_EQ(needs.locks, QStringList({"x", "y"}));
    EXPECT_EQ(needs.known, QStringList({"one", "two"}));
}

TEST_F(NeedsTest, APatternIsTheRestOfTheLineAsThatOfIgnore)
{
    const struct {
        const char *comment;
        const char *pattern;
    } rows[] = {
        {"# talmo: known a", "a"},
        {"# talmo: known   a  b ", "a  b "}, // blanks inside and at the end belong to it
        {"#talmo:known\ta\tb", "a\tb"},
        {"# talmo: known # talmo: serial", "# talmo: serial"},
        {"# talmo: known $simProgram", "$simProgram"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(problemOf(row.comment), QString());
        EXPECT_EQ(needs.known, QStringList(row.pattern)) << row.comment;
    }
}

TEST_F(NeedsTest, WhatIsWrongIsToldWithItsLine)
{
    const QString many = QString(200, QLatin1Char('a')).replace("a", ".*");
    const struct {
        QByteArray comment;
        QString problem;
    } rows[] = {
        {"# talmo:", "nothing follows 'talmo:'"},
        {"#talmo: \t", "nothing follows 'talmo:'"},
        {"# talmo: procesors 4", "unknown word 'procesors' behind 'talmo:'"},
        {"# talmo: Serial", "unknown word 'Serial' behind 'talmo:'"},
        {"# talmo: serial, retry 2", "unknown word 'serial,' behind 'talmo:'"},
        {"# talmo: processors", "'talmo: processors' takes a whole number from 1 on"},
        {"# talmo: processors 0", "'talmo: processors' takes a whole number from 1 on"},
        {"# talmo: processors 1", {}},
        {"# talmo: processors -1", "'talmo: processors' takes a whole number from 1 on"},
        {"# talmo: processors 1.5", "'talmo: processors' takes a whole number from 1 on"},
        {"# talmo: processors 1000000000", {}},
        {"# talmo: processors 1000000001", "'talmo: processors' takes a whole number from 1 on"},
        {"# talmo: processors 2 3", "'talmo: processors' takes a whole number from 1 on"},
        {"# talmo: timeout", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: timeout 0", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: timeout 1e-9", {}},
        {"# talmo: timeout -5", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: timeout nan", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: timeout 1e9", {}},
        {"# talmo: timeout 1.1e9", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: timeout 10s", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: timeout 10 s", "'talmo: timeout' takes a number of seconds above 0"},
        {"# talmo: labels", "'talmo: labels' takes at least one label"},
        {"# talmo: lock", "'talmo: lock' takes at least one name"},
        {"# talmo: serial yes", "'talmo: serial' takes nothing"},
        {"# talmo: retry", "'talmo: retry' takes a whole number from 1 on"},
        {"# talmo: retry 0", "'talmo: retry' takes a whole number from 1 on"},
        {"# talmo: retry 1", {}},
        {"# talmo: retry 2 times", "'talmo: retry' takes a whole number from 1 on"},
        {"# talmo: known", "'talmo: known' takes a pattern"},
        {"# talmo: known  ", "'talmo: known' takes a pattern"},
        {"# talmo: known a(", "the pattern 'a(' is no regular expression"},
        {"# talmo: known " + many.toUtf8(),
            "the pattern '" + many + "' needs too much time or memory"},
        {"# talmo: allow", {}},
        {"# talmo: allow a b", {}},
    };
    for (const auto &row : rows) {
        const QString problem = row.problem.isNull() ? QString() : "test3:2: " + row.problem;
        EXPECT_EQ(problemOf(row.comment), problem) << row.comment.toStdString();
    }
}

TEST_F(NeedsTest, ACommentThatIsAlmostOneOfOursIsAnError)
{
    for (const char *const comment :
        {"# Talmo: serial", "## talmo: serial", "# talmo : serial", "#TALMO:serial",
            " \t###\tTalMo \t:serial", "##talmo:", "# Talmo: allow a", "#\xC2\xA0tALMO: serial"}) {
        EXPECT_EQ(problemOf(comment), "test3:2: a comment for talmo begins with '# talmo:'")
            << comment;
        EXPECT_FALSE(needs.isSerial);
    }
    for (const char *const comment : {"# Talmo serial", "## talmo, serial", "# talmos: serial",
             "# # talmo: serial", "# a talmo: serial", "# 'Talmo:'", "#Talmo", "#"})
        EXPECT_EQ(problemOf(comment), QString()) << comment;
    // Also where one of ours would be wrong.
    EXPECT_FALSE(read("=heading\n=echo\n# Talmo: serial"));
    EXPECT_EQ(problems, QStringList("test3:3: a comment for talmo begins with '# talmo:'"));
}

TEST_F(NeedsTest, SomeWordsAreThereOnce)
{
    const struct {
        const char *comments;
        QStringList problems;
    } rows[] = {
        {"# talmo: processors 2\n#\n# talmo: processors 2\n",
            {"test3:4: 'talmo: processors' is there twice"}},
        {"# talmo: timeout 2\n# talmo: timeout 3\n# talmo: timeout 4\n",
            {"test3:3: 'talmo: timeout' is there twice",
                "test3:4: 'talmo: timeout' is there twice"}},
        {"# talmo: serial\n# talmo: serial\n", {"test3:3: 'talmo: serial' is there twice"}},
        {"# talmo: retry 1\n# talmo: retry 1\n", {"test3:3: 'talmo: retry' is there twice"}},
        {"# talmo: allow a\n# talmo: allow a\n", {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.comments);
        const bool isRight = read("=heading\n" + QByteArray(row.comments));
        EXPECT_EQ(isRight, row.problems.isEmpty());
        EXPECT_EQ(problems, row.problems);
    }
}

TEST_F(NeedsTest, BehindTheFirstCommandOnlyAllowIsAccepted)
{
    EXPECT_FALSE(read("=heading\n"
                      "=simprogram *\n"
                      "# talmo: labels a\n"
                      "=platform WINDOWS\n"
                      "# talmo: labels b\n"
                      "# talmo: allow b\n"
                      "=platform\n"
                      "# talmo:\n"
                      "# talmo: unknown\n"));
    EXPECT_EQ(problems, QStringList({"test3:5: 'talmo: labels' must stand before the first command",
                            "test3:8: nothing follows 'talmo:'",
                            "test3:9: unknown word 'unknown' behind 'talmo:'"}));
    EXPECT_EQ(needs.labels, QStringList("a"));
}

TEST_F(NeedsTest, ALineThatIsNoCommandEndsTheCommentsToo)
{
    // The driver would say that the command is unknown, so the script is not as it was meant.
    EXPECT_FALSE(read("=heading\n?\n# talmo: serial\n"));
    EXPECT_EQ(
        problems, QStringList("test3:3: 'talmo: serial' must stand before the first command"));
}

TEST_F(NeedsTest, LinesOfFilesAreNoComments)
{
    EXPECT_TRUE(read("=heading\n# talmo: serial\n=file f\n# talmo: nonsense\n# talmo: serial\n"));
    EXPECT_EQ(problems, QStringList());
    EXPECT_TRUE(needs.isSerial);
}

TEST_F(NeedsTest, APatternThatCanMatchHasNoProblem)
{
    for (const char *const pattern : {"", "a", "^running 'sim1' failed$", "a|b", "(a)\\1", "[]]"})
        EXPECT_EQ(problemOfPattern(pattern), QString()) << pattern;
    for (const char *const pattern : {"(", "a)", "[", "*a", "(((a{1000}){1000}){1000})"})
        EXPECT_FALSE(problemOfPattern(pattern).isNull()) << pattern;
}
