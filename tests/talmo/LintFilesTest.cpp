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
        {"=run (echo)\n=exists b", true},
        {"=run (echo >b)\n=exists b", false},
        {"=run { echo; } >b\n=exists b", false},
        {"=run { echo; } >b\n=exists c", true},
        {"=run if test -e x; then echo >b; fi\n=exists b", false},
        {"=run if test -e x; then echo >b; fi\n=exists c", true},
        {"=run if test -e x; then sim1; fi\n=exists c", false},
        {"=run sort <b\n=exists b", true},
        {"=run sort <>b\n=exists b", false},
        {"=run sort >|b\n=exists b", false},
        {"=run sort 2>&1\n=exists 1", true},
        {"=run echo >&b\n=exists b", false},
        {"=run LC_ALL=C sort a\n=exists b", true},
        {"=run LC_ALL=C sort -o b a\n=exists b", false},
        {"=run LC_ALL=C sim1\n=exists b", false},
        {"=run ! grep x a\n=exists b", true},
        {"=run x=$(sim1) echo\n=exists b", false},
        {"=run f() { sim1; }; f\n=exists b", false},
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

TEST_F(LintFilesTest, TellsOfEachFileOnce)
{
    EXPECT_EQ(foundIn("=compare a a\n"), QStringList("2:10 never-written"));
    EXPECT_EQ(foundIn("=compare a b\n"), QStringList({"2:10 never-written", "2:12 never-written"}));
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
        {"=compare sim1.out ref 1 1 1000", false},            // beside zeros
        {"=run echo ref\n=compare sim1.out ref 1000", false}, // which may have changed it
        {"=run sim1 ref.dat\n=compare sim1.out ref 1000", true},
        {"=run sim1 ./ref>log\n=compare sim1.out ref 1000", false},
        {"=run sim1 *\n=compare sim1.out ref 1000", false},
        {"=run sim1 other\n=compare sim1.out ref 1000", true},
        {"=file data.txt\n1\n=run sim1 data\n=compare sim1.out data.txt 1000", false},
        {"=run sim1 data\n=file data.txt\n1\n=compare sim1.out data.txt 1000", true},
        {"=file run.sh\nsim1 >ref\n=run sh run.sh\n=compare x ref 1000", false},
        {"=file own\n# own\n1\n=compare sim1.out own 1000", true},
        {"=compare ref ../reference 1000", false}, // that one is the reference
        {"=compare /reference ref 1000", false},
        {"=compare ./ref ./sim1.out 100", true},
        {"=file noise\n1e-17\n-3e-7\n=compare sim1.out noise 1e-3", false},
        {"=file noise\n2e-6\n=compare sim1.out noise 1e-3", true},
        {"=file noise\n1e-6\n=compare sim1.out noise 1e-3", false},
        {"=file noise\n1000 0.5\n=compare sim1.out noise 1 100", false}, // beside large ones
        {"=file noise\n1000 1\n=compare sim1.out noise 1 100", false},
        {"=file noise\n1000 1.25\n=compare sim1.out noise 1 125", true},
        {"=file noise\n1.25 1000\n=compare sim1.out noise 125", true},
        {"=file text\n1 x\n2 y\n=compare sim1.out text 200 1000", true},
        {"=file text\n1 2\n2\n3 4\n=compare sim1.out text -1 1000", false},
        {"=file text\n1 2\n2\n=compare sim1.out text -1 1000", false},
        {"=file text\nx 2\n1 2\n=compare sim1.out text -1 1000", true},
        {"=file text\n1e999 2\n=compare sim1.out text -1 1000", true},
        {"=compare sim1.out ref 1 1 1 1000", false}, // there is no such column
        {"=compare sim1.out ref -1000", false},
        {"=compare sim1.out other 1000", false},
        {"=ignore differ on\n=compare sim1.out ref 1000", false},
        {"=file ref\n1\n=compare sim1.out ref 1000", false}, // which is it?
        {"=file two\n1000\n=compare two ref 1000", false},   // not beside both
        {"=file two\n1\n=compare two ref 1000", true},
        {"=file two\n# 1\n=compare sim1.out two 1000", false},
        {"=file two\n1\nx\n=compare sim1.out two 1000", false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(finds("huge-tolerance", reference + row.lines + '\n'), row.found)
            << row.lines.toStdString();
}

TEST_F(LintFilesTest, KnowsWhichTextsAreReplacedBeforeTheyAreUsed)
{
    const struct {
        QByteArray lines;
        bool found;
    } rows[] = {
        {"=file a\n1\n=file a\n2", true},
        {"=file a\n1\n=file ./a\n2", true},
        {"=file a\n1\n=file b\n=echo x\n=debug\n=file a\n2", true},
        {"=file a\n1\n=file b\n2", false},
        {"=file a\n1\n=run sim1\n=file a\n2", false},
        {"=file a\n1\n=run echo b\n=file a\n2", false},
        {"=file a\n1\n=exists a\n=file a\n2", false},
        {"=file a\n1\n=compare a a\n=file a\n2", false},
        {"=file a\n1\n=run sim1\n=file a\n2\n=file a\n3", true},
        {"=platform LINUX\n=file a\n1\n=platform DARWIN\n=file a\n2", false},
        {"=file a\n1\n=platform DARWIN\n=file a\n2\n=platform", false},
        {"=file a\n1\n=ignore ^Cannot write\n=file a", false},
        {"=file /dev/stdout\n1\n=file /dev/stdout\n2", false},
        {"=testbeam a 0 1 2 0 1 2 0 13 9\n=file a\n1", false},
    };
    for (const auto &row : rows)
        EXPECT_EQ(finds("overwritten-file", row.lines + '\n'), row.found)
            << row.lines.toStdString();
}

TEST_F(LintFilesTest, ExpectsNothingOfAProgramWhoseNameIsNotKnown)
{
    configure({});
    const QByteArray heading = "=heading\n=simprogram sim[12]*\n";
    const struct {
        QByteArray lines;
        bool found;
    } rows[] = {
        {"=file sim1.ref\n=exists $simProgram.ref", false},
        {"=file $simProgram.ref\n=exists sim1.ref", false},
        {"=run echo >$simProgram.log\n=exists sim1.log", false},
        {"=file sim1.ref\n=exists sim2.ref", true},
        {"=file $simProgram\n=file $simProgram", false},
    };
    for (const auto &row : rows) {
        write("test1", heading + row.lines + '\n');
        EXPECT_EQ(!lint({"test1"}).isEmpty(), row.found) << row.lines.toStdString();
    }
    write("test1", "=heading\n=simprogram x* sim1\n=file sim1.ref\n=exists $simProgram.rex\n");
    EXPECT_EQ(lint({"test1"}), "test1:4:9: nothing above has written 'sim1.rex' (did you mean "
                               "sim1.ref?) [never-written]\n");
}

TEST_F(LintFilesTest, SuggestsNamesAsLongAsThatTakesNoTime)
{
    // The time for 1000 names and 1000 files is that for 100000 names and 10 files.
    const auto linesFor = [](int files, int misspelt) {
        QByteArray lines;
        for (int index = 0; index < files; ++index)
            lines += "=file file" + QByteArray::number(10000 + index) + ".dat\n";
        for (int index = 0; index < misspelt; ++index)
            lines += "=exists fiel" + QByteArray::number(10000 + index) + ".dat\n";
        return lines;
    };
    const auto suggestionsIn = [this](const QByteArray &lines) {
        write("test1", "=heading\n" + lines);
        return lint({"test1"}).count("did you mean");
    };
    EXPECT_EQ(suggestionsIn(linesFor(100, 100)), 100);
    EXPECT_EQ(suggestionsIn(linesFor(2000, 600)), 500);
}
