#include "Tracker.h"
#include "Kick.h"
#include "Particles.h"
#include "Text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace tracker;

namespace
{

// Momentum (MeV/c) whose rigidity is 1 T m: a gradient in T/m is the strength in 1/m^2.
constexpr double p = speedOfLight;

Lens lens(Action action, double field, double length, double momentum = p, double charge = 1)
{
    Step step;
    step.action = action;
    step.field = field;
    step.length = length;
    return lensOf(step, momentum, charge);
}

Matrix product(const Matrix &a, const Matrix &b)
{
    Matrix result{};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            for (std::size_t k = 0; k < 4; ++k)
                result[i][j] += a[i][k] * b[k][j];
    return result;
}

/// The phase-space area [a, b] that columns \a a and \a b of \a m span.
double area(const Matrix &m, std::size_t a, std::size_t b)
{
    return m[0][a] * m[1][b] - m[1][a] * m[0][b] + m[2][a] * m[3][b] - m[3][a] * m[2][b];
}

void expectSymplectic(const Matrix &m)
{
    for (std::size_t a = 0; a < 4; ++a)
        for (std::size_t b = a + 1; b < 4; ++b) {
            const bool conjugate = (a == 0 && b == 1) || (a == 2 && b == 3);
            EXPECT_NEAR(area(m, a, b), conjugate ? 1 : 0, 1e-12) << "columns " << a << ", " << b;
        }
}

/// \a tolerance is relative, with matrix elements taken in units of mm and mrad.
void expectEqual(const Matrix &a, const Matrix &b, double tolerance)
{
    constexpr double unit[] = {1, 1e-3, 1, 1e-3};
    for (std::size_t i = 0; i < 4; ++i)
        for (std::size_t j = 0; j < 4; ++j)
            EXPECT_NEAR(a[i][j] * unit[j] / unit[i], b[i][j] * unit[j] / unit[i], tolerance)
                << "row " << i << ", column " << j;
}

/// The matrix of an integrator that is linear, from its images of the unit rays.
template <typename Map>
Matrix matrixOfMap(Map map)
{
    Matrix m{};
    for (std::size_t j = 0; j < 4; ++j) {
        const auto unit = [&](std::size_t i) { return i == j ? 1.0 : 0.0; };
        const Ray image = map(Ray{unit(0), unit(1), unit(2), unit(3)});
        const double rows[] = {image.x, image.xSlope, image.y, image.ySlope};
        for (std::size_t i = 0; i < 4; ++i)
            m[i][j] = rows[i];
    }
    return m;
}

const Lens lenses[] = {
    lens(Action::Drift, 0, 0),
    lens(Action::Drift, 0, 1000),
    lens(Action::Quad, 4, 500),
    lens(Action::Quad, -4, 500),
    lens(Action::Quad, 4, 500, 2 * p, -1),
    lens(Action::Solenoid, 2, 500),
    lens(Action::Solenoid, -3, 1500, p / 2),
};

/// A directory of the test's own as the current one.
class TrackerFiles : public testing::Test
{
protected:
    void SetUp() override
    {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directory(folder);
        std::filesystem::current_path(folder);
    }
    void TearDown() override
    {
        std::filesystem::current_path("..");
        std::filesystem::remove_all(folder);
    }
    static void write(const std::string &name, const std::string &text)
    {
        std::ofstream(name, std::ios::binary) << text;
    }
    static std::string read(const std::string &name)
    {
        std::ifstream stream(name);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    const std::filesystem::path folder = "TrackerFiles.dir";
};

const std::string heading =
    "#QXTrackFile\n#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight\n";

} // namespace

TEST(Tracker, MatricesAreSymplectic)
{
    for (const Lens &each : lenses) {
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectSymplectic(matrixOf(each));
    }
}

TEST(Tracker, SlicesAreSymplecticEvenWhenTheyAreFew)
{
    for (const Lens &each : lenses) {
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectSymplectic(matrixOfMap([&](const Ray &ray) { return kicked(each, ray, 2); }));
    }
}

TEST(Tracker, WeakLensesApproachTheDrift)
{
    const Matrix drift = matrixOf(lens(Action::Drift, 0, 1000));
    for (const Action action : {Action::Quad, Action::Solenoid})
        for (const double strength : {0.0, 1e-300, 1e-14, -1e-14}) {
            SCOPED_TRACE(strength);
            expectEqual(matrixOf(lens(action, strength, 1000)), drift, 1e-10);
        }
}

TEST(Tracker, ShortLensesApproachTheThinLens)
{
    // 1/f = k L = 1 1/m at any length
    for (const double length : {1e-3, 1e-6, 1e-9}) {
        SCOPED_TRACE(length);
        const Matrix m = matrixOf(lens(Action::Quad, 1000 / length, length));
        EXPECT_NEAR(m[1][0], -1e-3, 1e-9);
        EXPECT_NEAR(m[3][2], +1e-3, 1e-9);
        EXPECT_NEAR(m[0][0], 1, 1e-6);
        EXPECT_NEAR(m[0][1], length, 1e-6 * length);
    }
}

TEST(Tracker, QuadrupoleFocusesByGradientChargeAndMomentum)
{
    struct Row {
        double gradient; ///< T/m
        double momentum; ///< MeV/c
        double charge;
        double kx; ///< 1/mm^2
    };
    const Row rows[] = {
        {3, p, 1, 3e-6},
        {3, p, -1, -3e-6},
        {-3, p, 1, -3e-6},
        {3, 2 * p, 1, 1.5e-6},
        {0, p, 1, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.gradient << " T/m, charge " << row.charge);
        const Lens quad = lens(Action::Quad, row.gradient, 100, row.momentum, row.charge);
        EXPECT_DOUBLE_EQ(quad.kx, row.kx);
        EXPECT_DOUBLE_EQ(quad.ky, -row.kx);
        EXPECT_EQ(quad.turn, 0);
    }
}

TEST(Tracker, SolenoidIsTheTextbookMatrix)
{
    // Brown's matrix with K = B/(2 B rho) in 1/mm
    for (const double field : {2.0, -2.0}) {
        SCOPED_TRACE(field);
        const double K = field / 2 * 1e-3;
        const double C = std::cos(K * 700);
        const double S = std::sin(K * 700);
        const Matrix textbook = {{
            {{C * C, S * C / K, S * C, S * S / K}},
            {{-K * S * C, C * C, -K * S * S, S * C}},
            {{-S * C, -S * S / K, C * C, S * C / K}},
            {{K * S * S, -S * C, -K * S * C, C * C}},
        }};
        expectEqual(matrixOf(lens(Action::Solenoid, field, 700)), textbook, 1e-13);
    }
}

TEST(Tracker, HalvesOfALensMakeTheWhole)
{
    for (const Lens &each : lenses) {
        Lens half = each;
        half.length /= 2;
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectEqual(product(matrixOf(half), matrixOf(half)), matrixOf(each), 1e-13);
    }
}

TEST(Tracker, FodoCellHasTheClosedFormTrace)
{
    const double w = 2e-3; // sqrt(k), 1/mm
    const double f = 0.6;  // phase of a 300 mm quadrupole
    for (const double d : {0.0, 100.0, 500.0, 983.0}) {
        SCOPED_TRACE(d);
        const Matrix drift = matrixOf(lens(Action::Drift, 0, d));
        const Matrix focus = matrixOf(lens(Action::Quad, 4, 300));
        const Matrix defocus = matrixOf(lens(Action::Quad, -4, 300));
        const Matrix cell = product(drift, product(defocus, product(drift, focus)));
        const double halfTrace = std::cos(f) * std::cosh(f) +
                                 w * d * (std::cos(f) * std::sinh(f) - std::sin(f) * std::cosh(f)) -
                                 w * d * w * d * std::sin(f) * std::sinh(f) / 2;
        EXPECT_NEAR((cell[0][0] + cell[1][1]) / 2, halfTrace, 1e-13);
        EXPECT_NEAR((cell[2][2] + cell[3][3]) / 2, halfTrace, 1e-13);
    }
}

TEST(Tracker, LeapfrogConvergesAtSecondOrder)
{
    const Ray start{1, 0.002, -0.5, 0.001};
    for (const Lens &each : {lens(Action::Quad, 4, 500), lens(Action::Solenoid, 2, 500)}) {
        SCOPED_TRACE(testing::Message() << "turn " << each.turn);
        const Ray exact = transported(each, start);
        const auto errorOf = [&](int slices) {
            return std::fabs(kicked(each, start, slices).x - exact.x);
        };
        for (const int slices : {10, 20, 40, 80}) // half the step, a quarter of the error
            EXPECT_NEAR(errorOf(slices) / errorOf(2 * slices), 4, 0.02) << slices;
    }
}

TEST(Tracker, DefaultSlicesAgreeWithTheMatrices)
{
    for (const Lens &each : lenses) {
        SCOPED_TRACE(testing::Message() << "kx " << each.kx << ", turn " << each.turn);
        expectEqual(
            matrixOfMap([&](const Ray &ray) { return kicked(each, ray); }), matrixOf(each), 3e-8);
    }
}

TEST(Tracker, SlicesGiveUpAboveAThousandRadian)
{
    const Ray start{1, 0, 0, 0};
    EXPECT_NEAR(
        kicked(lens(Action::Solenoid, 2, 999e3), start).x, std::pow(std::cos(999), 2), 1e-5);
    EXPECT_TRUE(std::isnan(kicked(lens(Action::Solenoid, 2, 1001e3), start).x));
    EXPECT_TRUE(std::isnan(kicked(lens(Action::Quad, 1e308, 1e308), start).x));
}

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
    const double huge = 1.5e308; // three of them in quadrature overflow
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
        track.pz = p;
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

TEST(Tracker, AntiparticlesDifferOnlyInCharge)
{
    for (const int pdgId : {11, 13, 211, 321, 2212}) {
        SCOPED_TRACE(pdgId);
        const Particle *const particle = findParticle(pdgId);
        const Particle *const antiparticle = findParticle(-pdgId);
        ASSERT_TRUE(particle && antiparticle);
        EXPECT_EQ(particle->mass, antiparticle->mass);
        EXPECT_EQ(particle->charge, -antiparticle->charge);
        EXPECT_EQ(particle->charge, pdgId < 100 ? -1 : 1); // leptons count the other way
    }
    EXPECT_EQ(findParticle(22), nullptr);
    EXPECT_EQ(findParticle(0), nullptr);
}

TEST(Tracker, WordsAreSeparatedByBlanksOfAnyKind)
{
    using Words = std::vector<std::string>;
    EXPECT_EQ(splitWords("\t quad  4 \t300\r"), (Words{"quad", "4", "300"}));
    EXPECT_EQ(splitWords("drift"), (Words{"drift"}));
    EXPECT_EQ(splitWords(" \t\r"), Words());
    EXPECT_EQ(splitWords(""), Words());
}

TEST(Tracker, DeckLinesBecomeSteps)
{
    struct Row {
        std::vector<std::string> words;
        Action action;
        double field;
        double length;
        std::string file;
    };
    const Row rows[] = {
        {{"beam", "b.dat"}, Action::ReadBeam, 0, 0, "b.dat"},
        {{"drift", "1.5e2"}, Action::Drift, 0, 150, ""},
        {{"drift", "0"}, Action::Drift, 0, 0, ""},
        {{"quad", "-4", "300"}, Action::Quad, -4, 300, ""},
        {{"solenoid", ".5", "+10"}, Action::Solenoid, 0.5, 10, ""},
        {{"reverse"}, Action::Reverse, 0, 0, ""},
        {{"output", "o.dat"}, Action::WriteBeam, 0, 0, "o.dat"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.words.front());
        Step step;
        std::string what;
        ASSERT_TRUE(parseStep(row.words, step, what)) << what;
        EXPECT_EQ(step.action, row.action);
        EXPECT_EQ(step.field, row.field);
        EXPECT_EQ(step.length, row.length);
        EXPECT_EQ(step.file, row.file);
        EXPECT_EQ(commandWord(step.action), row.words.front());
    }
}

TEST_F(TrackerFiles, WrongDecksAreToldByFileLineAndWord)
{
    struct Row {
        std::string deck;
        std::string message;
    };
    const Row rows[] = {
        {"beam b\nsextupole 1 2\noutput o\n", "deck:2: unknown element 'sextupole'"},
        {"beam b\n\n# note\nQuad 1 2\noutput o\n", "deck:4: unknown element 'Quad'"},
        {"beam\n", "deck:1: expected 'beam FILE', found 'beam'"},
        {"beam a b\n", "deck:1: expected 'beam FILE', found 'beam a b'"},
        {"beam b\ndrift\n", "deck:2: expected 'drift LENGTH', found 'drift'"},
        {"beam b\nquad 1\t2 3\n", "deck:2: expected 'quad GRADIENT LENGTH', found 'quad 1 2 3'"},
        {"beam b\nsolenoid 1\n", "deck:2: expected 'solenoid FIELD LENGTH', found 'solenoid 1'"},
        {"beam b\nreverse 1\n", "deck:2: expected 'reverse', found 'reverse 1'"},
        {"beam b\noutput\n", "deck:2: expected 'output FILE', found 'output'"},
        {"beam b\ndrift 1mm\n", "deck:2: '1mm' is not a number"},
        {"beam b\nquad 1,5 10\n", "deck:2: '1,5' is not a number"},
        {"beam b\nquad nan 10\n", "deck:2: 'nan' is not a number"},
        {"beam b\nquad 1 1e999\n", "deck:2: '1e999' is not a number"},
        {"beam b\ndrift -1e-9\n", "deck:2: negative length '-1e-9'"},
        {"output o\n", "deck:1: the first command must be 'beam FILE', found 'output'"},
        {"\nreverse\n", "deck:2: the first command must be 'beam FILE', found 'reverse'"},
        {"beam b\nbeam b\n", "deck:2: 'beam' may only be the first command"},
        {"beam b\n", "deck:1: the last command must be 'output FILE', found 'beam'"},
        {"beam b\noutput o\nreverse\n\n",
            "deck:3: the last command must be 'output FILE', found 'reverse'"},
        {"", "deck: the deck has no commands"},
        {"# nothing\n \n", "deck: the deck has no commands"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.deck);
        write("deck", row.deck);
        Deck deck;
        std::string error;
        EXPECT_FALSE(readDeck("deck", deck, error));
        EXPECT_EQ(error, row.message);
    }
}

TEST_F(TrackerFiles, WrongBeamsAreToldByFileLineAndWord)
{
    struct Row {
        std::string beam;
        std::string message;
    };
    const Row rows[] = {
        {"", "beam:1: the first line must begin with '#QXTrackFile'"},
        {"#QXTrackFiles\n", "beam:1: the first line must begin with '#QXTrackFile'"},
        {"#QXTrackFile\n", "beam:2: the second line must be "
                           "'#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight'"},
        {"#QXTrackFile\n#x y z\n", "beam:2: the second line must be "
                                   "'#x y z Px Py Pz t PDGid EventID TrackID ParentID Weight'"},
        {heading + "0 0 0 0 0 1 0 11 1 1 0\n", "beam:3: expected 12 columns, found 11"},
        {heading + "#\n\n0 0 0 0 0 1 0 11 1 1 0 1 0\n", "beam:5: expected 12 columns, found 13"},
        {heading + "0 0 0 0 0 1 0 11 1 1 0 w\n", "beam:3: 'w' is not a number"},
        {heading + "inf 0 0 0 0 1 0 11 1 1 0 1\n", "beam:3: 'inf' is not a number"},
        {heading + "0 0 0 0 0 1 0 11 1 1 0x1 1\n", "beam:3: '0x1' is not an integer"},
        {heading + "0 0 0 0 0 1 0 11 99999999999 1 0 1\n",
            "beam:3: '99999999999' is not an integer"},
        {heading + "0 0 0 0 0 1 0 22 1 1 0 1\n", "beam:3: unknown PDGid '22'"},
        {heading + "0 0 0 1 0 0.0 0 11 1 1 0 1\n",
            "beam:3: Pz must be greater than 0, found '0.0'"},
        {heading + "0 0 0 0 0 -1 0 11 1 1 0 1\n", "beam:3: Pz must be greater than 0, found '-1'"},
    };
    write("deck", "beam beam\noutput out\n");
    for (const Row &row : rows) {
        SCOPED_TRACE(row.beam);
        write("beam", row.beam);
        std::string error;
        EXPECT_FALSE(runDeck("deck", transported, error));
        EXPECT_EQ(error, row.message);
        EXPECT_FALSE(std::filesystem::exists("out"));
    }
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
    char program[] = "tracker";
    char good[] = "good";
    char bad[] = "bad";
    struct Row {
        std::vector<char *> arguments;
        int status;
        std::string errors;
    };
    const std::string usage = "Usage: tracker DECK\n"
                              "       tracker-kick DECK\n"
                              "Takes the beam of the input deck through its elements and writes "
                              "track files:\n"
                              "tracker by transfer matrices, tracker-kick in thin slices.\n";
    const Row rows[] = {
        {{program, good}, 0, ""},
        {{program, bad}, 1,
            "tracker: bad:1: the first command must be 'beam FILE', found 'output'\n"},
        {{program}, 2, usage},
        {{program, good, good}, 2, usage},
    };
    for (Row row : rows) {
        SCOPED_TRACE(row.arguments.size());
        testing::internal::CaptureStderr();
        EXPECT_EQ(
            trackerMain(static_cast<int>(row.arguments.size()), row.arguments.data(), transported),
            row.status);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.errors);
    }
}
