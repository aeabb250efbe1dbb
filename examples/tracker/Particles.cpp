#include "Particles.h"

namespace tracker
{

namespace
{

// Masses: R. L. Workman et al. (Particle Data Group), Prog. Theor. Exp. Phys. 2022, 083C01.
constexpr double electronMass = 0.51099895000;
constexpr double muonMass = 105.6583755;
constexpr double pionMass = 139.57039;
constexpr double kaonMass = 493.677;
constexpr double protonMass = 938.27208816;

// PDGid, mass (MeV/c^2), charge. For leptons the positive code is the negative particle.
// clang-format off
constexpr Particle particles[] = {
    {    11, electronMass, -1 },    // e-
    {   -11, electronMass, +1 },    // e+
    {    13, muonMass,     -1 },    // mu-
    {   -13, muonMass,     +1 },    // mu+
    {   211, pionMass,     +1 },    // pi+
    {  -211, pionMass,     -1 },    // pi-
    {   321, kaonMass,     +1 },    // K+
    {  -321, kaonMass,     -1 },    // K-
    {  2212, protonMass,   +1 },    // p
    { -2212, protonMass,   -1 },    // anti-p
};
// clang-format on

} // namespace

const Particle *findParticle(std::int64_t pdgId)
{
    for (const Particle &particle : particles) {
        if (particle.pdgId == pdgId)
            return &particle;
    }
    return nullptr;
}

} // namespace tracker
