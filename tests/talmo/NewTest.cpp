// talmo new

#include "RunFixture.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

#include <csignal>

#include <sys/stat.h>

namespace
{

class NewTest : public RunFixture
{
protected:
    /// Makes a script with `talmo new` and \a arguments, and expects that it prints \a output. Then
    /// the driver itself runs the script \a name, which passes; nothing is left behind.
    void expectScript(
        const QStringList &arguments, const QByteArray &output, const QByteArray &script)
    {
        const QString name = arguments[0];
        expectSuccess(QStringList("new") + arguments, output);
        EXPECT_EQ(read(name), script);
        EXPECT_EQ(filesFor(temporary), QStringList());
        EXPECT_TRUE(passes(name));
    }

    /// Whether the driver's run of the script \a name passes.
    bool passes(const QString &name)
    {
        const Outcome outcome = runDriver({name});
        return outcome.status == 0 && outcome.output.contains("All tests passed (1 total)\n");
    }

    /// Expects that no script is written because of what \a errors says.
    void expectNone(const QStringList &arguments, const QByteArray &errors)
    {
        SCOPED_TRACE(arguments.join(QLatin1Char(' ')).toStdString());
        const QStringList before = everything();
        const Outcome outcome = run(QStringList("new") + arguments);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(everything(), before);
    }

    static QStringList filesFor(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

} // namespace

TEST_F(NewTest, SaysWhatItCannotRemove)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "permissions do not bind this user";
    addProgram("model", "mkdir sub\n: >sub/file\nchmod 0 sub\n");
    const Outcome outcome = run({"new", "test1", "--", "model"});
    EXPECT_EQ(outcome.status, 1);
    const QStringList left = filesFor(temporary);
    ASSERT_EQ(left.size(), 1);
    const QString path = temporary + '/' + left[0];
    EXPECT_TRUE(
        outcome.errors.endsWith("talmo: new: cannot remove all of '" + path.toUtf8() + "'\n"))
        << outcome.errors.toStdString();
    EXPECT_EQ(chmod(QFile::encodeName(path + "/test1.dir/sub"), 0700), 0);
}

TEST_F(NewTest, LeavesNoHalfOfAScript)
{
    if (!QFile::exists("/usr/bin/prlimit"))
        GTEST_SKIP() << "there is no prlimit";
    // In the second run, the first of the processes called talmo may write no larger files any
    // more.
    addProgram("model",
        "test -e \"$TMPDIR/was-here\" || { echo yes >\"$TMPDIR/was-here\"; exit; }\n"
        "process=$$\n"
        "while test \"$process\" -gt 1; do\n"
        "  read name <\"/proc/$process/comm\"\n"
        "  test \"$name\" = talmo && first=$process\n"
        "  process=$(sed -n 's/^PPid:\\s*//p' \"/proc/$process/status\")\n"
        "done\n"
        "prlimit --pid \"$first\" --fsize=5:unlimited\n");
    const Outcome outcome = run({"new", "test1", "--", "model"});
    EXPECT_EQ(outcome.errors, "talmo: new: cannot write 'test1': File too large\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(exists("test1"));
}

TEST_F(NewTest, LeavesOutNoToleranceBeforeAnother)
{
    addProgram("model", "echo 1.79e308 2.5 >table\n");
    expectScript({"test1", "--relative", "1", "--", "model"},
        "wrote 'test1': 0 inputs, 1 comparison\n",
        "=model\n=run model\n=file table.ref\n1.79e308 2.5\n"
        "=compare table table.ref 1.7976931348623157e308 2.5\n");
}

TEST_F(NewTest, RecordsWhatACommandWritesAndPrints)
{
    addProgram("model", "echo \"reading $1\"\n"
                        "printf '# x y n\\n1.5 -2.5e3 1\\n-0.5 0.25 12\\n' >table\n"
                        "cat \"$1\" >copy\n");
    write("inputs/deck", "particles 12\nend\n");
    expectScript({"test1", "--input", "inputs/deck", "--", "model", "deck"},
        "wrote 'test1': 1 input, 3 comparisons\n",
        "=model deck\n"
        "=file deck\nparticles 12\nend\n"
        "=run model deck\n"
        "=file copy.ref\nparticles 12\nend\n"
        "=file model.out.ref\nreading deck\n"
        "=file table.ref\n# x y n\n1.5 -2.5e3 1\n-0.5 0.25 12\n"
        "=compare copy copy.ref\n"
        "=compare model.out model.out.ref\n"
        "=compare table table.ref 1.5e-09 2.5e-06 0\n");
    addProgram("model", "echo \"reading $1\"\n"
                        "printf '# x y n\\n1.5 -2.5e3 1\\n-0.5 0.25001 12\\n' >table\n"
                        "cat \"$1\" >copy\n");
    EXPECT_FALSE(passes("test1"));
}

TEST_F(NewTest, ComparesWithTheTolerancesThatAreAskedFor)
{
    addProgram("model",
        "printf '0 100 0.0 2\\n0 -3 0.0 2.\\n' >table\nprintf '1 2\\n3\\n' >ragged\n"
        "printf '1 2\\n1 x\\n' >words\nprintf '1\\n\\n' >gap\n");
    expectScript({"test1", "--relative", "1e-3", "--heading", "A model", "--", "model"},
        "wrote 'test1': 0 inputs, 4 comparisons\n",
        "=A model\n=run model\n"
        "=file gap.ref\n1\n\n=file ragged.ref\n1 2\n3\n"
        "=file table.ref\n0 100 0.0 2\n0 -3 0.0 2.\n"
        "=file words.ref\n1 2\n1 x\n"
        "=compare gap gap.ref\n=compare ragged ragged.ref\n"
        "=compare table table.ref 0 0 0 0.002\n=compare words words.ref\n");
}

TEST_F(NewTest, WritesAScriptForAProgram)
{
    addProgram("sim1", "echo \"$0\" | sed 's,.*/,,'\n");
    addProgram("sim2", "echo \"$0\" | sed 's,.*/,,'\n");
    addProgram("start", "shift\n\"$@\"\n");
    configure({"sim1", "sim2"});
    const QByteArray text = "=sim1 deck\n=simprogram sim1\n=run $simProgram deck\n"
                            "=file $simProgram.out.ref\nsim1\n"
                            "=compare $simProgram.out $simProgram.out.ref\n";
    expectScript({"test1", "--program", "sim1", "--", "sim1", "deck"},
        "wrote 'test1': 0 inputs, 1 comparison\n", text);
    expectScript({"test2", "--program", "sim1", "--", "start", "2", "sim1", "sim1"},
        "wrote 'test2': 0 inputs, 1 comparison\n",
        "=start 2 sim1 sim1\n=simprogram sim1\n=run start 2 $simProgram sim1\n"
        "=file start.out.ref\nsim1\n=compare start.out start.out.ref\n");
    expectScript({"test3", "--program", "sim1", "--", "sim1", "a b"},
        "wrote 'test3': 0 inputs, 1 comparison\n",
        "=sim1 a b\n=simprogram sim1\n=file command.sh\n\"$1\" 'a b'\n"
        "=run sh command.sh $simProgram\n"
        "=file sh.out.ref\nsim1\n=compare sh.out sh.out.ref\n");
    write("elsewhere/sim4", "#!/bin/sh\necho sim4\n");
    ASSERT_EQ(chmod(QFile::encodeName(work + "/elsewhere/sim4"), 0700), 0);
    expectSuccess({"new", "test4", "--program", "sim4=elsewhere", "--", "sim4"},
        "wrote 'test4': 0 inputs, 1 comparison\n"
        "'sim4' is not configured, so the driver will skip the script; 'talmo run --program sim4' "
        "makes the run\n");
    expectRun({"--no-record", "--program", "sim4=elsewhere", "test4"},
        "test4(sim4): sim4\n" + counts(1), 0);
}

TEST_F(NewTest, PutsWhatALineCannotCarryIntoAShellScript)
{
    addProgram("words", "for word; do printf '<%s>\\n' \"$word\"; done\n");
    const QStringList nasty = {"", "a  b", "$HOME", "$simProgram", "it's", "a;b|c&d", "*", "?", "~",
        "\"", "\\", ">out", "2>&1", "#", "tab\there", "(x)", "{a,b}", "!", "`id`", "<in"};
    expectSuccess(QStringList{"new", "test1", "--heading", "words", "--", "words"} + nasty,
        "wrote 'test1': 0 inputs, 1 comparison\n");
    QByteArray expected;
    for (const QString &word : nasty)
        expected += '<' + word.toUtf8() + ">\n";
    EXPECT_TRUE(read("test1").contains("\n=file sh.out.ref\n" + expected + "=compare "))
        << read("test1").toStdString();
    EXPECT_TRUE(passes("test1"));
    expectScript({"test2", "--heading", "lines", "--", "printf", "a\n=b\n"},
        "wrote 'test2': 0 inputs, 0 comparisons\n"
        "'sh.out' is not compared, only that it is there: line 2 begins with '='\n"
        "nothing is compared: the script only tests that COMMAND succeeds\n",
        "=lines\n=file command.sh\n'printf' 'a\n''=b\n'''\n=run sh command.sh\n=exists sh.out\n");
    write("command.sh", "mine\n");
    expectScript({"test3", "--heading", "mine", "--input", "command.sh", "--", "true", "a b"},
        "wrote 'test3': 1 input, 0 comparisons\n"
        "nothing is compared: the script only tests that COMMAND succeeds\n",
        "=mine\n=file command.sh\nmine\n=file command.sh2\n'true' 'a b'\n=run sh command.sh2\n");
    expectWrongCall({"new", "test4", "--", "true", "a\rb"},
        "talmo: new: no script can carry an argument with a carriage return\n");
}

TEST_F(NewTest, TakesAWordOfTheShellForAProgram)
{
    addProgram("if", "echo if\n");
    addProgram("a=b", "echo assigned\n");
    expectScript({"test1", "--", "if"}, "wrote 'test1': 0 inputs, 1 comparison\n",
        "=if\n=file command.sh\n'if'\n=run sh command.sh\n=file sh.out.ref\nif\n"
        "=compare sh.out sh.out.ref\n");
    expectScript({"test2", "--", "a=b", "c=d"}, "wrote 'test2': 0 inputs, 1 comparison\n",
        "=a=b c=d\n=file command.sh\n'a=b' 'c=d'\n=run sh command.sh\n=file sh.out.ref\nassigned\n"
        "=compare sh.out sh.out.ref\n");
}

TEST_F(NewTest, SaysWhatItCannotCarryAndWhy)
{
    addProgram("model", "printf 'a\\0b\\n' >binary\nprintf 'a\\n\\n= b\\n' >command\n"
                        "printf 'a b\\n' >'a b'\nprintf 'x' >$(printf 'a\\377')\n"
                        "mkfifo fifo\nln -s command link\nprintf 'a\\r\\nb\\r\\n' >windows\n"
                        "printf 'no end' >short\n>empty\nmkdir -p d/e\necho in d >d/e/f\n"
                        "echo taken >d_e_f.ref\nprintf '\\r=\\n' >hidden\n"
                        "head -c 10485761 /dev/zero >huge\nprintf 'x' >'a$simProgram'\n");
    const QStringList lines = QString::fromUtf8(
        "wrote 'test1': 0 inputs, 5 comparisons\n"
        "'a b' is not tested: its name has blanks\n"
        "'a$simProgram' is not tested: its name has '$simProgram'\n"
        "'a\xEF\xBF\xBD' is not tested: its name is no valid text\n"
        "'binary' is not compared, only that it is there: it is binary: line 1 has a NUL\n"
        "'command' is not compared, only that it is there: line 3 begins with '='\n"
        "'fifo' is not compared, only that it is there: It is no regular file\n"
        "'hidden' is not compared, only that it is there: line 1 begins with '='\n"
        "'huge' is not compared, only that it is there: it is larger than 10 MB\n"
        "'link' is not compared, only that it is there: It is no regular file\n")
                                  .split('\n');
    expectScript({"test1", "--", "model"}, lines.join('\n').toUtf8(),
        "=model\n=run model\n"
        "=file d_e_f.ref2\nin d\n=file d_e_f.ref.ref\ntaken\n=file empty.ref\n"
        "=file short.ref\nno end\n=file windows.ref\na\nb\n=exists binary\n=exists command\n"
        "=compare d/e/f d_e_f.ref2\n=compare d_e_f.ref d_e_f.ref.ref\n"
        "=compare empty empty.ref\n=exists fifo\n=exists hidden\n=exists huge\n=exists link\n"
        "=compare short short.ref\n=compare windows windows.ref\n");
}

TEST_F(NewTest, NamesWhatDiffersFromRunToRun)
{
    addProgram("model", "echo started\ndate +%s >clock\n"
                        "awk -v now=\"$(date +%s)\" 'BEGIN { print 1.5, now, 2 }' >table\n"
                        "echo \"at $(date +%s)\" >log\necho same >>log\n"
                        "yes a | head -n \"$(($(date +%s) % 1000 + 1))\" >lines\n"
                        "echo x >\"out-$(date +%s)\"\n");
    const Outcome outcome = run({"new", "test1", "--", "model"});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
    QString text = QString::fromUtf8(outcome.output);
    text.replace(QRegularExpression("1[0-9]{9}"), "NOW");
    text.replace(QRegularExpression("[0-9]+ lines, then [0-9]+"), "M lines, then N");
    EXPECT_EQ(text, "wrote 'test1': 0 inputs, 2 comparisons\n"
                    "column 1 of 'clock' differs from run to run, and is not compared (clock:1, "
                    "column 1: 'NOW', then 'NOW')\n"
                    "'lines' differs from run to run, and is not compared, only that it is there\n"
                    "    lines: M lines, then N\n"
                    "'log' differs from run to run, and is not compared, only that it is there\n"
                    "    log:1: 'at NOW', then 'at NOW'\n"
                    "'out-NOW' is not written by every run, and is not tested\n"
                    "column 2 of 'table' differs from run to run, and is not compared (table:1, "
                    "column 2: 'NOW', then 'NOW')\n");
    QString script = QString::fromUtf8(read("test1"));
    script.replace(QRegularExpression("1[0-9]{9}"), "NOW");
    EXPECT_EQ(script, "=model\n=run model\n=file model.out.ref\nstarted\n"
                      "=file table.ref\n1.5 NOW 2\n=exists clock\n=exists lines\n=exists log\n"
                      "=compare model.out model.out.ref\n=compare table table.ref 1.5e-09 -1 0\n");
    EXPECT_TRUE(passes("test1"));
}

TEST_F(NewTest, NamesWhatDependsOnTheDirectory)
{
    const Outcome outcome = run({"new", "test1", "--", "pwd"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.contains("\n    pwd.out:1: '" + temporary.toUtf8() + '/'))
        << outcome.output.toStdString();
    EXPECT_EQ(read("test1"), "=pwd\n=run pwd\n=exists pwd.out\n");
    EXPECT_TRUE(passes("test1"));
}

TEST_F(NewTest, TakesManyFiles)
{
    addProgram("model", "for i in $(seq 1500); do echo $i >f$i; done\n");
    expectSuccess({"new", "test1", "--", "model"}, "wrote 'test1': 0 inputs, 1500 comparisons\n");
    EXPECT_TRUE(passes("test1"));
}

TEST_F(NewTest, WritesNothingIfTheCommandFails)
{
    addProgram("model", "echo before\necho 'no field map'\nexit 3\n");
    expectNone({"test1", "--", "model"},
        "talmo: new: no script was written: running 'model' failed\n"
        "    test1:2: =run model\n    exit status 3\n"
        "    last line of 'model.out': no field map\n");
    addProgram("model", "kill -9 $$\n");
    const Outcome killed = run({"new", "test1", "--", "model"});
    EXPECT_EQ(killed.errors.left(killed.errors.lastIndexOf("    ")), // shells differ in the rest
        "talmo: new: no script was written: running 'model' failed\n"
        "    test1:2: =run model\n    ended by signal 9 (Killed)\n");
    EXPECT_EQ(killed.status, 1);
    EXPECT_FALSE(exists("test1"));
    expectNone({"test1", "--timeout", "0.2", "--", "sleep", "60"},
        "talmo: new: no script was written: timed out after 0.2 s\n"
        "    test1:2: =run sleep 60\n    ended by signal 15 (Terminated)\n"
        "    it printed nothing\n");
    addProgram("model", "test -e \"$TMPDIR/was-here\" && exit 1\necho >\"$TMPDIR/was-here\"\n");
    const Outcome outcome = run({"new", "test1", "--", "model"});
    EXPECT_EQ(outcome.errors,
        "talmo: new: no script was written, since COMMAND does not always "
        "succeed: running 'model' failed\n"
        "    test1:2: =run model\n    exit status 1\n    it printed nothing\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_FALSE(exists("test1"));
}

TEST_F(NewTest, OverwritesNothing)
{
    write("test1", "mine\n");
    ASSERT_TRUE(QFile::link("nowhere", work + "/test2"));
    for (const QString name : {"test1", "test2"})
        expectWrongCall({"new", name, "--", "true"},
            "talmo: new: '" + name.toUtf8() + "' is there already, and is not overwritten\n");
    // Nor what appears meanwhile.
    expectSuccess({"new", "test4", "--", "true"},
        "wrote 'test4': 0 inputs, 0 comparisons\n"
        "nothing is compared: the script only tests that COMMAND succeeds\n");
    addProgram("model", "echo mine >'" + work.toUtf8() + "/test3'\n");
    const Outcome outcome = run({"new", "test3", "--", "model"});
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "talmo: new: cannot write 'test3': File exists\n");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(read("test3"), "mine\n");
}

TEST_F(NewTest, CopiesInputsOfTheSuiteThatItCannotCarry)
{
    write("maps/field", "a\r\n");
    write("deck", "=begin\n");
    write("more/list", "no end");
    addProgram("model", "cat field deck list | od -An -c >dump\n");
    expectScript({"test1", "--input", "maps/field", "--input", work + "/deck", "--input",
                     "more/list", "--", "model"},
        "wrote 'test1': 3 inputs, 1 comparison\n"
        "the input 'field' stays outside, and the script copies '../maps/field': line 1 has a "
        "carriage return\n"
        "the input 'deck' stays outside, and the script copies '../deck': line 1 begins with '='\n"
        "the input 'list' stays outside, and the script copies '../more/list': its last line does "
        "not end with a newline\n",
        "=model\n=run cp ../maps/field field >/dev/null\n=run cp ../deck deck >/dev/null\n"
        "=run cp ../more/list list >/dev/null\n=run model\n"
        "=file dump.ref\n   a  \\r  \\n   =   b   e   g   i   n  \\n   n   o       e   n   d\n"
        "=compare dump dump.ref\n");
}

TEST_F(NewTest, TestsAnInputThatTheCommandChanges)
{
    write("state", "1\n");
    addProgram("model", "echo 2 >>state\n");
    expectScript({"test1", "--input", "state", "--", "model"},
        "wrote 'test1': 1 input, 1 comparison\n",
        "=model\n=file state\n1\n=run model\n=file state.ref\n1\n2\n=compare state state.ref 0\n");
}

TEST_F(NewTest, RefusesWrongCalls)
{
    write("a/deck", "");
    write("b/deck", "");
    write("a b", "");
    const QString outside = folder.filePath("outside");
    write(outside, "no end");
    ASSERT_EQ(mkfifo(QFile::encodeName(work + "/fifo"), 0600), 0);
    struct Row {
        QStringList arguments;
        QByteArray reason;
    };
    const QByteArray takes =
        "it takes NAME -- COMMAND..., the name of the new script and a command";
    const Row rows[] = {
        {{}, takes},
        {{"test1"}, takes},
        {{"test1", "true"}, takes},
        {{"test1", "--"}, takes},
        {{"test1", "--", ""}, takes},
        {{"--", "true"}, takes},
        {{"test1", "test2", "--", "true"}, takes},
        {{"", "--", "true"}, "'' can be no script: it is no name"},
        {{"a/test1", "--", "true"},
            "'a/test1' can be no script: scripts lie in the suite's directory itself; see -C"},
        {{".test1", "--", "true"},
            "'.test1' can be no script: the driver passes over hidden files"},
        {{"test*", "--", "true"},
            "'test*' can be no script: the driver would take the name for a pattern"},
        {{"a\nb", "--", "true"}, "'a\\x0ab' can be no script: the name has control characters"},
        {{QString(200, 'a'), "--", "true"},
            "'" + QByteArray(200, 'a') +
                "' can be no script: with the programs behind it, the name is too long for the "
                "directory of a run"},
        {{"test1", "--relative", "x", "--", "true"},
            "--relative takes a number from 0 to 1, not 'x'"},
        {{"test1", "--relative=-1", "--", "true"},
            "--relative takes a number from 0 to 1, not '-1'"},
        {{"test1", "--timeout", "0", "--", "true"},
            "--timeout takes a number of seconds above 0, not '0'"},
        {{"test1", "--heading", "a\nb", "--", "true"},
            "--heading takes one line without control characters"},
        {{"test1", "--program", "none", "--", "none"}, "the program 'none' is not in the PATH"},
        {{"test1", "--program", "sed", "--", "awk"},
            "no word of COMMAND is 'sed', the program that the script is for"},
        {{"test1", "--program", "sed", "--program", "awk", "--", "awk"},
            "--program is given twice, and a script is made from one run"},
        {{"test1", "--input", "none", "--", "true"}, "the input 'none': No such file or directory"},
        {{"test1", "--input", "a", "--", "true"}, "the input 'a': Is a directory"},
        {{"test1", "--input", "fifo", "--", "true"}, "the input 'fifo': It is no regular file"},
        {{"test1", "--input", "a b", "--", "true"}, "the input 'a b': its name has blanks"},
        {{"test1", "--input", "a/deck", "--input", "b/deck", "--", "true"},
            "the input 'b/deck': another one is called 'deck', too"},
        {{"test1", "--input", outside, "--", "true"},
            "the input '" + outside.toUtf8() +
                "': no script can carry it (its last line does not end with a newline), and it is "
                "not in the suite's directory, from where the script could copy it"},
        {{"test1", "-C", "none", "--", "true"},
            "cannot go to the directory 'none': No such file or directory"},
        {{"test1", "--unknown", "--", "true"}, "unknown option 'unknown'"},
    };
    for (const Row &row : rows)
        expectWrongCall(QStringList("new") + row.arguments, "talmo: new: " + row.reason + '\n');
}

TEST_F(NewTest, WritesIntoAnotherDirectoryAndWarnsOfItsName)
{
    write("suite/in", "a\n");
    expectSuccess({"new", "other", "-C", "suite", "--input", "in", "--", "cat", "in"},
        "wrote 'other': 1 input, 1 comparison\n"
        "the driver runs 'other' only if it is asked to: its usual filter is test*\n");
    EXPECT_EQ(read("suite/other"), "=cat in\n=file in\na\n=run cat in\n=file cat.out.ref\na\n"
                                   "=compare cat.out cat.out.ref\n");
    EXPECT_EQ(entries(), QStringList({"suite/", "suite/in", "suite/other"}));
}

TEST_F(NewTest, LeavesNothingIfItIsInterrupted)
{
    addProgramsThatStay();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        QFile::remove(work + "/pid");
        QProcess talmo;
        // Whoever runs this test may ignore the signal, as nohup does.
        startProcess(talmo, "/usr/bin/env",
            {"--default-signal=INT,TERM,HUP", driver, "new", "test1", "--", "stay", "pid"},
            environment, work);
        while (!exists("pid") && talmo.state() != QProcess::NotRunning)
            talmo.waitForFinished(5);
        ASSERT_TRUE(exists("pid"));
        kill(static_cast<pid_t>(talmo.processId()), signal);
        const Outcome outcome = outcomeOf(talmo);
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.signal, signal);
        EXPECT_FALSE(isThere("pid"));
        EXPECT_EQ(entries(), QStringList("pid"));
        EXPECT_EQ(filesFor(temporary), QStringList());
    }
}

TEST_F(NewTest, SaysThatItCannotWrite)
{
    if (!obeyPermissions())
        GTEST_SKIP() << "root may write everywhere, and cannot be kept from it here";
    ASSERT_EQ(chmod(QFile::encodeName(work), 0500), 0);
    expectWrongCall(
        {"new", "test1", "--", "true"}, "talmo: new: cannot write 'test1': Permission denied\n");
    ASSERT_EQ(chmod(QFile::encodeName(work), 0700), 0);
    environment["TMPDIR"] = work + "/none";
    expectNone({"test1", "--", "true"}, "talmo: new: cannot make a directory in '" + work.toUtf8() +
                                            "/none': No such file or directory\n");
}

TEST_F(NewTest, RecordsTheTracker)
{
    write("beam.dat", "#QXTrackFile beam\n#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n"
                      "0 0 0 1 0 200 0 -13 1 1 0 1\n1 -2 50 1 -0.5 200 0 -13 2 1 0 0.25\n");
    write("deck.in", "beam beam.dat\ndrift 1000\nquad 4 300\noutput out.dat\n");
    const QString program = QStringLiteral("tracker=") + TRACKER;
    const Outcome outcome = run({"new", "test1", "--program", program, "--input", "beam.dat",
        "--input", "deck.in", "--", "tracker", "deck.in"});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0) << outcome.output.toStdString();
    EXPECT_TRUE(read("test1").contains("\n=compare out.dat out.dat.ref "))
        << read("test1").toStdString();
    expectRun(
        {"--no-record", "--program", program}, "test1(tracker): tracker deck.in\n" + counts(1), 0);
    write("test1", read("test1").replace("drift 1000", "drift 1001"));
    EXPECT_EQ(make({"--no-record", "--program", program}).status, 1);
}
