// talmo diff: what is no comparison

#include "DiffFixture.h"

#include <QDir>

#include <sys/stat.h>

namespace
{

using DiffBadInputTest = DiffFixture;

} // namespace

TEST_F(DiffBadInputTest, SaysWhatIsNoComparison)
{
    QDir(work).mkdir("folder");
    const struct {
        QStringList arguments;
        QByteArray reason;
    } rows[] = {
        {{}, "FILE1 and FILE2 are missing"},
        {{"a"}, "FILE2 is missing"},
        {{"none", "b"}, "cannot read 'none'"},
        {{"a", "none", "0"}, "cannot read 'none'"},
        {{"a", ""}, "cannot read ''"},
        {{"a", "folder"}, "cannot read 'folder'"},
        {{"/proc/self/mem", "a"}, "cannot read '/proc/self/mem'"},
        {{"a", "/proc/self/mem", "0", "--skip", "x"}, "cannot read '/proc/self/mem'"},
        {{"a", "/proc/self/mem", "--sort", "1"}, "cannot read '/proc/self/mem'"},
        {{"a", "b", "x"}, "the tolerance 'x' is no number"},
        {{"a", "b", "0", "nan"}, "the tolerance 'nan' is no number"},
        {{"a", "b", "1e999"}, "the tolerance '1e999' is no number"},
        {{"a", "b", ""}, "the tolerance '' is no number"},
        {{"a", "b", "--relativ", "1"}, "unknown option 'relativ'"},
        {{"a", "b", "--json=1"}, "unexpected value after '--json'"},
        {{"a", "b", "--skip"}, "missing value after '--skip'"},
        {{"a", "b", "--widths", "4,x"}, "--widths takes whole numbers from 1 on, not 'x'"},
        {{"a", "b", "--widths", "0"}, "--widths takes whole numbers from 1 on, not '0'"},
        {{"a", "b", "--widths", ""}, "--widths takes whole numbers from 1 on, not ''"},
        {{"a", "b", "--sort", ""}, "--sort takes a column"},
    };
    for (const auto &row : rows)
        expectRefused(row.arguments, row.reason);
    EXPECT_EQ(mkfifo(QDir(work).filePath("fifo").toUtf8().constData(), 0600), 0);
    expectRefused({"a", "fifo"}, "cannot read 'fifo', a FIFO that nobody writes");
    ASSERT_TRUE(obeyPermissions());
    write("secret", "1\n");
    chmod(QDir(work).filePath("secret").toUtf8().constData(), 0);
    expectRefused({"a", "secret"}, "cannot read 'secret'");
}

TEST_F(DiffBadInputTest, RefusesPatternsThatDoNotCompile)
{
    for (const char *const option : {"--skip", "--from", "--to"}) {
        const Outcome outcome = run({"diff", "a", "b", option, "(x"});
        EXPECT_EQ(outcome.output, "");
        EXPECT_TRUE(outcome.errors.startsWith(QByteArray("talmo: diff: ") + option + ": "))
            << outcome.errors.toStdString();
        EXPECT_EQ(outcome.errors.count('\n'), 1);
        EXPECT_EQ(outcome.status, 2);
    }
}

TEST_F(DiffBadInputTest, RefusesPicturesThatItCannotMake)
{
    write("a", "1 2\n");
    write("b", "1 3\n");
    write("notes.svg", "<svg>mine</svg>\n");
    QDir(work).mkdir("folder");
    const struct {
        QStringList arguments;
        QByteArray reason;
    } rows[] = {
        {{"--plot", "p.svg"}, "--plot draws numbers, and without tolerances text is compared"},
        {{"0", "0", "--x", "1"}, "--x is about the picture of --plot, which is missing"},
        {{"0", "0", "--plot", "p.svg", "--x", "3"},
            "--x: there is no column 3; the first line with data has 2"},
        {{"0", "0", "--plot", "notes.svg"},
            "cannot write 'notes.svg': It holds something else than a picture of talmo"},
        {{"0", "0", "--plot", "folder"}, "cannot write 'folder': Is a directory"},
        {{"0", "0", "--plot", "none/p.svg"},
            "cannot write 'none/p.svg': No such file or directory"},
    };
    for (const auto &row : rows)
        expectRefused(QStringList({"a", "b"}) + row.arguments, row.reason);
    expectRefused({"-", "a", "0", "--plot", "p.svg"},
        "--plot reads the files again, and standard input can be read only once");
}

TEST_F(DiffBadInputTest, NeedsNoMemoryForLargeFiles)
{
    if (isSanitized)
        GTEST_SKIP() << "limits of memory do not go with sanitizers";
    limitMemory();
    // Each line that is left out makes one more distance between two numbers of a line.
    const QString everyOther = "(yes $'1\\n#' | head -n 8000000)";
    const Outcome outcome =
        shell("\"$TALMO\" diff <" + everyOther + " <" + everyOther +
              " 0 --skip '#' && head -c 400000000 /dev/zero | \"$TALMO\" diff - a");
    EXPECT_EQ(
        outcome.output, "Files '/dev/fd/63' and '/dev/fd/62' agree: 4000000 lines, 1 column\n");
    EXPECT_EQ(outcome.errors, "talmo: diff: cannot read 'standard input'\n");
    EXPECT_EQ(outcome.status, 2);
}
