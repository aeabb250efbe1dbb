// talmo lint: comments that allow a check to find something.

#include "LintFixture.h"

namespace
{

using LintCommentsTest = LintFixture;

} // namespace

TEST_F(LintCommentsTest, ACommentHoldsForTheNextCommandOnly)
{
    const QByteArray wide = "=ignore .*\n=run a\n";
    const QByteArray allowed = "# talmo: allow wide-ignore\n";
    EXPECT_EQ(foundIn(wide + allowed + "\n# why\n" + wide), QStringList("2:9 wide-ignore"));
    EXPECT_EQ(foundIn(allowed + wide + wide), QStringList("5:9 wide-ignore"));
    EXPECT_EQ(foundIn("#talmo:allow vain-ignore wide-ignore\n" + wide), QStringList());
    EXPECT_EQ(foundIn("=file a\n" + allowed + wide), QStringList("4:9 wide-ignore"));
    EXPECT_EQ(foundIn(allowed + "=file a\n" + wide), QStringList());
    EXPECT_EQ(foundIn(allowed + "=run a\n"), QStringList()); // it may find nothing
    EXPECT_EQ(foundIn("# talmo: allow Wide-Ignore\n" + wide),
        QStringList({"2:16 unknown-check", "3:9 wide-ignore"}));
    EXPECT_EQ(
        foundIn("=run a\n# talmo: allow x unknown-check\n"), QStringList("3:16 unknown-check"));
    EXPECT_EQ(foundIn("=simprogram none\n# talmo: allow missing-program\n=run $simProgram\n"),
        QStringList());
    EXPECT_EQ(foundIn("=simprogram none\n=run $simProgram\n# talmo: allow missing-program\n"),
        QStringList("2:13 missing-program"));
}
