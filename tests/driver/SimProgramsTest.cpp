#include "DriverTest.h"

#include <QDir>
#include <QFileInfo>

// "=simprogram", the second line of a script: which of the configured simulation programs its
// patterns select, and how the script runs once for each.

class SimPrograms : public DriverTest
{
protected:
    /// Expects that a script with \a selection as its second line runs once for each of \a
    /// selected, in that order, or not at all if there are none.
    void expectSelected(const QByteArray &selection, const QStringList &selected)
    {
        SCOPED_TRACE(selection.toStdString());
        QByteArray printed;
        for (const QString &program : selected) {
            printed += "<" + program.toUtf8() + ">\n";
            printed += "test1(" + program.toUtf8() + "): heading\n";
        }
        if (selected.isEmpty())
            printed = notApplicable("test1");
        EXPECT_EQ(runScript("=heading\n" + selection + "\n=echo <$simProgram>\n"), printed);
        EXPECT_EQ(entries(), QStringList({"test1"}));
    }

    QByteArray notApplicable(const QByteArray &test) const
    {
        return work.toUtf8() + '/' + test + ": No applicable SimPrograms\n";
    }
};

TEST_F(SimPrograms, PatternsMatchWholeNames)
{
    configure({"sim1", "sim2", "sim10", "Sim3", "other", "sim.1", "a+b", "big sim"});
    const struct {
        const char *selection;
        QStringList selected;
    } rows[] = {
        {"=simprogram sim1", {"sim1"}},
        {"=simprogram sim?", {"sim1", "sim2"}},
        {"=simprogram sim*", {"sim1", "sim2", "sim10", "sim.1"}},
        {"=simprogram *", {"sim1", "sim2", "sim10", "Sim3", "other", "sim.1", "a+b", "big sim"}},
        {"=simprogram *1", {"sim1", "sim.1"}},
        {"=simprogram sim[12]", {"sim1", "sim2"}},
        {"=simprogram sim[0-9]*", {"sim1", "sim2", "sim10"}},
        {"=simprogram [Ss]im[23]", {"sim2", "Sim3"}},
        {"=simprogram Sim*", {"Sim3"}}, // case counts
        {"=simprogram SIM1", {}},
        {"=simprogram sim", {}},
        {"=simprogram im1", {}},
        {"=simprogram sim1?", {"sim10"}},
        {"=simprogram sim.1", {"sim.1"}}, // only wildcards are special
        {"=simprogram sim.", {}},
        {"=simprogram a+b", {"a+b"}},
        {"=simprogram ^sim1$", {}},
        {"=simprogram sim1|sim2", {}},
        {"=simprogram sim[1", {}}, // an invalid pattern matches nothing
        {"=simprogram big?sim", {"big sim"}},
        {"=simprogram big sim", {}}, // these are two patterns
        {"=simprogram $simProgram", {}},
    };
    for (const auto &row : rows)
        expectSelected(row.selection, row.selected);
}

TEST_F(SimPrograms, PatternsFollowOneAnotherAndMayOverlap)
{
    configure({"sim1", "sim2", "other"});
    const struct {
        const char *selection;
        QStringList selected;
    } rows[] = {
        {"=simprogram sim1 other", {"sim1", "other"}},
        {"=simprogram other sim1", {"other", "sim1"}},
        {"=simprogram sim1 sim1", {"sim1", "sim1"}},
        {"=simprogram *2 sim*", {"sim2", "sim1", "sim2"}},
        {"=simprogram nothing other no*", {"other"}},
        {"=simprogram nothing no*", {}},
    };
    for (const auto &row : rows)
        expectSelected(row.selection, row.selected);
}

TEST_F(SimPrograms, TheSelectionIsAnySecondLineThatBeginsWithTheWord)
{
    configure({"sim1", "sim2"});
    const struct {
        const char *selection;
        QStringList selected;
    } rows[] = {
        {"  =simprogram   sim1  ", {"sim1"}},
        {"\t=simprogram\tsim2\tsim1\t", {"sim2", "sim1"}},
        {"=simprogram sim1\r", {"sim1"}},
        {"=simprogramX sim1", {"sim1"}}, // Deliberate: a longer word is the same command
        {"=simprograms sim2", {"sim2"}},
        {"=simprogramsim1", {}},
        {"=simprogram#1 sim1", {"sim1"}},
        {"=simprogram", {}}, // without patterns nothing matches
        {"=simprogram ", {}},
    };
    for (const auto &row : rows)
        expectSelected(row.selection, row.selected);
}

TEST_F(SimPrograms, AnywhereElseTheSelectionIsAnUnknownCommand)
{
    configure({"sim1"});
    EXPECT_EQ(errorOf("\n=simprogram sim1\n"), "Unknown test command '=simprogram'");
    EXPECT_EQ(errorOf("# comment\n=simprogram sim1\n"), "Unknown test command '=simprogram'");
    EXPECT_EQ(errorOf("=Simprogram sim1\n"), "Unknown test command '=Simprogram'");
    EXPECT_EQ(errorOf("=sim sim1\n"), "Unknown test command '=sim'");
    EXPECT_EQ(errorOf("= simprogram sim1\n"), "Unknown test command '='");
    EXPECT_EQ(errorOf("simprogram sim1\n"), "Unknown test command 'simprogram'");
    EXPECT_EQ(errorOf("#=simprogram sim1\n"), "");
    EXPECT_EQ(runScript("=simprogram none\n=echo runs\n"), "runs\ntest1: simprogram none\n");
    EXPECT_EQ(runScript("=heading\n=simprogram sim1\n=simprogram sim1\n"),
        "test1(sim1): ***ERROR: Unknown test command '=simprogram'\n");
}

TEST_F(SimPrograms, TheSelectionMayEndTheScript)
{
    configure({"sim1"});
    EXPECT_EQ(runScript("=heading\n=simprogram sim1"), "test1(sim1): heading\n");
    EXPECT_EQ(runScript("=heading\n=simprogram"), notApplicable("test1"));
}

TEST_F(SimPrograms, WithoutASelectionATestRunsOnceWhateverIsConfigured)
{
    configure({"sim1", "sim2"});
    EXPECT_EQ(runScript("=heading\n=echo <$simProgram>\n"), "<>\ntest1: heading\n");
}

TEST_F(SimPrograms, ConfiguredAreSlotsOneToNineWithoutTheEmptyOnes)
{
    const struct {
        QStringList slotNames;
        QStringList names;
    } rows[] = {
        {{"a"}, {"a"}}, {{"a", "", "c"}, {"a", "c"}},
        {{"", "", "", "", "", "", "", "", "i"}, {"i"}},
        {{"i", "h", "g", "f", "e", "d", "c", "b", "a"},
            {"i", "h", "g", "f", "e", "d", "c", "b", "a"}},
        {{"", "b", "", "", "", "", "", "", "i", "tenth"}, {"b", "i"}},
        {{"a", "b", "a"}, {"a", "b", "a"}}, // configured twice, and listed twice
    };
    for (const auto &row : rows) {
        configure(row.slotNames);
        configured = row.names; // what the driver has to list
        expectSelected("=simprogram *", row.names);
    }
    expectSelected("=simprogram a", {"a", "a"});
}

TEST_F(SimPrograms, EachPatternListsThemAgainWhileNoneIsConfigured)
{
    write("test1", "=one\n=simprogram sim1 sim2\n=foo\n");
    write("test2", "=two\n=echo\n");
    write("test3", "=three\n=simprogram *\n");
    write("test4", "=four\n=simprogram\n");
    const QByteArray list = "Configured SimPrograms: \n";
    expectRun({"test?"}, "test1 test2 test3 test4",
        list + list + notApplicable("test1") + "\ntest2: two\n" + list + notApplicable("test3") +
            notApplicable("test4"),
        0, 4);
    EXPECT_EQ(entries(), QStringList({"test1", "test2", "test3", "test4"}));
}

TEST_F(SimPrograms, ATestForNoProgramPassesAndTouchesNothing)
{
    configure({"sim1"});
    write("test1.dir/leftover", "");
    write("test1", "=heading\n=simprogram sim2\n=foo\n");
    expectRun({"test1"}, "test1", notApplicable("test1"), 0, 1);
    EXPECT_EQ(entries(), QStringList({"test1", "test1.dir/", "test1.dir/leftover"}));
}

TEST_F(SimPrograms, TheirNameReplacesTheTokenThroughoutALine)
{
    configure({"sim1"});
    const struct {
        const char *line;
        const char *printed;
    } rows[] = {
        {"=echo $simProgram and $simProgram$simProgram.", "sim1 and sim1sim1.\n"},
        {"=echo $simProgramX ${simProgram} $$simProgram", "sim1X ${simProgram} $sim1\n"},
        {"=echo $simprogram $SimProgram simProgram", "$simprogram $SimProgram simProgram\n"},
        {"=run echo $simProgram $simProgram > ../out", ""},
        {"=exists ../$simProgram", ""},
        {"=ignore File 'no$simProgram'\n=exists no$simProgram", ""},
        {"=compare $simProgram.a $simProgram.b", ""},
        {"#$simProgram", ""},
    };
    write("sim1", "");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(runScript("=heading\n=simprogram *\n=file $simProgram.a\n=file $simProgram.b\n" +
                            QByteArray(row.line) + "\n"),
            row.printed + QByteArray("test1(sim1): heading\n"));
    }
    EXPECT_EQ(read("out"), "sim1 sim1\n");
    EXPECT_EQ(runScript("=$simProgram\n=simprogram *\n=$simProgram\n"), // the heading keeps it
        "test1(sim1): ***ERROR: Unknown test command '=sim1'\n");
    EXPECT_EQ(runScript("=$simProgram\n=simprogram *\n"), "test1(sim1): $simProgram\n");
}

TEST_F(SimPrograms, BodiesOfFilesKeepTheToken)
{
    configure({"sim1"});
    runScript("=heading\n=simprogram *\n=file $simProgram\n$simProgram\n=foo $simProgram\n");
    EXPECT_EQ(read("test1(sim1).dir/sim1"), "$simProgram\n");
}

TEST_F(SimPrograms, WithoutASelectionTheTokenDisappears)
{
    configure({"sim1"});
    EXPECT_EQ(
        runScript("=heading\n=echo a$simProgram.b $simProgram c\n"), "a.b c\ntest1: heading\n");
    EXPECT_EQ(runScript("=heading\n$simProgram\n=ec$simProgramho joined\n$simProgram# comment\n"),
        "joined\ntest1: heading\n");
}

TEST_F(SimPrograms, EachRunHasADirectoryOfItsOwn)
{
    configure({"sim1", "sim2"});
    write("test7", "=seven\n=simprogram *\n=run touch $simProgram.out\n=exists sim2.out\n=foo\n");
    expectRun({"test7"}, "test7",
        "test7(sim1): ***ERROR: File 'sim2.out' does not exist\n"
        "test7(sim2): ***ERROR: Unknown test command '=foo'\n",
        1, 1);
    EXPECT_EQ(entries(), QStringList({"test7", "test7(sim1).dir/", "test7(sim1).dir/sim1.out",
                             "test7(sim1).dir/touch.out", "test7(sim2).dir/",
                             "test7(sim2).dir/sim2.out", "test7(sim2).dir/touch.out"}));
}

TEST_F(SimPrograms, LaterRunsFollowAFailedOneAndTheTestCountsOnce)
{
    configure({"sim1", "sim2", "sim3"});
    write("test1", "=one\n=simprogram *\n=ignore '../sim2'\n=exists ../$simProgram\n=echo end\n");
    write("test2", "=two\n=simprogram sim1 sim2\n=ignore '../sim2'\n=exists ../$simProgram\n");
    write("test3", "=three\n=simprogram sim1 sim3\n");
    expectRun({"test1", "test2", "test3"}, "test1 test2 test3",
        "test1(sim1): ***ERROR: File '../sim1' does not exist\n"
        "end\n"
        "test1(sim2): one\n"
        "test1(sim3): ***ERROR: File '../sim3' does not exist\n"
        "test2(sim1): ***ERROR: File '../sim1' does not exist\n"
        "test2(sim2): two\n" // test2 has failed nevertheless
        "test3(sim1): three\n"
        "test3(sim3): three\n",
        2, 3);
    EXPECT_EQ(entries(), QStringList({"test1", "test1(sim1).dir/", "test1(sim3).dir/", "test2",
                             "test2(sim1).dir/", "test3"}));
}

TEST_F(SimPrograms, ARunThatCannotEnterItsDirectoryFailsAlone)
{
    configure({"sim1", "sim2", "a/b"});
    write("test1(sim1).dir", "a file in the way");
    EXPECT_EQ(runScript("=heading\n=simprogram *\n=echo $simProgram\n"),
        "test1(sim1): ***ERROR: cannot cd to 'test1(sim1).dir'\n"
        "sim2\n"
        "test1(sim2): heading\n"
        "test1(a/b): ***ERROR: cannot cd to 'test1(a/b).dir'\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1(sim1).dir"}));
}

TEST_F(SimPrograms, EachRunReadsTheScriptFromItsStart)
{
    configure({"sim1", "sim2"});
    EXPECT_EQ(runScript("=heading\n=simprogram * sim1\n=ignore foo\n=foo\n=echo $simProgram\n"
                        "=file f\nbody\n=ignore pending at the end"),
        "sim1\ntest1(sim1): heading\n"
        "sim2\ntest1(sim2): heading\n"
        "sim1\ntest1(sim1): heading\n");
}

TEST_F(SimPrograms, NamesAreTakenAsTheyStand)
{
    configure({"%1", "%2%s", "\\\\1", "big  sim"});
    configured =
        QStringList({"%1", "%2%s", "\\1", "big  sim"}); // the settings file escapes a backslash
    EXPECT_EQ(runScript("=heading\n=simprogram *\n=echo <$simProgram>\n"),
        "<%1>\ntest1(%1): heading\n"
        "<%2%s>\ntest1(%2%s): heading\n"
        "<\\1>\ntest1(\\1): heading\n"
        "<big sim>\ntest1(big  sim): heading\n"); // words are joined by single blanks
    write("test%2", "=heading\n=simprogram %1\n");
    expectRun({"test%2"}, "test%2", "test%2(%1): heading\n", 0, 1);
}

TEST_F(SimPrograms, ANameThatTheSystemWouldCutHasNoDirectory)
{
    configure({"\"a\\x0 b\""});
    configured = QStringList({"a"}); // the name is printed up to the NUL
    write("test1(a/kept", "");
    EXPECT_EQ(runScript("=heading\n=simprogram *\n=echo not reached\n"),
        "test1(a: ***ERROR: cannot cd to 'test1(a'\n");
    EXPECT_EQ(entries(), QStringList({"test1", "test1(a/", "test1(a/kept"}));
    QDir(work + "/test1(a").removeRecursively();
    EXPECT_EQ(
        runScript("=heading\n=simprogram *\n"), "test1(a: ***ERROR: cannot cd to 'test1(a'\n");
    EXPECT_EQ(entries(), QStringList({"test1"}));
}
