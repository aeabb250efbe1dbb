#include "DriverTest.h"

namespace
{

/// Each test runs under the C locale and under one that writes a decimal comma.
class Locale : public DriverTest, public testing::WithParamInterface<const char *>
{
protected:
    Locale()
    {
        environment["LC_ALL"] = GetParam();
        environment["LOCPATH"] = LOCALES;
    }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Locales, Locale, testing::Values("C", "de_DE.UTF-8"),
    [](const auto &row) { return std::string(row.param, row.param[0] == 'C' ? 1 : 5); });

TEST_P(Locale, TheLocaleOfThisTestIsThere)
{
    const bool isGerman = environment["LC_ALL"] != "C";
    const QByteArray libraryPrints = isGerman ? "0,5" : "0.5";
    const Outcome outcome = runProcess(PRINT_UNDER_LOCALE, {}, environment, work);
    EXPECT_EQ(outcome.output,
        libraryPrints + "\n0.5 1 1 0\n1.23457e+06 1234567 text\n5.00\n" + libraryPrints + "\n");
}

TEST_P(Locale, NumbersAreWrittenWithAPoint)
{
    EXPECT_EQ(runScript("=beam\n"
                        "=testbeam beam.dat -0.25 1234567.5 2 .5 1e-7 2 2.5 11 0.125\n"
                        "=file reference.dat\n"
                        "#QXTrackFile =testbeam beam.dat -0.25 1234567.5 2 .5 1e-7 2 2.5 11 0.125\n"
                        "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n"
                        "-0.25 0.5 2.5 0 0 0.125 0 11 1 1 0 1\n"
                        "-0.25 1e-07 2.5 0 0 0.125 0 11 2 1 0 1\n"
                        "1.23457e+06 0.5 2.5 0 0 0.125 0 11 3 1 0 1\n"
                        "1.23457e+06 1e-07 2.5 0 0 0.125 0 11 4 1 0 1\n"
                        "=compare beam.dat reference.dat\n"),
        "test1: beam\n");
}

TEST_P(Locale, NumbersAreReadWithAPoint)
{
    EXPECT_EQ(errorOf("=file a\n1.25\n=file b\n1.5\n=compare a b 0.25\n"), "");
    EXPECT_EQ(errorOf("=file a\n1.25\n=file b\n1.5\n=compare a b 0.24\n"),
        "Files 'a' and 'b' differ on line 1, column 1");
    EXPECT_EQ(errorOf("=file a\n1.5e-400\n=file b\n0\n=compare a b 0\n"), "");
    EXPECT_EQ(errorOf("=file a\n0\n=file b\n1\n=compare a b 1.5e-400\n"),
        "Files 'a' and 'b' differ on line 1, column 1");
    EXPECT_EQ(errorOf("=file a\n1,25\n=compare a a 0.25\n"),
        "File 'a' and/or 'a' has invalid data on line 1, column 1");
    EXPECT_EQ(errorOf("=file a\n1.25\n=compare a a 0,25\n"), "Invalid =compare column tolerance");
    EXPECT_EQ(errorOf("=testbeam beam 0,5 1 2 0 1 2 0 11 200\n"), "Syntax error");
}

TEST_P(Locale, TextOfAnyScriptIsPrintedAsItIs)
{
    EXPECT_EQ(
        runScript(QByteArray("=Größe µ\n=echo ±1 Å\n")), QByteArray("±1 Å\ntest1: Größe µ\n"));
}
