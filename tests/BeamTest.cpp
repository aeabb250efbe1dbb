#include "Beam.h"
#include "Particles.h"
#include "Text.h"
#include "TrackerFiles.h"

#include <gtest/gtest.h>

#include <limits>

using namespace tracker;

namespace
{

class BeamFiles : public TrackerFiles
{
protected:
    /// Reads a track file that holds \a text. Returns the error.
    static std::string parse(const std::string &text, Beam &beam)
    {
        write("file", text);
        std::vector<std::string> lines;
        EXPECT_TRUE(readLines("file", lines));
        std::string error;
        const bool good = parseBeam("beam", lines, beam, error);
        EXPECT_EQ(good, error.empty());
        return error;
    }
};

} // namespace

TEST(Particles, AntiparticlesDifferOnlyInCharge)
{
    for (const int pdgId : {11, 13, 211, 321, 2212}) {
        SCOPED_TRACE(pdgId);
        const Particle *const particle = findParticle(pdgId);
        const Particle *const antiparticle = findParticle(-pdgId);
        ASSERT_TRUE(particle && antiparticle);
        EXPECT_EQ(particle->mass, antiparticle->mass);
        EXPECT_EQ(particle->charge, -antiparticle->charge);
        EXPECT_EQ(particle->charge, pdgId < 100 ? -1 : 1); // for leptons the sign is the opposite
    }
    EXPECT_EQ(findParticle(22), nullptr);
    EXPECT_EQ(findParticle((std::int64_t(1) << 32) + 11), nullptr);
    EXPECT_EQ(findParticle(0), nullptr);
}

TEST_F(BeamFiles, WrongBeamsAreToldByFileLineAndWord)
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
        {heading + "0 0 0 0 0 1 0 11 +-1 1 0 1\n", "beam:3: '+-1' is not an integer"},
        {heading + "0 0 0 0 0 1 0 11 ++1 1 0 1\n", "beam:3: '++1' is not an integer"},
        {heading + "0 0 0 0 0 1 0 11 1 + 0 1\n", "beam:3: '+' is not an integer"},
        {heading + "0 0 0 0 0 1 0 11 1 *1 0 1\n", "beam:3: '*1' is not an integer"},
        {heading + "0 0 0 0 0 1 0 11 1 1 1.5 1\n", "beam:3: '1.5' is not an integer"},
        {heading + "0 0 0 0 0 1 0 11 9223372036854775808 1 0 1\n",
            "beam:3: '9223372036854775808' does not fit in 64 bits"},
        {heading + "0 0 0 0 0 1 0 11 1 -9223372036854775809 0 1\n",
            "beam:3: '-9223372036854775809' does not fit in 64 bits"},
        {heading + "0 0 0 0 0 1 0 11 9223372036854775808x 1 0 1\n",
            "beam:3: '9223372036854775808x' is not an integer"},
        {heading + "0 0 0 0 0 1 0 4294967307 1 1 0 1\n", "beam:3: unknown PDGid '4294967307'"},
        {heading + "0 0 0 0 0 1 0 22 1 1 0 1\n", "beam:3: unknown PDGid '22'"},
        {heading + "0 0 0 1 0 0.0 0 11 1 1 0 1\n",
            "beam:3: Pz must be greater than 0, found '0.0'"},
        {heading + "0 0 0 0 0 -1 0 11 1 1 0 1\n", "beam:3: Pz must be greater than 0, found '-1'"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.beam);
        Beam beam;
        EXPECT_EQ(parse(row.beam, beam), row.message);
    }
}

TEST_F(BeamFiles, IdsAreCarriedIn64Bits)
{
    struct Row {
        std::string word;
        std::string written;
        std::int64_t value;
    };
    const Row rows[] = {
        {"0", "0", 0},
        {"+5", "5", 5},
        {"-007", "-7", -7},
        {"2147483648", "2147483648", 2147483648}, // the smallest one that is too large for an int
        {"9223372036854775807", "9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", "-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.word);
        const auto line = [](const std::string &id) {
            std::string text = "0 0 0 0 0 1 0 11 ";
            for (int i = 0; i < 3; ++i)
                text += id + ' ';
            return text + "1\n";
        };
        Beam beam;
        ASSERT_EQ(parse(heading + line(row.word), beam), "");
        ASSERT_EQ(beam.size(), 1U);
        EXPECT_EQ(beam[0].eventId, row.value);
        EXPECT_EQ(beam[0].trackId, row.value);
        EXPECT_EQ(beam[0].parentId, row.value);
        ASSERT_TRUE(writeBeam("out", "title", beam));
        EXPECT_EQ(read("out"), "#QXTrackFile title" + heading.substr(12) + line(row.written));
    }
}
