// What talmo report compares results with.

#include "ReportFixture.h"

#include <QFile>

using namespace Talmo;

namespace
{

class ReportChangesTest : public ReportFixture
{
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
