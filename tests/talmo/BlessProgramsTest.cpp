// talmo bless where several runs use a reference

#include "BlessFixture.h"

#include <QDir>
#include <QFile>

namespace
{

class BlessProgramsTest : public BlessFixture
{
};

} // namespace

TEST_F(BlessProgramsTest, NeedsOneOutputThatSatisfiesAllPrograms)
{
    configure({"sim1", "sim2"});
    addModels({"sim1"}, "5\n");
    addModels({"sim2"}, "5.25\n");
    const QByteArray head = "=heading\n=simprogram *\n=file $simProgram.ref\n1\n=run $simProgram\n";
    write("test1", head + "=compare out.dat $simProgram.ref 0.25\n");
    EXPECT_EQ(make().status, 1);
    expectBless({"--apply"},
        "replaced 'test1'\n'test1:3: sim1.ref' is now 'out.dat' of test1(sim1)\n", "", 0);
    EXPECT_EQ(make().status, 0);

    write("test1", head + "=compare out.dat $simProgram.ref 0.125\n");
    EXPECT_EQ(make().status, 1);
    const QByteArray reason = "'sim1.ref' cannot be replaced: 'sim1' and 'sim2' give different "
                              "outputs; choose one by --from PROGRAM\ntalmo: bless: ";
    const QByteArray other =
        "'sim2.ref' cannot be replaced: 'sim1' and 'sim2' give different outputs; choose one by "
        "--from PROGRAM";
    expectRefused("test1(sim1), line 6: " + reason + "test1(sim2), line 6: " + other);
    expectRefused("test1(sim2), line 6: 'sim2.ref' cannot be replaced: 'sim2' and 'sim1' give "
                  "different outputs; choose one by --from PROGRAM",
        {"test1(sim2)"});
    expectBless({"--apply", "--from", "sim2"},
        "replaced 'test1'\n'test1:3: sim2.ref' is now 'out.dat' of test1(sim2)\n"
        "    test1(sim1), line 6 will not agree with it\n",
        "", 0);
    expectRun({"--run", "test1(sim2)"}, "test1(sim2): heading\n" + counts(1), 0);
}

TEST_F(BlessProgramsTest, TakesNoOtherProgramThanTheChosenOne)
{
    configure({"sim1", "sim2", "sim3"});
    addModels({"sim1", "sim2"}, "5\n");
    addModels({"sim3"}, "1\n");
    const QByteArray body = "=file ref\n1\n=run $simProgram\n=compare out.dat ref 0\n";
    write("test1", "=heading\n=simprogram sim1\n" + body);
    write("test2", "=heading\n=simprogram sim2 sim3\n" + body);
    EXPECT_EQ(make().status, 1);
    const QByteArray none = "talmo: bless: no run of ";
    const QByteArray failed = " has failed in the latest results\n";
    expectWrongCall({"bless", "--from", "sim3"}, none + "'sim3'" + failed);
    expectWrongCall({"bless", "--apply", "--from", "sim4"}, none + "'sim4'" + failed);
    expectWrongCall(
        {"bless", "--from", "sim2", "test1"}, none + "'sim2' that was asked for" + failed);
    expectBless({"--apply", "--from", "sim2"},
        "replaced 'test2'\n'test2:3: ref' is now 'out.dat' of test2(sim2)\n"
        "    'test2(sim3)' uses it, too, and passed with it\n",
        "talmo: bless: test1(sim1), line 6: 'ref' cannot be replaced: no run of 'sim2' that was "
        "asked for has another output for it\n",
        1);
}

TEST_F(BlessProgramsTest, AsksForNoProgramThatNoRunHas)
{
    addModels({"model"}, "1 2\n3 5\n");
    write("test1", simple);
    EXPECT_EQ(make().status, 1);
    const QByteArray errors = "talmo: bless: no run of 'model' has failed in the latest results\n";
    expectWrongCall({"bless", "--from", "model"}, errors);
    expectBless({"--apply", "--from", "model"}, "", errors, 2);
    EXPECT_EQ(read("test1"), simple);
}

TEST_F(BlessProgramsTest, AsksWhichProgramIsRightIfOneHasPassed)
{
    configure({"sim1", "sim2"});
    addModels({"sim1"}, "1\n");
    addModels({"sim2"}, "5\n");
    write("test1",
        "=heading\n=simprogram *\n=file ref\n1\n=run $simProgram\n=compare out.dat ref 0\n");
    EXPECT_EQ(make().status, 1);
    expectRefused("test1(sim2), line 6: 'ref' cannot be replaced: 'test1(sim1)' passed with it, so "
                  "nobody knows whether both programs agree; choose one by --from PROGRAM");
    expectBless({"--apply", "--from", "sim2"},
        "replaced 'test1'\n'test1:3: ref' is now 'out.dat' of test1(sim2)\n"
        "    'test1(sim1)' uses it, too, and passed with it\n",
        "", 0);
}

TEST_F(BlessProgramsTest, LooksAtOtherScriptsWithTheSameReference)
{
    addModels({"model"}, "5\n");
    addModels({"other"}, "6\n");
    addModels({"third"}, "1\n");
    write("ref", "1\n");
    write("test1", "=heading\n=run model\n=compare out.dat ../ref 0\n");
    write("test2", "=heading\n=run other\n=compare out.dat ../ref 0\n");
    write("test3", "=heading\n=run third\n=compare out.dat ../ref 0\n");
    EXPECT_EQ(make().status, 1);
    expectRefused("test1, line 3: '../ref' cannot be replaced: the comparison of test2, line 3 "
                  "would fail with 'out.dat' instead\ntalmo: bless: test2, line 3: '../ref' cannot "
                  "be replaced: the comparison of test2, line 3 would fail with 'out.dat' instead");
    expectBless({"--apply", "test2"},
        "replaced 'ref'\n'ref' is now 'out.dat' of test2\n"
        "    'test3' uses it, too, and passed with it\n"
        "    test1, line 3 will not agree with it\n",
        "", 0);
}

TEST_F(BlessProgramsTest, BlessesAChangeOfThePhysics)
{
    configure({"tracker", "tracker-kick"});
    for (const QFileInfo &script : QDir(DISTRIBUTION).entryInfoList(QDir::Files))
        QFile::copy(script.filePath(), work + '/' + script.fileName());
    const QByteArray files = "=file beam.dat\n#QXTrackFile beam\n#x y z Px Py Pz t PDGid EventID "
                             "TrackID ParentID Weight\n1 -2 50 1 -0.5 200 0 -13 1 1 0 0.25\n"
                             "=file deck.in\nbeam beam.dat\nquad 4 300\noutput mid.dat\n"
                             "quad -4 300\noutput out.dat\n=run $simProgram deck.in\n";
    const QByteArray tolerances = " 1e-6 1e-6 1e-6 1e-5 1e-5 1e-4 1e-4 0 0 0 0 0\n";
    write("test30", "=own references\n=simprogram *\n" + files +
                        "=compare mid.dat ../refs/$simProgram" + tolerances +
                        "=file $simProgram.ref\n=compare $simProgram.ref out.dat" + tolerances);
    write("refs/tracker", "");
    write("refs/tracker-kick", "");
    for (const QString name : {"tracker", "tracker-kick"}) {
        const QByteArray program = name == "tracker" ? TRACKER : TRACKER_KICK;
        // All quadrupoles become stronger, once somebody makes the file "changed".
        addProgram(name, "if [ -e '" + work.toUtf8() +
                             "/changed' ] && ! grep -q '^# changed' \"$1\"\n"
                             "then sed -i -e 's/^quad \\([^ ]*\\)/quad (\\1)*1.01/' \"$1\"\n"
                             "echo '# changed' >>\"$1\"\nfi\nexec '" +
                             program + "' \"$@\"\n");
    }
    // The references of the new script come into being in the same way.
    EXPECT_EQ(make().status, 1);
    EXPECT_EQ(run({"bless", "--apply"}).errors, "");
    EXPECT_EQ(make().status, 0);
    write("changed", "");
    QStringList refused;
    int replaced = 0;
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(make().status, 1);
        const Outcome outcome = run({"bless", "--apply"});
        replaced += static_cast<int>(outcome.output.count("' is now '"));
        refused = QString::fromUtf8(outcome.errors).split('\n');
    }
    EXPECT_GE(replaced, 6);
    // What fails now was refused.
    const QStringList lines = QString::fromUtf8(make().output).split('\n');
    for (const QString &line : lines.filter(": ***ERROR: ")) {
        const QString name = line.section(':', 0, 0);
        EXPECT_FALSE(refused.filter("talmo: bless: " + name).isEmpty()) << line.toStdString();
    }
    for (const char *const name :
        {"test10_quadrupole(tracker): A", "test12_fodo_cell(tracker-kick): A",
            "test30(tracker): own", "test30(tracker-kick): own"})
        EXPECT_EQ(lines.filter(name).size(), 1) << name;
}
