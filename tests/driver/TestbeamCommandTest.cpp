#include "DriverTest.h"

// =testbeam.

namespace
{

const QByteArray columns = "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n";

} // namespace

class TestbeamCommand : public DriverTest
{
protected:
    /// The file that "=testbeam beam" with \a words writes. "=end" is no command, so the run fails
    /// and its directory is kept.
    QByteArray beamOf(const QByteArray &words)
    {
        EXPECT_EQ(errorOf("=testbeam beam " + words + "\n=end\n"), "Unknown test command '=end'");
        return read("test1.dir/beam");
    }

    /// The first track of the file that "=testbeam" writes for nine values.
    QByteArray firstTrackOf(const QByteArray &values)
    {
        return beamOf(values).split('\n').value(2);
    }
};

TEST_F(TestbeamCommand, WritesATrackFile)
{
    EXPECT_EQ(beamOf("-1 1 3 0 0 2 0 -13 200"),
        "#QXTrackFile =testbeam beam -1 1 3 0 0 2 0 -13 200\n" + columns +
            "-1 0 0 0 0 200 0 -13 1 1 0 1\n"
            "-1 0 0 0 0 200 0 -13 2 1 0 1\n"
            "0 0 0 0 0 200 0 -13 3 1 0 1\n"
            "0 0 0 0 0 200 0 -13 4 1 0 1\n"
            "1 0 0 0 0 200 0 -13 5 1 0 1\n"
            "1 0 0 0 0 200 0 -13 6 1 0 1\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/beam"}));
}

TEST_F(TestbeamCommand, EveryWordIsInTheHeader)
{
    EXPECT_EQ(beamOf(" 1. +1e0 2\t+5 4 02 .5 +22 1E1  more  # w\xC3\xB6rds %1 "),
        "#QXTrackFile =testbeam beam 1. +1e0 2 +5 4 02 .5 +22 1E1 more # w\xC3\xB6rds %1\n" +
            columns +
            "1 5 0.5 0 0 10 0 22 1 1 0 1\n"
            "1 4 0.5 0 0 10 0 22 2 1 0 1\n"
            "1 5 0.5 0 0 10 0 22 3 1 0 1\n"
            "1 4 0.5 0 0 10 0 22 4 1 0 1\n");
}

TEST_F(TestbeamCommand, ReplacesTheProgram)
{
    configure({"sim"});
    runScript("=heading\n=simprogram sim\n=testbeam $simProgram.beam 0 1 2 0 1 2 0 13 1\n=end\n");
    EXPECT_TRUE(read("test1(sim).dir/sim.beam")
                    .startsWith("#QXTrackFile =testbeam sim.beam 0 1 2 0 1 2 0 13 1\n"));
}

TEST_F(TestbeamCommand, WritesRealsWithSixDigits)
{
    const struct {
        const char *values;
        const char *track;
    } rows[] = {
        {"123456.5 0 2 -123456.5 0 2 1234567 -2147483648 999999.5",
            "123456 -123456 1.23457e+06 0 0 1e+06 0 -2147483648 1 1 0 1"},
        {"0.0001 1 2 0.00001 1 2 -0 2147483647 100000",
            "0.0001 1e-05 -0 0 0 100000 0 2147483647 1 1 0 1"},
        {"-0 -0 2 1e-400 0 2 1e308 +1 -2.50", "0 0 1e+308 0 0 -2.5 0 1 1 1 0 1"},
        {"0.1 0.2 3 3.14159265 5 2 1e100 -0 1e6", "0.1 3.14159 1e+100 0 0 1e+06 0 0 1 1 0 1"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.values);
        EXPECT_EQ(firstTrackOf(row.values), row.track);
    }
}

TEST_F(TestbeamCommand, TakesTenArguments)
{
    const QByteArray tooFew = "=testbeam too few arguments";
    EXPECT_EQ(errorOf("=testbeam\n"), tooFew);
    EXPECT_EQ(errorOf("=testbeam beam\n"), tooFew);
    EXPECT_EQ(errorOf("=testbeam x x x x x x x x x\n"), tooFew); // no word is looked at
    EXPECT_EQ(errorOf("=testbeam beam 0 1 2 0 1 2 0 13\n"), tooFew);
    EXPECT_EQ(errorOf("=testbeam beam 0 1 2 0 1 2 0 13 1\n"), "");
    EXPECT_EQ(errorOf("=testbeam beam 0 1 2 0 1 2 0 13 1 x\n"), "");
}

TEST_F(TestbeamCommand, FailsWithoutAFileIfAWordIsNoNumberOfItsKind)
{
    const char *const rows[] = {
        "x 1 2 0 1 2 0 13 1",
        "0 nan 2 0 1 2 0 13 1",
        "0 1 1.5 0 1 2 0 13 1",
        "0 1 0x3 0 1 2 0 13 1",
        "0 1 3. 0 1 2 0 13 1",
        "0 1 2e0 0 1 2 0 13 1",
        "0 1 2147483648 0 1 2 0 13 1",
        "0 1 2 inf 1 2 0 13 1",
        "0 1 2 0 1e 2 0 13 1",
        "0 1 2 0 1 2,0 0 13 1",
        "0 1 2 0 1 2 1e999 13 1",
        "0 1 2 0 1 2 0 13.0 1",
        "0 1 2 0 1 2 0 -2147483649 1",
        "0 1 2 0 1 2 0 13 -inf",
        "0 1 2 0 1 2 0 13 0x1p3",
        // counts
        "0 1 1 0 1 2 0 13 1",
        "0 1 2 0 1 1 0 13 1",
        "0 1 0 0 1 2 0 13 1",
        "0 1 2 0 1 -2 0 13 1",
    };
    for (const char *row : rows) {
        SCOPED_TRACE(row);
        EXPECT_EQ(errorOf("=testbeam beam " + QByteArray(row) + "\n"), "Syntax error");
        EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
        // That the file cannot be written is found later, and an old file is not changed.
        EXPECT_EQ(errorOf("=testbeam no/beam " + QByteArray(row) + "\n"), "Syntax error");
        EXPECT_EQ(
            errorOf("=file beam\nold\n=testbeam beam " + QByteArray(row) + "\n"), "Syntax error");
        EXPECT_EQ(read("test1.dir/beam"), "old\n");
    }
}

TEST_F(TestbeamCommand, FailsIfTheFileCannotBeOpened)
{
    const QByteArray values = " 0 1 2 0 1 2 0 13 1\n";
    EXPECT_EQ(errorOf("=testbeam no/beam" + values), "Cannot write file 'no/beam'");
    EXPECT_EQ(errorOf("=testbeam .." + values), "Cannot write file '..'");
    EXPECT_EQ(errorOf("=testbeam no/%1%s" + values), "Cannot write file 'no/%1%s'");
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/"}));
}

TEST_F(TestbeamCommand, DoesNotFailOnceTheFileIsOpen)
{
    EXPECT_EQ(errorOf("=testbeam /dev/full 0 1 2 0 1 2 0 13 1\n"), "");
    EXPECT_EQ(errorOf("=testbeam /dev/full 0 1 1000 0 1 1000 0 13 1\n"), "");
    EXPECT_EQ(errorOf("=testbeam beam -1e308 1e308 2 0 1 2 0 13 1\n"), ""); // the range overflows
}

TEST_F(TestbeamCommand, OverwritesAnOldFile)
{
    const QByteArray beam = beamOf("0 1 2 0 1 2 0 13 1");
    EXPECT_EQ(
        errorOf("=testbeam beam 0 1 9 0 1 9 0 13 1\n=testbeam beam 0 1 2 0 1 2 0 13 1\n=end\n"),
        "Unknown test command '=end'");
    EXPECT_EQ(read("test1.dir/beam"), beam);
    errorOf("=testbeam :beam 0 1 2 0 1 2 0 13 1\n=end\n");
    EXPECT_EQ(read("test1.dir/:beam").size(), beam.size() + 1); // its heading has the colon
}

TEST_F(TestbeamCommand, WritesLargeGrids)
{
    const QByteArrayList lines = beamOf("-100 99 200 0 299 300 0 -13 200").split('\n');
    ASSERT_EQ(lines.size(), 2 + 200 * 300 + 1);
    EXPECT_EQ(lines.last(), ""); // the last line has its newline
    for (int i = 0; i < 200; ++i) {
        for (int j = 0; j < 300; ++j) {
            const int n = i * 300 + j;
            ASSERT_EQ(lines[2 + n], QByteArray::number(i - 100) + ' ' + QByteArray::number(j) +
                                        " 0 0 0 200 0 -13 " + QByteArray::number(n + 1) + " 1 0 1");
        }
    }
}

TEST_F(TestbeamCommand, ItsFilesCanBeCompared)
{
    EXPECT_EQ(errorOf("=testbeam a -1 1 3 -1 1 3 0 13 1\n=testbeam b -1.01 0.99 3 -1 1 3 0 13 1\n"
                      "=compare a b 0.011 0 0\n=ignore differ on line 3, column 1$\n"
                      "=compare a b 0.009 0 0\n"),
        "");
}

TEST_F(TestbeamCommand, RefusesANameThatTheSystemWouldCut)
{
    const QByteArray name("cut\0off", 7);
    EXPECT_EQ(errorOf("=ignore ^Cannot write file 'cut.off'\n=testbeam " + name +
                      " 0 1 2 0 1 2 0 11 200\n=ignore ^File 'cut' does not exist$\n=exists cut\n"),
        "");
}
