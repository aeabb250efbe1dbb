// talmo report about the last run: what it writes, and where.

#include "ReportFixture.h"
#include "makeReport.h"

#include <QDir>
#include <QFile>

#include <unistd.h>

using namespace Talmo;

namespace
{

class ReportTest : public ReportFixture
{
};

const QByteArray theRun = "talmo: report: The last talmo run in 'WORK'\n";

} // namespace

TEST_F(ReportTest, TellsWhatFailedInTheLastRun)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    EXPECT_EQ(markdown(),
        "<!-- talmo report -->\n"
        "**4 runs: 1 passed, 1 failed, 1 known, 0 flaky, 1 skipped, 0 not run**\n\n"
        "<code>The last talmo run in 'WORK'</code>\n"
        "started <code>MOMENT</code>, on HOST\n"
        "\n### Failed\n\n| run | where | reason | |\n|---|---|---|---|\n"
        "| <code>test1</code> | <code>test1:8</code> | <code>Files 'a' and 'b' differ on line 2, "
        "column 1</code> | 2 comparisons fail |\n"
        "\n<details><summary>All comparisons that fail: 2</summary>\n\n"
        "| run | where | message | worst |\n|---|---|---|---|\n"
        "| <code>test1</code> | <code>test1:8</code> | <code>Files 'a' and 'b' differ on line 2, "
        "column 1</code> | <code>1 line differs; column 1 by up to 1 on line 2, 2 times its "
        "tolerance</code> |\n"
        "| <code>test1</code> | <code>test1:9</code> | <code>Files 'a' and 'b' differ at line "
        "2</code> | <code>1 line differs</code> |\n"
        "\n</details>\n"
        "\n### Skipped or not run\n\n| reason | runs | which |\n|---|---|---|\n"
        "| <code>No applicable SimPrograms</code> | 1 | <code>test3</code> |\n"
        "\n<details><summary>Commands that make them again</summary>\n\n"
        "- <code>talmo run -C WORK --run test1 test1</code>\n"
        "\n</details>\n");
}

TEST_F(ReportTest, TheCommandMakesTheRunAgain)
{
    configure({"sim1"});
    addProgram("sim1", "false");
    const QString names[] = {"test1", "test 1's [x]*", "test$(touch made)"};
    for (const QString &name : names)
        write(name, "=heading\n=simprogram sim1\n=run $simProgram\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    const QJsonArray failures = jsonReport({})["failures"].toArray();
    ASSERT_EQ(failures.size(), 3);
    for (const QJsonValue &failure : failures) {
        const QString command = failure.toObject()["rerun"].toString();
        ASSERT_TRUE(command.startsWith("talmo run ")) << command.toStdString();
        const Outcome outcome = runProcess(
            "/bin/sh", {"-c", QString("exec \"$TALMO\"") + command.mid(5)},
            [this] {
                Environment with = environment;
                with["TALMO"] = driver;
                return with;
            }(),
            folder.path());
        EXPECT_EQ(outcome.errors, "");
        EXPECT_TRUE(outcome.output.contains("\n1 run in ")) << outcome.output.toStdString();
        EXPECT_TRUE(outcome.output.contains(" 1 failed")) << command.toStdString();
    }
    EXPECT_FALSE(exists("made"));
}

TEST_F(ReportTest, TheCommandGivesTheProgramsAgain)
{
    configure({"sim9"});
    addProgram("sim2", "exit 1");
    ASSERT_TRUE(QDir(work).mkpath("it's built"));
    write("it's built/simulate", "#!/bin/sh\necho version 7\nexit 3\n");
    ASSERT_TRUE(
        QFile::setPermissions(work + "/it's built/simulate", QFile::ReadOwner | QFile::ExeOwner));
    write("test1", "=heading\n=simprogram sim*\n=run $simProgram\n");
    EXPECT_EQ(
        make({"-j1", "--program", "sim1=it's built/simulate", "--program", "sim2"}).status, 1);
    const QJsonObject json = jsonReport({"--version"});
    const QJsonArray failures = json["failures"].toArray();
    ASSERT_EQ(failures.size(), 2);
    const QString given = " --program 'sim1=" + QString(work).replace("'", "'\\''") +
                          "/it'\\''s built/simulate' --program sim2";
    for (const int index : {0, 1}) {
        const QString name = QString("'test1(sim%1)'").arg(index + 1);
        EXPECT_EQ(failures[index].toObject()["rerun"].toString(),
            "talmo run -C " + work + given + " --run " + name + " test1");
    }
    EXPECT_EQ(
        json["versions"].toArray()[0].toObject()["version"].toString(), "exit status 3: version 7");
    ASSERT_TRUE(QFile::remove(work + "/it's built/simulate"));
    EXPECT_EQ(jsonReport({"--version"})["versions"].toArray()[0].toObject()["version"].toString(),
        "it was not found");
}

TEST_F(ReportTest, ALinkStaysAndWhatItLeadsToIsWritten)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    ASSERT_TRUE(QDir(work).mkdir("pages"));
    const auto link = [this](const char *target, const char *name) {
        ASSERT_EQ(symlink(target, QFile::encodeName(work + '/' + name)), 0);
    };
    link("pages/a.html", "dangling.html");
    link("dangling.html", "chain.html");
    link("gone/a.html", "nowhere.html");
    link("circle.html", "circle.html");
    link("test1", "script.html");
    const QByteArray page = "<!DOCTYPE html><html lang=\"en\">";
    for (const char *const name : {"dangling.html", "dangling.html", "chain.html"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(report({"-o", name}, theRun), ""); // the second time over the first report
        EXPECT_TRUE(read("pages/a.html").startsWith(page));
        EXPECT_TRUE(QFileInfo(work + '/' + name).isSymLink());
    }
    ASSERT_TRUE(QFile::remove(work + "/pages/a.html"));
    EXPECT_EQ(report({"-o", "chain.html"}, theRun), "");
    EXPECT_TRUE(read("pages/a.html").startsWith(page));
    EXPECT_TRUE(QFileInfo(work + "/chain.html").isSymLink());
    EXPECT_TRUE(QFileInfo(work + "/dangling.html").isSymLink());
    expectRefused({"-o", "nowhere.html"}, "cannot write 'nowhere.html': No such file or directory");
    expectRefused(
        {"-o", "circle.html"}, "cannot write 'circle.html': Too many levels of symbolic links");
    expectRefused({"-o", "script.html"},
        "cannot write 'script.html': It holds something else than a report of talmo");
}

TEST_F(ReportTest, RefusesWrongCalls)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    expectRefused({"a", "b"}, "it takes one RESULT");
    expectRefused({"--format", "pdf"}, "there is no format 'pdf', but html, markdown, junit, json");
    expectRefused({"-C", "none"}, "cannot go to the directory 'none': No such file or directory");
    expectRefused({"-o", "."}, "cannot write '.': Is a directory");
    expectRefused(
        {"-o", "test1"}, "cannot write 'test1': It holds something else than a report of talmo");
    write("talmo.known", "");
    expectRefused(
        {"-o", "talmo.known"}, "cannot write 'talmo.known': It is the list of known failures");
    expectRefused({"-o", "none/a"}, "cannot write 'none/a': No such file or directory");
    write(".talmo/runs/2026-01-01T00-00-00.000Z.xml", "");
    EXPECT_EQ(run({"report"}).status, 0);
}

TEST_F(ReportTest, TheEndingOfTheFileTellsTheFormat)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    const struct {
        const char *file;
        QStringList options;
        const char *beginning;
    } rows[] = {
        {"a.md", {}, "<!-- talmo report -->\n"},
        {"a.xml", {}, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"talmo\""},
        {"a.json", {}, "{\n    \"about\": \"talmo report 1\",\n"},
        {"a.JSON", {}, "{\n    \"about\": \"talmo report 1\",\n"},
        {"a", {}, "<!DOCTYPE html><html lang=\"en\">"},
        {"a.html", {}, "<!DOCTYPE html><html lang=\"en\">"},
        {"a", {"--format", "json"}, "{\n    \"about\": \"talmo report 1\",\n"},
        {"a.json", {"--format", "markdown"}, "<!-- talmo report -->\n"},
        {"a.json", {"--format", "junit"}, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.file);
        EXPECT_EQ(report(QStringList({"-o", row.file}) + row.options, theRun), "");
        EXPECT_TRUE(read(row.file).startsWith(row.beginning)) << read(row.file).toStdString();
    }
}

TEST_F(ReportTest, TheJUnitFileCarriesAllComparisonsAndCanBeReadAgain)
{
    writeSuite();
    EXPECT_EQ(make({"-j1"}).status, 1);
    report({"-o", "report.xml"}, theRun);
    RunResults results;
    QString problem;
    ASSERT_TRUE(
        readJUnitFile(QFile::encodeName(work + "/report.xml"), SystemOut::Kept, results, problem))
        << problem.toStdString();
    EXPECT_EQ(results.runs[0].details,
        QStringList({"test1:8: =compare a b 0.5", "2 and 3 are 1 apart, 2 times the tolerance 0.5",
            "test1:8: Files 'a' and 'b' differ on line 2, column 1; 1 line differs; column 1 by up "
            "to 1 on line 2, 2 times its tolerance",
            "test1:9: Files 'a' and 'b' differ at line 2; 1 line differs"}));
    const QByteArray first = read("report.xml");
    report({"report.xml", "-o", "report.xml"},
        "talmo: report: The results of talmo in 'report.xml'\n");
    EXPECT_EQ(read("report.xml"), first);
}

TEST_F(ReportTest, JsonHasExactNumbers)
{
    write("test1", "=one\n=file a\n0 1\n0 1e308 \n0 1\n=file b\n0 1.1\n0 -1e308\nx 1\n1\n"
                   "=compare a b 0 0.1\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    const QJsonObject json = jsonReport({});
    const QJsonObject comparison =
        json["failures"].toArray()[0].toObject()["comparisons"].toArray()[0].toObject();
    EXPECT_EQ(comparison["line"].toInt(), 11);
    EXPECT_TRUE(comparison["isReported"].toBool());
    const QJsonObject differences = comparison["differences"].toObject();
    EXPECT_EQ(differences["lines1"].toInt(), 3);
    EXPECT_EQ(differences["lines2"].toInt(), 4);
    EXPECT_EQ(differences["differingLines"].toInt(), 3);
    const QJsonObject column = differences["columns"].toArray()[1].toObject();
    EXPECT_EQ(column["tolerance"].toDouble(), 0.1);
    EXPECT_EQ(column["largest"], QJsonValue("infinite"));
    EXPECT_EQ(column["largestAt"].toArray(), (QJsonArray{2, 2}));
    EXPECT_EQ(column["sufficient"], QJsonValue());
    EXPECT_EQ(differences["kinds"].toObject()["noNumbers"].toObject()["lines"].toInt(), 1);
    EXPECT_EQ(json["counts"].toObject()["failed"].toInt(), 1);
    EXPECT_EQ(json["suite"].toString(), work);
    const QString directory = json["runs"].toArray()[0].toObject()["directory"].toString() + '/';
    const QJsonObject told = QJsonDocument::fromJson(
        run({"diff", "--json", directory + 'a', directory + 'b', "0", "0.1"}).output)
                                 .object();
    EXPECT_EQ(differences.size(), 6);
    for (const QString &member : differences.keys())
        EXPECT_EQ(differences[member], told[member]) << member.toStdString();
}

TEST_F(ReportTest, NothingFromOutsideMeansAnythingInMarkdown)
{
    const struct {
        QString text;
        QString code;
    } rows[] = {
        {"", ""},
        {"test1(sim1)", "<code>test1(sim1)</code>"},
        {"a|b\\|c", "<code>a&#124;b&#92;&#124;c</code>"},
        {"`</code><script>&lt;", "<code>&#96;&#60;/code&#62;&#60;script&#62;&#38;lt;</code>"},
        {"@me #12 !3 ~x %y $z$ ^a {b}",
            "<code>&#64;me &#35;12 &#33;3 &#126;x &#37;y &#36;z&#36; &#94;a &#123;b&#125;</code>"},
        {"[a](http://b.c)", "<code>&#91;a&#93;(http&#58;//b.c)</code>"},
        {"WWW.x.org *a* _b_", "<code>WWW&#46;x.org &#42;a&#42; &#95;b&#95;</code>"},
        {"a\nb\r\x1b\x7f", "<code>a&#92;u000ab&#92;u000d&#92;u001b&#92;u007f</code>"},
        {QStringLiteral(u"é\u202e\u2028"), QStringLiteral(u"<code>é&#92;u202e&#92;u2028</code>")},
        {QString(QChar(u'\0')), "<code>&#92;u0000</code>"},
        {QString::fromUtf8("\xf3\xa0\x81\x81\xf0\x9f\x98\x80"),
            QString::fromUtf8("<code>&#92;U000e0041\xf0\x9f\x98\x80</code>")},
    };
    for (const auto &row : rows)
        EXPECT_EQ(markdownCode(row.text), row.code);
}

TEST_F(ReportTest, WordsForAShellStayWords)
{
    for (const QString &word :
        {QString("a"), QString(""), QString("a b"), QString("'"), QString("$(x)`y`\\\"!"),
            QString("-n"), QString("a=b"), QString("~"), QString("*\n")}) {
        const Outcome outcome =
            runProcess("/bin/sh", {"-c", "printf %s " + shellWord(word)}, environment, work);
        EXPECT_EQ(outcome.output, word.toUtf8());
        EXPECT_EQ(outcome.errors, "");
    }
}
