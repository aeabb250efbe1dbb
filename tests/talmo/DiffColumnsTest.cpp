// talmo diff: which columns are compared, and by which tolerances

#include "DiffFixture.h"

namespace
{

using DiffColumnsTest = DiffFixture;

} // namespace

TEST_F(DiffColumnsTest, TakesNegativeNumbersForTolerances)
{
    for (const char *const number : {"-1", "-.5", "-1e-3", "-0.5E+3", "-2."})
        expectAgreement({"a", "b", "0", number, number}, "3 lines, 1 column");
    expectAgreement({"a", "b", "-1", "-1", "1"}, "3 lines, 1 column");
    expectAgreement({"a", "b", "--", "0", "-1", "1"}, "3 lines, 2 columns");
    expectRefused({"a", "b", "0", "-q"}, "unknown option 'q'");
    expectRefused({"a", "b", "--relative", "-1"}, "--relative takes a number from 0 on, not '-1'");
    write("-1", "1\n");
    write("--json", "1\n");
    expectAgreement({"-1", "-1", "0"}, "1 line, 1 column");
    expectSuccess(
        {"diff", "--", "--json", "-1", "0"}, "Files '--json' and '-1' agree: 1 line, 1 column\n");
}

TEST_F(DiffColumnsTest, FindsNoAgreementInNoColumn)
{
    const QByteArray reason = "all tolerances are negative, so no column is compared";
    expectRefused({"a", "b", "--columns", "2", "-1"}, reason);
    expectRefused(
        {"a", "b", "--tolerance", "1=-1", "--tolerance", "y=-1", "--tolerance", "3=-1"}, reason);
    expectRefused({"a", "b", "-1", "--skip", "#"}, reason);
    expectAgreement({"a", "b", "-1"}, "3 lines, 0 columns"); // as "=compare"
    expectAgreement({"a", "b", "--columns", "1,2", "0", "-1"}, "3 lines, 1 column");
}

TEST_F(DiffColumnsTest, ComparesAllColumnsIfOptionsMakeItNumeric)
{
    write("c", "1 2 3\n");
    write("d", "1 2 3.25 9\n");
    write("e", "1 2 3.25\n");
    expectReason({"c", "e", "--tolerance", "1=0"},
        "1 of 1 line differs; column 3 is the worst, by 0.25 on line 1 with the tolerance 0");
    expectReason({"c", "d", "--relative", "1"}, // the wider one counts
        "1 of 1 line differs; 1 line has too few columns: line 1");
    expectAgreement({"c", "e", "--tolerance", "3=.25"}, "1 line, 3 columns");
}

TEST_F(DiffColumnsTest, JudgesByRelativeTolerancesToo)
{
    write("c", "100 0.001\n200 0.002\n");
    write("d", "101 0.001\n200 0.0025\n");
    expectAgreement({"c", "d", "--relative", "0.2"}, "2 lines, 2 columns");
    expectAgreement({"c", "d", "0", "0.001", "--relative", "0.01"}, "2 lines, 2 columns");
    expectReason({"c", "d", "--relative", "0.1"},
        "1 of 2 lines differs; column 2 is the worst, by 0.0005 on line 2 with the tolerance 0");
    expectAgreement({"c", "d", "--relative-to-column", "0.2"}, "2 lines, 2 columns");
    expectAgreement({"c", "d", "1", "--relative-to-column", "0.005"}, "2 lines, 1 column");
    expectReason({"c", "d", "--relative-to-column", "0.0049"},
        "2 of 2 lines differ; column 1 is the worst, by 1 on line 1 with the tolerance 0");
    for (const char *const option : {"relative", "relative-to-column"}) {
        for (const char *const wrong : {"", "x", "-1", "nan", "inf"}) {
            expectRefused({"c", "d", QStringLiteral("--%1=%2").arg(option, wrong)},
                QStringLiteral("--%1 takes a number from 0 on, not '%2'")
                    .arg(option, wrong)
                    .toUtf8());
        }
    }
}

TEST_F(DiffColumnsTest, ChoosesColumns)
{
    expectAgreement({"a", "b", "--columns", "1"}, "3 lines, 1 column");
    expectAgreement({"a", "b", "--columns", "3,1-2", "0.01", "0", "0.5"}, "3 lines, 3 columns");
    expectAgreement({"a", "b", "--columns", "z,x", "0.01", "0"}, "3 lines, 2 columns");
    expectAgreement({"a", "b", "--tolerance", "y=0.5", "--tolerance=3=1"}, "3 lines, 3 columns");
    expectReason({"a", "b", "--columns", "z"},
        "1 of 3 lines differs; column 3 (z) is the worst, by 0.001 on line 3 with the tolerance 0");
    EXPECT_TRUE(run({"diff", "a", "b", "--columns", "3,2", "1e-9", "0.1"})
                    .output.contains("\n=compare a b -1 0.5 0.0011\n"));
    const struct {
        QStringList arguments;
        QByteArray reason;
    } rows[] = {
        {{"--columns", "4"}, "there is no column 4; the first line with data has 3"},
        {{"--columns", "0"}, "there is no column 0; the first line with data has 3"},
        {{"--columns", "1-4"}, "there is no column 4; the first line with data has 3"},
        {{"--columns", "3-1"}, "the range 3-1 ends before it begins"},
        {{"--columns", "w"}, "there is no column 'w'"},
        {{"--columns", ""}, "there is no column ''"},
        {{"--columns", "1,,2"}, "there is no column ''"},
        {{"--columns", "1,x"}, "--columns has column 1 twice"},
        {{"--columns", "1,2", "0"}, "--columns chooses 2 columns, but there are 1 tolerances"},
        {{"--columns", "1", "--columns", "2"}, "--columns is there twice"},
        {{"--columns", "1", "--tolerance", "2=1"},
            "--tolerance is about column 2, which is not compared"},
        {{"0", "0", "--tolerance", "3=1"}, "--tolerance is about column 3, which is not compared"},
        {{"--tolerance", "9=1"}, "there is no column 9; the first line with data has 3"},
        {{"--tolerance", "x=1", "--tolerance", "1=1"}, "--tolerance is about column 1 twice"},
        {{"--tolerance", "x"}, "--tolerance takes COLUMN=T with a number T, not 'x'"},
        {{"--tolerance", "=1"}, "--tolerance takes COLUMN=T with a number T, not '=1'"},
        {{"--tolerance", "x=nan"}, "--tolerance takes COLUMN=T with a number T, not 'x=nan'"},
    };
    for (const auto &row : rows)
        expectRefused(QStringList({"a", "b"}) + row.arguments, row.reason);
    write("c", "# x x\n1 2\n");
    expectRefused({"c", "c", "--columns", "x"}, "two columns are named 'x'");
    write("d", "1 2\n");
    expectRefused(
        {"d", "d", "--columns", "x"}, "there is no column 'x'; the columns have no names");
}

TEST_F(DiffColumnsTest, ComparesNoLessThanAllColumnsIfNobodyChoosesAny)
{
    write("a", "# x\n\t1 2\n# a longer comment\n3 4 5\n");
    write("b", "# x\n\t1 2\n# a longer comment\n3 4 6\n");
    expectRefused({"a", "b", "--relative", "1e-9"},
        "'a' has 3 columns on line 4, and 2 on the first line with data; choose what to compare by "
        "--columns, --from or --skip");
    expectAgreement({"a", "b", "--relative", "1e-9", "--columns", "1,2"}, "4 lines, 2 columns");
    expectAgreement({"a", "b", "0", "0", "--relative", "1e-9"}, "4 lines, 2 columns");
}
