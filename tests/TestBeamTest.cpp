#include "TestBeam.h"
#include "Printing.h"

#include <cmath>
#include <cstdio>

#include <gtest/gtest.h>

using namespace Talmo;

namespace
{

bool parse(const QString &words, TestBeam &beam)
{
    return beam.parse(words.split(QLatin1Char(' ')), 0);
}

/// The lines after the heading. Expects the right heading.
QByteArray linesOf(const TestBeam &beam)
{
    const QByteArray heading = "#QXTrackFile a title\n"
                               "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n";
    QByteArray file;
    beam.write("a title", [&file](std::string_view text) {
        file.append(text.data(), static_cast<int>(text.size()));
        return true;
    });
    EXPECT_TRUE(file.startsWith(heading));
    return file.mid(heading.size());
}

QByteArray linesOf(const QString &words)
{
    TestBeam beam;
    EXPECT_TRUE(parse(words, beam)) << words.toStdString();
    return linesOf(beam);
}

/// The lines as printf writes them in the C locale.
QByteArray printed(const TestBeam &beam)
{
    QByteArray lines;
    const double dx = (beam.x1 - beam.x0) / (beam.nx - 1);
    const double dy = (beam.y1 - beam.y0) / (beam.ny - 1);
    for (int i = 0; i < beam.nx; ++i) {
        for (int j = 0; j < beam.ny; ++j) {
            const volatile double fromX0 = i * dx; // prevents a fused multiplication and addition
            const volatile double fromY0 = j * dy;
            char line[200];
            std::snprintf(line, sizeof line, "%g %g %g 0 0 %g 0 %d %d 1 0 1\n", fromX0 + beam.x0,
                fromY0 + beam.y0, beam.z, beam.pz, beam.pdgId, 1 + i * beam.ny + j);
            lines += line;
        }
    }
    return lines;
}

} // namespace

TEST(TestBeam, TakesItsValuesInTheOrderOfTheMembers)
{
    TestBeam beam;
    ASSERT_TRUE(beam.parse({"=testbeam", "file", "-1.5", "1e1", "+3", "+.5", "4.", "0005", "6E2",
                               "-13", "200.25", "more"},
        2));
    EXPECT_EQ(beam.x0, -1.5);
    EXPECT_EQ(beam.x1, 10);
    EXPECT_EQ(beam.nx, 3);
    EXPECT_EQ(beam.y0, 0.5);
    EXPECT_EQ(beam.y1, 4);
    EXPECT_EQ(beam.ny, 5);
    EXPECT_EQ(beam.z, 600);
    EXPECT_EQ(beam.pdgId, -13);
    EXPECT_EQ(beam.pz, 200.25);
}

TEST(TestBeam, EachWordMustBeANumberOfItsKind)
{
    const QStringList good = {"0", "1", "2", "0", "1", "2", "0", "13", "1"};
    TestBeam beam;
    ASSERT_TRUE(beam.parse(good, 0));
    for (int index = 0; index < good.size(); ++index) {
        const bool isInteger = index == 2 || index == 5 || index == 7;
        QStringList bad = {"x", "", "nan", "inf", "0x3", "1e", "1e999", "2,0", "+-2", "3f"};
        if (isInteger)
            bad += {"1.5", "3.", "2e0", "2147483648", "-2147483649"};
        for (const QString &word : bad) {
            SCOPED_TRACE(QStringLiteral("%1 at %2").arg(word).arg(index).toStdString());
            QStringList words = good;
            words[index] = word;
            EXPECT_FALSE(beam.parse(words, 0));
        }
    }
}

TEST(TestBeam, CountsStartAtTwo)
{
    TestBeam beam;
    EXPECT_TRUE(parse("0 1 2 0 1 2 0 13 1", beam));
    EXPECT_TRUE(parse("0 1 2147483647 0 1 2147483647 0 -2147483648 1", beam));
    for (const char *count : {"1", "0", "-0", "-2", "-2147483648"}) {
        SCOPED_TRACE(count);
        EXPECT_FALSE(parse(QStringLiteral("0 1 %1 0 1 2 0 13 1").arg(count), beam));
        EXPECT_FALSE(parse(QStringLiteral("0 1 2 0 1 %1 0 13 1").arg(count), beam));
    }
}

TEST(TestBeam, YRunsFastest)
{
    EXPECT_EQ(linesOf("-1 1 3 0 0 2 0 -13 200"), "-1 0 0 0 0 200 0 -13 1 1 0 1\n"
                                                 "-1 0 0 0 0 200 0 -13 2 1 0 1\n"
                                                 "0 0 0 0 0 200 0 -13 3 1 0 1\n"
                                                 "0 0 0 0 0 200 0 -13 4 1 0 1\n"
                                                 "1 0 0 0 0 200 0 -13 5 1 0 1\n"
                                                 "1 0 0 0 0 200 0 -13 6 1 0 1\n");
}

TEST(TestBeam, NothingIsSorted)
{
    EXPECT_EQ(linesOf("2 1 2 0 -4 3 0.5 13 1"), "2 0 0.5 0 0 1 0 13 1 1 0 1\n"
                                                "2 -2 0.5 0 0 1 0 13 2 1 0 1\n"
                                                "2 -4 0.5 0 0 1 0 13 3 1 0 1\n"
                                                "1 0 0.5 0 0 1 0 13 4 1 0 1\n"
                                                "1 -2 0.5 0 0 1 0 13 5 1 0 1\n"
                                                "1 -4 0.5 0 0 1 0 13 6 1 0 1\n");
}

TEST(TestBeam, RealsHaveSixDigitsAsPrintfWritesThem)
{
    const struct {
        const char *number;
        const char *text;
    } rows[] = {
        {"123456.5", "123456"}, // a tie rounds to even
        {"123457.5", "123458"},
        {"1000000", "1e+06"},
        {"999999.5", "1e+06"},
        {"999999", "999999"},
        {"0.0001", "0.0001"},
        {"0.00001", "1e-05"},
        {"-1.50", "-1.5"},
        {"3.14159265", "3.14159"},
        {"1e-400", "0"},
        {"1e308", "1e+308"},
    };
    for (const auto &row : rows) {
        const QByteArray number = row.number;
        const QByteArray text = row.text;
        const QByteArray range = number + ' ' + number + " 2 ";
        const QByteArray start = text + ' ' + text + ' ' + text + " 0 0 " + text + " 0 1 1 1 0 1\n";
        SCOPED_TRACE(row.number);
        EXPECT_EQ(linesOf(range + range + number + " 1 " + number).left(start.size()), start);
    }
}

TEST(TestBeam, ZeroKeepsItsSignThroughTheArithmetic)
{
    EXPECT_TRUE(linesOf("-0 -0 2 0 0 2 -0 1 -0").startsWith("0 0 -0 0 0 -0 "));
    EXPECT_TRUE(linesOf("-0 -1 2 -0 -1 2 0 1 1").startsWith("-0 -0 0 ")); // 0 * -1 + -0
}

TEST(TestBeam, PointsAreMultipliedFirstThenAdded)
{
    // If positions were rounded only once, added up step by step, or divided last, a point of each
    // range would be about 1e-17, not 0.
    for (const char *range : {"-0.3 0.3 7", "-0.7 0.7 15", "-1 1 11", "-0.1 0.3 13"}) {
        SCOPED_TRACE(range);
        EXPECT_TRUE(linesOf(QStringLiteral("%1 5 5 2 0 1 1").arg(range)).contains("\n0 5 0 "));
        EXPECT_TRUE(linesOf(QStringLiteral("5 5 2 %1 0 1 1").arg(range)).contains("\n5 0 0 "));
    }
    EXPECT_TRUE(linesOf("-0.9 0.9 15 5 5 2 0 1 1").contains("\n1.11022e-16 5 0 "));
    TestBeam beam;
    ASSERT_TRUE(parse("-0.05 0.95 2001 1e-7 1.0000001 7 0.1 2212 938.272", beam));
    EXPECT_TRUE(linesOf(beam) == printed(beam));
}

TEST(TestBeam, WritesGridsOfManyBlocks)
{
    TestBeam beam;
    ASSERT_TRUE(parse("-100 100 300 -1 1 400 0 -13 200", beam));
    const QByteArray lines = linesOf(beam);
    EXPECT_GT(lines.size(), 3 << 20);
    EXPECT_TRUE(lines == printed(beam));
}

TEST(TestBeam, EventIdsExceed31Bits)
{
    TestBeam beam;
    beam.nx = 2147483647;
    beam.ny = 2147483647;
    EXPECT_EQ(beam.eventId(0, 0), 1);
    EXPECT_EQ(beam.eventId(1, 0), 2147483648LL);
    EXPECT_EQ(beam.eventId(1, 1), 2147483649LL);
    EXPECT_EQ(beam.eventId(2147483646, 2147483646), 2147483647LL * 2147483647LL);
    beam.ny = 3;
    EXPECT_EQ(beam.eventId(2, 1), 8);
}

TEST(TestBeam, ARangeThatOverflowsHasNoFinitePoints)
{
    // x1 - x0 is infinite, and 0 * inf is not a number, whose sign depends on the processor.
    const QByteArray lines = linesOf("-1e308 1e308 2 0 0 2 0 1 1").replace("-nan", "nan");
    EXPECT_EQ(lines, "nan 0 0 0 0 1 0 1 1 1 0 1\n"
                     "nan 0 0 0 0 1 0 1 2 1 0 1\n"
                     "inf 0 0 0 0 1 0 1 3 1 0 1\n"
                     "inf 0 0 0 0 1 0 1 4 1 0 1\n");
}

TEST(TestBeam, StopsWhenTheFileTakesNoMore)
{
    TestBeam beam;
    ASSERT_TRUE(parse("-100 100 300 -1 1 400 0 -13 200", beam));
    for (const int accepted : {0, 1, 2}) {
        SCOPED_TRACE(accepted);
        int pieces = 0;
        beam.write("a title", [&](std::string_view) { return ++pieces <= accepted; });
        EXPECT_EQ(pieces, accepted + 1); // the piece that was refused is the last
    }
}

TEST(TestBeam, WritesGridsOfAnyShape)
{
    const char *const shapes[] = {
        "-1 1 2 -3.5 3.7 65535 0 13 1",
        "-1 1 2 -3.5 3.7 65536 0 13 1",
        "-1 1 2 -3.5 3.7 70001 0.5 -13 200.125", // the texts of the last y are not kept
        "1e-7 123456.7 70001 -1e300 1e-300 2 -1.23457e-300 -2147483648 -1.23457e+300",
        "-3 3 211 -1e22 7.7 503 0 2147483647 1",
    };
    for (const char *const shape : shapes) {
        SCOPED_TRACE(shape);
        TestBeam beam;
        ASSERT_TRUE(parse(shape, beam));
        EXPECT_TRUE(linesOf(beam) == printed(beam));
    }
}
