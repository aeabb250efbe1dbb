#include "JUnit.h"
#include "Process.h"
#include "ResultsForTests.h"
#include "SmallDisk.h"
#include "inChild.h"

#include "DiskFile.h"
#include "xmlText.h"

#include <QDir>
#include <QTemporaryDir>

#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// A run with something in every field.
RunRecord fullRun()
{
    RunRecord run = runOf("test1(sim1)", RunState::Failed, "Files 'a' and 'b' differ at line 3");
    run.heading = "Particles reach the wall";
    run.labels = QStringList({"slow", "mpi"});
    run.line = 6;
    run.details = QStringList({"1.004 tolerances", "2 lines, 3 lines"});
    run.directory = "test1(sim1).dir";
    run.remarks = QStringList({"a file system is mounted on 'x', which stays"});
    run.seconds = 1.25;
    run.attempts = 3;
    run.scriptDigest = "0a";
    run.referencesDigest = "1b";
    run.directoryDigest = "2c";
    return run;
}

RunResults fullResults()
{
    RunResults results = resultsOf({fullRun(), runOf("test2")});
    results.host = "node7";
    results.programs = QStringList({"sim1=/opt/a = b/sim", "sim2"});
    results.started = "2026-03-01T12:00:00+01:00";
    results.seconds = 2.5;
    results.interruption = "SIGTERM";
    results.shard = 2;
    results.shards = 5;
    results.runsInAll = 9;
    results.listDigest = "3d";
    results.suiteDigest = "4e";
    return results;
}

class JUnitTest : public testing::Test
{
protected:
    QString pathOf(const QString &name) const { return folder.filePath(name); }

    /// A failed run that printed what is in the file \a name.
    RunRecord runThatPrinted(const QString &name) const
    {
        RunRecord run = runOf("test1", RunState::Failed, "it failed");
        run.output = {QFile::encodeName(pathOf(name)), 0, -1};
        return run;
    }

    /// What the document has as the output of \a run.
    static QString outputIn(const RunRecord &run)
    {
        return resultsIn(documentOf(resultsOf({run}))).runs[0].systemOut;
    }

    /// The same for a run that printed \a bytes.
    QString outputOf(const QByteArray &bytes) const
    {
        writeTo(pathOf("output"), bytes);
        return outputIn(runThatPrinted("output"));
    }

    /// Why \a results cannot be written to \a path on a disk that takes no more than 100 bytes.
    static QString problemOnSmallDisk(const RunResults &results, const QString &path)
    {
        const SmallDisk disk(100);
        QString problem;
        EXPECT_FALSE(writeJUnitFile(results, path, problem));
        return problem;
    }

    /// What the checker of the schema says of \a document; empty if it is valid.
    QByteArray complaintsAbout(const QByteArray &document) const
    {
        writeTo(pathOf("document.xml"), document);
        const Outcome outcome = runProcess(XMLLINT,
            {"--noout", "--huge", "--schema", SCHEMA, pathOf("document.xml")}, {}, folder.path());
        return outcome.status == 0 ? "" : outcome.errors;
    }

    QTemporaryDir folder;
};

const RunState allStates[] = {
    RunState::Passed, RunState::Failed, RunState::Known, RunState::Skipped, RunState::NotRun};

/// A line of a document, as an attacker or an editor changes it.
struct Change {
    const char *from;
    const char *to;
    const char *problem;
};

} // namespace

TEST_F(JUnitTest, IsWhatReadersOfJUnitFilesExpect)
{
    RunResults results = resultsOf({fullRun(), runOf("test2", RunState::Known, "x > 1"),
        runOf("test3", RunState::Skipped, "No applicable SimPrograms"),
        runOf("test4", RunState::NotRun, "not run"), runOf("test5")});
    results.runs[1].knownPattern = "x";
    results.runs[4].attempts = 2;
    results.started = "2026-03-01T12:00:00+01:00";
    results.host = "node7";
    results.seconds = 2.5;
    EXPECT_EQ(documentOf(results), contentOf(EXAMPLE));
}

TEST_F(JUnitTest, EverythingComesBack)
{
    const RunResults back = resultsIn(documentOf(fullResults()));
    EXPECT_EQ(toldHead(back), toldHead(fullResults()));
    ASSERT_EQ(back.runs.size(), 2U);
    EXPECT_EQ(told(back.runs[0]), told(fullRun()));
    EXPECT_EQ(told(back.runs[1]), told(runOf("test2")));
    EXPECT_TRUE(back.runs[1].message.isNull());
    EXPECT_TRUE(back.runs[1].systemOut.isNull());
}

TEST_F(JUnitTest, EveryStateComesBack)
{
    for (const RunState state : allStates) {
        for (const int attempts : {0, 1, 2}) {
            SCOPED_TRACE(static_cast<int>(state) * 10 + attempts);
            RunRecord run = runOf("test1", state);
            run.message = state == RunState::Passed ? QString() : QStringLiteral("why");
            run.knownPattern = state == RunState::Known ? "w.y" : "";
            run.attempts = attempts;
            const RunResults back = resultsIn(documentOf(resultsOf({run})));
            EXPECT_EQ(told(back.runs[0]), told(run));
            EXPECT_EQ(back.runs[0].isFlaky(), state == RunState::Passed && attempts == 2);
        }
    }
}

TEST_F(JUnitTest, WhatDoesNotPassSaysWhyInTheTextToo)
{
    const QByteArray document = documentOf(fullResults());
    EXPECT_TRUE(document.contains(">Files 'a' and 'b' differ at line 3\n"
                                  "test1:6\n1.004 tolerances\n2 lines, 3 lines</failure>"))
        << document.toStdString();
}

TEST_F(JUnitTest, NothingAtAllIsADocument)
{
    const QByteArray document = documentOf(RunResults());
    EXPECT_EQ(complaintsAbout(document), "");
    EXPECT_TRUE(resultsIn(document).runs.empty());
}

TEST_F(JUnitTest, TimesAreRoundedToMilliseconds)
{
    const struct {
        double seconds;
        double read;
    } rows[] = {
        {0, 0},
        {0.0004, 0},
        {0.0006, 0.001},
        {86400.1234, 86400.123},
        {1e-30, 0},
        {1e9, 1e9},
        {-1, 0}, // the clock was set back
        {std::numeric_limits<double>::quiet_NaN(), 0},
        {std::numeric_limits<double>::infinity(), 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.seconds);
        RunResults results = resultsOf({runOf("test1")});
        results.seconds = row.seconds;
        results.runs[0].seconds = row.seconds;
        const QByteArray document = documentOf(results);
        EXPECT_EQ(complaintsAbout(document), "");
        EXPECT_EQ(resultsIn(document).seconds, row.read);
        EXPECT_EQ(resultsIn(document).runs[0].seconds, row.read);
    }
}

TEST_F(JUnitTest, AnyTextIsCarriedOrReplaced)
{
    const struct {
        const char *title;
        QString text;
        QString read;
    } rows[] = {
        {"markup", "<a b='c' d=\"e\">&amp;]]></a><!-- --><?x?>", {}},
        {"white space", " a  b\tc\nd\n\n ", {}},
        {"carriage returns", "a\rb\r\nc\r\r\n", "a\nb\nc\n\n"},
        {"NUL", QString("a") + QChar(0) + "b", QStringLiteral(u"a\u2400b")},
        {"escape", "\x1b[31mred\x1b[0m", QStringLiteral(u"\u241b[31mred\u241b[0m")},
        {"separator", "\x1f", QStringLiteral(u"\u241f")},
        {"high", QString("a") + QChar(0xD800) + "b", QStringLiteral(u"a\uFFFDb")},
        {"low", QString("a") + QChar(0xDC00) + "b", QStringLiteral(u"a\uFFFDb")},
        {"high at the end", QString("a") + QChar(0xDBFF), QStringLiteral(u"a\uFFFD")},
        {"wrong way round", QString(QChar(0xDC00)) + QChar(0xD800),
            QStringLiteral(u"\uFFFD\uFFFD")},
        {"pair", QStringLiteral(u"\U0001F600"), {}},
        {"no character", QString(QChar(0xFFFE)) + QChar(0xFFFF), QStringLiteral(u"\uFFFD\uFFFD")},
        {"allowed, but rare", QStringLiteral(u"\u007f\u0085\u2028\ufdd0\ufeff"), {}},
        {"other alphabets", QStringLiteral(u"é µ 日本 ﷺ"), {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        const QString read = row.read.isNull() ? row.text : row.read;
        RunRecord run = runOf("test1", RunState::Failed, row.text);
        run.name = run.script = run.program = run.heading = run.directory = row.text;
        run.details = run.labels = run.remarks = QStringList({row.text, "b"});
        run.systemOut = row.text;
        RunResults results = resultsOf({run});
        results.suite = results.host = results.started = results.interruption = row.text;
        const QByteArray document = documentOf(results);
        EXPECT_EQ(complaintsAbout(document), "");
        const RunResults back = resultsIn(document);
        EXPECT_EQ(back.suite, read);
        EXPECT_EQ(back.host, read);
        EXPECT_EQ(back.runs[0].name, read);
        EXPECT_EQ(back.runs[0].message, read);
        EXPECT_EQ(back.runs[0].heading, read);
        EXPECT_EQ(back.runs[0].details, QStringList({read, "b"}));
        EXPECT_EQ(back.runs[0].systemOut, read);
    }
}

TEST_F(JUnitTest, EveryUnitOfUnicodeMakesAReadableDocument)
{
    RunResults results = resultsOf({});
    for (int begin = 0; begin < 0x10000; begin += 0x100) {
        QString text;
        for (int unit = begin; unit < begin + 0x100; ++unit)
            text += QString("x") + QChar(unit);
        RunRecord run = runOf("test1", RunState::Failed, text);
        run.systemOut = text;
        results.runs.push_back(run);
    }
    const QByteArray document = documentOf(results);
    EXPECT_EQ(complaintsAbout(document), "");
    const RunResults back = resultsIn(document);
    ASSERT_EQ(back.runs.size(), 0x100U);
    for (size_t index = 0; index < back.runs.size(); ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(back.runs[index].message, xmlText(results.runs[index].message));
        EXPECT_EQ(back.runs[index].systemOut, xmlText(results.runs[index].message));
    }
}

TEST_F(JUnitTest, TheOutputOfFailedRunsIsWritten)
{
    writeTo(pathOf("all"), "of another run\nmine\nof a third\n");
    writeTo(pathOf("sim1.out"), "by the program");
    writeTo(pathOf("empty.out"), "");
    RunRecord run = runOf("test1");
    run.output = {QFile::encodeName(pathOf("all")), 15, 5};
    run.captures = {{"sim1.out", {QFile::encodeName(pathOf("sim1.out")), 0, -1}},
        {"empty.out", {QFile::encodeName(pathOf("empty.out")), 0, -1}},
        {"gone.out", {QFile::encodeName(pathOf("gone.out")), 0, -1}}};
    const QString output = "==== output, 5 bytes\nmine\n==== sim1.out, 14 bytes\nby the program\n"
                           "==== empty.out, 0 bytes\n"
                           "==== gone.out cannot be read: No such file or directory\n";
    for (const RunState state : allStates) {
        SCOPED_TRACE(static_cast<int>(state));
        run.state = state;
        const bool isWritten = state == RunState::Failed || state == RunState::Known;
        EXPECT_EQ(outputIn(run), isWritten ? output : QString());
    }
}

TEST_F(JUnitTest, ARunThatPrintedNothingHasNoOutput)
{
    EXPECT_TRUE(outputOf("").isNull());
    EXPECT_TRUE(outputIn(runOf("test1", RunState::Failed, "why")).isNull());
}

TEST_F(JUnitTest, APartBeyondTheEndOfAFileIsEmpty)
{
    writeTo(pathOf("output"), "12345");
    const struct {
        qint64 offset;
        qint64 length;
        const char *output;
    } rows[] = {
        {0, 5, "==== output, 5 bytes\n12345"},
        {0, 6, "==== output, 5 bytes\n12345"},
        {4, 100, "==== output, 1 bytes\n5"},
        {4, -1, "==== output, 1 bytes\n5"},
        {5, -1, ""},
        {6, -1, ""},
        {6, 3, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.offset);
        RunRecord run = runThatPrinted("output");
        run.output.offset = row.offset;
        run.output.length = row.length;
        EXPECT_EQ(outputIn(run), row.output);
    }
}

TEST_F(JUnitTest, OfALongOutputTheBeginningAndTheEndAreKept)
{
    constexpr int whole = static_cast<int>(outputBeginning + outputEnd);
    QByteArray bytes = QByteArray(whole - 1, 'a') + 'z';
    EXPECT_EQ(outputOf(bytes), QStringLiteral("==== output, %1 bytes\n").arg(whole) + bytes);
    bytes.prepend('b');
    EXPECT_EQ(outputOf(bytes), QStringLiteral("==== output, %1 bytes\n").arg(whole + 1) +
                                   bytes.left(outputBeginning) + "\n==== 1 bytes are left out\n" +
                                   bytes.right(outputEnd));
    bytes = "b" + QByteArray(10000000, 'a') + "z";
    EXPECT_EQ(outputOf(bytes),
        "==== output, 10000002 bytes\nb" + QByteArray(outputBeginning - 1, 'a') +
            QStringLiteral("\n==== %1 bytes are left out\n").arg(bytes.size() - whole) +
            QByteArray(outputEnd - 1, 'a') + "z");
}

TEST_F(JUnitTest, CuttingLeavesCharactersWhole)
{
    const QByteArray characters[] = {"\xc3\xa9", "\xe2\x82\xac", "\xf0\x9f\x98\x80"};
    for (const QByteArray &character : characters) {
        for (int shift = 0; shift < 4; ++shift) {
            SCOPED_TRACE(character.toStdString() + std::to_string(shift));
            const QByteArray bytes =
                QByteArray(shift, 'a') + character.repeated(50000) + QByteArray(shift, 'z');
            const QString output = outputOf(bytes);
            EXPECT_FALSE(output.contains(QChar(QChar::ReplacementCharacter)));
            const QString text = output.section('\n', 1);
            const QByteArray beginning = text.section('\n', 0, 0).toUtf8();
            const QByteArray end = text.section('\n', 2).toUtf8();
            EXPECT_TRUE(bytes.startsWith(beginning));
            EXPECT_TRUE(bytes.endsWith(end));
            EXPECT_GT(beginning.size(), outputBeginning - 4);
            EXPECT_LE(beginning.size(), outputBeginning);
            EXPECT_GT(end.size(), outputEnd - 4);
            EXPECT_LE(end.size(), outputEnd);
            EXPECT_EQ(
                text.section('\n', 1, 1), QStringLiteral("==== %1 bytes are left out")
                                              .arg(bytes.size() - beginning.size() - end.size()));
        }
    }
}

TEST_F(JUnitTest, WhatIsNoUtf8IsReplacedAndNotLost)
{
    const QByteArray bytes = QByteArray("\xff\x80\x80\x80\x80\xc3").repeated(20000);
    const QString output = outputOf(bytes);
    EXPECT_TRUE(output.endsWith(QChar(QChar::ReplacementCharacter)));
    const qint64 leftOut = bytes.size() - outputBeginning - outputEnd;
    const QString line = output.section('\n', 2, 2);
    EXPECT_TRUE(line.endsWith("bytes are left out")) << line.toStdString();
    EXPECT_GE(line.section(' ', 1, 1).toLongLong(), leftOut);
    EXPECT_LE(line.section(' ', 1, 1).toLongLong(), leftOut + 6);
    EXPECT_EQ(outputOf("a\xffz"), QStringLiteral(u"==== output, 3 bytes\na\uFFFDz"));
}

TEST_F(JUnitTest, FilesShareTheRoomAndEachKeepsItsEnd)
{
    RunRecord run = runThatPrinted("output");
    writeTo(pathOf("output"), QByteArray(100000, 'a') + "end of the output");
    for (const char *name : {"one.out", "two.out"}) {
        writeTo(pathOf(name), QByteArray(100000, 'b') + "end of " + name);
        run.captures.push_back({name, {QFile::encodeName(pathOf(name)), 0, -1}});
    }
    writeTo(pathOf("small.out"), "small");
    run.captures.push_back({"small.out", {QFile::encodeName(pathOf("small.out")), 0, -1}});
    const QString output = outputIn(run);
    EXPECT_TRUE(output.contains("end of the output\n==== one.out, "));
    EXPECT_TRUE(output.contains("end of one.out\n==== two.out, "));
    EXPECT_TRUE(output.endsWith("end of two.out\n==== small.out, 5 bytes\nsmall"));
    EXPECT_EQ(output.count("bytes are left out"), 3);
    EXPECT_GT(output.size(), outputBeginning + outputEnd);
    EXPECT_LT(output.size(), outputBeginning + outputEnd + 500); // the lines in between
}

TEST_F(JUnitTest, OfManyCapturesTheLastAreKept)
{
    RunRecord run = runOf("test1", RunState::Failed, "why");
    writeTo(pathOf("out"), "x\n");
    for (int number = 1; number <= 40; ++number)
        run.captures.push_back(
            {QString::number(number), {QFile::encodeName(pathOf("out")), 0, -1}});
    const QString output = outputIn(run);
    EXPECT_TRUE(output.startsWith("==== 9, 2 bytes\nx\n==== 10, ")) << output.toStdString();
    EXPECT_TRUE(output.endsWith("==== 40, 2 bytes\nx\n==== 8 earlier files are left out\n"));
}

TEST_F(JUnitTest, OnlyRegularFilesAreRead)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(pathOf("fifo")), 0600), 0);
    ASSERT_TRUE(QDir(folder.path()).mkdir("directory"));
    ASSERT_TRUE(QFile::link("nowhere", pathOf("dangling")));
    ASSERT_TRUE(QFile::link("loop", pathOf("loop")));
    const struct {
        QString path;
        const char *reason;
    } rows[] = {
        {pathOf("fifo"), "It is no regular file"},
        {"/dev/zero", "It is no regular file"},
        {pathOf("directory"), "Is a directory"},
        {pathOf("dangling"), "No such file or directory"},
        {pathOf("loop"), "Too many levels of symbolic links"},
        {"", "No such file or directory"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.path.toStdString());
        RunRecord run = runOf("test1", RunState::Failed, "why");
        run.captures = {{"x.out", {QFile::encodeName(row.path), 0, -1}}};
        EXPECT_EQ(outputIn(run), QStringLiteral("==== x.out cannot be read: %1\n").arg(row.reason));
        RunResults results;
        QString problem;
        EXPECT_FALSE(readJUnitFile(QFile::encodeName(row.path), SystemOut::Kept, results, problem));
        EXPECT_EQ(problem, QStringLiteral("cannot read '%1': %2").arg(row.path, row.reason));
    }
}

TEST_F(JUnitTest, TheOutputThatWasReadIsWrittenAgain)
{
    RunRecord run = fullRun();
    run.systemOut = "==== output, 1 bytes\nx";
    run.state = RunState::Passed; // whoever wrote it knew why
    const QByteArray document = documentOf(resultsOf({run}));
    EXPECT_EQ(resultsIn(document).runs[0].systemOut, run.systemOut);
    EXPECT_EQ(documentOf(resultsIn(document)), document);
    EXPECT_TRUE(resultsIn(document, SystemOut::PassedOver).runs[0].systemOut.isNull());
    EXPECT_EQ(told(resultsIn(document, SystemOut::PassedOver).runs[0]),
        told(resultsIn(document).runs[0]));
}

TEST_F(JUnitTest, ManyRunsAreInTheSchemaAndComeBackInOrder)
{
    RunResults results = resultsOf({});
    QStringList names;
    for (int number = 0; number < 10000; ++number) {
        names += QStringLiteral("test%1").arg(number);
        results.runs.push_back(runOf(names.back()));
        results.runs.back().line = number;
    }
    const QByteArray document = documentOf(results);
    EXPECT_EQ(complaintsAbout(document), "");
    const RunResults back = resultsIn(document);
    EXPECT_EQ(namesOf(back), names);
    EXPECT_EQ(back.runs[9999].line, 9999);
}

TEST_F(JUnitTest, WhatIsNotUnderstoodIsPassedOver)
{
    const QByteArray document = documentOf(resultsOf({runOf("test1"), runOf("test2")}));
    const Change rows[] = {
        {"<testcase ", "<testcase assertions=\"3\" ", ""},
        {"<properties>", "<properties><other/>", ""},
        {"<properties>", "<properties><property name=\"new\" value=\"3\"/>", ""},
        {"<properties>", "<properties><property name=\"run.1.new\" value=\"3\"/>", ""},
        {"<testcase ", "<new><testcase name=\"no\" time=\"0\"/></new><testcase ", ""},
        {"<testsuite ", "<new>x</new><testsuite ", ""},
        {"</testsuites>\n", "</testsuites>\n<!-- end -->\n", ""},
    };
    for (const Change &row : rows) {
        SCOPED_TRACE(row.to);
        ASSERT_TRUE(document.contains(row.from));
        const RunResults back = resultsIn(QByteArray(document).replace(row.from, row.to));
        EXPECT_EQ(namesOf(back), QStringList({"test1", "test2"}));
    }
}

TEST_F(JUnitTest, WhatIsNotOursOrDamagedIsRefused)
{
    RunResults results = resultsOf({runOf("test1", RunState::Failed, "why")});
    results.shard = results.shards = 1;
    const QByteArray document = documentOf(results);
    const Change rows[] = {
        {"name=\"talmo\"", "name=\"other\"", "results.xml: it is no result file of talmo"},
        {"<testsuites name", "<testsuites other", "results.xml: it is no result file of talmo"},
        {"<testsuites ", "<!DOCTYPE testsuites [<!ENTITY a \"b\">]><testsuites ",
            "results.xml: it is no result file of talmo"},
        {"</testsuites>\n", "</testsuites>\nx", "results.xml:15: it is damaged: "},
        {"name=\"format\" value=\"1\"", "name=\"format\" value=\"2\"",
            "results.xml:5: it is damaged: the property 'format' cannot be '2'"},
        {"name=\"format\"", "name=\"other\"",
            "results.xml:14: it is damaged: it does not say which format it has"},
        {"value=\"1/1\"", "value=\"2/1\"",
            "results.xml:7: it is damaged: the property 'shard' cannot be '2/1'"},
        {"value=\"1/1\"", "value=\"1\"", "results.xml:7: it is damaged: the property 'shard'"},
        {"value=\"1/1\"", "value=\"0/1\"", "results.xml:7: it is damaged: the property 'shard'"},
        {"value=\"1/1\"", "value=\"\"", "results.xml:7: it is damaged: the property 'shard'"},
        {"run.1.script", "run.0.script",
            "results.xml:8: it is damaged: the properties of the runs are not in order"},
        {"run.1.script", "run.2.script", "results.xml:15: it is damaged: run 2 is missing"},
        {"run.1.script", "run.999999999999.script", "results.xml:15: it is damaged: run 99999999"},
        {"run.1.script", "run.x.script", "results.xml:8: it is damaged: the properties of the "},
        {"run.1.script\"", "run.1.line\"",
            "results.xml:8: it is damaged: the property 'line' cannot be 'test1'"},
        {"run.1.script\"", "run.1.attempts\"",
            "results.xml:8: it is damaged: the property 'attempts' cannot be 'test1'"},
        {"testcase name=\"test1\"", "testcase name=\"\"",
            "results.xml:10: it is damaged: a test case has no name"},
        {"classname=\"test1\" time=\"0.000\"", "time=\"soon\"",
            "results.xml:10: it is damaged: 'soon' is no time"},
        {"classname=\"test1\" time=\"0.000\"", "time=\"-1\"",
            "results.xml:10: it is damaged: '-1' is no time"},
        {"classname=\"test1\" time=\"0.000\"", "time=\"&a;\"", "results.xml:10: it is damaged: "},
    };
    for (const Change &row : rows) {
        SCOPED_TRACE(row.to);
        ASSERT_TRUE(document.contains(row.from)) << document.toStdString();
        const QString problem = problemIn(QByteArray(document).replace(row.from, row.to));
        EXPECT_TRUE(problem.startsWith(row.problem)) << problem.toStdString();
    }
    for (const char *other : {"", "x", "<a/>", "\xff\xfe", "{}", "<testsuites>"})
        EXPECT_EQ(problemIn(other), "results.xml: it is no result file of talmo");
}

TEST_F(JUnitTest, NamesThatXmlCanCarryComeBack)
{
    for (const char32_t code : {U'\u00E9', U'\u2028', U'\uE000', char32_t{0xFDD0}, U'\uFFFD',
             char32_t{0x1FFFE}, char32_t{0x10FFFF}}) {
        SCOPED_TRACE(static_cast<unsigned>(code));
        const QString name = "test" + QString::fromUcs4(&code, 1);
        EXPECT_EQ(xmlText(name), name);
        EXPECT_EQ(namesOf(resultsIn(documentOf(resultsOf({runOf(name)})))), QStringList(name));
    }
}

TEST_F(JUnitTest, AnEntityThatWouldGrowIsNotExpanded)
{
    QByteArray bomb = "<?xml version=\"1.0\"?>\n<!DOCTYPE testsuites [<!ENTITY a0 \"0123456789\">";
    for (int level = 1; level < 12; ++level) {
        const QByteArray below = "&a" + QByteArray::number(level - 1) + ';';
        bomb += "<!ENTITY a" + QByteArray::number(level) + " \"" + below.repeated(10) + "\">";
    }
    bomb += "]>\n<testsuites name=\"talmo\"><testsuite name=\"&a11;\"/></testsuites>\n";
    EXPECT_EQ(problemIn(bomb), "results.xml: it is no result file of talmo");
}

TEST_F(JUnitTest, ADocumentThatWasCutIsRefusedWhereverThatIs)
{
    const QByteArray document = documentOf(fullResults());
    for (int length = 0; length < document.size() - 1; ++length) { // the last byte is a newline
        const QString problem = problemIn(document.left(length));
        EXPECT_TRUE(problem.startsWith("results.xml:")) << length << problem.toStdString();
    }
}

TEST_F(JUnitTest, AFileIsWrittenWholeOrNotAtAll)
{
    const QString path = pathOf("results.xml");
    QString problem;
    ASSERT_TRUE(writeJUnitFile(fullResults(), path, problem)) << problem.toStdString();
    EXPECT_EQ(contentOf(path), documentOf(fullResults()));

    RunResults others[] = {fullResults(), fullResults()}; // the second one larger than a buffer
    others[0].host = "another";
    others[1].runs.resize(1000, fullRun());
    for (const RunResults &other : others) {
        EXPECT_EQ(problemOnSmallDisk(other, path),
            QStringLiteral("cannot write '%1': File too large").arg(path));
        EXPECT_EQ(contentOf(path), documentOf(fullResults()));
        EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files), QStringList("results.xml"));
    }
}

TEST_F(JUnitTest, ADeviceThatTakesNoMoreIsNoticed)
{
    QFile full("/dev/full");
    ASSERT_TRUE(full.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    EXPECT_FALSE(writeJUnit(fullResults(), full));
    EXPECT_FALSE(writeJUnit(resultsOf({}), full));
}

TEST_F(JUnitTest, AFileThatCannotBeWrittenIsKnownBefore)
{
    ASSERT_EQ(mkfifo(QFile::encodeName(pathOf("fifo")), 0600), 0);
    ASSERT_TRUE(QDir(folder.path()).mkdir("directory"));
    writeTo(pathOf("file"), "x");
    writeTo(pathOf("empty"), "");
    writeTo(pathOf("report"), documentOf(fullResults()));
    writeTo(pathOf("damaged"), documentOf(fullResults()).left(200));
    writeTo(pathOf("other"), documentOf(fullResults()).replace("\"talmo\"", "\"other\""));
    writeTo(pathOf("blank"), "\n");
    ASSERT_TRUE(QDir(folder.path()).mkdir("suite"));
    writeTo(pathOf("suite/talmo.known"), "");
    ASSERT_TRUE(QFile::link("file", pathOf("toFile")));
    ASSERT_TRUE(QFile::link("suite/talmo.known", pathOf("toKnown")));
    ASSERT_TRUE(QFile::link("none/x", pathOf("astray")));
    ASSERT_TRUE(QFile::link("directory", pathOf("toDirectory")));
    ASSERT_TRUE(QFile::link("loop", pathOf("loop")));
    const struct {
        QString name;
        const char *reason; ///< null: it can be written
    } rows[] = {
        {pathOf("new.xml"), nullptr},
        {pathOf("empty"), nullptr},
        {pathOf("report"), nullptr},
        {pathOf("damaged"), nullptr},
        {pathOf("file"), "It holds something else than results of talmo"},
        {pathOf("toFile"), "It holds something else than results of talmo"},
        {pathOf("other"), "It holds something else than results of talmo"},
        {pathOf("blank"), "It holds something else than results of talmo"},
        {pathOf("suite/talmo.known"), "It is the list of known failures"},
        {pathOf("directory/talmo.known"), "It is the list of known failures"},
        {pathOf("toKnown"), "It is the list of known failures"},
        {pathOf("directory/new.xml"), nullptr},
        {pathOf("none/new.xml"), "No such file or directory"},
        {pathOf("file/new.xml"), "Not a directory"},
        {pathOf("directory"), "Is a directory"},
        {pathOf("toDirectory"), "Is a directory"},
        {pathOf("new/"), "Is a directory"},
        {pathOf("astray"), "No such file or directory"},
        {pathOf("fifo"), "It is no regular file"},
        {"/dev/null", "It is no regular file"},
        {"", "No such file or directory"},
        {QString("a") + QChar(0), "No such file or directory"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name.toStdString());
        const QString expected =
            row.reason == nullptr
                ? QString()
                : QStringLiteral("cannot write '%1': %2").arg(row.name, row.reason);
        const QStringList before = QDir(folder.path()).entryList();
        EXPECT_EQ(problemOfResultFile(row.name), expected);
        EXPECT_EQ(QDir(folder.path()).entryList(), before);
        QString problem;
        EXPECT_EQ(writeJUnitFile(fullResults(), row.name, problem), row.reason == nullptr);
    }
}

TEST_F(JUnitTest, WhatIsInTheWayIsNotLost)
{
    QString problem;
    writeTo(pathOf("script"), "=heading\n");
    EXPECT_FALSE(writeJUnitFile(fullResults(), pathOf("script"), problem));
    EXPECT_EQ(contentOf(pathOf("script")), "=heading\n");
}

TEST_F(JUnitTest, WhatWePrintIntoIsNotReplaced)
{
    for (const int printed : {STDOUT_FILENO, STDERR_FILENO}) {
        EXPECT_TRUE(succeeded(inChild([&] {
            const QByteArray path = QFile::encodeName(pathOf("printed"));
            const int file = open(path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            const QString link = QStringLiteral("/dev/fd/%1").arg(printed);
            const QString refused = "cannot write '%1': It is what we print into";
            return dup2(file, printed) == printed &&
                   problemOfResultFile(pathOf("printed")) == refused.arg(pathOf("printed")) &&
                   problemOfResultFile(link) == refused.arg(link);
        })));
    }
}

TEST_F(JUnitTest, PermissionsAreAskedForBefore)
{
    ASSERT_EQ(chmod(QFile::encodeName(folder.path()), 0755), 0);
    ASSERT_TRUE(QDir(folder.path()).mkdir("mine"));
    ASSERT_TRUE(QDir(folder.path()).mkdir("open"));
    ASSERT_EQ(chmod(QFile::encodeName(pathOf("mine")), 0555), 0);
    ASSERT_EQ(chmod(QFile::encodeName(pathOf("open")), 0777), 0);
    writeTo(pathOf("open/file"), "x");
    ASSERT_EQ(chmod(QFile::encodeName(pathOf("open/file")), 0444), 0);
    writeTo(pathOf("open/unread"), "");
    ASSERT_EQ(chmod(QFile::encodeName(pathOf("open/unread")), 0222), 0);
    const QString refused = "cannot write '%1': Permission denied";
    EXPECT_TRUE(asNobody([&] {
        return problemOfResultFile(pathOf("open/new.xml")).isNull() &&
               problemOfResultFile(pathOf("mine/new.xml")) == refused.arg(pathOf("mine/new.xml")) &&
               problemOfResultFile(pathOf("open/file")) == refused.arg(pathOf("open/file")) &&
               problemOfResultFile(pathOf("open/unread")) == refused.arg(pathOf("open/unread"));
    }));
}

TEST_F(JUnitTest, ALinkIsFollowed)
{
    ASSERT_TRUE(QDir(folder.path()).mkdir("directory"));
    ASSERT_TRUE(QFile::link("directory/results.xml", pathOf("link")));
    QString problem;
    EXPECT_TRUE(problemOfResultFile(pathOf("link")).isNull());
    EXPECT_TRUE(writeJUnitFile(fullResults(), pathOf("link"), problem)) << problem.toStdString();
    EXPECT_TRUE(QFileInfo(pathOf("link")).isSymLink());
    EXPECT_EQ(contentOf(pathOf("directory/results.xml")), documentOf(fullResults()));
}
