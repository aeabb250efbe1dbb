#include "Tracker.h"
#include "Kick.h"
#include "Particles.h"
#include "Process.h"
#include "TrackerFiles.h"

#include <QDir>

#include <gtest/gtest.h>

#include <cmath>

using namespace tracker;

TEST(Tracker, TracksKeepTheirMomentum)
{
    Step step;
    step.action = Action::Quad;
    step.field = 4;
    step.length = 500;
    Track track;
    track.pdgId = -13;
    track.x = 3;
    track.px = 2;
    track.py = -1;
    track.pz = 200;
    ASSERT_TRUE(passElement(step, transported, track));
    EXPECT_NEAR(std::hypot(track.px, track.py, track.pz), std::sqrt(40005.0), 1e-12);
    EXPECT_GT(std::fabs(track.px - 2), 0.1);
}

TEST(Tracker, StepsBecomeLenses)
{
    struct Row {
        Action action;
        int pdgId;
        Lens lens; ///< for a field of 2 (T/m or T) and a length of 500 mm at 200 MeV/c
    };
    const Row rows[] = {
        {Action::Drift, -13, drift(500)},
        {Action::Quad, -13, quadrupole(2, 500, +1, 200)},
        {Action::Quad, 13, quadrupole(2, 500, -1, 200)},
        {Action::Solenoid, -13, solenoid(2, 500, +1, 200)},
        {Action::Solenoid, 13, solenoid(2, 500, -1, 200)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << "PDGid " << row.pdgId << ", turn " << row.lens.turn);
        Step step;
        step.action = row.action;
        step.field = 2;
        step.length = 500;
        Track track;
        track.pdgId = row.pdgId;
        track.x = 1;
        track.y = -2;
        track.px = 120; // with Pz = 160, |P| is 200
        track.pz = 160;
        ASSERT_TRUE(passElement(step, transported, track));
        const Ray expected = transported(row.lens, {1, 0.75, -2, 0});
        EXPECT_DOUBLE_EQ(track.x, expected.x);
        EXPECT_DOUBLE_EQ(track.y, expected.y);
    }
}

TEST(Tracker, ClockAndOdometerRunAtTheParticlesSpeed)
{
    for (const int pdgId : {11, 13, 211, 321, 2212})
        for (const Action action : {Action::Drift, Action::Quad, Action::Solenoid}) {
            SCOPED_TRACE(pdgId);
            Step step;
            step.action = action;
            step.field = 2;
            step.length = speedOfLight; // light takes 1 ns
            Track track;
            track.pdgId = pdgId;
            track.pz = 0.75 * findParticle(pdgId)->mass; // E = 1.25 m, beta = 0.6
            track.z = 100;
            track.t = 3;
            ASSERT_TRUE(passElement(step, transported, track));
            EXPECT_NEAR(track.z, 100 + speedOfLight, 1e-12);
            EXPECT_NEAR(track.t, 3 + 5.0 / 3, 1e-12);
        }
}

TEST(Tracker, UnknownParticlesDoNotPass)
{
    Track photon;
    photon.pdgId = 22;
    photon.pz = 100;
    EXPECT_FALSE(passElement(Step(), transported, photon));
}

TEST(Tracker, TracksThatOverflowAreReported)
{
    const double huge = 1.5e308; // the root of the sum of three such squares overflows
    Track slanted;
    slanted.pdgId = -13;
    slanted.px = 100;
    slanted.pz = 1;
    Step drift;
    drift.length = huge;
    EXPECT_FALSE(passElement(drift, transported, slanted));
    Track fast;
    fast.pdgId = -13;
    fast.px = fast.py = fast.pz = huge;
    drift.length = 1;
    EXPECT_FALSE(passElement(drift, transported, fast));
}

TEST(Tracker, GapsAddEnergyAndKeepTransverseMomenta)
{
    // In units of the mass: P = 0.75 makes E = 1.25, P = 2.4 makes E = 2.6, P = 4/3 makes E = 5/3.
    struct Row {
        double px;
        double py;
        double pz;
        double energy;
        double pzAfter;
    };
    const Row rows[] = {
        {0, 0, 0.75, 1.35, 2.4}, {0, 0, 2.4, -1.35, 0.75}, {0, 0, 0.75, 1.25 / 3, 4.0 / 3},
        {0.45, 0, 0.6, 1.35, std::sqrt(5.5575)}, // 2.4^2 - 0.45^2
        {-0.3, 0.4, std::sqrt(0.3125), 1.25 / 3, std::sqrt(16.0 / 9 - 0.25)},
        {0.45, 0, 0.6, 0, 0.6}, {0, 0, 1e-5, 0, 1e-5}, // exact although the mass is far larger
    };
    for (const Row &row : rows)
        for (const int pdgId : {11, -11, -13, 2212}) {
            SCOPED_TRACE(testing::Message() << "PDGid " << pdgId << ", Pz " << row.pz);
            const double mass = findParticle(pdgId)->mass;
            Track track;
            track.pdgId = pdgId;
            track.x = 1;
            track.y = -2;
            track.z = 300;
            track.t = 4;
            track.px = row.px * mass;
            track.py = row.py * mass;
            track.pz = row.pz * mass;
            const Track before = track;
            ASSERT_TRUE(accelerate(row.energy * mass, track));
            EXPECT_NEAR(track.pz / mass, row.pzAfter, 1e-14);
            EXPECT_EQ(track.px, before.px);
            EXPECT_EQ(track.py, before.py);
            EXPECT_EQ(track.x, 1);
            EXPECT_EQ(track.y, -2);
            EXPECT_EQ(track.z, 300);
            EXPECT_EQ(track.t, 4);
            ASSERT_TRUE(accelerate(-row.energy * mass, track));
            EXPECT_NEAR(track.pz / mass, row.pz, 1e-14);
        }
}

TEST(Tracker, GapsLeaveTheDigitsOfWhatIsLeft)
{
    // Electrons and protons of large energy E lose nearly all of it: Pz = sqrt(left^2 - m^2). E
    // itself is rounded, so the energy that is left is uncertain by that rounding.
    struct Row {
        int pdgId;
        double energy;
        double left;
    };
    const Row rows[] = {{11, 1e5, 1}, {11, 1e5, 0.512}, {2212, 7e6, 939}, {-13, 1e4, 110}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.energy);
        const double mass = findParticle(row.pdgId)->mass;
        Track track;
        track.pdgId = row.pdgId;
        track.pz = std::sqrt((row.energy - mass) * (row.energy + mass));
        ASSERT_TRUE(accelerate(row.left - row.energy, track));
        const double expected = std::sqrt((row.left - mass) * (row.left + mass));
        const double uncertainty = row.energy * 4e-16 * row.left / expected;
        EXPECT_NEAR(track.pz, expected, uncertainty);
    }
    // An electron of 91.77 TeV loses so much that less than its mass is left.
    Track stopped;
    stopped.pdgId = 11;
    stopped.pz = 91.77e6;
    EXPECT_FALSE(accelerate(0.4456 - 91.77e6, stopped));
}

TEST(Tracker, GapsRefuseWhatCouldNotFlyOn)
{
    struct Row {
        double px;
        double pz;
        double energy; ///< px, pz and energy are in units of the mass
        bool passes;
    };
    const Row rows[] = {
        {0, 0.75, -0.2499, true},  // E = 1.25
        {0, 0.75, -0.2501, false}, // less than the mass is left
        {0, 0.75, -1.2501, false}, // less than nothing is left
        {0, 0.75, -2.5, false},    // E becomes -E, for which P^2 would be the same
        {0, 0.75, -9, false},
        {0.45, 0.6, -0.1534, true}, // sqrt(1 + 0.45^2) = 1.09659 is left
        {0.45, 0.6, -0.1535, false},
        {0.45, 0.6, 1e200, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.px << ' ' << row.energy);
        Track track;
        track.pdgId = 13;
        const double mass = findParticle(13)->mass;
        track.px = row.px * mass;
        track.pz = row.pz * mass;
        EXPECT_EQ(accelerate(row.energy * mass, track), row.passes);
    }
    Track photon;
    photon.pdgId = 22;
    photon.pz = 100;
    EXPECT_FALSE(accelerate(1, photon));
}

TEST(Tracker, ReversedBeamRetracesTheMirroredLine)
{
    struct Row {
        Action action;
        double there;
        double back;
    };
    const Row rows[] = {{Action::Drift, 0, 0}, {Action::Quad, 3, 3}, {Action::Solenoid, 2, -2}};
    for (const Row &row : rows) {
        SCOPED_TRACE(row.there);
        Step step;
        step.action = row.action;
        step.length = 400;
        step.field = row.there;
        Track track;
        track.x = 1;
        track.y = -2;
        track.px = 0.5;
        track.py = 0.25;
        track.pz = 300;
        track.pdgId = 2212;
        ASSERT_TRUE(passElement(step, transported, track));
        reverse(track);
        step.field = row.back;
        ASSERT_TRUE(passElement(step, transported, track));
        EXPECT_NEAR(track.x, 1, 1e-12);
        EXPECT_NEAR(track.y, -2, 1e-12);
        EXPECT_NEAR(track.px, -0.5, 1e-12);
        EXPECT_NEAR(track.py, -0.25, 1e-12);
    }
}

TEST_F(TrackerFiles, NothingIsWrittenBeforeAllIsUnderstood)
{
    struct Row {
        std::string deck;
        std::string track;
        std::string message;
    };
    const std::string goodDeck = "beam beam\noutput out\n";
    const std::string goodTrack = "0 0 0 0 0 1 0 11 1 1 0 1\n";
    const Row rows[] = {
        {goodDeck + "kicker\n" + "output out\n", goodTrack, "deck:3: unknown element 'kicker'"},
        {goodDeck + "drift 3kg\n" + "output out\n", goodTrack, "deck:3: '3kg' is not a length"},
        {goodDeck + "reverse\n", goodTrack,
            "deck:3: the last command must be 'output FILE', found 'reverse'"},
        {goodDeck, goodTrack + "0\n", "beam:4: expected 12 columns, found 1"},
        {goodDeck, "0 0 0 0 0 1 0 22 1 1 0 1\n", "beam:3: unknown PDGid '22'"},
        {"beam missing\noutput out\n", goodTrack, "deck:1: cannot read 'missing'"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.message);
        write("deck", row.deck);
        write("beam", heading + row.track);
        std::string error;
        EXPECT_FALSE(runDeck("deck", transported, error));
        EXPECT_EQ(error, row.message);
        EXPECT_FALSE(std::filesystem::exists("out"));
    }
    write("beam", heading + goodTrack);
    write("deck", goodDeck);
    std::string error;
    EXPECT_TRUE(runDeck("deck", transported, error)) << error;
    EXPECT_TRUE(std::filesystem::exists("out"));
}

TEST_F(TrackerFiles, FilesThatCannotBeUsedAreTold)
{
    write("beam", heading);
    struct Row {
        std::string deck;
        std::string message;
    };
    const Row rows[] = {
        {"beam missing\noutput out\n", "deck:1: cannot read 'missing'"},
        {"beam folder\noutput out\n", "deck:1: cannot read 'folder'"},
        {"beam beam\noutput folder\n", "deck:2: cannot write 'folder'"},
        {"beam beam\noutput folder/none/out\n", "deck:2: cannot write 'folder/none/out'"},
#ifdef __linux__
        {"beam beam\noutput /dev/full\n", "deck:2: cannot write '/dev/full'"},
#endif
    };
    std::filesystem::create_directory("folder");
    std::string error;
    for (const Row &row : rows) {
        SCOPED_TRACE(row.deck);
        write("deck", row.deck);
        EXPECT_FALSE(runDeck("deck", transported, error));
        EXPECT_EQ(error, row.message);
    }
    EXPECT_FALSE(runDeck("folder", transported, error));
    EXPECT_EQ(error, "folder: cannot read the file");
    EXPECT_FALSE(runDeck("missing", transported, error));
    EXPECT_EQ(error, "missing: cannot read the file");
}

TEST_F(TrackerFiles, TooStrongElementsAreToldByTrack)
{
    write("beam", heading + "0 0 0 0 0 1e9 0 2212 1 1 0 1\n0 0 0 0 0 1 0 2212 2 1 0 1\n");
    write("deck", "beam beam\nquad 100 10000\noutput out\n");
    for (const Integrator integrator : {Integrator(transported), Integrator(kicked)}) {
        std::string error;
        EXPECT_FALSE(runDeck("deck", integrator, error));
        EXPECT_EQ(error, "deck:2: 'quad' is too strong or too long for track 2");
    }
}

TEST_F(TrackerFiles, StoppedTracksAreTold)
{
    write("beam", heading + "0 0 0 0 0 200 0 -13 1 1 0 1\n0 0 0 0 0 100 0 -13 2 1 0 1\n");
    struct Row {
        std::string energy;
        std::string message;
    };
    const Row rows[] = {
        {"-100", "deck:2: 'accelerate' stops or turns back track 2"},
        {"-200MeV", "deck:2: 'accelerate' stops or turns back track 1"},
        {"1e200", "deck:2: 'accelerate' is too strong for track 1"},
        {"-0.03GeV", ""},
    };
    for (const Integrator integrator : {Integrator(transported), Integrator(kicked)})
        for (const Row &row : rows) {
            SCOPED_TRACE(row.energy);
            write("deck", "beam beam\naccelerate " + row.energy + "\noutput out\n");
            std::string error;
            EXPECT_EQ(runDeck("deck", integrator, error), row.message.empty());
            EXPECT_EQ(error, row.message);
        }
}

TEST_F(TrackerFiles, SlicesRefuseWhatTakesTooMany)
{
    // At a rigidity of 1 T m, K L is 99.9 and 100.1 rad.
    write("beam", heading + "1 0 0 0 0 299.792458 0 2212 1 1 0 1\n");
    std::string error;
    write("deck", "beam beam\nsolenoid 2 99900\noutput out\n");
    EXPECT_TRUE(runDeck("deck", kicked, error)) << error;
    write("deck", "beam beam\nsolenoid 2 100100\noutput out\n");
    EXPECT_TRUE(runDeck("deck", transported, error)) << error;
    EXPECT_FALSE(runDeck("deck", kicked, error));
    EXPECT_EQ(error, "deck:2: 'solenoid' is too strong or too long for track 1");
}

TEST_F(TrackerFiles, TracksAreWrittenWithTenDigitsAndTheirIds)
{
    write("beam", heading + "0.12345678912 -1e-7 1e11 -0 0 200 0 -13 2147483647 -2 0 -0.25\r\n"
                            "# dropped\n");
    write("deck", "beam beam\noutput first\nreverse\noutput second");
    std::string error;
    ASSERT_TRUE(runDeck("deck", transported, error)) << error;
    const std::string expected = "#QXTrackFile deck\n"
                                 "#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n"
                                 "0.1234567891 -1e-07 1e+11 0 0 200 0 -13 2147483647 -2 0 -0.25\n";
    EXPECT_EQ(read("first"), expected);
    EXPECT_EQ(read("second"), expected);
}

TEST_F(TrackerFiles, MainAnswersWithAnExitStatus)
{
    write("beam", heading);
    write("good", "beam beam\noutput out\n");
    write("bad", "output out\n");
    write("macro", "beam beam\ndrift $x\noutput out\n");
    char program[] = "tracker";
    char good[] = "good";
    char bad[] = "bad";
    char macro[] = "macro";
    struct Row {
        std::vector<char *> arguments;
        int status;
        std::string errors;
        std::string output;
    };
    const std::string usage = "Usage: tracker DECK\n"
                              "       tracker-kick DECK\n"
                              "Takes the beam of the input deck through its elements and writes "
                              "track files:\n"
                              "tracker by transfer matrices, tracker-kick in thin slices.\n";
    const Row rows[] = {
        {{program, good}, 0, "", ""},
        {{program, bad}, 1,
            "tracker: bad:1: the first command must be 'beam FILE', found 'output'\n", ""},
        {{program, macro}, 1, "tracker: macro:2: error in 'drift $x'\n",
            "Error: Syntax Error Undefined macro 'x', at line 2\n       line: drift $x\n"},
        {{program}, 2, usage, ""},
        {{program, good, good}, 2, usage, ""},
    };
    for (Row row : rows) {
        SCOPED_TRACE(row.arguments.size());
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        EXPECT_EQ(
            trackerMain(static_cast<int>(row.arguments.size()), row.arguments.data(), transported),
            row.status);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.errors);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), row.output);
    }
}

TEST_F(TrackerFiles, EachProgramHasItsMethod)
{
    write("beam", heading + "1 2 0 3 4 200 0 -13 1 1 0 1\n");
    write("deck", "beam beam\nsolenoid 2 1000\nquad 3 500\noutput out\n");
    const struct {
        const char *program;
        Integrator integrator;
    } rows[] = {{TRACKER, transported}, {TRACKER_KICK, kicked}};
    std::string before;
    for (const auto &[program, integrator] : rows) {
        SCOPED_TRACE(program);
        const Outcome outcome = runProcess(program, {"deck"}, {}, QDir::currentPath());
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        const std::string written = read("out");
        std::string error;
        EXPECT_TRUE(runDeck("deck", integrator, error)) << error;
        EXPECT_EQ(written, read("out"));
        EXPECT_NE(written, before); // the methods differ in the last digits
        before = written;
    }
}
