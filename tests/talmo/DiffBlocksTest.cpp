// talmo diff: the blocks of the files, which must be of the same sizes

#include "DiffFixture.h"

#include <QJsonArray>
#include <QJsonObject>

namespace
{

/// A file in which "H" stands above each block and "E" below it.
class DiffBlocksTest : public DiffFixture
{
protected:
    /// Writes \a lines, words that blanks separate, into the file \a name.
    void writeLines(const QString &name, const QByteArray &lines)
    {
        write(name, QByteArray(lines).replace(' ', '\n') + '\n');
    }

    /// Writes the files "c" and "d", and returns a call that compares their blocks.
    QStringList blocks(
        const QByteArray &lines1, const QByteArray &lines2, const QStringList &options = {})
    {
        writeLines("c", lines1);
        writeLines("d", lines2);
        return QStringList({"c", "d", "--from", "^H", "--to", "^E"}) + options;
    }
};

} // namespace

TEST_F(DiffBlocksTest, TheSameLinesInOtherBlocksDiffer)
{
    const QByteArray c = "H 1 2 E H 3 E";
    const QByteArray d = "out H 1 E H 2 3 E";
    const QByteArray reason = "All 3 lines agree; block 1 has 2 lines in 'c', below line 1, and 1 "
                              "line in 'd', below line 2\n";
    const QByteArray section =
        "\nBlock 1 has 2 lines in 'c', below line 1, and 1 line in 'd', below line 2\n\n";
    const QByteArray front = "Files 'c' and 'd' have not the same blocks\n";
    expectDifferent(blocks(c, d), front + section + reason);
    expectDifferent(blocks(c, d, {"0"}),
        front +
            "\ncolumn  tolerance  differ  first  largest  line  relative  line  passes with\n"
            "     1          0       0      -        -     -         -     -            -\n" +
            section + reason);
    const QJsonObject found = document(blocks(c, d));
    EXPECT_EQ(found["agree"].toBool(true), false);
    EXPECT_TRUE(found["message"].isNull());
    EXPECT_EQ(found["reason"].toString().toUtf8() + '\n', reason);
    EXPECT_EQ(found["blocks"].toObject(),
        (QJsonObject{{"block", 1}, {"headings", QJsonArray{1, 2}}, {"lines", QJsonArray{2, 1}}}));
    EXPECT_TRUE(document(blocks(c, c))["blocks"].isNull());
}

TEST_F(DiffBlocksTest, NamesTheFirstBlockThatDiffers)
{
    const struct {
        const char *lines1;
        const char *lines2;
        const char *reason;
    } rows[] = {
        {"H 1 E H E H 2 E H 3 4 E", "H 1 E H E H 2 3 E H 4 E",
            "All 4 lines agree; block 3 has 1 line in 'c', below line 6, and 2 lines in 'd', below "
            "line 6"},
        {"H 1 E H E H 2 E", "H 1 E x H 2 E H E",
            "All 2 lines agree; block 2 has 0 lines in 'c', below line 4, and 1 line in 'd', below "
            "line 5"},
        {"H 1 E", "H E H 1 E",
            "The only line agrees; block 1 has 1 line in 'c', below line 1, and 0 lines in 'd', "
            "below line 1"},
        {"H 1 E", "H 1 E H E H E",
            "The only line agrees; block 2, below line 4 of 'd', is missing in 'c'"},
        {"H 1 E x H", "H 1 E",
            "The only line agrees; block 2, below line 5 of 'c', is missing in 'd'"},
        // A line that ends a block does not always begin the next one.
        {"H 1 EH 2 E", "H 1 E H 2 H3 E",
            "The first 2 lines agree; 'c' lacks the last line of 'd', line 6; block 2 has 1 line "
            "in 'c', below line 3, and 2 lines in 'd', below line 4"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.reason);
        QStringList call = blocks(row.lines1, row.lines2);
        call[3] = "H"; // "EH" as well
        expectReason(call, row.reason);
    }
}

TEST_F(DiffBlocksTest, HidesNoOtherDifferences)
{
    expectReason(blocks("H 1 2 E H 3 E", "H 1 E H 2 4 E", {"0"}),
        "1 of 3 lines differs; column 1 is the worst, by 1 on line 6 with the tolerance 0"
        "; block 1 has 2 lines in 'c', below line 1, and 1 line in 'd', below line 1");
    expectDifferent(blocks("H 1 2 E H 3 E", "H 1 2 E"),
        "Files 'c' and 'd' have different lengths\n\n"
        "'d' lacks the last line of 'c', line 6\n\n"
        "Block 2, below line 5 of 'c', is missing in 'd'\n\n"
        "The first 2 lines agree; 'd' lacks the last line of 'c', line 6; block 2, below line 5 of "
        "'c', is missing in 'd'\n");
    expectReason(blocks("H 1 E H 2 3 E", "H 1 E H 2 E"),
        "The first 2 lines agree; 'd' lacks the last line of 'c', line 6; block 2 has 2 lines in "
        "'c', below line 4, and 1 line in 'd', below line 4");
    const QJsonObject found = document(blocks("H 1 2 E H 3 E", "H 1 2 E"));
    EXPECT_EQ(found["message"].toString(), "Files 'c' and 'd' have different lengths");
    EXPECT_EQ(found["blocks"].toObject(),
        (QJsonObject{
            {"block", 2}, {"headings", QJsonArray{5, QJsonValue()}}, {"lines", QJsonValue()}}));
    expectRefused(blocks("H E H E", "H E"), "nothing is left to compare");
    expectRefused(blocks("H 1", "H 1 E"),
        "'c' has no line that matches the '^E' of --to behind one that matches --from");
}

TEST_F(DiffBlocksTest, CountsTheLinesThatAreCompared)
{
    expectAgreement(
        blocks("H 1 E H E H 2 E", "x H 1 E H E y H 2"), "2 lines"); // a file ends a block
    expectAgreement(blocks("H x 1 2 E H 3 E", "H 1 2 E H 3 x x E", {"--skip", "x"}), "3 lines");
    expectReason(blocks("H 1 2 E H 3 x E", "H 1 x E H 2 3 E", {"--skip", "x"}),
        "All 3 lines agree; block 1 has 2 lines in 'c', below line 1, and 1 line in 'd', below "
        "line 1");
    writeLines("c", "H 1 E H 2");
    writeLines("d", "H 1 2");
    expectReason({"c", "d", "--from", "H"},
        "1 of 2 lines differs, first line 3; 'd' lacks the last 2 lines of 'c', from line 4 "
        "on"); // one block, to the end of the file
}

TEST_F(DiffBlocksTest, IgnoresOnlyLinesBehindTheLastOneOfTheShorterFile)
{
    const QStringList option = {"--ignore-extra-lines"};
    const char *const shorter = "H 1 E H 2 E";
    for (const char *const longer : {"H 1 E H 2 3 E", "H 1 E H 2 E H 3 4 E", "H 1 E H 2 3 E H E"}) {
        SCOPED_TRACE(longer);
        EXPECT_EQ(run(QStringList("diff") + blocks(shorter, longer, option)).status, 0);
        EXPECT_EQ(run(QStringList("diff") + blocks(longer, shorter, option)).status, 0);
        EXPECT_EQ(run(QStringList("diff") + blocks(longer, shorter)).status, 1);
    }
    expectAgreement(blocks(shorter, "H 1 E H 2 E H E", option), "2 lines");
    expectReason(blocks(shorter, "H 1 2 E H 2 E", option),
        "All 2 lines agree; block 1 has 1 line in 'c', below line 1, and 2 lines in 'd', below "
        "line 1");
    expectReason(blocks(shorter, "H 1 E H E H 2 3 E", option),
        "All 2 lines agree; block 2 has 1 line in 'c', below line 4, and 0 lines in 'd', below "
        "line 4");
}

TEST_F(DiffBlocksTest, SortsEachBlock)
{
    expectAgreement(
        blocks("H 2 1 #x E H 1 E", "H #y 1 2 E H 1 E", {"--sort", "1"}), "4 lines, 1 column");
    expectReason(blocks("H 1 2 E H 3 4 E", "H 1 3 E H 2 4 E", {"--sort", "1"}),
        "2 of 4 lines differ; column 1 is the worst, by 1 on line 3 with the tolerance 0");
    expectReason(blocks("H 3 1 2 E H 4 E", "H 1 2 E H 4 3 E", {"--sort", "1"}),
        "All 4 lines agree; block 1 has 3 lines in 'c', below line 1, and 2 lines in 'd', below "
        "line 1");
}

TEST_F(DiffBlocksTest, NeedsNoMemoryForBlocksWithoutLines)
{
    if (isSanitized)
        GTEST_SKIP() << "limits of memory do not go with sanitizers";
    limitMemory();
    const QString manyBlocks = "(yes H | head -n 5000000; echo 1)";
    const Outcome outcome =
        shell("\"$TALMO\" diff <" + manyBlocks + " <" + manyBlocks + " --from H --to H");
    EXPECT_EQ(outcome.output, "Files '/dev/fd/63' and '/dev/fd/62' agree: 1 line\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}
