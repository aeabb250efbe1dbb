#include "plot.h"

#include "PlotAxis.h"
#include "PlotCurve.h"
#include "Printing.h"
#include "ResultsForTests.h"
#include "SmallDisk.h"

#include <QBuffer>
#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <iterator>
#include <limits>

#include <sys/stat.h>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

/// What a picture shows, as far as the tests want to know.
struct Picture {
    QStringList texts;
    QStringList numbers;                   ///< at the axes
    QMap<QString, QStringList> paths;      ///< by their class: their data
    QMap<QString, QStringList> rectangles; ///< by their class: "y height"
};

class PlotTest : public testing::Test
{
protected:
    PlotTest() { EXPECT_TRUE(QDir::setCurrent(folder.path())); }
    ~PlotTest() override { EXPECT_TRUE(QDir::setCurrent(outside)); }

    static PlotRequest requestOf(
        const QByteArray &content1, const QByteArray &content2, const std::vector<size_t> &columns)
    {
        writeTo("one", content1);
        writeTo("two", content2);
        PlotRequest request;
        request.file1 = "one";
        request.file2 = "two";
        request.columns = columns;
        return request;
    }

    static QByteArray documentOf(const PlotRequest &request)
    {
        QBuffer buffer;
        EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
        QString problem;
        EXPECT_TRUE(writePlot(request, buffer, problem)) << problem.toStdString();
        EXPECT_EQ(problem, QString());
        return buffer.data();
    }

    /// Reads \a document, which must be valid, and have numbers only in its data.
    static Picture pictureIn(const QByteArray &document)
    {
        Picture picture;
        QXmlStreamReader xml(document);
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement)
                continue;
            const auto attributes = xml.attributes();
            for (const auto &attribute : attributes) {
                const QString value = attribute.value().toString();
                EXPECT_FALSE(value.contains("nan") || value.contains("inf")) << value.toStdString();
            }
            const QString kind = attributes.value(QStringLiteral("class")).toString();
            if (xml.name() == QStringLiteral("path"))
                picture.paths[kind] += attributes.value(QStringLiteral("d")).toString();
            else if (xml.name() == QStringLiteral("rect"))
                picture.rectangles[kind] += attributes.value(QStringLiteral("y")).toString() + ' ' +
                                            attributes.value(QStringLiteral("height")).toString();
            else if (xml.name() == QStringLiteral("text"))
                (kind.startsWith("number") ? picture.numbers : picture.texts) +=
                    xml.readElementText();
        }
        EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
        return picture;
    }

    static Picture pictureOf(const PlotRequest &request) { return pictureIn(documentOf(request)); }

    /// Why there is no picture of \a request.
    static QString problemOf(const PlotRequest &request)
    {
        QBuffer buffer;
        EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
        QString problem;
        EXPECT_FALSE(writePlot(request, buffer, problem));
        EXPECT_EQ(buffer.data(), QByteArray());
        return problem;
    }

    const QString outside = QDir::currentPath();
    QTemporaryDir folder;
};

/// How many times the curve \a data begins anew.
int piecesOf(const QString &data)
{
    return static_cast<int>(data.count('M'));
}

} // namespace

TEST_F(PlotTest, ShowsBothCurvesTheirDifferenceAndTheBand)
{
    PlotRequest request = requestOf("# s betx\n0 1\n1 2\n2 4\n", "# s betx\n0 1\n1 2\n2 5\n", {2});
    request.tolerances = {0, 0.5};
    request.names = QStringList({"s", "betx"});
    const Picture picture = pictureOf(request);
    EXPECT_EQ(picture.texts, QStringList({"one", "two", "Column 2: betx"}));
    // Three panels side by side would be 702 wide; 4 pixels are free at each end, so 347 a line.
    EXPECT_EQ(picture.paths["curve one"].last(), "M88 216h0l347-40.5l347-81");
    EXPECT_EQ(picture.paths["curve two"].last(), "M88 216h0l347-40.5l347-121.5");
    EXPECT_EQ(picture.paths["curve apart"], QStringList("M88 273.3h0h347l347 54.7"));
    EXPECT_EQ(picture.rectangles["band"], QStringList("245.5 55.7"));
    EXPECT_EQ(picture.numbers,
        QStringList({"1", "2", "3", "4", "5", "difference; the band is the tolerance 0.5", "-1.0",
            "-0.5", "0", "0.5", "2", "3", "4", "line"}));
}

TEST_F(PlotTest, OneOutlierInTenMillionLinesIsThere)
{
    constexpr int lines = 10 * 1000 * 1000;
    constexpr int outlier = 7654321;
    QByteArray content = QByteArray("1\n").repeated(lines);
    content[2 * outlier] = '9';
    writeTo("one", content);
    writeTo("two", QByteArray("1\n").repeated(lines));
    PlotRequest request;
    request.file1 = "one";
    request.file2 = "two";
    request.columns = {1};
    const QByteArray document = documentOf(request);
    EXPECT_LT(document.size(), 10000);
    const Picture picture = pictureIn(document);
    EXPECT_TRUE(
        picture.paths["curve one"].last().contains(QRegularExpression("v-162(v162)?h|v-162v162")))
        << picture.paths["curve one"].last().toStdString();
    EXPECT_FALSE(picture.paths["curve two"].last().contains("v"));
    EXPECT_TRUE(picture.paths["curve apart"].last().contains("v-82v82"));
}

TEST_F(PlotTest, LinesWithoutANumberInterruptTheCurve)
{
    const struct {
        const char *one;
        const char *two;
        int pieces1, pieces2, pieces3;
    } rows[] = {
        {"1\n2\n3\n", "1\n2\n3\n", 1, 1, 1},
        {"1\nx\n3\n", "1\n2\n3\n", 2, 1, 2},
        {"1\n\n3\n", "1\n2\n3\n", 2, 1, 2},
        {"1\nnan\n3\n", "1\n2\ninf\n", 2, 1, 1},
        {"1\n2\n3\n", "1\n#\n3\n", 1, 2, 2},
        {"1\n#\n3\n", "1\n#\n3\n", 1, 1, 1}, // two comments are passed over
        {"1\n2\n3\n", "1\n", 1, 1, 1},
        {"1\n", "", 1, 0, 0},
        {"", "1\n", 0, 1, 0},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(QByteArray(row.one).replace('\n', '|').toStdString());
        const Picture picture = pictureOf(requestOf(row.one, row.two, {1}));
        EXPECT_EQ(piecesOf(picture.paths["curve one"].mid(1).join("")), row.pieces1);
        EXPECT_EQ(piecesOf(picture.paths["curve two"].mid(1).join("")), row.pieces2);
        EXPECT_EQ(piecesOf(picture.paths["curve apart"].join("")), row.pieces3);
    }
}

TEST_F(PlotTest, GoesOverAnotherColumn)
{
    PlotRequest request = requestOf("10 1\n30 2\n20 3\n", "10 1\n30 2\nx 3\n", {2});
    request.names = QStringList({"s", "y"});
    request.x = 1;
    const Picture picture = pictureOf(request);
    EXPECT_EQ(picture.paths["curve one"].last(), "M88 216h0l694-81l-347-81");
    EXPECT_EQ(picture.paths["curve two"].last(), "M88 216h0l694-81");
    EXPECT_EQ(picture.numbers.last(), "column 1: s");
    EXPECT_EQ(pictureOf(requestOf("10 1\n20 1\n30 1\n20 1\n", "", {2})).paths["curve one"].last(),
        "M88 135h0h694");
    PlotRequest back = requestOf("10 1\n20 1\n30 1\n20 1\n", "", {2});
    back.x = 1;
    EXPECT_EQ(pictureOf(back).paths["curve one"].last(), "M88 135h0h694h-347");
    request = requestOf("10 1\n", "10 1\n", {2});
    request.x = 3; // no line has that
    EXPECT_EQ(pictureOf(request).texts.last(), "There are no numbers in this column.");
}

TEST_F(PlotTest, EveryColumnHasItsPanels)
{
    PlotRequest request = requestOf("1 2 3\n4 5 6\n", "1 2 3\n4 5 7\n", {3, 1, 9});
    request.tolerances = {-1, 0, 1e-6};
    const Picture picture = pictureOf(request);
    EXPECT_EQ(picture.texts, QStringList({"one", "two", "Column 3", "Column 1", "Column 9",
                                 "There are no numbers in this column."}));
    EXPECT_EQ(picture.paths["curve apart"].size(), 2);
    EXPECT_EQ(picture.rectangles["band"].size(), 1);
    EXPECT_EQ(picture.rectangles["frame"].size(), 6);
}

TEST_F(PlotTest, AnyNumbersGiveAPicture)
{
    const QByteArray rows[] = {
        "",
        "\n",
        "5\n",
        "0\n",
        "-0\n0\n",
        "7\n7\n7\n",
        "1e308\n-1e308\n",
        "1.7976931348623157e308\n-1.7976931348623157e308\n1.7976931348623157e308\n",
        "5e-324\n-5e-324\n0\n",
        "5e-324\n1e308\n",
        "1\n1.0000000000000002\n",
        "nan\nnan\n",
        "inf\n-inf\n",
        "123456789012345678\n123456789012345679\n",
        "1e-300\n2e-300\n",
        "1e300\n2e300\n",
        "x y z\n",
        "# only a comment\n",
        QByteArray("\0\n1\n", 4),
        "\xff\xfe\n1\n",
    };
    const double tolerances[] = {-1.0, 0.0, 1e-320, 1.0, 1e308};
    size_t pair = 0;
    for (const QByteArray &one : rows) {
        for (const QByteArray &two : rows) {
            SCOPED_TRACE((one + '|' + two).toStdString());
            PlotRequest request = requestOf(one, two, {1});
            request.tolerances = {tolerances[++pair % std::size(tolerances)]};
            for (request.x = 0; request.x < 2; ++request.x)
                EXPECT_EQ(pictureOf(request).texts.value(2), "Column 1");
        }
    }
}

TEST_F(PlotTest, AnySizeGivesAPicture)
{
    PlotRequest request = requestOf("1 2\n3 4\n", "1 2\n3 4\n", {});
    EXPECT_EQ(pictureOf(request).texts, QStringList({"one", "two"}));
    request.columns = {1, 2};
    for (const int width : {-1, 0, 1, 100, 100000}) {
        request.width = width;
        EXPECT_EQ(pictureOf(request).texts.size(), 4);
    }
}

TEST_F(PlotTest, TextsStayTexts)
{
    PlotRequest request = requestOf("1\n", "1\n", {1});
    const QString nasty = QStringLiteral("</text><script>&\"'\x1b") + QChar(0x202e) + QChar(0xd800);
    request.names = QStringList(nasty);
    const QString shown = QStringLiteral("</text><script>&\"'") + QChar(0x241b) + "\\u202e" +
                          QChar(QChar::ReplacementCharacter);
    EXPECT_EQ(pictureOf(request).texts.last(), "Column 1: " + shown);
    QBuffer buffer;
    ASSERT_TRUE(buffer.open(QIODevice::WriteOnly));
    QString problem;
    EXPECT_TRUE(writePlotElement(request, nasty, "other", buffer, problem));
    EXPECT_EQ(pictureIn(buffer.data()).texts.value(0), shown);
    EXPECT_FALSE(buffer.data().contains("<style"));
}

TEST_F(PlotTest, ALongNameLosesItsMiddle)
{
    PlotRequest request = requestOf("1\n", "1\n", {1});
    request.names = QStringList(QString(1000, 'x') + "end");
    const QString title = pictureOf(request).texts.last();
    EXPECT_LT(title.size(), 120);
    EXPECT_TRUE(title.contains(QChar(0x2026)));
    EXPECT_TRUE(title.endsWith("end"));
}

TEST_F(PlotTest, WhatCannotBeReadIsTold)
{
    PlotRequest request = requestOf("1\n", "1\n", {1});
    request.file1 = "none";
    EXPECT_EQ(problemOf(request), "'none' cannot be read: No such file or directory");
    ASSERT_EQ(mkfifo("fifo", 0600), 0);
    request.file1 = "one";
    request.file2 = "fifo";
    EXPECT_EQ(problemOf(request), "'fifo' cannot be read: It is no regular file");
    request.file2 = ".";
    EXPECT_EQ(problemOf(request), "'.' cannot be read: Is a directory");
    request.file2 = QString("two") + QChar(0) + "x";
    EXPECT_TRUE(problemOf(request).endsWith("cannot be read: No file has such a name"));
}

TEST_F(PlotTest, AFullDiskIsTold)
{
    const PlotRequest request = requestOf("1\n", "1\n", {1});
    QFile file("plot.svg");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    QString problem;
    {
        const SmallDisk disk(100);
        EXPECT_FALSE(writePlot(request, file, problem));
    }
    EXPECT_EQ(problem, QString()); // whoever opened the file knows it
}

TEST(PlotAxisTest, HasRoundNumbers)
{
    constexpr double most = std::numeric_limits<double>::max();
    const struct {
        double from, to;
        QStringList labels;
    } rows[] = {
        {0, 10, {"0", "5", "10"}},
        {0, 1, {"0", "0.5", "1.0"}},
        {-1, 1, {"-1", "0", "1"}},
        {1, 3, {"1", "2", "3"}},
        {0, 1234567, {"0", "5e5", "1e6"}},
        {0, 3e-7, {"0", "1e-7", "2e-7", "3e-7"}},
        {5, 5, {"4.8", "5.0", "5.2"}},
        {0, 0, {"-1", "0", "1"}},
        {-most, most, {"-1e308", "0", "1e308"}},
        {0, 5e-324, {"0", "2e-324", "4e-324"}},
        {1, 1.0000000000000002, {"9.999999995e-1", "1e0", "1.0000000005e0"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.to);
        QStringList labels;
        for (const PlotAxis::Tick &tick : PlotAxis(row.from, row.to, 100).ticks(3))
            labels += tick.label;
        EXPECT_EQ(labels, row.labels);
    }
}

TEST(PlotAxisTest, PositionsStayWithinIt)
{
    const PlotAxis axis(-1, 1, 108);
    EXPECT_EQ(axis.position(-1), 4);
    EXPECT_EQ(axis.position(0), 54);
    EXPECT_EQ(axis.position(1), 104);
    EXPECT_EQ(axis.position(-1e308), 4);
    EXPECT_EQ(axis.position(1e308), 104);
}

TEST(PlotCurveTest, KeepsTheSmallestAndTheLargestOfEachPixel)
{
    PlotCurve curve(10);
    for (const double value : {5.0, 1.0, 9.0, 6.0})
        curve.add(3.5, value);
    curve.add(4, 7);
    const std::vector<PlotCurve::Stroke> strokes = curve.strokes();
    ASSERT_EQ(strokes.size(), 2U);
    EXPECT_EQ(strokes[0].first, 5);
    EXPECT_EQ(strokes[0].smallest, 1);
    EXPECT_EQ(strokes[0].largest, 9);
    EXPECT_EQ(strokes[0].last, 6);
    EXPECT_FALSE(strokes[0].isJoined);
    EXPECT_TRUE(strokes[1].isJoined);
    EXPECT_EQ(curve.smallest(), 1);
    EXPECT_EQ(curve.largest(), 9);
}

TEST(PlotCurveTest, ManyJumpsBecomeOneStrokeAPixel)
{
    PlotCurve curve(10);
    for (int point = 0; point < 100000; ++point)
        curve.add(point % 10, point == 77777 ? 1000 : point % 3);
    const std::vector<PlotCurve::Stroke> strokes = curve.strokes();
    ASSERT_EQ(strokes.size(), 10U);
    EXPECT_EQ(strokes[7].largest, 1000);
    for (const PlotCurve::Stroke &stroke : strokes) {
        EXPECT_EQ(stroke.smallest, 0);
        EXPECT_FALSE(stroke.isJoined);
    }
}
