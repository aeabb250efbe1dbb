// talmo lint: lines for the shell.

#include "LintFixture.h"

namespace
{

struct Row {
    QByteArray line;
    QStringList found;
};

class LintShellTest : public LintFixture
{
protected:
    /// Expects of each row that a script with this "=run" shows what was found.
    template <size_t count>
    void expectFound(const Row (&rows)[count])
    {
        for (const Row &row : rows)
            EXPECT_EQ(foundIn("=run " + row.line + '\n'), row.found) << row.line.toStdString();
    }

    /// What is printed about a script with \a line behind "=run".
    QByteArray printedFor(const QByteArray &line)
    {
        write("test1", "=heading\n=run " + line + '\n');
        return lint({"test1"});
    }
};

} // namespace

TEST_F(LintShellTest, APipeOrAListLosesAStatus)
{
    const Row rows[] = {
        {"a | b", {"2:8 lost-status"}},
        {"a | b | c", {"2:8 lost-status", "2:12 lost-status"}},
        {"cat x | a | c", {"2:16 lost-status"}},
        {"a;b", {"2:7 lost-status"}},
        {"a b;", {"2:9 lost-status"}},
        {"a &", {"2:8 lost-status"}},
        {"a &>log", {"2:8 lost-capture"}},
        {"a >&2", {}},
        {"a 2>&1 | b >c", {"2:13 lost-status"}},
        {"a && b || c", {}},
        {"x=1; a $x", {}},
        {"set -e; a; b", {}},
        {"a > log 2>&1", {}},
        {"! a | b", {"2:10 lost-status"}},
        {"export x=1 | a", {}},
        {"settle; b", {"2:12 lost-status"}},
    };
    expectFound(rows);
}

TEST_F(LintShellTest, TheStatusOfWhatPreparesOrOnlyPassesTextOnDoesNotMatter)
{
    const Row rows[] = {
        {"rm -f log; a", {}},
        {"cd sub; a", {}},
        {"mkdir sub; a", {}},
        {"kill 1; a", {}},
        {"exit 3; a", {}},
        {"exit 3 | cat", {}},
        {". ./environment; a", {}},
        {"seq 5 | a", {}},
        {"ls | a", {}},
        {"echo 1 | sort | a", {}},
        {"LC_ALL=C sort x | a", {}},
        {"seq 5; a >log", {}},
        {"seq 5; a", {"2:11 lost-status"}},           // for what it prints is not captured
        {"grep x log; a >log", {"2:16 lost-status"}}, // which is a check
        {"diff x y | a", {"2:15 lost-status"}},
        {"cp x y; a", {"2:12 lost-status"}},
        {"find . -name '*.log' | sort >list", {}},
        {"zcat x.gz | head", {}},
        {"paste x y | a", {}},
        {"egrep x log | a", {}},
        {"gawk '{ print }' x | a", {}},
    };
    expectFound(rows);
    EXPECT_EQ(printedFor("test -f x; a"),
        "test1:2:15: ';' loses the exit status of 'test' [lost-status]\n");
}

TEST_F(LintShellTest, ProgramsOfOtherLanguagesThatPrintNothingLoseNoCapture)
{
    const Row rows[] = {
        {"awk '$1 > 2 {exit 1}' data", {}},
        {"gawk '$1 > m { bad = 1 } END { exit bad }' data", {}},
        {"paste x y | awk '{ if ($1 > m) m = $1 } END { exit (m > 1) }'", {}},
        {"sort x | grep -q '2 > 1' # silent", {}},
        {"perl -ane 'exit 1 if $F[1] > 3' data", {}},
        {"awk '$1 > 2' data", {"2:14 lost-capture"}},
        {"awk '{ if ($1 > m) m = $1 } END { print m }' data", {"2:20 lost-capture"}},
        {"awk '{ if ($1 > m) system(\"date\") }' data", {"2:20 lost-capture"}},
        {"awk '$1 > 2 {exit 1}' data; a '1 > 2'", {"2:14 lost-capture", "2:32 lost-status"}},
        {"other '$1 > 2 {exit 1}' data", {"2:16 lost-capture"}},
        {"b -force '1 > 2'", {"2:18 lost-capture"}},
        {"b --ne '1 > 2'", {"2:16 lost-capture"}},
        {"b -n '1 > 2'", {"2:14 lost-capture"}},
    };
    expectFound(rows);
}

TEST_F(LintShellTest, AStatusThatIsLookedAtIsNotLost)
{
    const Row rows[] = {
        {"a; test $? = 3", {}},
        {"a; s=$?; b; exit $s", {}},
        {"a; echo \"status $?\" >log", {}},
        {"a; exit 0", {}},
        {"a; true", {}},
        {"a; b & c; :", {}},
        {"a | b; true", {"2:8 lost-status"}},
        {"true; a; b", {"2:13 lost-status"}},
        {"wait $!; a & b", {"2:17 lost-status"}},
        {"a; exit $?", {}},
        {"a & wait $!", {}},
        {"a & p=$!; b && wait $p", {}},
        {"a & sleep 1; kill %1", {}},
        {"a | b; echo ${PIPESTATUS[0]} >log", {"2:11 lost-status"}}, // that of b
        {"a | b && test ${PIPESTATUS[0]} = 3", {}},
        {"a | b && test $? = 3", {"2:8 lost-status"}},
        {"a && test ${PIPESTATUS[0]} = 0 && c | d", {"2:42 lost-status"}},
        {"a; b; test $? = 3", {"2:7 lost-status"}},
        {"a; b; exit $?", {"2:7 lost-status"}},
        {"a; exit", {"2:7 lost-status"}},
        {"a & wait", {"2:8 lost-status"}},
        {"a & b", {"2:8 lost-status"}},
        {"a; wait $!", {"2:7 lost-status"}},
        {"a & test $? = 0", {"2:8 lost-status"}},
    };
    expectFound(rows);
    // Nobody waits long for a long line.
    const QByteArray many = QByteArray("a;").repeated(60000);
    EXPECT_EQ(foundIn("=run " + many + "\n").size(), 1000);
    EXPECT_EQ(foundIn("# talmo: allow lost-status\n=run " + many + "\n"), QStringList());
}

TEST_F(LintShellTest, QuotesAndGroupsArePassedOver)
{
    const Row rows[] = {
        {"a \";\" '|' \\; b", {}},
        {"a \"$(b | c)\" `d; e`", {}},
        {"a $(b; c)", {}},
        {"a \"$(b \"c;d\")\" \"e;\"", {}},
        {"a \"$(b \"c\" | d)\"; e", {"2:22 lost-status"}},
        {"a $(b $(c; d) ';)'); e", {"2:25 lost-status"}},
        {"a $((1 + (2 | 4))) ${x;}; e", {"2:30 lost-status"}},
        {"a \"`b; c`\" \"it's; \" d", {}},
        {"a \"\\\";\" 'b\\'; c", {"2:18 lost-status"}},
        {"a $(case x in x) b;; esac)", {}},
        {"(a; b)", {}},
        {"{ a; b; }", {}},
        {"if a; then b; else c; fi", {}},
        {"for a in b; do c; done", {}},
        {"while a; do b; done", {}},
        {"case a in b) c;; esac; d", {}},
        {"f() { a; }; f; b", {}},
        {"a { ; b", {"2:10 lost-status"}},
        {"a fi; b", {"2:10 lost-status"}},
        {"'if' a; b", {"2:12 lost-status"}},
    };
    expectFound(rows);
    EXPECT_EQ(foundIn("=run " + QByteArray("\"$(").repeated(30000) + " a; b\n"), QStringList());
}

TEST_F(LintShellTest, ARedirectionToTheReportEmptiesIt)
{
    const Row rows[] = {
        {"a >|/dev/stdout", {"2:8 emptied-report"}},
        {"a >/dev/fd/1", {"2:8 emptied-report"}},
        {"a 2>/proc/self/fd/2", {"2:8 emptied-report"}},
        {"a >>/dev/stdout", {}},
        {"echo >/dev/stdout | cat", {}},
        {"echo 2>/dev/stderr | cat", {"2:11 emptied-report"}},
        {"echo 1 | cat >/dev/stdout", {"2:19 emptied-report"}},
        {"a </dev/stdin >x", {}},
        {"sh -c 'a >/dev/stdout'", {}},
        {"a >/dev/null 2>/dev/stdout", {}},
        {"a >/dev/null 2>/dev/stderr", {"2:19 emptied-report"}},
        {"a >/dev/null 2>&1 2>/dev/stderr", {}},
        {"a 2>/dev/null >&2 >/dev/stdout", {}},
        {"a >/dev/null >&2 >/dev/stdout", {"2:23 emptied-report"}},
        {"a &>/dev/null >/dev/stderr", {}},
        {"exec >/dev/null; a >/dev/stdout", {}},
        {"exec 3>x; a >/dev/stdout", {"2:18 emptied-report"}},
    };
    expectFound(rows);
}

TEST_F(LintShellTest, RedirectionsInGroupsCount)
{
    const Row rows[] = {
        {"(a >/dev/stdout)", {"2:9 emptied-report"}},
        {"(a) >/dev/stdout", {"2:10 emptied-report"}},
        {"{ a; } >/dev/stderr", {"2:13 emptied-report"}},
        {"{ a; b >/dev/stdout; }", {"2:13 emptied-report"}},
        {"if a; then b >/dev/stdout; fi", {"2:19 emptied-report"}},
        {"if ! a; then b; else c >/dev/stdout; fi", {"2:29 emptied-report"}},
        {"for i in 1 2; do ( a $i >/dev/stdout ); done", {"2:30 emptied-report"}},
        {"until a; do b; done >/dev/stdout", {"2:26 emptied-report"}},
        {"(a >/dev/stdout) >/dev/null", {}},
        {"{ (a >/dev/stdout); } >log", {}},
        {"(a >/dev/stdout) | b", {}},
        {"(a 2>/dev/stderr) | b", {"2:9 emptied-report"}},
        {"(exec >/dev/null; a >/dev/stdout); b >/dev/stdout", {"2:43 emptied-report"}},
        {"{ a; fi >/dev/stdout", {}}, // this is for no shell
        {"(a >/dev/stdout }", {}},
        {"(a) b >/dev/stdout", {}},
        {"(a) (b >/dev/stdout)", {}},
        {"{ if a; then b; fi } >/dev/stdout", {"2:27 emptied-report"}},
    };
    expectFound(rows);
}

TEST_F(LintShellTest, TheDriverAndTheShellDoNotMeanTheSameByARedirection)
{
    const Row rows[] = {
        {"a # b; c", {"2:8 lost-capture"}},
        {"a '#' b#c", {}},
        {"a b>log # c", {}},
        {"a b>log", {"2:9 lost-capture"}},
        {"a 2>errors", {"2:8 lost-capture"}},
        {"a 2>/dev/null", {}},
        {"a 3>log", {}},
        {"a <input", {}},
        {"a 2>&1", {}},
        {"a b>log; c", {"2:13 lost-status"}},
        {"cat b | c d>log", {"2:17 lost-capture"}},
        {"(a b>log)", {}},
        {"a 'b>log'", {}},
        {"a b>log >more", {}},
        {"awk '$2 > 5' data", {"2:14 lost-capture"}},
        {"awk '{ if ($2 > 5) print }' data", {"2:20 lost-capture"}},
        {"awk '{ print ($2 > 5) }' data", {"2:23 lost-capture"}},
        {"awk '{ print $2 > \"log\" }' data", {}},
        {"awk '{ x = 1; print(2) > \"log\" }' data", {}},
        {"awk '{ print 1; if ($2 > 5) x = 2 }' data", {"2:29 lost-capture"}},
        {"awk '$2 > 5' data >log", {}},
        {"awk '$2 > 5' data | sort >log", {}},
        {"a --cut 'x > 5' # b", {}},
        {"sh -c 'a > log'", {}},
        {"test -e a # b", {}},
        {"grep -iq 'a > b' c", {}},
        {"egrep --quiet 'a > b' c && rm c", {}},
        {"grep 'a > b' quick", {"2:14 lost-capture"}},
        {"grep --no-quirk 'a > b' c", {"2:25 lost-capture"}},
        {"sim1 -q 'a > b' c", {"2:17 lost-capture"}},
        {"test -e a && b # c", {"2:21 lost-capture"}},
        {"ssh host 'a > log'", {}},
        {"a > log", {}},
        {">log a", {}},
    };
    expectFound(rows);
}

TEST_F(LintShellTest, TellsWhichFileStaysWithoutOutput)
{
    EXPECT_EQ(printedFor("a --cut 'x > 5'"),
        "test1:2:17: nothing goes to 'a.out', because the driver takes this for a redirection "
        "[lost-capture]\n");
    EXPECT_EQ(printedFor("bin/a deck>log"),
        "test1:2:16: nothing goes to 'log', because no word begins with '>', so that the driver "
        "captures in 'a.out' [lost-capture]\n");
    EXPECT_EQ(printedFor("sim1>log"),
        "test1:2:10: nothing goes to 'log', because no word begins with '>', so that the driver "
        "adds another redirection [lost-capture]\n");
    // The driver does so.
    EXPECT_EQ(errorOfDriver("=run echo>log\n=run test -s log.out\n=run test -s log\n"),
        "running 'test' failed");
    EXPECT_EQ(
        errorOfDriver("=run true '2 > 3'\n=exists true.out\n"), "File 'true.out' does not exist");
    EXPECT_EQ(errorOfDriver("=run echo 1>log\n=run test -s echo.out\n=run test -s log\n"),
        "running 'test' failed");
}

TEST_F(LintShellTest, NamesTheProgramAndNotWhatStandsBeforeIt)
{
    const QByteArray end = "loses the exit status of 'sim1' [lost-status]\n";
    EXPECT_EQ(printedFor("LC_ALL=C sim1 | a"), "test1:2:20: '|' " + end);
    EXPECT_EQ(printedFor("! sim1 | a"), "test1:2:13: '|' " + end);
    EXPECT_EQ(printedFor("! a_1=2 b= sim1 | a"), "test1:2:22: '|' " + end);
    EXPECT_EQ(
        printedFor("1x=2 | a"), "test1:2:11: '|' loses the exit status of '1x=2' [lost-status]\n");
}
