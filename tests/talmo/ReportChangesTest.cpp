// What talmo report compares results with.

#include "ReportFixture.h"

#include <QDir>
#include <QFile>

using namespace Talmo;

namespace
{

class ReportChangesTest : public ReportFixture
{
protected:
    /// Which runs have gone, by the report with \a arguments.
    QJsonValue goneOf(const QStringList &arguments)
    {
        return jsonReport(arguments)["changes"].toObject()["gone"];
    }
};

} // namespace

TEST_F(ReportChangesTest, ComparesWithTheRunBefore)
{
    for (const char *const name : {"test1", "test2", "test3", "test4", "test5"})
        write(name, "=heading\n=exists ../there\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    EXPECT_EQ(jsonReport({})["changes"], QJsonValue());
    write("test1", "=heading\n");
    EXPECT_EQ(make({"-j1", "test1", "test2"}).status, 1); // the others are not gone
    write("test3", "=heading\n");
    QFile::remove(work + "/test2");
    write("test6", "=heading\n=exists none\n");
    EXPECT_EQ(make({"-j1"}).status, 1);
    QJsonObject changes = jsonReport({})["changes"].toObject();
    changes.remove("old");
    const QByteArray expected = R"({"gone": ["test2"], "new": ["test6"], "newlyFailing": [],
        "newlyPassing": ["test3"], "slower": [], "stillFailing": ["test4", "test5"]})";
    EXPECT_EQ(QJsonDocument(changes).toJson(),
        QJsonDocument(QJsonDocument::fromJson(expected).object()).toJson());
    EXPECT_TRUE(markdown().contains(
        "\n### Changes\n\nCompared with <code>the run of MOMENT</code>\n\n| | runs | which "
        "|\n|---|---|---|\n"
        "| newly passing | 1 | <code>test3</code> |\n"
        "| still failing | 2 | <code>test4</code>, <code>test5</code> |\n"
        "| new | 1 | <code>test6</code> |\n"
        "| gone | 1 | <code>test2</code> |\n"))
        << markdown().toStdString();
}

TEST_F(ReportChangesTest, ComparesWithAFile)
{
    write("test1", "=heading\n=exists none\n");
    write("test2", "=heading\n");
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "old.xml"}).status, 1);
    write("test1", "=heading\n");
    write("test2", "=heading\n=exists none\n");
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "new.xml"}).status, 1);
    const QJsonObject changes =
        jsonReport({"new.xml", "--compare", "old.xml"})["changes"].toObject();
    EXPECT_EQ(changes["newlyFailing"], QJsonArray({"test2"}));
    EXPECT_EQ(changes["newlyPassing"], QJsonArray({"test1"}));
    EXPECT_EQ(changes["old"].toString(), "The results of talmo in 'old.xml'");
    expectRefused(
        {"new.xml", "--compare", "none"}, "cannot read 'none': No such file or directory");
}

TEST_F(ReportChangesTest, OnlyWhatCannotBeMadeAnyMoreIsGone)
{
    for (const char *const name : {"test1", "test2", "test3"})
        write(name, "=heading\n");
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "old.xml"}).status, 0);
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "new.xml", "test1"}).status, 0);
    EXPECT_EQ(goneOf({"new.xml", "--compare", "old.xml"}), QJsonArray());
    ASSERT_TRUE(QFile::remove(work + "/test2"));
    EXPECT_EQ(goneOf({"new.xml", "--compare", "old.xml"}), QJsonArray({"test2"}));
    // On another machine there are no scripts at all.
    ASSERT_TRUE(QDir(work).mkdir("elsewhere"));
    EXPECT_EQ(goneOf({"-C", "elsewhere", "../new.xml", "--compare", "../old.xml"}), QJsonArray());
    // The script that runs for a program now ran for none before.
    write("test1", "=heading\n=simprogram sim1\n");
    configure({"sim1"});
    addProgram("sim1", "");
    EXPECT_EQ(make({"-j1", "--no-record", "--junit", "new.xml", "test1"}).status, 0);
    EXPECT_EQ(goneOf({"new.xml", "--compare", "old.xml"}), QJsonArray({"test1", "test2"}));
}

TEST_F(ReportChangesTest, WhatRanInTheRunBeforeAndCannotAnyMoreIsGone)
{
    for (const char *const name : {"test1", "test2", "test3"})
        write(name, "=heading\n");
    EXPECT_EQ(make({"-j1"}).status, 0);
    EXPECT_EQ(make({"-j1", "test1", "test2"}).status, 0);
    ASSERT_TRUE(QFile::remove(work + "/test2"));
    ASSERT_TRUE(QFile::remove(work + "/test3"));
    EXPECT_EQ(make({"-j1"}).status, 0);
    // What was not part of the run before had gone already, as far as that run knows.
    EXPECT_EQ(goneOf({}), QJsonArray({"test2"}));
}

TEST_F(ReportChangesTest, TestsOfCTestAreGoneIfTheirScriptsAre)
{
    const auto document = [](const QStringList &names) {
        QByteArray text = "<testsuite disabled=\"0\" skipped=\"0\" time=\"1\">";
        for (const QString &name : names) {
            const QByteArray run = name.section('.', 1).toUtf8();
            text += "<testcase name=\"" + name.toUtf8() + "\" time=\"0\" status=\"run\">";
            if (!run.isEmpty())
                text += "<system-out>" + run +
                        ": one\n\n1 run in 0.00 s: 1 passed, 0 failed, 0 known, 0 flaky, 0 "
                        "skipped, 0 not run\n</system-out>";
            text += "</testcase>";
        }
        return text + "</testsuite>";
    };
    write("old.xml", document({"physics.test1", "physics.test2", "physics.test3", "other1"}));
    write("new.xml", document({"physics.test1", "other2"}));
    const QString place = work + "/talmo_tests/physics/";
    ASSERT_TRUE(QDir().mkpath(place));
    for (const char *const name : {"test1", "test3"})
        writeTo(place + name, "=heading\n");
    // Nobody knows whether a test of somebody else could still be made.
    EXPECT_EQ(goneOf({"new.xml", "--compare", "old.xml"}), QJsonArray({"physics.test2"}));
}
