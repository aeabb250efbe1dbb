// talmo lint: the files that a script writes, and those that it compares.

#include "LintFixture.h"

namespace
{

using LintFilesTest = LintFixture;

} // namespace

TEST_F(LintFilesTest, KnowsWhichFilesMayBeThere)
{
    write("beside", "");
    write("folder/beside", "");
    const struct {
        QByteArray lines;
        bool found;
    } rows[] = {
        {"=exists a", true},
        {"=exists a\n=file a", true},
        {"=file a\n=exists a", false},
        {"=file ./b/../a\n=exists a", false},
        {"=file d/a\n=exists d", false},
        {"=file da\n=exists d", true},
        {"=exists .", false},
        {"=exists ..", false},
        {"=exists ../beside", false},
        {"=exists ../folder/beside", false},
        {"=exists ../folder/none", true},
        {"=exists ../none", true},
        {"=exists ../beside/none", true},
        {"=exists ../test2.dir/none", false},
        {"=exists /none", false},
        {"=run sim1\n=exists ../none", false},
        {"=run sim1\n=exists none", false},
        {"=run echo\n=exists none", true},
        {"=run echo\n=exists echo.out", false},
        {"=run /bin/echo\n=exists none", false},
        {"=run echo >a\n=exists a", false},
        {"=run echo >a\n=exists echo.out", true},
        {"=run echo > 'a'\n=exists a", false},
        {"=run echo >$x\n=exists a", false},
        {"=run echo $(sim1)\n=exists a", false},
        {"=run echo 2>err\n=exists err", false},
        {"=run echo; sim1\n=exists a", false},
        {"=run echo | tee a\n=exists a", false},
        {"=run sort a\n=exists b", true},
        {"=run sort -o b a\n=exists b", false},
        {"=run (sim1)\n=exists b", false},
        {"=testbeam a 0 1 2 0 1 2 0 13 9\n=exists a", false},
        {"=platform LINUX\n=file a\n=platform\n=exists a", false},
        {"=ignore does not exist\n=exists a", false},
        {"=ignore Cannot read\n=compare a b", false},
        {"=ignore differ\n=compare a b", true},
        {"=file a\n=ignore ^Cannot read file 'b'$\n=compare a b", false},
        {"=file a\n=ignore ^Cannot read file 'a'$\n=compare a b", true},
    };
    for (const auto &row : rows)
        EXPECT_EQ(finds("never-written", row.lines + '\n'), row.found) << row.lines.toStdString();
}

TEST_F(LintFilesTest, KnowsWhichTolerancesLetEverythingPass)
{
    const QByteArray reference = "=run sim1\n=file ref\n# x y z\n0.5 -3 0\n-1 2 1e-12\n";
    const struct {
        QByteArray lines;
        bool found;
    } rows[] = {
        {"=compare sim1.out ref 100", true},
        {"=compare ref sim1.out 100", true},
        {"=compare sim1.out ref 99.9", false},
        {"=compare sim1.out ref 1 300", true},
        {"=compare sim1.out ref 1 299", false},
        {"=compare sim1.out ref 1 1 1000", false},   // beside zeros
        {"=compare sim1.out ref 1 1 1 1000", false}, // there is no such column
        {"=compare sim1.out ref -1000", false},
        {"=compare sim1.out other 1000", false},
        {"=ignore differ on\n=compare sim1.out ref 1000", false},
        {"=file ref\n1000\n=compare sim1.out ref 1000", false}, // which is it?
        {"=file two\n1000\n=compare two ref 1000", false},      // not beside both
        {"=file two\n1\n=compare two ref 1000", true},
        {"=file two\n# 1\n=compare sim1.out two 1000", false},
        {"=file two\n1\nx\n=compare sim1.out two 1000", false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(finds("huge-tolerance", reference + row.lines + '\n'), row.found)
            << row.lines.toStdString();
}
